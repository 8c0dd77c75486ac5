// SPDX-License-Identifier: Apache-2.0
#include "completion/scripts.h"

namespace tarnctl {

// bash breaks words at = and : too and completes only the last piece: the pieces are joined for the
// call, and the part before the last one is removed from the candidates.
const std::string_view bash_script = R"(# bash completion of tarnctl
_tarnctl() {
    local -a words=() lines=()
    local piece rest=$COMP_LINE front i line
    for ((i = 0; i <= COMP_CWORD; i++)); do
        piece=${COMP_WORDS[i]}
        if ((i == 0)) || [[ $rest == [[:space:]]* ]]; then
            words+=("$piece")
        else
            words[-1]+=$piece
        fi
        rest=${rest#*"$piece"}
    done
    front=${words[-1]}
    [[ $piece == [=:] ]] || front=${front%"$piece"}
    mapfile -t lines < <(printf '%s\0' "${words[@]:1}" |
        "${COMP_WORDS[0]}" completion --candidates 2>/dev/null)
    COMPREPLY=()
    case ${lines[0]} in
        files)
            [[ $piece == [=:] ]] && piece=
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$piece")
            return
            ;;
        open) compopt -o nospace ;;
    esac
    for line in "${lines[@]:1}"; do
        line=${line%%$'\t'*}
        COMPREPLY+=("${line#"$front"}")
    done
}
complete -F _tarnctl tarnctl
)";

const std::string_view zsh_script = R"(#compdef tarnctl
_tarnctl() {
    local -a lines texts shown suffix
    local line mode text
    lines=("${(@f)$(printf '%s\0' "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" |
        ${(Q)words[1]} completion --candidates 2>/dev/null)}")
    mode=$lines[1]
    if [[ $mode == files ]]; then
        [[ $PREFIX == --*=* ]] && compset -P '*='
        _files
        return
    fi
    [[ $mode == open ]] && suffix=(-S '')
    for line in "${(@)lines[2,-1]}"; do
        text=${line%%$'\t'*}
        texts+=("$text")
        shown+=("$text  ${line#*$'\t'}")
    done
    (( $#texts )) && compadd "$suffix[@]" -l -d shown -a texts
}
if [[ $funcstack[1] == _tarnctl ]]; then
    _tarnctl "$@"
else
    compdef _tarnctl tarnctl
fi
)";

const std::string_view fish_script = R"(# fish completion of tarnctl
function __tarnctl_candidates
    set -l words (commandline -opc)
    set -l program $words[1]
    set -l current (commandline -ct)
    set -e words[1]
    set -l lines (printf '%s\0' $words "$current" | $program completion --candidates 2>/dev/null)
    if test "$lines[1]" = files
        __fish_complete_path "$current"
    else
        printf '%s\n' $lines[2..-1]
    end
end
complete -c tarnctl -f -a '(__tarnctl_candidates)'
)";

}  // namespace tarnctl
