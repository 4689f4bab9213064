#!/usr/bin/env python3
"""What is left of a recording when something goes wrong in the middle of it, beside ffmpeg's x11grab with libx264.

Each fault is made a number of seconds into a recording of full-screen motion, once with each recorder on a fresh X
server: glimto-capture, ffmpeg into .mp4 and ffmpeg into .mkv, all at 1280x720 and 30 frames a second. What is left is
decoded whole; printed are the seconds of picture that it has, and how the recorder ended.

    Benchmarks/record/compare_faults.py [--build build] [--seconds 10]

The full disk is a file system in memory, which only root can mount.
"""
import argparse
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import time

WIDTH, HEIGHT = 1280, 720


class Screen:
    def __init__(self, stack, build):
        reading, writing = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{WIDTH}x{HEIGHT}x24",
                                        "-noreset", "-nolisten", "tcp"], pass_fds=[writing], stderr=subprocess.DEVNULL)
        stack.callback(end, self.server)
        os.close(writing)
        with os.fdopen(reading) as answer:
            self.name = ":" + answer.readline().strip()
        self.environment = dict(os.environ, DISPLAY=self.name)
        stack.callback(end, subprocess.Popen([str(build / "glimto-motion-scene")], env=self.environment,
                                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        time.sleep(1)


def end(process):
    if process.poll() is None:
        process.kill()
    process.wait()


def grab(screen, target):
    return ["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-framerate", "30", "-video_size", f"{WIDTH}x{HEIGHT}", "-i",
            screen.name, "-c:v", "libx264", "-preset", "superfast", "-pix_fmt", "yuv420p", "-b:v",
            str(WIDTH * HEIGHT * 30 // 8), "-g", "120", str(target)]


def recorders(build, screen, folder):
    return {"glimto-capture": [str(build / "glimto-capture"), "record", "-d", "3600", "-o", str(folder / "take")],
            "ffmpeg .mp4": grab(screen, folder / "take.mp4"), "ffmpeg .mkv": grab(screen, folder / "take.mkv")}


def what_is_left(folder):
    """Seconds of picture that can be decoded."""
    video = folder / "take/segments/video"
    target = folder / "take.mp4" if (folder / "take.mp4").exists() else folder / "take.mkv"
    if video.is_dir():
        segments = sorted(video.glob("segment_*.m4s"), key=lambda path: int(re.sub(r"\D", "", path.stem)))
        target = pathlib.Path(tempfile.mkdtemp()) / "joined.mp4"
        target.write_bytes(b"".join(path.read_bytes() for path in [video / "init.mp4", *segments]))
    seen = subprocess.run(["ffmpeg", "-v", "error", "-stats", "-i", str(target), "-map", "0:v", "-fps_mode", "passthrough",
                           "-f", "null", "-"], capture_output=True, text=True)
    times = re.findall(r"time=(\d+):(\d+):([\d.]+)", seen.stderr)
    return sum(float(part) * unit for part, unit in zip(times[-1], (3600, 60, 1))) if times else 0.0


def kill_recorder(process, screen):
    process.send_signal(signal.SIGKILL)


def kill_screen(process, screen):
    screen.server.kill()


def shrink_screen(process, screen):
    for command in (["--newmode", "small", "0", "640", "0", "0", "640", "480", "0", "0", "480"], ["--addmode", "screen", "small"],
                    ["--output", "screen", "--mode", "small"]):
        subprocess.run(["xrandr", *command], env=screen.environment, check=True)


def freeze_screen(process, screen):
    screen.server.send_signal(signal.SIGSTOP)


def terminal_closed(process, screen):
    process.send_signal(signal.SIGHUP)


def nothing(process, screen):
    """The disk is full by itself."""


FAULTS = {"killed (SIGKILL)": kill_recorder, "its terminal closed (SIGHUP)": terminal_closed, "X server killed": kill_screen,
          "X server hangs for ever": freeze_screen, "screen made smaller": shrink_screen, "disk full": nothing}


def ending(process, seconds):
    try:
        status = process.wait(seconds)
    except subprocess.TimeoutExpired:
        return "still running"
    return f"signal {-status}" if status < 0 else f"status {status}"


def run(fault, recorder, arguments):
    build = pathlib.Path(arguments.build).resolve()
    with contextlib.ExitStack() as stack:
        folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
        if fault == "disk full":
            subprocess.run(["mount", "-t", "tmpfs", "-o", "size=6m", "tmpfs", str(folder)], check=True)
            stack.callback(subprocess.run, ["umount", "-l", str(folder)], check=True)
        screen = Screen(stack, build)
        process = subprocess.Popen(recorders(build, screen, folder)[recorder], env=screen.environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        stack.callback(end, process)
        time.sleep(arguments.seconds)
        FAULTS[fault](process, screen)
        # What goes on recording after the fault does so for as long again, and is ended as a user would.
        status = ending(process, arguments.seconds if fault == "screen made smaller" else 60)
        if status == "still running" and fault == "screen made smaller":
            process.send_signal(signal.SIGINT)
            status = "went on, " + ending(process, 60)
        left = what_is_left(folder)
        print(f"{fault:30} {recorder:16} {left:6.1f} s   {status}", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build")
    parser.add_argument("--seconds", type=float, default=10)
    arguments = parser.parse_args()
    # What starts us in the background may have these ignored, and the recorders would inherit that.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    signal.signal(signal.SIGHUP, signal.SIG_DFL)
    for fault in FAULTS:
        for recorder in ("glimto-capture", "ffmpeg .mp4", "ffmpeg .mkv"):
            run(fault, recorder, arguments)


main()
