#!/usr/bin/env python3
"""CPU seconds of recording a 1080p screen, beside ffmpeg's x11grab with libx264.

Both recorders run alternately on one X server of our own, at the same size, frame rate, average bit
rate, keyframe interval and encoder preset, each writing HLS over fragmented MP4. Counted are user and
system time of the recorder with its children, and of the X server, while it records. Three contents:
a static desktop, typing in a terminal, full-screen motion. The ratios say more than the seconds.

    Benchmarks/record/benchmark_record.py [--build build] [--seconds 20] [--runs 3] [--contents static,typing,motion]
"""
import argparse
import contextlib
import json
import os
import pathlib
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import picture_quality

FRAMES_PER_SECOND = 30
WIDTH, HEIGHT = 1920, 1080
BIT_RATE = WIDTH * HEIGHT * FRAMES_PER_SECOND // 8
SEGMENT_SECONDS = 4
PRESET = "superfast"
GOALS = {"static": 0.03, "typing": 0.20, "motion": 0.42}
TYPING = "i=0; while :; do for c in t h e ' ' q u i c k ' ' b r o w n ' ' f o x; do printf %s \"$c\"; sleep 0.05; done; done"
STATIC = "seq 1 2000 | head -c 6000; sleep 1000000"


@contextlib.contextmanager
def running(command, environment, **options):
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               stdin=subprocess.DEVNULL, **options)
    try:
        yield process
    finally:
        process.terminate()
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


@contextlib.contextmanager
def x_server():
    reading, writing = os.pipe()
    command = ["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{WIDTH}x{HEIGHT}x24", "-noreset", "-nolisten", "tcp"]
    with running(command, os.environ, pass_fds=[writing]) as process:
        os.close(writing)
        with os.fdopen(reading) as answer:
            display = answer.readline().strip()
        if not display:
            raise SystemExit("Xvfb did not start")
        yield process, dict(os.environ, DISPLAY=":" + display)


@contextlib.contextmanager
def content(name, build, environment):
    with contextlib.ExitStack() as stack:
        if name == "motion":
            stack.enter_context(running([str(build / "glimto-motion-scene")], environment))
        else:
            script = TYPING if name == "typing" else STATIC
            for geometry in ("100x40+60+60", "100x40+900+300"):
                stack.enter_context(running(["xterm", "-geometry", geometry, "-e", "sh", "-c", script], environment))
                script = STATIC
        time.sleep(2)
        yield


def cpu_of(process):
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def cpu_of_children():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def commands(build, folder, seconds):
    ffmpeg = ["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-framerate", str(FRAMES_PER_SECOND),
              "-video_size", f"{WIDTH}x{HEIGHT}", "-i", ":", "-t", str(seconds), "-c:v", "libx264", "-preset", PRESET,
              "-pix_fmt", "yuv420p", "-b:v", str(BIT_RATE), "-g", str(FRAMES_PER_SECOND * SEGMENT_SECONDS),
              "-f", "hls", "-hls_segment_type", "fmp4", "-hls_time", str(SEGMENT_SECONDS), "-hls_list_size", "0",
              str(folder / "ffmpeg" / "playlist.m3u8")]
    ours = [str(build / "glimto-capture"), "record", "-d", str(seconds), "-r", str(FRAMES_PER_SECOND), "-w",
            "--segment-duration", str(SEGMENT_SECONDS), "-o", str(folder / "ours")]
    return {"ffmpeg": ffmpeg, "ours": ours}


def measure(command, environment, server):
    command = [environment["DISPLAY"] if word == ":" else word for word in command]
    server_before, before = cpu_of(server), cpu_of_children()
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        raise SystemExit(f"{command[0]} ended with status {status}")
    process.returncode = 0
    return {"cpu": cpu_of_children() - before, "server": cpu_of(server) - server_before,
            "peakMegabytes": usage.ru_maxrss / 1024}


def size_of(folder):
    return sum(file.stat().st_size for file in folder.rglob("*.m4s"))


def print_quality(build, folder):
    playlists = {"ours": folder / "ours" / "segments" / "playlist.m3u8", "ffmpeg": folder / "ffmpeg" / "playlist.m3u8"}
    for recorder, playlist in playlists.items():
        numbers = picture_quality.picture_numbers(playlist)
        ssim = picture_quality.similarity(playlist, numbers, build / "glimto-motion-scene", folder)
        lost = picture_quality.lost_pictures(numbers)
        print(f"         {recorder:7} SSIM {ssim:.4f}, {lost} of {numbers[-1] - numbers[0] + 1} pictures lost or doubled")


def run_content(name, arguments, build, server, environment, folder):
    results = {"ffmpeg": [], "ours": []}
    with content(name, build, environment):
        for _ in range(arguments.runs):
            for recorder, command in commands(build, folder, arguments.seconds).items():
                shutil.rmtree(folder / recorder, ignore_errors=True)
                (folder / recorder).mkdir()
                result = measure(command, environment, server)
                result["megabytes"] = size_of(folder / recorder) / 1e6
                results[recorder].append(result)
    return {recorder: {key: statistics.median(run[key] for run in runs) for key in runs[0]} | {"cpuSpread": spread(runs)}
            for recorder, runs in results.items()}


def spread(runs):
    """Between the cheapest and the dearest of the runs, CPU seconds."""
    return max(run["cpu"] for run in runs) - min(run["cpu"] for run in runs)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build")
    parser.add_argument("--seconds", type=int, default=20)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--contents", default="static,typing,motion")
    parser.add_argument("--json", help="also write the figures to this file")
    arguments = parser.parse_args()
    build = pathlib.Path(arguments.build).resolve()
    figures = {}
    print(f"{'content':8} {'CPU s/min':>20} {'spread':>13} {'ratio':>7} {'goal':>6} {'server s/min':>16} {'ratio':>7} {'peak MB':>12} {'MB':>14}")
    with tempfile.TemporaryDirectory() as folder, x_server() as (server, environment):
        for name in arguments.contents.split(","):
            figures[name] = medians = run_content(name, arguments, build, server, environment, pathlib.Path(folder))
            ours, peer = medians["ours"], medians["ffmpeg"]
            minute = 60 / arguments.seconds
            server_ratio = ours["server"] / peer["server"] if peer["server"] > 0 else float("nan")
            print(f"{name:8} {ours['cpu'] * minute:9.2f} :{peer['cpu'] * minute:9.2f}"
                  f" {ours['cpuSpread'] * minute:5.2f} :{peer['cpuSpread'] * minute:6.2f} {ours['cpu'] / peer['cpu']:7.3f}"
                  f" {GOALS[name]:6.2f} {ours['server'] * minute:7.2f} :{peer['server'] * minute:7.2f} {server_ratio:7.2f}"
                  f" {ours['peakMegabytes']:5.0f} :{peer['peakMegabytes']:5.0f} {ours['megabytes']:6.2f} :{peer['megabytes']:6.2f}",
                  flush=True)
            if name == "motion":
                print_quality(build, pathlib.Path(folder))
    if arguments.json:
        pathlib.Path(arguments.json).write_text(json.dumps(figures, indent=2) + "\n")


if __name__ == "__main__":
    sys.exit(main())
