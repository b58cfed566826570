# fish completion for pngslab(1)

complete -c pngslab -f
complete -c pngslab -l help -d 'Print the options'
complete -c pngslab -l image -kx -a '(__fish_complete_suffix .png)' -d 'The image to read'
complete -c pngslab -l rotation -x -a '90 180 270' -d 'Turn the pixels counter-clockwise'
complete -c pngslab -l alphaonly -d 'Make an alpha-only surface of a greyscale image'
complete -c pngslab -l output -r -F -d 'The surface file to write'
