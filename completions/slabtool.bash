# bash completion for slabtool(1)

_slabtool() {
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} options=--help
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W 'info view gallery check prepare compare convert embed manifest --help --version' -- "$word")
        return
    fi
    case $command in
    info | compare) options+=' --jobs --json --quiet' ;;
    view) options+=' --palette' ;;
    gallery) options+=' -o --images --jobs --quiet' ;;
    check) options+=' --alphaonly --jobs --json --quiet --strict' ;;
    prepare) options+=' --expand-palette --jobs --json --key-to-alpha --output-dir --quiet --small' ;;
    convert) options+=' --alphaonly --background --dither --jobs --json --keep-colors --max-pixels --mode --no-manifest --palette --prune --quiet --rotation --row-alignment --update' ;;
    embed)
        options+=' -o --format'
        if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --format ]]; then
            mapfile -t COMPREPLY < <(compgen -W 'c asm' -- "$word")
            return
        fi
        ;;
    manifest) options+=' -o --merge' ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    compopt -o filenames
    case $command in
    check | prepare | convert)
        mapfile -t COMPREPLY < <(compgen -f -X '!*.png' -- "$word"; compgen -d -- "$word")
        ;;
    manifest)
        mapfile -t COMPREPLY < <(compgen -f -X '!*.json' -- "$word"; compgen -d -- "$word")
        ;;
    *)
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        ;;
    esac
}

complete -F _slabtool slabtool
