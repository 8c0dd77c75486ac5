# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Makes a Debian system of this machine's release in a folder, from this machine's package
# sources. To be sourced. Needs root and mmdebstrap.
#
#   make_minimal_system FOLDER               installs only the base system
#   in_minimal_system FOLDER COMMAND...      runs a command there, as root

make_minimal_system() {
    local codename file folder=$1
    local -a sources=()
    codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources; do
        [ ! -s "$file" ] || sources+=("$file")
    done
    # This machine's settings for them, such as a proxy.
    local options
    options=$(mktemp)
    apt-config dump | grep -E '^Acquire::(http|https|ftp|Check-[A-Za-z-]+|Retries)\b' >"$options" || true
    # Keep the package lists: packages are installed next.
    local status=0
    mmdebstrap --quiet --variant=minbase --skip=cleanup/apt/lists --aptopt="$options" \
        "$codename" "$folder" "${sources[@]}" || status=$?
    rm -f "$options"
    [ $status -eq 0 ] || return $status
    local certificates=/etc/ssl/certs/ca-certificates.crt
    [ ! -f $certificates ] || install -D -m 644 $certificates "$folder$certificates"
}

# Uses its own namespaces, so that no mount and no process remains.
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
        # "ip netns exec" needs a root that is a mount point.
        mount --bind "$folder" "$folder"
        mount -t proc proc "$folder/proc"
        mount --rbind /sys "$folder/sys"
        mount --rbind /dev "$folder/dev"
        exec chroot "$folder" env -i "$@"' minimal "$folder" "${environment[@]}" "$@"
}
