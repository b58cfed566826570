#compdef pngslab
# zsh completion for pngslab(1)

_arguments \
    '(- *)--help[print the options]' \
    '--image[the image to read]:image:_files -g "*.png"' \
    '--rotation[turn the pixels counter-clockwise]:degrees:(90 180 270)' \
    '--alphaonly[make an alpha-only surface of a greyscale image]' \
    '--output[the surface file to write]:surface file:_files'
