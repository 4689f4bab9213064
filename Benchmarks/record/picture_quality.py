"""What a recording of numbered pictures shows: which of them, how well."""
import math
import re
import statistics
import subprocess

MARKER_BITS, MARKER_SIZE = 16, 16
MOST_COMPARED = 75  # pictures of a recording


def picture_numbers(playlist, pictures):
    """The number that each decoded frame carries in its corner."""
    strip = subprocess.run(
        ["ffmpeg", "-nostdin", "-v", "error", "-i", str(playlist), "-fps_mode", "passthrough", "-vf",
         f"crop={MARKER_BITS * MARKER_SIZE}:{MARKER_SIZE}:{pictures.left}:{pictures.top},format=gray", "-f", "rawvideo", "-"],
        check=True, stdout=subprocess.PIPE).stdout
    row, frame = MARKER_BITS * MARKER_SIZE, MARKER_BITS * MARKER_SIZE * MARKER_SIZE
    middle = row * (MARKER_SIZE // 2) + MARKER_SIZE // 2
    return [sum((strip[start + middle + bit * MARKER_SIZE] > 128) << bit for bit in range(MARKER_BITS))
            for start in range(0, len(strip), frame)]


def gaps(numbers, period):
    """How many pictures were left out between each shown one and the next one, of those that differ."""
    steps = [(after - before) % period for before, after in zip(numbers, numbers[1:])]
    return [step - 1 for step in steps if step > 0]


def of_drawn(pictures):
    """What tells ffmpeg to read pictures as they were drawn from its standard input."""
    return ["-f", "rawvideo", "-pix_fmt", pictures.pixel_format, "-video_size", f"{pictures.width}x{pictures.height}",
            "-i", "pipe:0"]


def likeness(playlist, numbers, pictures, folder):
    """SSIM and PSNR of luma, PSNR of chroma, of some frames against the pictures as they were drawn: mean, worst one."""
    step = max(math.ceil(len(numbers) / MOST_COMPARED), 1)
    height = pictures.height - MARKER_SIZE
    ssim, psnr = folder / "ssim.txt", folder / "psnr.txt"
    crop = f"crop={pictures.width}:{height}"
    graph = (f"[0:v]settb=1/30,setpts=N,format=yuv420p,{crop}:0:{MARKER_SIZE},split[drawn1][drawn2];"
             f"[1:v]select='not(mod(n,{step}))',settb=1/30,setpts=N,{crop}:{pictures.left}:{pictures.top + MARKER_SIZE},"
             f"split[shown1][shown2];[shown1][drawn1]ssim=stats_file={ssim}[one];"
             f"[shown2][drawn2]psnr=stats_file={psnr}[two]")
    command = ["ffmpeg", "-v", "error", *of_drawn(pictures), "-i", str(playlist), "-lavfi", graph]
    for output in ("[one]", "[two]"):
        command += ["-map", output, "-fps_mode", "passthrough", "-f", "null", "-"]
    with subprocess.Popen(command, stdin=subprocess.PIPE) as process:
        pictures.write(numbers[::step], process.stdin)
        process.stdin.close()
        if process.wait() != 0:
            raise RuntimeError("ffmpeg could not compare the pictures")
    structures = [float(value) for value in re.findall(r"\bY:([0-9.]+)", ssim.read_text())]
    errors, *of_chroma = ([float(value) for value in re.findall(rf"\bmse_{plane}:([0-9.]+)", psnr.read_text())]
                          for plane in "yuv")
    if len(structures) != len(numbers[::step]):
        raise RuntimeError(f"{len(structures)} pictures compared of {len(numbers[::step])}")
    return {"ssim": statistics.mean(structures), "worstSSIM": min(structures),
            "psnr": decibels(statistics.mean(errors)), "worstPSNR": decibels(max(errors)),
            "chromaPSNR": decibels(statistics.mean(map(statistics.mean, of_chroma)))}


def decibels(error):
    return 99.0 if error <= 0 else min(10 * math.log10(255 * 255 / error), 99.0)


def left_out(numbers, period):
    """How many pictures there were, how many of them were left out, and the longest gap."""
    found = gaps(numbers, period)
    return {"pictures": len(found) + 1 + sum(found), "lost": sum(found), "longestGap": max(found, default=0)}
