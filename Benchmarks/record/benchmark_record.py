#!/usr/bin/env python3
"""CPU time and picture of recordings of real contents, beside ffmpeg's x11grab with libx264 superfast.

Both recorders run alternately on one X server of our own, at the same size, frame rate and keyframe interval, each
writing HLS over fragmented MP4. The peer's bit rate is what ours came to, mended after every run. Counted are user and
system time of the recorder with its children, and of the X server. Where the drawn pictures are known, those of the last
run of each are decoded and compared with them. Prints Markdown tables; --json keeps all figures.

    Benchmarks/record/benchmark_record.py [--build build] [--seconds 20] [--runs 3] [--contents still,typing,...]
"""
import argparse
import json
import pathlib
import signal
import statistics
import sys
import tempfile
import traceback

import recording_tables
from contents import CONTENTS
from picture_quality import left_out, likeness, picture_numbers
from picture_vmaf import vmaf
from recorders import LEAST_BITS, playlist_of, record
from stage import Missing, opened

def summary(runs):
    """The medians, and what lies between the cheapest and the dearest run."""
    seconds = [run["cpu"] for run in runs]
    return {key: statistics.median(run[key] for run in runs) for key in runs[0]} | {"cpuSpread": max(seconds) - min(seconds)}


def compare(content, options, folder):
    """Both recorders in turn."""
    runs = {"ours": [], "peer": []}
    takes = {recorder: folder / recorder for recorder in runs}
    with opened(content.width, content.height, options.build, folder) as stage, content.show(stage) as pictures:
        seconds, bits = options.seconds * content.length, None
        for _ in range(options.runs):
            runs["ours"].append(record(stage, takes["ours"], seconds, content.rate))
            wanted = runs["ours"][-1]["bitsPerSecond"]
            bits = max(int(bits * wanted / runs["peer"][-1]["bitsPerSecond"] if bits else wanted), LEAST_BITS)
            runs["peer"].append(record(stage, takes["peer"], seconds, content.rate, bits))
    result = {recorder: summary(entries) for recorder, entries in runs.items()}
    for recorder, take in takes.items():
        if pictures:
            result[recorder].update(quality(playlist_of(take), pictures, folder))
    return result


def quality(playlist, pictures, folder):
    numbers = picture_numbers(playlist, pictures)
    return {**left_out(numbers, pictures.period), **likeness(playlist, numbers, pictures, folder),
            **vmaf(playlist, numbers, pictures, folder)}


def facts(content):
    return {"title": content.title, "goal": content.goal, "again": content.again, "small": content.small,
            "ofSmallGoal": content.small_goal}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=lambda path: pathlib.Path(path).resolve(), default="build")
    parser.add_argument("--seconds", type=int, default=20)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--contents", default=",".join(CONTENTS))
    parser.add_argument("--json", type=pathlib.Path, help="also write the figures to this file")
    options = parser.parse_args()
    names = options.contents.split(",")
    if unknown := set(names) - set(CONTENTS):
        parser.error(f"no such content: {', '.join(sorted(unknown))}")
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # or the programs on the screen would stay
    figures, failed = {}, []
    for name in names:
        print(name, file=sys.stderr, flush=True)
        try:
            with tempfile.TemporaryDirectory() as folder:
                figures[name] = {**facts(CONTENTS[name]), **compare(CONTENTS[name], options, pathlib.Path(folder))}
        except Exception as error:
            if not isinstance(error, Missing):
                traceback.print_exc()
            print(f"{name}: {error}", file=sys.stderr)
            failed.append(name)
        if options.json:
            options.json.write_text(json.dumps(figures, indent=1) + "\n")
    tables = [recording_tables.cost_table(figures), recording_tables.picture_table(figures),
              recording_tables.large_table(figures)]
    print("\n\n".join(filter(None, tables)))
    if failed:
        print(f"error: not recorded: {', '.join(failed)}", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
