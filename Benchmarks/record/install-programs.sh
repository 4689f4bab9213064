#!/usr/bin/env bash
# Installs what benchmark_record.py records: a terminal, a browser, a window manager, a player, photos, and what drives
# them.
set -euo pipefail
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo -n)
"${as_root[@]}" apt-get install --yes --no-install-recommends ffmpeg xvfb xterm openbox chromium mpv xdotool feh \
    mate-backgrounds fonts-dejavu-core
