#!/usr/bin/env bash
# Builds what the benchmarks run, runs all that have a peer, and writes what they say: benchmarks.md for people,
# benchmarks.json for programs.
#
#     Benchmarks/run.sh [--quick] [--runs count] [--only name,...] [build folder [results folder]]
#
# The folders are build and build/benchmarks without a word about them. --quick: one short run of each, of some
# contents. --runs: how many of each, instead of 3. --only: some of picture-720p, picture-1080p, picture-curve, record,
# new-scenes, faults, screenshot, upload, text, families, programs, wayland. A benchmark that fails, misses a goal of its
# own or takes more than two hours is named at the end, with status 1; what it said until then is kept, and the others
# run all the same. Benchmarks/plot.py makes the plots of Documentation/performance.md out of the JSON,
# Benchmarks/tables.py its tables.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

runs=3 seconds=20 pictures=150 pages=3 only=
fault_seconds=13 some_scenes=() some_beginnings=() some_groups=() some_programs=()
while [[ ${1:-} == --* ]]; do
    case $1 in
    --quick)
        runs=1 seconds=5 pictures=60 pages=1 fault_seconds=5
        some_scenes=(--scenes typing,zoom) some_beginnings=(--contents window,zoom)
        some_groups=(--groups "light 12 px,dialogs") some_programs=(--only xmessage)
        ;;
    --runs)
        runs=${2:?"--runs needs a count"}
        shift
        ;;
    --only)
        only=${2:?"--only needs names"}
        shift
        ;;
    *)
        echo "error: unknown option $1" >&2
        exit 2
        ;;
    esac
    shift
done
build=${1:-build}
results=${2:-$build/benchmarks}
[ -e "$build/build.ninja" ] || cmake -G Ninja -B "$build" -DCMAKE_BUILD_TYPE=Release >&2
ninja -C "$build" glimto-capture glimto-motion-scene glimto-picture-loop glimto-picture-benchmark \
    glimto-picture-likeness glimto-test-surface >&2
mkdir -p "$results"

load() { cut -d' ' -f1-3 /proc/loadavg; }
machine="$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1), $(nproc) processor(s), $(uname -sr)"
revision="$(git describe --always --dirty 2>/dev/null || echo unknown)"
load_before="$(load)"
names=() failed=()

# Runs one benchmark; its words become a section. What fails is in `failed`.
section() {
    local name=$1
    shift
    [[ -z $only || ",$only," == *",$name,"* ]] || return 0
    names+=("$name")
    rm -f "$results/$name.json"
    echo "== $name" >&2
    timeout --kill-after=60 2h "$@" </dev/null >"$results/$name.txt" || failed+=("$name")
}

scenes() {
    section "$1" Benchmarks/picture/benchmark_picture.py --build "$build" --pictures "$pictures" \
        --json "$results/$1.json" "${@:2}"
}

scenes picture-720p --runs "$runs"
scenes picture-1080p --runs "$runs" --size 1920x1080 "${some_scenes[@]}"
scenes picture-curve --curve --scenes zoom,pan,film,game,mixed,page "${some_scenes[@]}"
section record Benchmarks/record/benchmark_record.py --build "$build" --runs "$runs" --seconds "$seconds" \
    --json "$results/record.json"
section new-scenes Benchmarks/record/benchmark_new_scenes.py --build "$build" --seconds $((seconds > 12 ? seconds : 12)) \
    --json "$results/new-scenes.json" "${some_beginnings[@]}"
section faults Benchmarks/record/compare_faults.py --build "$build" --seconds "$fault_seconds"
section screenshot Benchmarks/screenshot/benchmark_screenshot.py --build "$build" --runs $((runs * 5))
section upload Benchmarks/upload/benchmark_upload.py --binary "$build/glimto-capture" --runs "$runs"
section text Benchmarks/text/benchmark_text.py --build "$build" --runs "$runs" "${some_groups[@]}"
section families Benchmarks/text/benchmark_families.py --build "$build" --count "$pages"
section programs Benchmarks/text/benchmark_programs.py --build "$build" "${some_programs[@]}"
section wayland Benchmarks/wayland/benchmark_wayland.py --build "$build" --runs "$runs" --seconds "$seconds"

python3 Benchmarks/join_results.py "$results" "${names[@]}" --machine "$machine" --revision "$revision" --runs "$runs" \
    --load-before "$load_before" --load-after "$(load)" --failed "${failed[*]:-}"
echo "$results/benchmarks.md"
[ ${#failed[@]} -eq 0 ] || { echo "failed, or missed a goal of their own: ${failed[*]}" >&2; exit 1; }
