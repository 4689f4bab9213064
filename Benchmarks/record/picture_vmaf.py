"""VMAF of a recording of numbered pictures, by the `vmaf` tool of libvmaf where there is one.

The tool is the one that the environment variable VMAF names, or else that of PATH.
"""
import json
import os
import shutil
import subprocess

from picture_quality import MARKER_SIZE, of_drawn

MOST_WATCHED = 300  # pictures that follow each other, as it looks at what moves between them


def tool():
    return shutil.which(os.environ.get("VMAF", "vmaf"))


def vmaf(playlist, numbers, pictures, folder):
    """Mean and worst picture, of 100; nothing without the tool."""
    if not tool():
        return {}
    numbers = numbers[:MOST_WATCHED]
    area = f"crop={pictures.width}:{pictures.height - MARKER_SIZE}"
    as_y4m = ["-fps_mode", "passthrough", "-strict", "-1", "-f", "yuv4mpegpipe", "pipe:1"]
    drawn = ["ffmpeg", "-v", "error", *of_drawn(pictures), "-vf", f"format=yuv420p,{area}:0:{MARKER_SIZE}", *as_y4m]
    shown = ["ffmpeg", "-nostdin", "-v", "error", "-i", str(playlist), "-frames:v", str(len(numbers)), "-vf",
             f"format=yuv420p,settb=1/30,setpts=N,{area}:{pictures.left}:{pictures.top + MARKER_SIZE}", *as_y4m]
    report = folder / "vmaf.json"
    with subprocess.Popen(drawn, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as first, \
            subprocess.Popen(shown, stdout=subprocess.PIPE) as second:
        pipes = [first.stdout.fileno(), second.stdout.fileno()]
        with subprocess.Popen([tool(), "--quiet", "--reference", f"/dev/fd/{pipes[0]}", "--distorted", f"/dev/fd/{pipes[1]}",
                               "--json", "--output", str(report)], pass_fds=pipes) as judge:
            first.stdout.close()
            second.stdout.close()
            pictures.write(numbers, first.stdin)
            first.stdin.close()
    if any(process.returncode != 0 for process in (first, second, judge)):
        raise RuntimeError("the pictures' VMAF could not be computed")
    found = json.loads(report.read_text())
    if len(found["frames"]) != len(numbers):
        raise RuntimeError(f"VMAF of {len(found['frames'])} pictures of {len(numbers)}")
    scores = found["pooled_metrics"]["vmaf"]
    return {"vmaf": scores["mean"], "worstVMAF": scores["min"]}
