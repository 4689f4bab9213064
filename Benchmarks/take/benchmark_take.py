#!/usr/bin/env python3
"""glimto-take against ffmpeg on the same take, run alternately: CPU seconds, time, bytes and likeness.

    benchmark_take.py <take> [runs]

The take should have sound and input events. Prints one line a comparison; ratios below 1 are better for glimto-take.
"""

import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
TAKE_TOOL = Path(os.environ.get("GLIMTO_TAKE_BINARY", TOP / "build" / "glimto-take"))
WIDTH, RATE = 640, 15


def cost(command):
    """CPU seconds of the command and its children, and how long it took."""
    before, started = os.times(), time.monotonic()
    subprocess.run(list(map(str, command)), check=True, stdin=subprocess.DEVNULL, capture_output=True)
    after = os.times()
    cpu = (after.children_user - before.children_user) + (after.children_system - before.children_system)
    return cpu, time.monotonic() - started


def compare(name, ours, theirs, runs, target, peer_target):
    costs = [(cost(ours), cost(theirs)) for _ in range(runs)]
    cpu = [statistics.median(pair[side][0] for pair in costs) for side in (0, 1)]
    wall = [statistics.median(pair[side][1] for pair in costs) for side in (0, 1)]
    size = [target.stat().st_size, peer_target.stat().st_size]
    print(f"{name}: CPU {cpu[0]:.2f} s of {cpu[1]:.2f} s ({cpu[0] / cpu[1]:.2f} x), time {wall[0]:.2f} s of {wall[1]:.2f} s "
          f"({wall[0] / wall[1]:.2f} x), bytes {size[0]} of {size[1]} ({size[0] / size[1]:.2f} x)", flush=True)
    return wall[0]


def similarity(path, reference):
    """SSIM of all pictures at RATE pictures a second, scaled to WIDTH."""
    graph = (f"[0:v]fps={RATE},format=yuv444p[a];[1:v]fps={RATE},scale={WIDTH}:-2:flags=lanczos,format=yuv444p[b];"
             "[a][b]ssim=shortest=1")
    done = subprocess.run(["ffmpeg", "-nostdin", "-i", path, "-i", reference, "-lavfi", graph, "-f", "null", "-"],
                          check=True, capture_output=True, text=True)
    return float(re.search(r"All:([0-9.]+)", done.stderr).group(1))


def main():
    take = Path(sys.argv[1])
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    with tempfile.TemporaryDirectory() as folder:
        folder = Path(folder)
        ours, peer = folder / "ours.mp4", folder / "peer.mp4"
        ffmpeg = ["ffmpeg", "-nostdin", "-v", "error", "-y"]
        playlist = take / "segments" / "playlist.m3u8"
        compare("export mp4 against ffmpeg -c copy", [TAKE_TOOL, "export", take, "-o", ours, "--overwrite"],
                [*ffmpeg, "-i", playlist, "-c", "copy", "-movflags", "+faststart", peer], runs, ours, peer)
        gif, peer_gif = folder / "ours.gif", folder / "peer.gif"
        filters = f"fps={RATE},scale={WIDTH}:-2:flags=lanczos,split[a][b];[a]palettegen[p];[b][p]paletteuse"
        compare("gif against ffmpeg's palette filters",
                [TAKE_TOOL, "export", take, "-o", gif, "--overwrite", "--fps", RATE, "--width", WIDTH],
                [*ffmpeg, "-i", ours, "-lavfi", filters, peer_gif], runs, gif, peer_gif)
        print(f"gif likeness: SSIM {similarity(gif, ours):.4f}, ffmpeg's {similarity(peer_gif, ours):.4f}")
        pointer = folder / "pointer.png"
        subprocess.run([*ffmpeg, "-f", "lavfi", "-i", "color=white:s=24x24:d=1", "-frames:v", "1", pointer], check=True)
        seconds = float(subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", ours],
                                       check=True, capture_output=True, text=True).stdout)
        wall = compare("render --zoom auto against ffmpeg's overlay of a picture that stands",
                       [TAKE_TOOL, "render", take, "-o", folder / "r.mp4", "--zoom", "auto", "--overwrite"],
                       [*ffmpeg, "-i", ours, "-i", pointer, "-filter_complex", "overlay=x=100+t*20:y=100", "-r", "30",
                        "-c:v", "libx264", "-preset", "veryfast", "-crf", "19", "-c:a", "copy", peer], runs,
                       folder / "r.mp4", peer)
        print(f"render: {seconds / wall:.1f} x as fast as real time")


if __name__ == "__main__":
    main()
