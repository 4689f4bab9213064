# Completion of glimto-capture for bash. Displays, windows and microphones are asked of the system; where that fails,
# as while a recording holds the screen, nothing is offered and nothing is said.

_glimto_capture_displays() {
    glimto-capture sources 2>/dev/null </dev/null |
        sed -n 's/^ *screen:\([0-9]*\) -> \(.*\)$/\1 \2/p'
}

# "<id> <title>" a line, frontmost first.
_glimto_capture_windows() {
    glimto-capture windows-json 2>/dev/null </dev/null |
        grep -oE '("title":"([^"\\]|\\.)*",)?"windowID":[0-9]+' |
        sed -E 's/^("title":"(.*)",)?"windowID":([0-9]+)$/\3 \2/; s/\\(["\\])/\1/g'
}

_glimto_capture_microphones() {
    LC_ALL=C pactl list short sources 2>/dev/null </dev/null | cut -f2
}

# Offers the first words of the lines on standard input; what follows them is shown while there is a choice.
_glimto_capture_offer() {
    local line lines=()
    while IFS= read -r line; do
        [[ ${line%% *} == "$1"* ]] && lines+=("$line")
    done
    [ ${#lines[@]} -gt 1 ] || lines=("${lines[@]%% *}")
    COMPREPLY=("${lines[@]}")
    [ ${#lines[@]} -gt 0 ] && [ -n "${lines[0]}" ] || COMPREPLY=()
}

_glimto_capture() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} words=
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words='permission-json sources windows-json screenshot clipboard-image recognize-text record upload help'
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        return
    fi
    case $previous in
    -o | --output | --path | --dir | --stop-file)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --display)
        _glimto_capture_offer "$current" < <(_glimto_capture_displays)
        return
        ;;
    --window-id | --except-window-id)
        _glimto_capture_offer "$current" < <(_glimto_capture_windows)
        return
        ;;
    --microphone)
        _glimto_capture_offer "$current" < <(_glimto_capture_microphones)
        return
        ;;
    --format) words=png ;;
    --display-strategy) words=cursor ;;
    -d | --duration | --max-duration-seconds | -r | --framerate | --segment-duration | --region | --target-json | \
        --api-base-url | --access-key | --recording-id | --background-upload-threshold)
        return
        ;;
    *)
        case $command in
        windows-json) words='--visible --all' ;;
        screenshot)
            words='-o --output --stdout-json --format --display-strategy --display --target-json --copy-image
                --no-watermark --open --reveal'
            ;;
        clipboard-image | recognize-text) words='--path' ;;
        record)
            words='-d --duration --until-stopped --max-duration-seconds -o --output --display -r --framerate
                --segment-duration --system-audio --microphone --no-cursor --record-events --region --window-id
                --except-window-id -w --overwrite --stop-file --upload --api-base-url --access-key --recording-id
                --background-upload-threshold --no-background-upload --stdout-json --reveal'
            ;;
        upload) words='--dir --api-base-url --recording-id' ;;
        esac
        [ -z "$words" ] || words+=' --help'
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _glimto_capture glimto-capture
