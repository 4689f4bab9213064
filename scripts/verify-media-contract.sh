#!/usr/bin/env bash
# Checks a finished take against the media contract.
#
#     scripts/verify-media-contract.sh <output-dir>
#
# Writes result.mp4, result.ffprobe.json, playlist.ffprobe.json and verification.json into the take
# and prints one line a check. Exit status: 0 when every check holds, 1 when one fails, 2 when the
# directory is not a take or a tool is missing.
set -eu
export PATH="/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin${PATH:+:$PATH}"

here=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")" && pwd)
if ! command -v python3 >/dev/null; then
    echo "error: python3 is missing; install the package python3." >&2
    exit 2
fi
exec python3 -B "$here/verify_media_contract.py" "$@"
