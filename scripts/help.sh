# SPDX-License-Identifier: Apache-2.0
# Sourced by the scripts of this folder: --help prints the comment that each begins with.
case ${1:-} in
    -h | --help)
        awk 'NR > 2 { if (!sub(/^# ?/, "")) exit; print }' "${BASH_SOURCE[1]}"
        exit 0 ;;
esac
