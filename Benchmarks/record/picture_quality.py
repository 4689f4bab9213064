"""What a recording of the motion scene shows: which pictures, how well."""
import re
import subprocess

WIDTH, HEIGHT = 1920, 1080
MARKER_BITS, MARKER_SIZE = 16, 16
RAW = ["-f", "rawvideo", "-pix_fmt", "bgr0", "-video_size", f"{WIDTH}x{HEIGHT}"]


def picture_numbers(playlist):
    """The number that each decoded frame carries in its corner."""
    strip = subprocess.run(
        ["ffmpeg", "-v", "error", "-i", str(playlist), "-fps_mode", "passthrough", "-vf",
         f"crop={MARKER_BITS * MARKER_SIZE}:{MARKER_SIZE}:0:0,format=gray", "-f", "rawvideo", "-"],
        check=True, stdout=subprocess.PIPE).stdout
    row, frame = MARKER_BITS * MARKER_SIZE, MARKER_BITS * MARKER_SIZE * MARKER_SIZE
    middle = row * (MARKER_SIZE // 2) + MARKER_SIZE // 2
    return [sum((strip[start + middle + bit * MARKER_SIZE] > 128) << bit for bit in range(MARKER_BITS))
            for start in range(0, len(strip), frame)]


def lost_pictures(numbers):
    """Pictures that were shown twice or never, of all between the first and the last."""
    steps = [after - before for before, after in zip(numbers, numbers[1:])]
    return sum(1 for step in steps if step == 0) + sum(step - 1 for step in steps if step > 1)


def similarity(playlist, numbers, scene, folder, samples=8):
    """Mean SSIM of luma of some frames against the scene's own pictures."""
    values = []
    for sample in range(samples):
        index = len(numbers) * (2 * sample + 1) // (2 * samples)
        shown, source = folder / "shown.raw", folder / "source.raw"
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", str(playlist), "-fps_mode", "passthrough", "-vf",
                        f"select=eq(n\\,{index})", "-frames:v", "1", "-pix_fmt", "bgr0", "-f", "rawvideo", str(shown)],
                       check=True)
        with source.open("wb") as output:
            subprocess.run([str(scene), "--picture", str(numbers[index])], check=True, stdout=output)
        result = subprocess.run(["ffmpeg", "-hide_banner", *RAW, "-i", str(shown), *RAW, "-i", str(source), "-lavfi",
                                 "[0:v]format=yuv420p[a];[1:v]format=yuv420p[b];[a][b]ssim", "-f", "null", "-"],
                                check=True, stderr=subprocess.PIPE, text=True)
        values.append(float(re.search(r"SSIM Y:([0-9.]+)", result.stderr).group(1)))
    return sum(values) / len(values)
