#!/usr/bin/env python3
"""CPU milliseconds of a screenshot of a 1080p screen, beside scrot, maim and ImageMagick's import.

All take the same screen of one X server of our own in turn. Counted is user and system time of the whole
process with its children; ours draws its watermark like the others draw nothing. Contents: a desktop (a smooth
wallpaper, a light window and a dark one full of text), a page full of text, a photo with grain, flat areas of few
colours, and noise, the worst that can be compressed. Then the time from the trigger byte until the file stands under
its name, also for a desktop of 3840x2160.

    Benchmarks/screenshot/benchmark_screenshot.py [--build build] [--runs 15]
"""
import argparse
import contextlib
import os
import pathlib
import random
import resource
import statistics
import subprocess
import tempfile
import time

FULL_HD, UHD = (1920, 1080), (3840, 2160)
CPU_GOAL = 0.55  # of scrot's
LATENCY_GOALS = {FULL_HD: 60, UHD: 120}  # milliseconds


@contextlib.contextmanager
def x_server(size):
    reading, writing = os.pipe()
    process = subprocess.Popen(
        ["Xvfb", "-displayfd", str(writing), "-screen", "0", "{}x{}x24".format(*size), "-noreset", "-nolisten", "tcp"],
        pass_fds=[writing], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(writing)
    try:
        with os.fdopen(reading) as answer:
            display = answer.readline().strip()
        if not display:
            raise SystemExit("Xvfb did not start")
        yield ":" + display
    finally:
        process.terminate()
        process.wait()


def text_lines(count, length):
    words = pathlib.Path(__file__).read_text().split()
    chosen = random.Random(3)
    return "\n".join(" ".join(chosen.choice(words) for _ in range(length)) for _ in range(count)).replace("%", "")


def draw_desktop(path, size):
    subprocess.run(
        ["convert", "-seed", "7", "-size", "{}x{}".format(*size), "plasma:navy-teal", "-blur", "0x12",
         "-fill", "white", "-draw", "rectangle 120,80 1060,960", "-fill", "#d8dce4", "-draw", "rectangle 120,80 1060,112",
         "-fill", "#181c20", "-draw", "rectangle 900,300 1800,1000", "-fill", "black", "-font", "DejaVu-Sans",
         "-pointsize", "14", "-annotate", "+140+140", text_lines(44, 9), "-fill", "#c0f0c0", "-font",
         "DejaVu-Sans-Mono", "-pointsize", "13", "-annotate", "+910+325", text_lines(42, 10), f"ppm:{path}"],
        check=True)


def convert(path, size, *arguments):
    subprocess.run(["convert", "-seed", "5", "-size", "{}x{}".format(*size), *arguments, "-depth", "8", f"ppm:{path}"],
                   check=True)


def draw_page(path, size):
    convert(path, size, "xc:white", "-fill", "black", "-font", "DejaVu-Sans", "-pointsize", "13",
            "-annotate", "+20+20", text_lines(66, 30))


def draw_photo(path, size):
    convert(path, size, "plasma:fractal", "-blur", "0x1.5", "-attenuate", "0.12", "+noise", "Gaussian")


def draw_flat(path, size):
    convert(path, size, "xc:#2e5f8a", "-fill", "#eeeeee", "-draw", "rectangle 0,1040 1920,1080",
            "-draw", "rectangle 200,200 900,800", "-fill", "#3070d0", "-draw", "rectangle 200,200 900,230")


def draw_noise(path, size):
    path.write_bytes(b"P6 %d %d 255\n" % size + random.Random(1).randbytes(3 * size[0] * size[1]))


def measured(command, environment):
    """CPU and wall time of a command with its children, in milliseconds."""
    before, began = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run(command, env=environment, check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    after, ended = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return 1000 * cpu, 1000 * (ended - began)


def trigger_latency(tool, path, environment):
    """Milliseconds from the trigger byte until the file is there and whole."""
    path.unlink(missing_ok=True)
    process = subprocess.Popen([tool, "screenshot", "-o", path, "--wait-for-capture-trigger"], env=environment,
                               stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    process.stderr.readline()
    time.sleep(0.3)
    began = time.monotonic()
    process.stdin.write(b"x")
    process.stdin.flush()
    while not path.exists():
        time.sleep(0.0002)
    latency = 1000 * (time.monotonic() - began)
    process.communicate()
    return latency


def measure(tool, directory, environment, runs):
    ours, plain = directory / "ours.png", directory / "plain.png"
    commands = {
        "ours": ([tool, "screenshot", "-o", ours], ours),
        "ours, no watermark": ([tool, "screenshot", "--no-watermark", "-o", plain], plain),
        "scrot": (["scrot", "-o", directory / "scrot.png"], directory / "scrot.png"),
        "maim": (["maim", directory / "maim.png"], directory / "maim.png"),
        "import": (["import", "-window", "root", directory / "import.png"], directory / "import.png"),
    }
    times = {name: [] for name in commands}
    for _ in range(runs):
        for name, (command, _) in commands.items():
            times[name].append(measured(command, environment))
    peer = statistics.median(cpu for cpu, _ in times["scrot"])
    for name, (_, path) in commands.items():
        cpu = statistics.median(cpu for cpu, _ in times[name])
        wall = statistics.median(wall for _, wall in times[name])
        print(f"  {name:20} {cpu:7.1f} ms CPU  {cpu / peer:5.2f} x scrot  {wall:7.1f} ms  "
              f"{path.stat().st_size / 1000:8.0f} kB")
    print(f"  CPU goal {CPU_GOAL} x scrot")
    measure_latency(tool, ours, environment, runs, FULL_HD)


def measure_latency(tool, path, environment, runs, size):
    times = sorted(trigger_latency(tool, path, environment) for _ in range(runs))
    print(f"  trigger to file      {statistics.median(times):7.1f} ms, best {times[0]:.1f} (goal {LATENCY_GOALS[size]})")


def show(path, environment):
    subprocess.run(["display", "-window", "root", path], env=environment, check=False)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build", type=pathlib.Path)
    parser.add_argument("--runs", default=15, type=int)
    options = parser.parse_args()
    tool = (options.build / "glimto-capture").resolve()
    contents = {"desktop": draw_desktop, "page": draw_page, "photo": draw_photo, "flat": draw_flat, "noise": draw_noise}
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)
        environment = {**os.environ, "XDG_CACHE_HOME": name}
        environment.pop("WAYLAND_DISPLAY", None)
        with x_server(FULL_HD) as environment["DISPLAY"]:
            for content, draw in contents.items():
                draw(directory / "screen.ppm", FULL_HD)
                show(directory / "screen.ppm", environment)
                print(content, flush=True)
                measure(tool, directory, environment, options.runs)
        with x_server(UHD) as environment["DISPLAY"]:
            draw_desktop(directory / "screen.ppm", UHD)
            show(directory / "screen.ppm", environment)
            print("desktop, 3840x2160", flush=True)
            measure_latency(tool, directory / "ours.png", environment, options.runs, UHD)


if __name__ == "__main__":
    main()
