#compdef slabtool
# zsh completion for slabtool(1)

local -a subcommands=(
    'info:print what surface files say and whether it fits together'
    'view:draw a surface file as a PNG, upright again'
    'check:tell of images whether pngslab takes them, why not, and what mends them'
    'prepare:make a PNG that pngslab takes, with the same pixels'
    'compare:tell whether two surface files hold the same pixels'
)

_arguments -C '(- *)--help[print what can be asked for]' '1:command:->command' '*::argument:->argument'
case $state in
command)
    _describe command subcommands
    ;;
argument)
    local -a options=('(- *)--help[print what can be asked for]')
    case $words[1] in
    info) _arguments $options '--json[print a JSON array]' '*:surface file:_files' ;;
    view) _arguments $options '1:surface file:_files' '2:PNG to write:_files' ;;
    check) _arguments $options '--alphaonly[judge as pngslab --alphaonly does]' '--strict[exit with 1 also if an image is accepted with loss]' '*:image:_files -g "*.png"' ;;
    prepare)
        _arguments $options '--key-to-alpha[turn a transparent colour into an alpha channel]' \
            '--expand-palette[turn palette indices into their colours]' \
            '1:image:_files -g "*.png"' '2:PNG to write:_files'
        ;;
    compare) _arguments $options '1:surface file:_files' '2:surface file:_files' ;;
    esac
    ;;
esac
