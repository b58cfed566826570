# bash completion for slabtool(1)

_slabtool() {
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} options=--help
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W 'info view check prepare compare --help' -- "$word")
        return
    fi
    case $command in
    info) options+=' --json' ;;
    check) options+=' --alphaonly --strict' ;;
    prepare) options+=' --key-to-alpha --expand-palette' ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    compopt -o filenames
    case $command in
    check | prepare)
        mapfile -t COMPREPLY < <(compgen -f -X '!*.png' -- "$word"; compgen -d -- "$word")
        ;;
    *)
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        ;;
    esac
}

complete -F _slabtool slabtool
