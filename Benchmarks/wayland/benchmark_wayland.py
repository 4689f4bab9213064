#!/usr/bin/env python3
"""What recordings and screenshots of a Wayland session cost, turn and turn about with wf-recorder and grim.

    benchmark_wayland.py --build build [--seconds 10] [--runs 3] [--still-minute]

Needs sway, wf-recorder and grim. CPU seconds, user and system, of the process with its children; medians. Both record
1920x1080 at 30 frames a second with libx264 superfast, yuv420p, at the same average bit rate, into MP4. With
--still-minute, what a minute of a still screen costs, and how much of it is the start and the end.
"""

import argparse
import os
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

REPOSITORY = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "Tests/EndToEnd"))

from support import media

CONFIGURATION = """
output HEADLESS-1 resolution 1920x1080 position 0,0 scale 1 bg #204060 solid_color
output HEADLESS-2 resolution 640x480 position 1920,0 scale 1 bg #000000 solid_color
default_border none
seat * hide_cursor 1
xwayland disable
"""
BIT_RATE = 7_776_000


def cost(arguments, environment, during=None, nudge=None):
    """CPU seconds of a process and those it has waited for. `during` runs beside it, then it is interrupted and the
    screen changed once more: wf-recorder hears of a signal only with the next picture."""
    process = subprocess.Popen(list(map(str, arguments)), env=environment, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
    if during:
        during()
    if nudge:
        process.send_signal(signal.SIGINT)
        time.sleep(0.2)
        nudge()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return usage.ru_utime + usage.ru_stime, process.returncode


class Contents:
    def __init__(self, surface, seconds):
        self.surface = surface
        self.seconds = seconds

    def nudge(self):
        self.surface.ask("rect", 0, 0, 2, 2, "808080")
        self.surface.ask("rect", 0, 0, 2, 2, "909090")

    def static(self):
        time.sleep(self.seconds)

    def typing(self):
        self.surface.fill("f0f0f0")
        for letter in range(self.seconds * 20):
            self.surface.ask("rect", 20 + letter % 150 * 12, 40 + letter // 150 % 40 * 24, 10, 18, "202020")
            time.sleep(0.045)

    def motion(self):
        self.surface.ask("pan", self.seconds * 60)


class Recorders:
    """Each gives the CPU seconds of recording what `during` shows."""

    def __init__(self, tool, sway, surface, folder):
        self.tool = tool
        self.environment = sway.environment() | {"XDG_CACHE_HOME": str(folder)}
        self.nudge = Contents(surface, 0).nudge
        self.take, self.film = folder / "take", folder / "film.mp4"

    def ours(self, during):
        shutil.rmtree(self.take, ignore_errors=True)
        return self.measured("the recording", [self.tool, "record", "-o", self.take, "-d", "3600", "--no-cursor"], during)

    def theirs(self, during):
        self.film.unlink(missing_ok=True)
        return self.measured("wf-recorder", [
            "wf-recorder", "-o", "HEADLESS-1", "-f", self.film, "-c", "libx264", "-x", "yuv420p", "-r", "30",
            "-p", "preset=superfast", "-p", f"b={BIT_RATE}", "-p", "g=120"], during)

    def measured(self, name, arguments, during):
        seconds, status = cost(arguments, self.environment, during, self.nudge)
        if status != 0:
            raise SystemExit(f"{name} ended with {status}")
        return seconds

    def sizes(self):
        return sum(path.stat().st_size for path in self.take.rglob("*.m4s")) // 1000, self.film.stat().st_size // 1000

    def lost(self):
        """Frames of the take that are missing between two others, at 30 a second, where all of it moves."""
        times = media.frame_times(media.join_segments(self.take, self.film.with_name("joined.mp4")))
        moving = [each for each in times if 0.5 <= each <= times[-1] - 1]
        return sum(round((after - before) * 30) - 1 for before, after in zip(moving, moving[1:]))


def measure_recordings(recorders, surface, arguments):
    contents = Contents(surface, arguments.seconds)
    print("| content | ours | wf-recorder | ratio | kB, ours : wf-recorder | lost frames |\n|---|---|---|---|---|---|")
    for name in ("static", "typing", "motion"):
        ours, theirs, lost = [], [], []
        for _ in range(arguments.runs):
            ours.append(recorders.ours(getattr(contents, name)))
            theirs.append(recorders.theirs(getattr(contents, name)))
            lost.append(str(recorders.lost()) if name == "motion" else "-")
        minute = 60 / arguments.seconds
        mine, peer = statistics.median(ours) * minute, statistics.median(theirs) * minute
        print(f"| {name} | {mine:.2f} | {peer:.2f} | {mine / peer:.3f} | {'%d : %d' % recorders.sizes()} "
              f"| {', '.join(lost)} |", flush=True)


def measure_still_minute(recorders):
    for name in ("ours", "theirs"):
        record = getattr(recorders, name)
        start = record(lambda: time.sleep(2))
        whole = record(lambda: time.sleep(60))
        print(f"still minute, {name}: {whole:.2f} s, of which {start:.2f} s in a recording of 2 s", flush=True)


def measure_screenshots(sway, surface, tool, arguments, folder):
    surface.ask("pan", 1)
    environment = sway.environment() | {"XDG_CACHE_HOME": str(folder)}
    ours, theirs = [], []
    for _ in range(5 * arguments.runs):
        ours.append(cost([tool, "screenshot", "--no-watermark", "-o", folder / "ours.png"], environment)[0])
        theirs.append(cost(["grim", "-o", "HEADLESS-1", folder / "theirs.png"], environment)[0])
    mine, peer = statistics.median(ours) * 1000, statistics.median(theirs) * 1000
    sizes = [(folder / name).stat().st_size // 1000 for name in ("ours.png", "theirs.png")]
    print(f"\nscreenshot: {mine:.1f} ms, grim {peer:.1f} ms, ratio {mine / peer:.3f}; kB {sizes[0]} : {sizes[1]}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build", type=Path)
    parser.add_argument("--seconds", default=10, type=int)
    parser.add_argument("--runs", default=3, type=int)
    parser.add_argument("--still-minute", action="store_true")
    arguments = parser.parse_args()
    tool = (arguments.build / "glimto-capture").resolve()
    os.environ["GLIMTO_CAPTURE_BINARY"] = str(tool)
    from support.wayland import Surface, Sway

    folder = Path(tempfile.mkdtemp(prefix="glimto-benchmark-"))
    sway = Sway(CONFIGURATION)
    try:
        with Surface(sway, "HEADLESS-1") as surface:
            recorders = Recorders(tool, sway, surface, folder)
            if arguments.still_minute:
                surface.fill("f0f0f0")
                measure_still_minute(recorders)
                return
            measure_recordings(recorders, surface, arguments)
            measure_screenshots(sway, surface, tool, arguments, folder)
    finally:
        sway.end()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
