#!/usr/bin/env python3
"""Joins what the benchmarks of Benchmarks/run.sh have said into benchmarks.md and benchmarks.json."""
import argparse
import json
import pathlib


def cells(line):
    return [cell.strip() for cell in line.strip("|").split("|")]


def figures_of(folder, name):
    """The figures that a benchmark kept; else the rows of its tables; else its lines."""
    file = folder / f"{name}.json"
    try:
        return json.loads(file.read_text("utf-8"))
    except (FileNotFoundError, json.JSONDecodeError):
        lines = (folder / f"{name}.txt").read_text("utf-8").splitlines()
    heads = [at - 1 for at, line in enumerate(lines) if line.startswith("|---") and at > 0]
    rows = []
    for head in heads:
        for line in lines[head + 2:]:
            if not line.startswith("|"):
                break
            rows.append(dict(zip(cells(lines[head]), cells(line))))
    return rows or lines


def section(folder, name, failed):
    text = (folder / f"{name}.txt").read_text("utf-8").strip()
    shown = text if text.startswith("|") else f"```\n{text}\n```"
    return [f"## {name}" + (" (failed, or missed a goal)" if name in failed else ""), "", shown, ""]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("names", nargs="*")
    parser.add_argument("--runs", type=int)
    parser.add_argument("--failed", type=str.split, default=[], help="names with blanks between them")
    for fact in ("machine", "revision", "load-before", "load-after"):
        parser.add_argument("--" + fact)
    options = parser.parse_args()
    folder = options.folder
    facts = {"machine": options.machine, "revision": options.revision, "loadBefore": options.load_before,
             "loadAfter": options.load_after, "runs": options.runs, "failed": options.failed,
             "benchmarks": {name: figures_of(folder, name) for name in options.names}}
    (folder / "benchmarks.json").write_text(json.dumps(facts, indent=1) + "\n", "utf-8")
    lines = [f"Revision {options.revision}, {options.machine}. Load {options.load_before} before, {options.load_after} after; "
             f"medians of {options.runs} run(s).", ""]
    for name in options.names:
        lines += section(folder, name, options.failed)
    (folder / "benchmarks.md").write_text("\n".join(lines), "utf-8")


if __name__ == "__main__":
    main()
