#!/usr/bin/env bash
# From nothing to a verified recording: installs what is missing, builds the program, records five
# seconds while uploading them to a development server of its own, and checks both ends.
#
# Records the screen that DISPLAY names when it answers, else a virtual screen of its own with a
# clock and running text. With sound when a sound server answers and has something to play on. Exit
# status: 0 only when the take was recorded and uploaded and holds every check.
#
# Run in a terminal it serves the recording's page until Ctrl-C.
set -euo pipefail
export PATH="/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin${PATH:+:$PATH}"

cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."
work=$(mktemp -d)
started=() # processes to end, in order

finish() {
    for process in "${started[@]}"; do
        kill "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    rm -rf -- "$work"
}
trap finish EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

fail() {
    echo "error: $*" >&2
    exit 1
}

# Waits until the command that follows the limit in seconds succeeds.
wait_until() {
    local limit=$1 deadline
    shift
    deadline=$((SECONDS + limit))
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$deadline" ] || return 1
        sleep 0.1
    done
}

step() { printf '\n== %s\n' "$*"; }

build() {
    cmake -G Ninja -B build -DCMAKE_BUILD_TYPE=Release -DGLIMTO_TESTS=OFF -DGLIMTO_BENCHMARKS=OFF >"$work/cmake.log" 2>&1 || {
        tail -n 30 "$work/cmake.log" >&2
        fail "The build could not be configured."
    }
    ninja -C build glimto-capture glimto-dev-server || fail "The build failed."
}

# The picture of the virtual screen: a clock that shows tenths of a second, running text, and a
# clock with hands.
start_moving_picture() {
    cat >"$work/clock.sh" <<'CLOCK'
printf '\033[?25l'
while :; do
    printf '\033[H\n  glimto-capture quickstart\n\n  %s' "$(date '+%H:%M:%S.%N' | cut -c 1-10)"
    sleep 0.05
done
CLOCK
    cat >"$work/text.sh" <<'TEXT'
line=0
while :; do
    line=$((line + 1))
    printf '%05d  %s  the screen is being recorded\n' "$line" "$(date '+%H:%M:%S')"
    sleep 0.1
done
TEXT
    xsetroot -solid '#2b3a55'
    xterm -T clock -geometry 34x6+30+30 -fa 'DejaVu Sans Mono' -fs 24 -bg '#101820' -fg '#f2aa4c' \
        -e sh "$work/clock.sh" &
    started=("$!" "${started[@]}")
    xterm -T text -geometry 66x20+30+330 -fa 'DejaVu Sans Mono' -fs 11 -bg black -fg '#8fd694' \
        -e sh "$work/text.sh" &
    started=("$!" "${started[@]}")
    xclock -update 1 -geometry 300x300+900+60 -bg '#f4f1ea' &
    started=("$!" "${started[@]}")
    for title in clock text xclock; do
        wait_until 15 xwininfo -name "$title" || fail "The window '$title' did not appear on the virtual screen."
    done
}

start_virtual_screen() {
    unset WAYLAND_DISPLAY XAUTHORITY
    Xvfb -displayfd 3 -screen 0 1280x720x24 -noreset -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
    started=("$!")
    wait_until 15 test -s "$work/display" || {
        cat "$work/xvfb.log" >&2
        fail "The virtual screen did not start."
    }
    DISPLAY=:$(cat "$work/display")
    export DISPLAY
    wait_until 15 xdpyinfo || fail "The virtual screen $DISPLAY does not answer."
    start_moving_picture
}

# Whether what the system plays can be recorded.
sound_server_answers() {
    local info sinks
    info=$(timeout 5 pactl info 2>/dev/null) || return 1
    sinks=$(timeout 5 pactl list short sinks 2>/dev/null) || return 1
    [ -n "$sinks" ] && grep -q '^Default Sink: .' <<<"$info"
}

# Receives the recording on this machine: on the usual port, or on any other when that is taken.
start_development_server() {
    local port
    for port in 3000 0; do
        build/glimto-dev-server --port "$port" --dir .glimto-runs/dev-server >"$work/server.log" 2>&1 &
        started=("$!" "${started[@]}")
        if wait_until 10 grep -q '^Recordings: ' "$work/server.log"; then
            pages=$(sed -n 's/^Recordings: //p' "$work/server.log")
            return
        fi
    done
    cat "$work/server.log" >&2
    fail "The development server did not start."
}

# How many different pictures the take shows.
count_pictures() {
    ffmpeg -nostdin -v error -i "$1/result.mp4" -map 0:v -f framemd5 - |
        awk -F, '!/^#/ { seen[$6] = 1 } END { for (picture in seen) count++; print count + 0 }'
}

step "Packages"
scripts/install-packages.sh build quickstart

step "Build"
build

virtual=no
if [ -n "${WAYLAND_DISPLAY:-}" ]; then
    step "This is a Wayland session, which this version cannot record: starting a virtual screen instead"
    virtual=yes
elif [ -z "${DISPLAY:-}" ] || ! timeout 5 xdpyinfo >/dev/null 2>&1; then
    step "No X display answers: starting a virtual screen"
    virtual=yes
fi
[ "$virtual" = no ] || start_virtual_screen

take=$PWD/.glimto-runs/quickstart-$(date +%Y%m%d-%H%M%S)-$$
if sound_server_answers; then
    step "Recording five seconds of the display $DISPLAY, with what the system plays"
    sound=(--system-audio)
else
    step "Recording five seconds of the display $DISPLAY, without sound: no sound server answers"
    sound=()
fi
start_development_server
GLIMTO_DESKTOP_ACCESS_KEY=quickstart build/glimto-capture record --duration 5 --output "$take" "${sound[@]}" \
    --upload --api-base-url "${pages%/recordings}" || fail "The recording failed."

step "Verifying the take"
scripts/verify-media-contract.sh "$take" || fail "The take does not hold the media contract."
if [ "$virtual" = yes ]; then
    pictures=$(count_pictures "$take")
    [ "$pictures" -ge 20 ] || fail "The screen moved, but the take shows only $pictures different pictures."
    echo "The take shows $pictures different pictures."
fi

step "Looking at the uploaded recording"
recording=$(jq -r .recordingId "$take/upload-job.json")
details=$(curl --silent --fail --max-time 10 "$pages/$recording/details.json") || fail "The recording's page does not answer."
jq -e '.state == "uploaded" and .isPlayable' <<<"$details" >/dev/null || fail "The upload is not complete: $details"
for segment in "$take"/segments/video/*; do
    curl --silent --fail --max-time 10 "$pages/$recording/files/segments/video/${segment##*/}" | cmp - "$segment" ||
        fail "What was uploaded differs from $segment."
done
echo "All $(jq .objectCount <<<"$details") uploaded files are there."

step "Done"
cat <<DONE
The take is in $take
  result.mp4               the recording as one file, for any player or browser
  segments/playlist.m3u8   the recording as it was written
  manifest.json, thumbnail.jpg

Play it:
  ffplay $take/result.mp4
  mpv $take/result.mp4
or open $take/result.mp4 in a browser.

The uploaded recording has a page: $pages/$recording
DONE
if [ -t 1 ]; then
    echo "It is served until Ctrl-C."
    wait "${started[0]}" || true
else
    echo "Serve it again: build/glimto-dev-server --dir $PWD/.glimto-runs/dev-server"
fi
