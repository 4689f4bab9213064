#!/usr/bin/env python3
"""How good the picture is at equal bytes, and what it costs: ours against ffmpeg's libx264 superfast.

Scenes are drawn picture by picture without a screen, encoded, decoded again and compared with what was drawn. The
peer is encoded again with another bit rate until it has ours to within 4 %. Prints a Markdown table; --json keeps
all figures. --curve encodes at four bit rates instead.
"""
import argparse
import json
import math
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

CLOSE_ENOUGH = 0.04
MOST_TRIES = 4
HEAD = """| scene | kbit/s, ours : peer | SSIM | worst picture | PSNR, dB | worst picture | edges, dB | CPU s a minute | spread | ratio |
|---|---|---|---|---|---|---|---|---|---|"""


class Bench:
    def __init__(self, options):
        self.program = Path(options.build) / "glimto-picture-benchmark"
        self.options = options
        self.folder = tempfile.TemporaryDirectory()

    def names(self):
        return subprocess.run([self.program, "scenes"], check=True, stdout=subprocess.PIPE, text=True).stdout.split()

    def nominal(self):
        width, height = map(int, self.options.size.split("x"))
        return max(width * height * 30 // 8, 2_000_000)

    def encode(self, encoder, scene, rate):
        output = subprocess.run(
            [self.program, encoder, scene, self.options.size, str(self.options.pictures), str(rate),
             str(Path(self.folder.name) / "take.mp4")], check=True, stdout=subprocess.PIPE, text=True).stdout
        return {**json.loads(output), "askedBitsPerSecond": rate}

    def peer_with_bytes_of(self, ours):
        wanted = ours["bitsPerSecond"]
        rate, tries = wanted, []
        while len(tries) < MOST_TRIES:
            tries.append(self.encode("peer", ours["scene"], rate))
            best = min(tries, key=lambda entry: abs(math.log(entry["bitsPerSecond"] / wanted)))
            if abs(math.log(best["bitsPerSecond"] / wanted)) < CLOSE_ENOUGH:
                break
            rate = max(int(best["askedBitsPerSecond"] * wanted / best["bitsPerSecond"]), 1000)
        return best

    def pair(self, scene):
        """Both encoders in turn, as often as asked for; the CPU time is the median of the runs."""
        ours = self.encode("ours", scene, self.nominal())
        peer = self.peer_with_bytes_of(ours)
        seconds = {"ours": [ours["cpuSecondsAMinute"]], "peer": [peer["cpuSecondsAMinute"]]}
        for _ in range(self.options.runs - 1):
            seconds["ours"].append(self.encode("ours", scene, self.nominal())["cpuSecondsAMinute"])
            seconds["peer"].append(self.encode("peer", scene, peer["askedBitsPerSecond"])["cpuSecondsAMinute"])
        for entry in (ours, peer):
            values = seconds[entry["encoder"]]
            entry["cpuSecondsAMinute"] = statistics.median(values)
            entry["cpuSpread"] = max(values) - min(values)
        return {"ours": ours, "peer": peer}

    def curve(self, scene):
        rates = [int(self.nominal() * factor) for factor in (0.25, 0.5, 1, 2)]
        return {encoder: [self.encode(encoder, scene, rate) for rate in rates] for encoder in ("ours", "peer")}


def table_row(pair):
    ours, peer = pair["ours"], pair["peer"]

    def both(key, digits):
        return f"{ours[key]:.{digits}f} : {peer[key]:.{digits}f}"

    return (f"| {ours['scene']} | {ours['bitsPerSecond'] / 1000:.0f} : {peer['bitsPerSecond'] / 1000:.0f} "
            f"| {both('ssim', 4)} | {both('worstSSIM', 3)} | {both('psnr', 1)} | {both('worstPSNR', 1)} "
            f"| {both('edgePSNR', 1)} | {both('cpuSecondsAMinute', 1)} | {both('cpuSpread', 1)} "
            f"| {ours['cpuSecondsAMinute'] / peer['cpuSecondsAMinute']:.2f} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default="build")
    parser.add_argument("--size", default="1280x720")
    parser.add_argument("--pictures", type=int, default=150, help="30 are a second")
    parser.add_argument("--runs", type=int, default=1)
    parser.add_argument("--scenes", help="names with commas between them; all of them without")
    parser.add_argument("--curve", action="store_true", help="four bit rates, no table")
    parser.add_argument("--json", type=Path, help="file for all figures")
    options = parser.parse_args()
    bench = Bench(options)
    results = []
    if not options.curve:
        print(HEAD)
    for scene in options.scenes.split(",") if options.scenes else bench.names():
        results.append(bench.curve(scene) if options.curve else bench.pair(scene))
        if options.curve:
            for entry in results[-1]["ours"] + results[-1]["peer"]:
                print(f"{entry['scene']} {entry['encoder']} {entry['bitsPerSecond']} {entry['ssim']:.4f} "
                      f"{entry['psnr']:.2f}", flush=True)
        else:
            print(table_row(results[-1]), flush=True)
    if options.json:
        options.json.write_text(json.dumps(results, indent=1) + "\n", encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
