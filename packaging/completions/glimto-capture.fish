# Completion of glimto-capture for fish. Displays, windows and microphones are asked of the system; where that fails,
# as while a recording holds the screen, nothing is offered and nothing is said.

function __glimto_capture_displays
    glimto-capture sources 2>/dev/null </dev/null | sed -n 's/^ *screen:\([0-9]*\) -> \(.*\)$/\1\t\2/p'
end

function __glimto_capture_windows
    glimto-capture windows-json 2>/dev/null </dev/null \
        | grep -oE '("title":"([^"\\\\]|\\\\.)*",)?"windowID":[0-9]+' \
        | sed -E 's/^("title":"(.*)",)?"windowID":([0-9]+)$/\3\t\2/; s/\\\\(["\\\\])/\1/g'
end

function __glimto_capture_microphones
    LC_ALL=C pactl list short sources 2>/dev/null </dev/null | cut -f2
end

set -l commands permission-json sources windows-json screenshot clipboard-image recognize-text record upload help
complete -c glimto-capture -f
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a permission-json -d 'Print whether the screen can be recorded'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a sources -d 'Print displays and applications'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a windows-json -d 'Print windows and displays as JSON'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a screenshot -d 'Write a PNG of the screen'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a clipboard-image -d 'Put a PNG on the clipboard'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a recognize-text -d 'Print the text in a PNG'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a record -d 'Record the screen'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a upload -d 'Upload a finished take'
complete -c glimto-capture -n "not __fish_seen_subcommand_from $commands" -a help -d 'Print all options'

complete -c glimto-capture -n '__fish_seen_subcommand_from windows-json screenshot clipboard-image recognize-text record upload' -l help -d 'Print all options'

complete -c glimto-capture -n '__fish_seen_subcommand_from windows-json' -l visible -d 'Windows on the screen'
complete -c glimto-capture -n '__fish_seen_subcommand_from windows-json' -l all -d 'All windows'

complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -s o -l output -rF -d 'Output PNG'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l stdout-json -d 'Print metadata as JSON'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l format -xa png -d 'Output format'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l display-strategy -xa cursor -d 'Which display'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l display -xa '(__glimto_capture_displays)' -d 'Display index'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l target-json -x -d 'Display or region as JSON'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l copy-image -d 'Put it on the clipboard'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l no-watermark -d 'Without the watermark'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l open -d 'Open it afterwards'
complete -c glimto-capture -n '__fish_seen_subcommand_from screenshot' -l reveal -d 'Show it in the file manager'

complete -c glimto-capture -n '__fish_seen_subcommand_from clipboard-image recognize-text' -l path -rF -d PNG

complete -c glimto-capture -n '__fish_seen_subcommand_from record' -s d -l duration -x -d 'Seconds to record'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l until-stopped -d 'Until the stop file appears'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l max-duration-seconds -x -d 'End after this long'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -s o -l output -xa '(__fish_complete_directories)' -d 'Output directory'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l display -xa '(__glimto_capture_displays)' -d 'Display index'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -s r -l framerate -x -d 'Frames a second'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l segment-duration -x -d 'Seconds a segment'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l system-audio -d 'Record what the system plays'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l microphone -xa '(__glimto_capture_microphones)' -d 'Mix in this microphone'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l no-cursor -d 'Without the pointer'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l record-events -d 'Record a track of input events'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l region -x -d 'x,y,width,height'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l window-id -xa '(__glimto_capture_windows)' -d 'Record one window'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l except-window-id -xa '(__glimto_capture_windows)' -d 'Keep this window of the product'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -s w -l overwrite -d 'Replace the take in the output directory'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l stop-file -rF -d 'End when this file appears'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l upload -d 'Upload the recording'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l api-base-url -x -d 'Origin of the API'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l access-key -x -d 'Access key; better in the environment'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l recording-id -x -d 'Id of the recording'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l background-upload-threshold -x -d 'Send segments after this long'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l no-background-upload -d 'Send everything at the end'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l stdout-json -d 'Print metadata as JSON'
complete -c glimto-capture -n '__fish_seen_subcommand_from record' -l reveal -d 'Show the take in the file manager'

complete -c glimto-capture -n '__fish_seen_subcommand_from upload' -l dir -xa '(__fish_complete_directories)' -d 'Finished take'
complete -c glimto-capture -n '__fish_seen_subcommand_from upload' -l api-base-url -x -d 'Origin of the API'
complete -c glimto-capture -n '__fish_seen_subcommand_from upload' -l recording-id -x -d 'Id of the recording'
