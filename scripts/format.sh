#!/usr/bin/env bash
# Lays out the C++ sources as .clang-format has it.
#
#     scripts/format.sh            changes the files in place
#     scripts/format.sh --check    only names the files that are laid out otherwise; exit status 1 then
set -euo pipefail
export PATH="/usr/bin:/bin:/usr/sbin:/sbin:/usr/local/bin${PATH:+:$PATH}"

cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."
command -v clang-format >/dev/null || {
    echo "error: clang-format is missing; install the package clang-format." >&2
    exit 2
}

folders=()
for folder in Sources Tests Benchmarks; do
    [ ! -d "$folder" ] || folders+=("$folder")
done
mapfile -d '' files < <(find "${folders[@]}" \( -name '*.h' -o -name '*.cpp' \) -print0 | sort -z)

case ${1:-} in
"") clang-format -i "${files[@]}" ;;
--check)
    different=0
    for file in "${files[@]}"; do
        if ! clang-format "$file" | cmp -s - "$file"; then
            echo "$file"
            different=$((different + 1))
        fi
    done
    echo "format: ${#files[@]} files, $different laid out otherwise"
    [ "$different" -eq 0 ]
    ;;
*)
    echo "usage: scripts/format.sh [--check]" >&2
    exit 2
    ;;
esac
