#!/usr/bin/env python3
"""The tables of Documentation/performance.md and Benchmarks/README.md, made of what Benchmarks/run.sh wrote.

    Benchmarks/tables.py build/benchmarks/benchmarks.json [Documentation/performance.md Benchmarks/README.md]

prints them all, or writes each into the document that has a place for it, between <!-- table: name --> and
<!-- end of table -->. A table whose figures are not in the JSON stays as it is.
"""
import json
import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "record"))

import recording_tables  # noqa: E402
import scene_tables  # noqa: E402

SCENE_HEAD = """| scene | kbit/s | SSIM, ours : peer | worst picture | PSNR, dB |
|---|---|---|---|---|"""

LARGE_SCENE_HEAD = """| scene | kbit/s, ours : peer | SSIM | worst picture | PSNR, dB | edges, dB | CPU |
|---|---|---|---|---|---|---|"""


def machine(results):
    return (f"Revision {results['revision']}, {results['machine']}; load {results['loadBefore']} before and "
            f"{results['loadAfter']} after the run; medians of {results['runs']} run(s).")


def both(pair, key, digits, factor=1.0):
    return " : ".join(f"{pair[encoder][key] * factor:.{digits}f}" for encoder in ("ours", "peer"))


def scene_row(pair):
    ours = pair["ours"]
    return (f"| {ours['scene']} | {ours['bitsPerSecond'] / 1000:.0f} | {both(pair, 'ssim', 4)} "
            f"| {both(pair, 'worstSSIM', 3)} | {both(pair, 'psnr', 1)} |")


def large_scene_row(pair):
    return (f"| {pair['ours']['scene']} | {both(pair, 'bitsPerSecond', 0, 1e-3)} | {both(pair, 'ssim', 4)} "
            f"| {both(pair, 'worstSSIM', 3)} | {both(pair, 'psnr', 1)} | {both(pair, 'edgePSNR', 1)} "
            f"| {pair['ours']['cpuSecondsAMinute'] / pair['peer']['cpuSecondsAMinute']:.2f} |")


def tables(results):
    found = {"machine": machine(results)}
    benchmarks = results["benchmarks"]
    record = benchmarks.get("record")
    if isinstance(record, dict):
        found["recordings"] = recording_tables.cost_table(record)
        found["recorded pictures"] = recording_tables.picture_table(record)
        found["4K"] = recording_tables.large_table(record)
    beginnings = benchmarks.get("new-scenes")
    if isinstance(beginnings, dict):
        found["new scenes"] = scene_tables.summary_table(beginnings)
        found["pictures of new scenes"] = scene_tables.course_tables(beginnings)
    scenes = benchmarks.get("picture-720p")
    if scenes and isinstance(scenes[0], dict):
        found["scenes"] = "\n".join([SCENE_HEAD, *map(scene_row, scenes)])
        found["scenes and edges"] = "\n".join([LARGE_SCENE_HEAD, *map(large_scene_row, scenes)])
    return {name: table for name, table in found.items() if table}


def main():
    if len(sys.argv) < 2:
        raise SystemExit(__doc__)
    found = tables(json.loads(pathlib.Path(sys.argv[1]).read_text("utf-8")))
    if len(sys.argv) == 2:
        print("\n\n".join(found.values()))
        return
    documents = {pathlib.Path(name): pathlib.Path(name).read_text("utf-8") for name in sys.argv[2:]}
    for name, table in found.items():
        places = 0
        for document, text in documents.items():
            documents[document], count = re.subn(rf"(<!-- table: {name} -->\n).*?(<!-- end of table -->)",
                                                 lambda place, table=table: place[1] + table + "\n" + place[2], text,
                                                 flags=re.DOTALL)
            places += count
        if places != 1:
            raise SystemExit(f"error: {places} places for the table {name} in {', '.join(map(str, documents))}")
    for document, text in documents.items():
        document.write_text(text, "utf-8")


if __name__ == "__main__":
    main()
