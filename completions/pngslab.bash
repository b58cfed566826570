# bash completion for pngslab(1)

_pngslab() {
    local word=${COMP_WORDS[COMP_CWORD]} option given left=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --image)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -X '!*.png' -- "$word"; compgen -d -- "$word")
        return
        ;;
    --output)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    --rotation)
        mapfile -t COMPREPLY < <(compgen -W '90 180 270' -- "$word")
        return
        ;;
    esac
    # pngslab accepts each option once.
    given=" ${COMP_WORDS[*]:1:COMP_CWORD-1} "
    for option in --help --image --rotation --alphaonly --output; do
        [[ $given == *" $option "* ]] || left+=("$option")
    done
    mapfile -t COMPREPLY < <(compgen -W "${left[*]}" -- "$word")
}

complete -F _pngslab pngslab
