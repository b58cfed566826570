#compdef pngslab
# zsh completion for pngslab(1)

_arguments \
    '(- *)--help[print the options]' \
    '--image[the image to read]:image:_files -g "*.png"' \
    '--rotation[rotate the pixels]:degrees:((90\:"by 90 degrees counter-clockwise" 180\:"accepted; changes nothing" 270\:"accepted; changes nothing"))' \
    '--alphaonly[make an alpha-only surface of a grayscale image]' \
    '--output[the surface file to write]:surface file:_files'
