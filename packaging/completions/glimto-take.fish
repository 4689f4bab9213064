# Completion of glimto-take for fish.

set -l commands info verify repair export help
complete -c glimto-take -f
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a info -d 'Tell what is in a take'
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a verify -d 'Check a take'
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a repair -d 'Make a take whole'
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a export -d 'Write one file of a take'
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a help -d 'Print all options'
complete -c glimto-take -n '__fish_seen_subcommand_from info verify repair export' -a '(__fish_complete_directories)'
complete -c glimto-take -n '__fish_seen_subcommand_from info verify repair export' -l json -d 'Print one JSON object'
complete -c glimto-take -n '__fish_seen_subcommand_from repair' -l dry-run -d 'Change nothing'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -s o -l output -rF -d 'File to write'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l overwrite -d 'Replace a file that exists'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l from -x -d 'Begin there'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l to -x -d 'End there'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l at -x -d 'The picture seen then'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l video-only -d 'Without sound'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l fps -x -d 'Pictures a second, at most'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l width -x -d 'Scale to that width'
complete -c glimto-take -n '__fish_seen_subcommand_from export' -l codec -xa 'av1 vp9' -d 'Codec of .webm'
