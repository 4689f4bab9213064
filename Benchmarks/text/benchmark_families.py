#!/usr/bin/env python3
"""Character errors and CPU seconds of recognize-text on families of screens, beside the tesseract command.

Ours sees every installed language, the peer runs with its defaults, English; pages in other scripts, which are
drawn only when their language is installed, are read by the peer with that language. What the peer read is kept in
the folder of the pictures, as it does not change. Box-drawing characters, white between ideographs and marks of
direction are left out of every text.

    Benchmarks/text/benchmark_families.py [--build build] [--folder pictures] [--count 3]
        [--only tuned|kept-out] [--families editor,boxes]
"""
import argparse
import json
import pathlib
import re
import subprocess
import sys
import tempfile

import pages
from benchmark_text import Group, Reading, edit_distance, one_spaced, read_ours, read_peer

WORST_RATIO, WORST_MORE = 1.3, 1  # errors of one picture that may be above the peer's


def compared(text):
    """The text without what draws boxes and rules, white between ideographs, and marks of direction."""
    text = re.sub("[\u200e\u200f\u202a-\u202e\u2066-\u2069]", "", text)
    text = re.sub("(?<=[\u3000-\u9fff\uff00-\uffef])\\s+(?=[\u3000-\u9fff\uff00-\uffef])", "", text)
    return one_spaced(re.sub("[\u2500-\u257f|]", " ", text))


def peer_reading(path, language="eng"):
    kept = path.with_suffix(".peer.json")
    if not kept.exists():
        kept.write_text(json.dumps(read_peer(path, language)))
    return json.loads(kept.read_text())


def installed_languages():
    return subprocess.run(["tesseract", "--list-langs"], check=True, capture_output=True, text=True).stdout.split()


def measure(page, folder, tool):
    path, truth = folder / (page.name + ".png"), compared(page.text)
    def reading(text, seconds):
        return Reading(edit_distance(truth, compared(text)), len(truth), seconds)
    text, seconds = read_ours(tool, path)
    path.with_suffix(".ours.txt").write_text(text)
    return reading(text, seconds), reading(*peer_reading(path, getattr(page, "language", "eng")))


def row(name, group):
    peer = max(group.peer.errors, 1)
    return (f"| {name} | {100 * group.ours.rate():.2f} | {100 * group.peer.rate():.2f} | {group.ours.errors / peer:.2f} "
            f"| {group.ours.seconds:.2f} | {group.peer.seconds:.2f} | {group.ours.seconds / group.peer.seconds:.2f} |")


def report(wanted, kind, name_of, folder, tool, verbose):
    """Reads what is wanted and prints a table by what `name_of` says; whether a picture is far worse than the peer's."""
    groups, worse = {}, []
    for page in wanted:
        ours, peer = measure(page, folder, tool)
        group = groups.setdefault(name_of(page), Group())
        group.ours += ours
        group.peer += peer
        if ours.errors > WORST_RATIO * peer.errors + WORST_MORE:
            worse.append(f"{page.name} {ours.errors}:{peer.errors}")
        if verbose:
            print(f"  {page.name}: errors {ours.errors} : {peer.errors} of {ours.characters}, "
                  f"CPU {ours.seconds:.2f} : {peer.seconds:.2f} s", file=sys.stderr, flush=True)

    print(f"| {kind} | errors %, ours | peer | ratio | CPU s, ours | peer | ratio |\n|---|---|---|---|---|---|---|")
    total = Group()
    for name, group in groups.items():
        print(row(name, group))
        total.ours += group.ours
        total.peer += group.peer
    print(row("all", total))
    print("pictures far worse than the peer's: " + (", ".join(worse) or "none"))
    return bool(worse)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build")
    parser.add_argument("--folder", help="where the pictures are kept; a temporary folder when left out")
    parser.add_argument("--count", type=int, default=3)
    parser.add_argument("--seed", default="", help="draws other pages than without it")
    parser.add_argument("--only", choices=["tuned", "kept-out"])
    parser.add_argument("--families", help="only these, separated by commas")
    parser.add_argument("--verbose", action="store_true", help="one line a picture on standard error")
    options = parser.parse_args()
    tool = [str(pathlib.Path(options.build, "glimto-capture").resolve()), "recognize-text", "--path"]

    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(options.folder or temporary)
        folder.mkdir(parents=True, exist_ok=True)
        installed = installed_languages()
        wanted = [page for page in pages.pages(options.count, options.seed)
                  if page.language in installed and (not options.only or (options.only == "tuned") == (page.kept_out == ""))
                  and (not options.families or page.family in options.families.split(","))]
        return report(pages.draw(folder, wanted), "family",
                      lambda page: page.family + (f" ({page.kept_out} kept out)" if page.kept_out else ""),
                      folder, tool, options.verbose)


if __name__ == "__main__":
    sys.exit(main())
