# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Prints the steps of a script, with their number and time. The output of a step goes to its
# own log, whose end is shown if it fails. To be sourced from the root, under
# `set -euo pipefail`.
#
#   steps NAME COUNT          starts; the logs are build/logs/NAME-1.log and so on
#   step TEXT COMMAND...      runs a command or a function as the next step
#   step_header TEXT          starts a step whose output is shown directly

step_name='' step_count=0 step_number=0 step_log=''
export NINJA_STATUS='[%f/%t] '

steps() {
    step_name=$1 step_count=$2
    mkdir -p build/logs
    rm -f "build/logs/$step_name"-*.log
    trap show_failed_step EXIT
}

step_header() {
    step_number=$((step_number + 1))
    echo "[$step_number/$step_count] $1"
}

step() {
    local text=$1 began=$SECONDS
    shift
    step_header "$text"
    step_log=build/logs/$step_name-$step_number.log
    "$@" </dev/null 2>&1 | keep_log
    step_log=''
    echo "      done in $((SECONDS - began)) s"
}

# On a terminal the progress of a build is shown.
keep_log() {
    if [ ! -t 1 ]; then
        cat >"$step_log"
        return
    fi
    local line
    while IFS= read -r line; do
        echo "$line" >&4
        [[ ! $line =~ ^\[([0-9]+)/([0-9]+)\]\  ]] ||
            printf '\r      %s of %s' "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"
    done 4>"$step_log"
    printf '\r\033[K'
}

show_failed_step() {
    local status=$?
    [ -n "$step_log" ] || return "$status"
    echo "      failed; the end of $step_log:" >&2
    tail -n 40 "$step_log" >&2
    return "$status"
}
