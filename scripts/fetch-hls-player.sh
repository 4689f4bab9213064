#!/usr/bin/env bash
# Fetches hls.js, pinned by version and digest, for browsers that do not play HLS by themselves, and puts
# it where the development server of the build finds it: build/web/hls.min.js.
#
#     scripts/fetch-hls-player.sh [build directory]
#
# Needs npm and the registry that it is set up for. The development server works without.
set -euo pipefail

cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."
build=${1:-build}

command -v npm >/dev/null || {
    echo "error: npm is needed to fetch hls.js; on Debian: apt-get install npm" >&2
    exit 1
}
packages=$(mktemp -d)
trap 'rm -rf -- "$packages"' EXIT
cp Sources/GlimtoDevServer/Player/package.json Sources/GlimtoDevServer/Player/package-lock.json "$packages"
npm ci --prefix "$packages" --ignore-scripts --no-audit --no-fund --loglevel=error >/dev/null
mkdir -p -- "$build/web"
install -m 644 "$packages/node_modules/hls.js/dist/hls.min.js" "$build/web/hls.min.js"
install -m 644 "$packages/node_modules/hls.js/LICENSE" "$build/web/hls.js-LICENSE.txt"
echo "$build/web/hls.min.js"
