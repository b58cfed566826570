#compdef slabtool
# zsh completion for slabtool(1)

local -a subcommands=(
    'info:print what surface files say and whether it fits together'
    'view:draw a surface file as a PNG, upright again'
    'check:report whether pngslab accepts images; if not, why, and how to fix them'
    'prepare:write a PNG that pngslab accepts, with the same pixels'
    'compare:tell whether two surface files hold the same pixels'
    'convert:convert images and folders of images into surface files'
    'embed:write surface files as arrays for C and C++'
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
    convert)
        _arguments $options '--alphaonly[make alpha-only surfaces of grayscale images]' \
            '--background[the color under translucent pixels]:color:' \
            '--dither[dither modes of few bits]:kind:(none ordered floyd-steinberg)' \
            '--jobs[number of threads]:count:' \
            '--json[print an object for each image]' \
            '--keep-colors[apply palettes, key colors and orientation]' \
            '--max-pixels[reject larger images]:count:' \
            '--mode[the color mode]:mode:(ARGB8888 RGB888 RGB565 ARGB1555 ARGB4444 I8 AI88 A8)' \
            '--no-manifest[write no surfaces.json]' \
            '--palette[write palettes of indexed images]' \
            '--prune[remove surfaces whose image is gone]' \
            '--quiet[print rejections only]' \
            '--rotation[store the surface turned]:degrees:(90 180 270)' \
            '--row-alignment[start rows at multiples of bytes]:bytes:' \
            '--update[leave alone what is up to date]' \
            '*:image or folder:_files'
        ;;
    compare) _arguments $options '1:surface file:_files' '2:surface file:_files' ;;
    embed)
        _arguments $options '-o[the files to write]:name without ending:_files' \
            '--format[how the bytes are kept]:format:((c\:"in the C source" asm\:"read by an assembler"))' \
            '*:surface file:_files'
        ;;
    esac
    ;;
esac
