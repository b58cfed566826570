#compdef slabtool
# zsh completion for slabtool(1)

local -a subcommands=(
    'info:print the headers of surface files and report inconsistent ones'
    'view:draw a surface file upright, in the terminal or as a PNG'
    'gallery:write a page with a picture of every surface'
    'check:report whether pngslab accepts each image; if not, why, and how to fix it'
    'prepare:write PNG images that pngslab accepts, with the same pixels'
    'compare:report whether two surface files hold the same pixels'
    'convert:convert images and folders of images into surface files'
    'embed:write surface files as arrays for C and C++'
    'manifest:merge manifests into one'
)

_arguments -C '(- *)--help[print the options]' '(- *)--version[print the version]' '1:command:->command' '*::argument:->argument'
case $state in
command)
    _describe command subcommands
    ;;
argument)
    local -a options=('(- *)--help[print the options]')
    local -a batch=('--jobs[number of threads]:count:' '--json[print an object for each file]'
        '--quiet[print only files with problems]')
    case $words[1] in
    info) _arguments $options $batch '*:surface file or folder:_files' ;;
    view) _arguments $options '--palette[the colors of palette indices]:palette file:_files' '1:surface file:_files' '2::PNG to write:_files' ;;
    gallery)
        _arguments $options '-o[the page to write]:page:_files -g "*.html"' \
            '--images[show the PNG images of the folders as well]' '--jobs[number of threads]:count:' \
            '--quiet[print nothing]' '*:surface file or folder:_files'
        ;;
    check) _arguments $options $batch '--alphaonly[check the images for pngslab --alphaonly]' '--strict[exit with 1 also if an image is accepted with loss]' '*:image or folder:_files' ;;
    prepare)
        _arguments $options $batch '--key-to-alpha[convert a transparent color to an alpha channel]' \
            '--expand-palette[replace palette indices by their colors]' \
            '--output-dir[write into this folder; subfolders are kept]:folder:_files -/' \
            '--small[try every setting of the encoder and keep the smallest file]' \
            '*:image, PNG to write or folder:_files'
        ;;
    convert)
        _arguments $options $batch '--alphaonly[make alpha-only surfaces of grayscale images]' \
            '--background[the color under translucent pixels]:color:' \
            '--dither[dither modes with fewer than 8 bits a channel]:kind:(none ordered floyd-steinberg)' \
            '--keep-colors[apply palettes, key colors and orientation]' \
            '--max-pixels[reject images with more pixels]:count:' \
            '--mode[the color mode]:mode:(ARGB8888 RGB888 RGB565 ARGB1555 ARGB4444 I8 AI88 A8)' \
            '--no-manifest[do not write surfaces.json]' \
            '--palette[write NAME.palette beside indexed surfaces]' \
            '--prune[remove surfaces whose image was removed]' \
            '--rotation[rotate the stored pixels]:degrees:(90 180 270)' \
            '--row-alignment[make every stride a multiple of this many bytes]:bytes:' \
            '--update[skip images whose surface is up to date]' \
            '*:image or folder:_files'
        ;;
    compare) _arguments $options $batch '1:surface file:_files' '2:surface file:_files' ;;
    embed)
        _arguments $options '-o[the files to write]:name without file extension:_files' \
            '--format[where the bytes are stored]:format:((c\:"in the C source" asm\:"read by an assembler"))' \
            '*:surface file:_files'
        ;;
    manifest)
        _arguments $options '-o[the manifest to write]:manifest:_files -g "*.json"' \
            '*--merge[the manifests to merge]:*-o:manifest:_files -g "*.json"'
        ;;
    esac
    ;;
esac
