# Completion of glimto-take for fish.

set -l commands info verify repair help
complete -c glimto-take -f
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a info -d 'Tell what is in a take'
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a verify -d 'Check a take'
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a repair -d 'Make a take whole'
complete -c glimto-take -n "not __fish_seen_subcommand_from $commands" -a help -d 'Print all options'
complete -c glimto-take -n '__fish_seen_subcommand_from info verify repair' -a '(__fish_complete_directories)'
complete -c glimto-take -n '__fish_seen_subcommand_from info verify repair' -l json -d 'Print one JSON object'
complete -c glimto-take -n '__fish_seen_subcommand_from repair' -l dry-run -d 'Change nothing'
