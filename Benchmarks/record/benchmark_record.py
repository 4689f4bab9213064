#!/usr/bin/env python3
"""CPU time and picture of recordings of real contents, beside ffmpeg's x11grab with libx264 superfast.

Both recorders run alternately on one X server of our own, at the same size, frame rate and keyframe interval, each
writing HLS over fragmented MP4. The peer's bit rate is what ours came to, mended after every run. Counted are user and
system time of the recorder with its children, and of the X server. Where the drawn pictures are known, those of the last
run of each are decoded and compared with them. Prints Markdown tables; --json keeps all figures.

    Benchmarks/record/benchmark_record.py [--build build] [--seconds 20] [--runs 3] [--contents still,typing,...]
"""
import argparse
import signal
import statistics
import sys

import recording_tables
from collecting import add_options, collect, names_of, report
from contents import CONTENTS
from picture_edges import edges
from picture_quality import left_out, likeness, picture_numbers
from picture_vmaf import vmaf
from recorders import LEAST_BITS, playlist_of, record
from stage import opened


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
            if content.again:
                result[recorder].update(edges(playlist_of(take), pictures, options.build))
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
    add_options(parser, CONTENTS)
    parser.add_argument("--runs", type=int, default=3)
    options = parser.parse_args()
    names = names_of(options, parser, CONTENTS)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # or the programs on the screen would stay
    figures, failed = collect(names, options.json, lambda name, folder: {
        **facts(CONTENTS[name]), **compare(CONTENTS[name], options, folder)})
    return report([recording_tables.cost_table(figures), recording_tables.picture_table(figures),
                   recording_tables.large_table(figures)], failed)


if __name__ == "__main__":
    sys.exit(main())
