#!/usr/bin/env python3
"""The tables of Documentation/performance.md, made of what Benchmarks/run.sh wrote.

    Benchmarks/tables.py build/benchmarks/benchmarks.json [Documentation/performance.md]

prints them all, or writes each into the document between <!-- table: name --> and <!-- end of table -->. A table whose
figures are not in the JSON stays as it is.
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


def machine(results):
    return (f"Revision {results['revision']}, {results['machine']}; load {results['loadBefore']} before and "
            f"{results['loadAfter']} after the run; medians of {results['runs']} run(s).")


def scene_row(pair):
    ours, peer = pair["ours"], pair["peer"]

    def both(key, digits):
        return f"{ours[key]:.{digits}f} : {peer[key]:.{digits}f}"

    return (f"| {ours['scene']} | {ours['bitsPerSecond'] / 1000:.0f} | {both('ssim', 4)} | {both('worstSSIM', 3)} "
            f"| {both('psnr', 1)} |")


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
    return {name: table for name, table in found.items() if table}


def main():
    if len(sys.argv) not in (2, 3):
        raise SystemExit(__doc__)
    found = tables(json.loads(pathlib.Path(sys.argv[1]).read_text("utf-8")))
    if len(sys.argv) == 2:
        print("\n\n".join(found.values()))
        return
    document = pathlib.Path(sys.argv[2])
    text = document.read_text("utf-8")
    for name, table in found.items():
        text, count = re.subn(rf"(<!-- table: {name} -->\n).*?(<!-- end of table -->)",
                              lambda place, table=table: place[1] + table + "\n" + place[2], text, flags=re.DOTALL)
        if count != 1:
            raise SystemExit(f"error: {document} has {count} places for the table {name}")
    document.write_text(text, "utf-8")


if __name__ == "__main__":
    main()
