# Completion of glimto-take for bash.

_glimto_take() {
    local current=${COMP_WORDS[COMP_CWORD]} words=
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W 'info verify repair export render help' -- "$current")
        return
    fi
    case ${COMP_WORDS[1]} in
    info | verify) words='--json' ;;
    repair) words='--dry-run --json' ;;
    export) words='-o --output --overwrite --from --to --at --video-only --fps --width --codec --json' ;;
    render)
        words='-o --output --overwrite --from --to --fps --width --zoom --plan --plan-only --pointer-size --padding'
        words+=' --corner-radius --background --json'
        ;;
    *) return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        return
    fi
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    -o | --output | --plan)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --codec)
        mapfile -t COMPREPLY < <(compgen -W 'av1 vp9' -- "$current")
        return
        ;;
    --zoom)
        mapfile -t COMPREPLY < <(compgen -W 'auto none' -- "$current")
        return
        ;;
    --from | --to | --at | --fps | --width | --pointer-size | --padding | --corner-radius | --background) return ;;
    esac
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$current")
}
complete -F _glimto_take glimto-take
