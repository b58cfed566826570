# fish completion for slabtool(1)

complete -c slabtool -n __fish_use_subcommand -f
complete -c slabtool -n __fish_use_subcommand -a info -d 'Print what surface files say'
complete -c slabtool -n __fish_use_subcommand -a view -d 'Draw a surface file as a PNG'
complete -c slabtool -n __fish_use_subcommand -a check -d 'Tell whether pngslab takes images, and why not'
complete -c slabtool -n __fish_use_subcommand -a prepare -d 'Make a PNG that pngslab takes'
complete -c slabtool -n __fish_use_subcommand -a compare -d 'Tell whether two surface files are the same'
complete -c slabtool -n '__fish_seen_subcommand_from check prepare' -kfa '(__fish_complete_suffix .png)'
complete -c slabtool -l help -d 'Print what can be asked for'
complete -c slabtool -n '__fish_seen_subcommand_from info' -l json -d 'Print a JSON array'
complete -c slabtool -n '__fish_seen_subcommand_from check' -l alphaonly -d 'Judge as pngslab --alphaonly does'
complete -c slabtool -n '__fish_seen_subcommand_from check' -l strict -d 'Exit with 1 also if an image is accepted with loss'
complete -c slabtool -n '__fish_seen_subcommand_from prepare' -l key-to-alpha -d 'Turn a transparent colour into alpha'
complete -c slabtool -n '__fish_seen_subcommand_from prepare' -l expand-palette -d 'Turn palette indices into colours'
