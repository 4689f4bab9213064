"""Takes as decoders see them."""

import json
import subprocess

LIMIT = 120  # seconds for one run of a media tool
TOLERANCE = 14  # how far the encoder may be off in a channel of a plain area


def run_tool(*command):
    done = subprocess.run(list(map(str, command)), capture_output=True, timeout=LIMIT, stdin=subprocess.DEVNULL)
    if done.returncode != 0:
        raise AssertionError(f"{command} failed: {done.stderr.decode(errors='replace')}")
    return done.stdout


def probe(path, *what):
    return json.loads(run_tool("ffprobe", "-v", "error", "-of", "json", *what, path))


def join_segments(take, target):
    """The bytes a player puts together: the initialization segment and every finished segment."""
    pieces = [take / "segments/video/init.mp4", *sorted((take / "segments/video").glob("segment_*.m4s"))]
    target.write_bytes(b"".join(piece.read_bytes() for piece in pieces))
    return target


class Frame:
    """A decoded picture of 8-bit RGB; `time` in seconds, none for a still picture."""

    def __init__(self, width, height, data, time=None):
        self.width = width
        self.height = height
        self.data = data
        self.time = time

    def pixel(self, x, y):
        at = 3 * (y * self.width + x)
        return tuple(self.data[at:at + 3])

    def shows(self, colour, x, y, tolerance=TOLERANCE):
        wanted = bytes.fromhex(colour)
        return all(abs(seen - meant) <= tolerance for seen, meant in zip(self.pixel(x, y), wanted))


def video_stream(path):
    return probe(path, "-show_streams", "-select_streams", "v:0")["streams"][0]


def frame_times(path):
    frames = probe(path, "-select_streams", "v:0", "-show_entries", "frame=pts_time")["frames"]
    return [float(frame["pts_time"]) for frame in frames]


def decode(path):
    """Every frame of a video, or the one of a still picture."""
    stream = video_stream(path)
    width, height = stream["width"], stream["height"]
    data = run_tool("ffmpeg", "-nostdin", "-v", "error", "-i", path, "-fps_mode", "passthrough", "-f", "rawvideo",
                    "-pix_fmt", "rgb24", "-")
    size = 3 * width * height
    times = frame_times(path)
    if len(data) != size * len(times):
        raise AssertionError(f"{path}: {len(data)} bytes for {len(times)} frames of {width}x{height}")
    return [Frame(width, height, data[at * size:(at + 1) * size], time) for at, time in enumerate(times)]
