#!/usr/bin/env python3
"""CPU seconds a recorded minute that sound costs on top of video, on a screen that stands still.

    benchmark_sound.py <glimto-capture> [seconds] [runs]

Starts a virtual screen and a PulseAudio server of its own. Something like music plays on the speaker, and noise,
as of a room, into the microphone. Prints one line of JSON a case: the median of the runs.
"""

import json
import os
import resource
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "Tests" / "EndToEnd"))
from support.screens import Xvfb  # noqa: E402
from support.sound_server import SoundServer  # noqa: E402

MUSIC = ("aevalsrc='(0.1*sin(2*PI*220*t)+0.1*sin(2*PI*440*t)+0.1*sin(2*PI*880*t)+0.03*random(0))"
         "*(0.5+0.5*sin(2*PI*3*t))':s=48000")
ROOM = "anoisesrc=r=48000:a=0.2:c=pink"
CASES = {"video": [], "system": ["--system-audio"], "microphone": ["--microphone", "fakemic"],
         "both": ["--system-audio", "--microphone", "fakemic"]}
PLAYER_LATENCY = 500  # milliseconds


def make_wave(path, source, seconds):
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", source, "-t", str(seconds), "-ac", "2",
                    str(path)], check=True)
    return path


def cpu_seconds(program, take, arguments, seconds, environment):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run([program, "record", "-o", take, "-w", "-d", str(seconds), "--no-cursor", *arguments],
                   env=environment, check=True, stdout=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def main(program, seconds=20.0, runs=3):
    seconds, runs = float(seconds), int(runs)
    with tempfile.TemporaryDirectory() as folder, Xvfb("1920x1080") as screen, SoundServer() as server:
        folder = Path(folder)
        environment = {**server.environment(screen.environment()), "XDG_CACHE_HOME": str(folder)}
        length = (seconds + 5) * runs * len(CASES)
        server.play(make_wave(folder / "music.wav", MUSIC, length), "speaker", PLAYER_LATENCY)
        server.play(make_wave(folder / "room.wav", ROOM, length), "micfeed", PLAYER_LATENCY)
        found = {name: [] for name in CASES}
        for _ in range(runs):
            for name, arguments in CASES.items():
                used = cpu_seconds(program, folder / "take", arguments, seconds, environment)
                found[name].append(60 / seconds * used)
        video = statistics.median(found["video"])
        for name, values in found.items():
            median = statistics.median(values)
            print(json.dumps({"case": name, "cpuSecondsPerMinute": round(median, 2),
                              "onTopOfVideo": round(median - video, 2)}))


if __name__ == "__main__":
    if not 2 <= len(sys.argv) <= 4:
        sys.exit(__doc__.strip())
    main(os.path.abspath(sys.argv[1]), *sys.argv[2:])
