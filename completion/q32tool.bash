# shellcheck shell=bash
# Completion of q32tool's command lines in bash. What there is to complete is asked of the program, once
# in each shell that uses it: `q32tool help --names`.
#
#     source q32tool.bash                  # in ~/.bashrc
#
# It works wherever bash starts the program as q32tool or q32tool.exe: in Git Bash, in WSL, and under Wine
# with a function `q32tool() { wine /path/to/q32tool.exe "$@"; }`.

_q32tool_names=''

# Words of a line of names that say what NAME takes: "--method=nearest|bilinear" gives "nearest|bilinear".
_q32tool_value() { # line option; sets REPLY
    local word
    REPLY=
    for word in $1; do
        [[ $word != "$2="* ]] || REPLY=${word#*=}
    done
}

# COMPREPLY for a value: words with bars between them are themselves to be written; some mean folders.
_q32tool_complete_value() { # value current
    case $1 in
        *[A-Z]*'|'* | *..*) ;;
        *'|'*) mapfile -t COMPREPLY < <(compgen -W "${1//|/ }" -- "$2") ;;
        DIR | FOLDER) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$2") ;;
        KIND) mapfile -t COMPREPLY < <(compgen -W 'png bmp jpg tif' -- "$2") ;;
        *PICTURE* | *IN* | *OUT* | OVERLAY | BASE | PATTERN | FILE)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$2") ;;
    esac
} 2>/dev/null # compopt complains where nothing is being completed

_q32tool() {
    local current=${COMP_WORDS[COMP_CWORD]} before='' command='' line='' operands=() operand=0 i word names
    COMPREPLY=()
    [[ -n $_q32tool_names ]] || _q32tool_names=$("${COMP_WORDS[0]}" help --names 2>/dev/null | tr -d '\r')
    ((COMP_CWORD == 0)) || before=${COMP_WORDS[COMP_CWORD - 1]}
    # "--method=near" comes as three words.
    if [[ $current == = ]]; then
        current=''
    elif [[ $before == = ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for ((i = 1; i < COMP_CWORD && ${#command} == 0; ++i)); do
        [[ ${COMP_WORDS[i]} == -* ]] || command=${COMP_WORDS[i]}
    done
    names=$(cut -d ' ' -f 1 <<<"$_q32tool_names" | tr '|' ' ')
    if [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$names --help --version" -- "$current")
        return
    fi
    while read -r line; do
        word=${line%% *}
        [[ "|$word|" != *"|$command|"* ]] || break
    done <<<"$_q32tool_names"
    [[ -n $line ]] || return
    _q32tool_value "$line" "$before"
    if [[ -n $REPLY ]]; then
        _q32tool_complete_value "$REPLY" "$current"
    elif [[ $current == -* ]]; then
        names=$(tr ' ' '\n' <<<"$line" | sed -n 's/^\(--[^=]*\).*/\1/p')
        mapfile -t COMPREPLY < <(compgen -W "$names" -- "$current")
    elif [[ $command == help ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$names" -- "$current")
    else
        # The operand that this is: words before it that are neither options nor their values.
        for ((; i < COMP_CWORD; ++i)); do
            [[ ${COMP_WORDS[i]} != -* ]] || continue
            _q32tool_value "$line" "${COMP_WORDS[i - 1]}"
            [[ -n $REPLY || ${COMP_WORDS[i]} == = || ${COMP_WORDS[i - 1]} == = ]] || ((++operand))
        done
        for word in ${line#* }; do
            [[ $word == -* ]] || operands+=("$word")
        done
        ((operand < ${#operands[@]})) || operand=$((${#operands[@]} - 1))
        ((operand < 0)) || _q32tool_complete_value "${operands[operand]}" "$current"
    fi
}

complete -F _q32tool q32tool q32tool.exe
