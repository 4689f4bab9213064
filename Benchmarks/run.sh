#!/usr/bin/env bash
# Builds what the benchmarks run, runs all that have a peer, and writes what they say: benchmarks.md for people,
# benchmarks.json for programs.
#
#     Benchmarks/run.sh [--quick] [--only name,...] [build folder [results folder]]
#
# The folders are build and build/benchmarks without a word about them. --quick: one run of each, short. --only: some of
# picture-720p, picture-1080p, picture-curve, record, screenshot, upload, text. What fails is told at the end; the
# others run all the same. Benchmarks/plot.py makes the plots of Documentation/performance.md out of the JSON.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

runs=3 seconds=20 pictures=150 only=
while [[ ${1:-} == --* ]]; do
    case $1 in
    --quick) runs=1 seconds=5 pictures=60 ;;
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
mkdir -p "$results"
ninja -C "$build" glimto-capture glimto-motion-scene glimto-picture-benchmark

load() { cut -d' ' -f1-3 /proc/loadavg; }
machine="$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1), $(nproc) processor(s), $(uname -sr)"
revision="$(git describe --always --dirty 2>/dev/null || echo unknown)"
load_before="$(load)"
names=() failed=()

# Runs one benchmark; its words become a section.
section() {
    local name=$1
    shift
    [[ -z $only || ",$only," == *",$name,"* ]] || return 0
    names+=("$name")
    echo "== $name" >&2
    "$@" >"$results/$name.txt" || failed+=("$name")
}

section picture-720p Benchmarks/picture/benchmark_picture.py --build "$build" --runs "$runs" \
    --pictures "$pictures" --json "$results/picture-720p.json"
section picture-1080p Benchmarks/picture/benchmark_picture.py --build "$build" --runs "$runs" \
    --pictures "$pictures" --size 1920x1080 --json "$results/picture-1080p.json"
section picture-curve Benchmarks/picture/benchmark_picture.py --build "$build" --curve \
    --scenes zoom,pan,film,game,mixed,page --pictures "$pictures" --json "$results/picture-curve.json"
section record Benchmarks/record/benchmark_record.py --build "$build" --runs "$runs" --seconds "$seconds" \
    --json "$results/record.json"
section screenshot Benchmarks/screenshot/benchmark_screenshot.py --build "$build" --runs $((runs * 5))
section upload Benchmarks/upload/benchmark_upload.py --binary "$build/glimto-capture" --runs "$runs"
section text Benchmarks/text/benchmark_text.py --build "$build" --runs "$runs"

python3 - "$results" "$machine" "$revision" "$load_before" "$(load)" "$runs" "${names[*]:-}" "${failed[*]:-}" <<'END'
import json
import pathlib
import sys

folder, machine, revision, before, after, runs, names, failed = sys.argv[1:]
folder = pathlib.Path(folder)
names = names.split()
texts = {name: (folder / f"{name}.txt").read_text("utf-8") for name in names}
facts = {"machine": machine, "revision": revision, "loadBefore": before, "loadAfter": after, "runs": int(runs),
         "failed": failed.split()}
figures = {}
for name in names:
    file = folder / f"{name}.json"
    figures[name] = json.loads(file.read_text("utf-8")) if file.exists() else texts[name].splitlines()
(folder / "benchmarks.json").write_text(json.dumps({**facts, "benchmarks": figures}, indent=1) + "\n", "utf-8")

lines = [f"Revision {revision}, {machine}. Load {before} before, {after} after; medians of {runs} run(s).", ""]
for name in names:
    table = texts[name].startswith("|")
    lines += [f"## {name}" + (" (failed)" if name in facts["failed"] else ""), "",
              texts[name].rstrip() if table else "```\n" + texts[name].rstrip() + "\n```", ""]
(folder / "benchmarks.md").write_text("\n".join(lines), "utf-8")
END
echo "$results/benchmarks.md"
[ ${#failed[@]} -eq 0 ] || { echo "failed: ${failed[*]}" >&2; exit 1; }
