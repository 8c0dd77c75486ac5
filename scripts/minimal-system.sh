# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# A Debian of this machine's own release in a folder, from this machine's own package sources.
# To be sourced. Takes root and mmdebstrap.
#
#   make_minimal_system FOLDER               nothing but the base system
#   in_minimal_system FOLDER COMMAND...      runs a command there, as root

make_minimal_system() {
    local codename file folder=$1
    local -a sources=()
    codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources; do
        [ ! -s "$file" ] || sources+=("$file")
    done
    # What this machine needs to reach them, such as a proxy.
    local options
    options=$(mktemp)
    apt-config dump | grep -E '^Acquire::(http|https|ftp|Check-[A-Za-z-]+|Retries)\b' >"$options" || true
    # The package lists stay: packages are installed next.
    local status=0
    mmdebstrap --quiet --variant=minbase --skip=cleanup/apt/lists --aptopt="$options" \
        "$codename" "$folder" "${sources[@]}" || status=$?
    rm -f "$options"
    [ $status -eq 0 ] || return $status
    local certificates=/etc/ssl/certs/ca-certificates.crt
    [ ! -f $certificates ] || install -D -m 644 $certificates "$folder$certificates"
}

# In name spaces of its own, so that nothing stays mounted and no process stays.
in_minimal_system() {
    local folder=$1 name
    local -a environment=(PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
                          HOME=/root TERM="${TERM:-dumb}")
    shift
    for name in http_proxy https_proxy no_proxy HTTP_PROXY HTTPS_PROXY NO_PROXY; do
        [ -z "${!name:-}" ] || environment+=("$name=${!name}")
    done
    cp --dereference /etc/resolv.conf /etc/hosts "$folder/etc/"
    # shellcheck disable=SC2016  # the inner shell's
    unshare --mount --pid --fork --kill-child bash -euc '
        folder=$1
        shift
        mount -t proc proc "$folder/proc"
        mount --rbind /sys "$folder/sys"
        mount --rbind /dev "$folder/dev"
        exec chroot "$folder" env -i "$@"' minimal "$folder" "${environment[@]}" "$@"
}
