# fish completion for pngslab(1)

complete -c pngslab -f
complete -c pngslab -l help -d 'Print the options'
complete -c pngslab -l image -kx -a '(__fish_complete_suffix .png)' -d 'The image to read'
complete -c pngslab -l rotation -x -d 'Rotate the pixels' \
    -a '90\t"by 90 degrees counter-clockwise" 180\t"accepted; changes nothing" 270\t"accepted; changes nothing"'
complete -c pngslab -l alphaonly -d 'Make an alpha-only surface of a grayscale image'
complete -c pngslab -l output -r -F -d 'The surface file to write'
