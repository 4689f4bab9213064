#!/usr/bin/env python3
"""How soon a new scene can be read and is sharp, in ours and in ffmpeg's x11grab with libx264 superfast at the same bytes.

Numbered pictures are shown whose scenes begin at known moments: cuts between pages and desktops, a window that opens, a
scroll and a zoom that begin, shots of a film. What a decoder shows in the half second after is compared with what was
drawn. Prints Markdown tables; --json keeps the likeness at every look.

    Benchmarks/record/benchmark_new_scenes.py [--build build] [--seconds 20] [--contents slides,window,...]
"""
import argparse
import json
import signal
import subprocess
import sys

import scene_tables
from collecting import add_options, collect, names_of, report
from new_scenes import CONTENTS
from recorders import LEAST_BITS, playlist_of, record
from shown_again import played
from stage import opened

SIZE = (1920, 1080)
RATE = 30
CLOSE_ENOUGH = 0.05  # of the bytes that ours took
MOST_TRIES = 3


def record_both(stage, folder, seconds):
    """Takes of both, of which the peer's comes near to the bytes of ours, and the bit rates."""
    bits = {"ours": record(stage, folder / "ours", seconds, RATE)["bitsPerSecond"]}
    asked = bits["ours"]
    for _ in range(MOST_TRIES):
        bits["peer"] = record(stage, folder / "peer", seconds, RATE, max(round(asked), LEAST_BITS))["bitsPerSecond"]
        if abs(bits["peer"] / bits["ours"] - 1) < CLOSE_ENOUGH:
            break
        asked *= bits["ours"] / bits["peer"]
    return bits


def looks(stage, scenes, take):
    """What a decoder shows at some moments of every scene."""
    command = [stage.build / "glimto-picture-likeness", playlist_of(take), scenes.file, f"{stage.width}x{stage.height}",
               ",".join(map(str, sorted(scenes.titles)))]
    lines = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
    return [json.loads(line) for line in lines]


def compare(content, options, folder):
    with opened(*SIZE, options.build, folder) as stage:
        scenes = content.make(stage)
        with played(stage, scenes.file, scenes.plan):
            bits = record_both(stage, folder, options.seconds)
    titles = [scenes.titles[first] for first in sorted(scenes.titles)]
    return {"title": content.title, "scenes": titles,
            **{recorder: {"bitsPerSecond": rate, "looks": looks(stage, scenes, folder / recorder)}
               for recorder, rate in bits.items()}}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    add_options(parser, CONTENTS)
    options = parser.parse_args()
    names = names_of(options, parser, CONTENTS)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # or the programs on the screen would stay
    figures, failed = collect(names, options.json, lambda name, folder: compare(CONTENTS[name], options, folder))
    return report([scene_tables.summary_table(figures), scene_tables.course_tables(figures)], failed)


if __name__ == "__main__":
    sys.exit(main())
