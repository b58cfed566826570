#compdef slabtool
# zsh completion for slabtool(1)

local -a subcommands=(
    'info:print what surface files say and whether it fits together'
    'view:draw a surface file as a PNG, upright again'
    'check:report whether pngslab accepts images; if not, why, and how to fix them'
    'prepare:write a PNG that pngslab accepts, with the same pixels'
    'compare:report whether two surface files hold the same pixels'
    'convert:convert images and folders of images into surface files'
    'embed:write surface files as arrays for C and C++'
    'manifest:write one manifest of several'
)

_arguments -C '(- *)--help[print what can be asked for]' '(- *)--version[print the version]' '1:command:->command' '*::argument:->argument'
case $state in
command)
    _describe command subcommands
    ;;
argument)
    local -a options=('(- *)--help[print what can be asked for]')
    local -a batch=('--jobs[number of threads]:count:' '--json[print an object for each file]'
        '--quiet[print only what is wrong]')
    case $words[1] in
    info) _arguments $options $batch '*:surface file or folder:_files' ;;
    view) _arguments $options '--palette[the colors of palette indices]:palette file:_files' '1:surface file:_files' '2:PNG to write:_files' ;;
    check) _arguments $options $batch '--alphaonly[judge as pngslab --alphaonly does]' '--strict[exit with 1 also if an image is accepted with loss]' '*:image or folder:_files' ;;
    prepare)
        _arguments $options $batch '--key-to-alpha[turn a transparent color into an alpha channel]' \
            '--expand-palette[turn palette indices into their colors]' \
            '--output-dir[write into this folder]:folder:_files -/' \
            '--small[try every setting of the encoder]' \
            '*:image, PNG to write or folder:_files'
        ;;
    convert)
        _arguments $options $batch '--alphaonly[make alpha-only surfaces of grayscale images]' \
            '--background[the color under translucent pixels]:color:' \
            '--dither[dither modes of few bits]:kind:(none ordered floyd-steinberg)' \
            '--keep-colors[apply palettes, key colors and orientation]' \
            '--max-pixels[reject larger images]:count:' \
            '--mode[the color mode]:mode:(ARGB8888 RGB888 RGB565 ARGB1555 ARGB4444 I8 AI88 A8)' \
            '--no-manifest[write no surfaces.json]' \
            '--palette[write palettes of indexed images]' \
            '--prune[remove surfaces whose image is gone]' \
            '--rotation[store the surface turned]:degrees:(90 180 270)' \
            '--row-alignment[start rows at multiples of bytes]:bytes:' \
            '--update[leave alone what is up to date]' \
            '*:image or folder:_files'
        ;;
    compare) _arguments $options $batch '1:surface file:_files' '2:surface file:_files' ;;
    embed)
        _arguments $options '-o[the files to write]:name without ending:_files' \
            '--format[how the bytes are kept]:format:((c\:"in the C source" asm\:"read by an assembler"))' \
            '*:surface file:_files'
        ;;
    manifest)
        _arguments $options '-o[the manifest to write]:manifest:_files -g "*.json"' \
            '*--merge[the manifests to merge]:*-o:manifest:_files -g "*.json"'
        ;;
    esac
    ;;
esac
