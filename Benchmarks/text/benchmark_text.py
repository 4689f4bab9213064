#!/usr/bin/env python3
"""Character errors and CPU seconds of recognize-text, beside the tesseract command with its defaults.

Both read the same pictures, turn and turn about, with English alone, whatever else is installed. The
pictures are rendered here, so their text is known. The error rate is the edit distance to that text, runs of
white space counted as one space, divided by its length. CPU seconds are user and system time of the process,
the median of the runs.

    Benchmarks/text/benchmark_text.py [--build build] [--runs 3] [--groups windows,terminal] [--keep folder]
"""
import argparse
import json
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
from dataclasses import dataclass, field

import pictures


@dataclass
class Reading:
    errors: int = 0
    characters: int = 0
    seconds: float = 0

    def __iadd__(self, other):
        self.errors += other.errors
        self.characters += other.characters
        self.seconds += other.seconds
        return self

    def rate(self):
        return self.errors / self.characters


@dataclass
class Group:
    ours: Reading = field(default_factory=Reading)
    peer: Reading = field(default_factory=Reading)


def edit_distance(left, right):
    """Levenshtein distance, one column of the table in the bits of one number (Myers 1999, Hyyro 2003)."""
    if not left:
        return len(right)
    places = {}
    for index, character in enumerate(left):
        places[character] = places.get(character, 0) | 1 << index
    mask, last = (1 << len(left)) - 1, 1 << (len(left) - 1)
    rising, falling, distance = mask, 0, len(left)
    for character in right:
        equal = places.get(character, 0)
        diagonal = ((((equal & rising) + rising) ^ rising) | equal | falling) & mask
        up = falling | ~(diagonal | rising) & mask
        down = rising & diagonal
        distance += bool(up & last) - bool(down & last)
        up = up << 1 & mask | 1
        down = down << 1 & mask
        rising = down | ~(diagonal | up) & mask
        falling = up & diagonal
    return distance


def one_spaced(text):
    return re.sub(r"\s+", " ", text).strip()


def run(command):
    """Standard output of the command, and its CPU seconds."""
    with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=errors)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        output.seek(0)
        errors.seek(0)
        if process.returncode:
            raise SystemExit(f"{command}: status {process.returncode}\n{errors.read().decode(errors='replace')}")
        return output.read().decode(), usage.ru_utime + usage.ru_stime


def use_english_alone(folder):
    """Lets both programs see no other language than English; `folder` holds a link to its data."""
    listed = subprocess.run(["tesseract", "--list-langs"], check=True, capture_output=True, text=True).stdout
    installed = pathlib.Path(re.search(r'"(.+)"', listed).group(1), "eng.traineddata")
    pathlib.Path(folder, "eng.traineddata").symlink_to(installed)
    os.environ["TESSDATA_PREFIX"] = str(folder)


def read_ours(tool, path):
    output, seconds = run([*tool, str(path)])
    return json.loads(output)["text"], seconds


def read_peer(path, language="eng"):
    return run(["tesseract", str(path), "stdout", "-l", language])


def measure(picture, tool, runs, verbose):
    truth = one_spaced(picture.text)
    seconds = {"ours": [], "peer": []}
    for _ in range(runs):
        ours, spent = read_ours(tool, picture.path)
        seconds["ours"].append(spent)
        peer, spent = read_peer(picture.path)
        seconds["peer"].append(spent)
    readings = [Reading(edit_distance(truth, one_spaced(text)), len(truth), statistics.median(seconds[who]))
                for who, text in (("ours", ours), ("peer", peer))]
    if verbose:
        print(f"  {picture.path.name}: errors {readings[0].errors} : {readings[1].errors}, "
              f"CPU {readings[0].seconds:.2f} : {readings[1].seconds:.2f} s", file=sys.stderr)
    return readings


def row(name, group):
    return (f"| {name} | {100 * group.ours.rate():.2f} | {100 * group.peer.rate():.2f} | {group.ours.seconds:.2f} "
            f"| {group.peer.seconds:.2f} | {group.ours.seconds / group.peer.seconds:.2f} |")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build")
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--groups", help="only these, separated by commas")
    parser.add_argument("--keep", help="render the pictures into this folder and leave them there")
    parser.add_argument("--tool", help="another command that prints the JSON; the picture's path is appended")
    parser.add_argument("--verbose", action="store_true", help="one line a picture on standard error")
    options = parser.parse_args()
    tool = options.tool.split() if options.tool else [
        str(pathlib.Path(options.build, "glimto-capture").resolve()), "recognize-text", "--path"]

    with tempfile.TemporaryDirectory() as temporary, tempfile.TemporaryDirectory() as languages:
        use_english_alone(languages)
        folder = pathlib.Path(options.keep or temporary)
        folder.mkdir(parents=True, exist_ok=True)
        groups = {}
        for picture in pictures.render_all(folder):
            if options.groups and picture.group not in options.groups.split(","):
                continue
            group = groups.setdefault(picture.group, Group())
            ours, peer = measure(picture, tool, options.runs, options.verbose)
            group.ours += ours
            group.peer += peer

    total = Group()
    print("| group | errors %, ours | peer | CPU s, ours | peer | ratio |\n|---|---|---|---|---|---|")
    for name, group in groups.items():
        print(row(name, group), flush=True)
        total.ours += group.ours
        total.peer += group.peer
    print(row("all", total))
    missed = [name for name, group in groups.items()
              if group.ours.errors > group.peer.errors or group.ours.seconds > group.peer.seconds]
    print("goals: " + ("met" if not missed else "missed in " + ", ".join(missed)))
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
