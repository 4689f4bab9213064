#!/usr/bin/python3
"""Plots what Benchmarks/run.sh wrote: CPU time against content, and the picture against its bytes.

    Benchmarks/plot.py build/benchmarks/benchmarks.json Documentation/pictures

makes benchmark-cpu.svg and benchmark-picture.svg in the folder, or that of them which it has figures for. Needs Debian's
python3-matplotlib.
"""
import json
import math
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "glimto", "font.size": 8})

from matplotlib import pyplot  # noqa: E402

OURS, PEER = "#1f6fb4", "#b05a1f"


def save(figure, file):
    figure.tight_layout()
    figure.savefig(file, metadata={"Date": None, "Creator": None})


def ratios(benchmarks):
    """CPU time of ours in parts of the peer's, by content."""
    found = {}
    for pair in benchmarks.get("record", {}).values():
        if not pair.get("again"):
            found[f"recording: {pair['title']}"] = pair["ours"]["cpu"] / pair["peer"]["cpu"]
    for pair in benchmarks.get("picture-720p", []):
        found[pair["ours"]["scene"]] = pair["ours"]["cpuSecondsAMinute"] / pair["peer"]["cpuSecondsAMinute"]
    return found


def plot_cpu(rows, file):
    figure, axes = pyplot.subplots(figsize=(7, 0.4 + 0.22 * len(rows)))
    axes.barh([name for name, _ in rows], [ratio for _, ratio in rows], color=OURS)
    axes.axvline(1, color=PEER)
    axes.set_xlabel("CPU time, libx264 superfast at the same bytes = 1")
    save(figure, file)


def plot_picture(curves, file):
    columns = 3
    figure, grid = pyplot.subplots(math.ceil(len(curves) / columns), columns, squeeze=False,
                                   figsize=(7, 1.9 * math.ceil(len(curves) / columns)))
    for axes in grid.flat[len(curves):]:
        axes.axis("off")
    for axes, curve in zip(grid.flat, curves):
        for encoder, label, color in (("ours", "glimto-capture", OURS), ("peer", "superfast", PEER)):
            points = sorted((entry["bitsPerSecond"] / 1e6, -10 * math.log10(1 - entry["ssim"]))
                            for entry in curve[encoder])
            axes.plot(*zip(*points), marker="o", markersize=3, color=color, label=label)
        axes.set_title(curve["ours"][0]["scene"])
        axes.set_ylim(bottom=min(axes.get_ylim()[0], axes.get_ylim()[1] - 3))
    grid[0][0].legend(frameon=False)
    grid[0][0].set_ylabel("SSIM, dB")
    grid[-1][0].set_xlabel("Mbit/s")
    save(figure, file)


def main():
    if len(sys.argv) != 3:
        raise SystemExit(__doc__)
    benchmarks = json.loads(pathlib.Path(sys.argv[1]).read_text("utf-8"))["benchmarks"]
    folder = pathlib.Path(sys.argv[2])
    rows = sorted(ratios(benchmarks).items(), key=lambda row: -row[1])
    if rows:
        plot_cpu(rows, folder / "benchmark-cpu.svg")
    if curves := benchmarks.get("picture-curve"):
        plot_picture(curves, folder / "benchmark-picture.svg")


if __name__ == "__main__":
    main()
