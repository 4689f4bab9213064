"""Pictures that move and that are known: drawn motion, a zoom over a photo, a fractal zoom, a film in a player.

Each shows its number as black or white squares in its top left corner, and gives them again as they were drawn.
"""
import contextlib
import dataclasses
import pathlib
import subprocess
import time

from picture_quality import MARKER_BITS, MARKER_SIZE
from stage import PHOTOS, need, running

ZOOM_PICTURES = 90  # shown forwards and backwards
ZOOM_STEP = 1000  # a picture leaves this part of the width at either side
FILM_SIZE = (1280, 720)
FILM_PLACE = (320, 180)
FILM_RATE = 24
SHOT_SECONDS = 4
SHOTS = ["nature/RainDrops.jpg", "nature/Wood.jpg", "nature/Blinds.jpg"]


@dataclasses.dataclass
class Drawn:
    """Where on the screen the pictures are, and how often their numbers begin again."""

    width: int
    height: int
    left: int = 0
    top: int = 0
    period: int = 1 << MARKER_BITS
    pixel_format: str = "bgr0"


@dataclasses.dataclass
class MotionPictures(Drawn):
    program: pathlib.Path = None

    def write(self, numbers, output):
        subprocess.run([self.program, "--size", f"{self.width}x{self.height}", "--pictures", ",".join(map(str, numbers))],
                       stdout=output, check=True)


@dataclasses.dataclass
class FilePictures(Drawn):
    """Raw pictures in a file."""

    file: pathlib.Path = None
    picture_bytes: int = 0
    there_and_back: bool = False

    def write(self, numbers, output):
        count = self.file.stat().st_size // self.picture_bytes
        turn = 2 * (count - 1) if self.there_and_back else count
        with self.file.open("rb") as pictures:
            for number in numbers:
                step = number % turn
                pictures.seek((step if step < count else turn - step) * self.picture_bytes)
                output.write(pictures.read(self.picture_bytes))


def ffmpeg(*arguments, output=None):
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *map(str, arguments)], check=True, stdout=output)


@contextlib.contextmanager
def motion(stage, rate=30):
    program = stage.build / "glimto-motion-scene"
    with running([program, "--size", f"{stage.width}x{stage.height}", "--rate", rate], stage.environment):
        time.sleep(3)
        yield MotionPictures(stage.width, stage.height, program=program)


@contextlib.contextmanager
def looped(stage, *arguments):
    """What ffmpeg makes of `arguments`, forwards and backwards over the whole screen."""
    file = stage.folder / "pictures.raw"
    ffmpeg(*arguments, "-frames:v", ZOOM_PICTURES, "-pix_fmt", "bgr0", "-f", "rawvideo", file)
    with running([stage.build / "glimto-picture-loop", file, stage.width, stage.height], stage.environment):
        time.sleep(3)
        yield FilePictures(stage.width, stage.height, file=file, picture_bytes=4 * stage.width * stage.height,
                           there_and_back=True)


def zooming(stage):
    """What tells ffmpeg to zoom slowly into a sharp photo, by parts of a pixel."""
    left, top = f"W*on/{ZOOM_STEP}", f"H*on/{ZOOM_STEP}"
    corners = f"x0={left}:y0={top}:x1=W-{left}:y1={top}:x2={left}:y2=H-{top}:x3=W-{left}:y3=H-{top}"
    return ["-i", PHOTOS / "abstract" / "Elephants_3840x2160.jpg", "-vf",
            f"scale={stage.width}:{stage.height}:flags=lanczos,format=gbrp,loop=-1:1,"
            f"perspective={corners}:eval=frame:interpolation=cubic"]


def photo_zoom(stage):
    return looped(stage, *zooming(stage))


@contextlib.contextmanager
def fractal_zoom(stage):
    with looped(stage, "-f", "lavfi", "-i",
                f"mandelbrot=size={stage.width}x{stage.height}:rate=30:start_scale=1:end_scale=0.03:end_pts=200") as pictures:
        yield pictures


def marker_filter():
    """Draws the number of each picture."""
    bits = [f"drawbox=x={bit * MARKER_SIZE}:y=0:w={MARKER_SIZE}:h={MARKER_SIZE}:t=fill:c=white:"
            f"enable='mod(floor(n/{1 << bit}),2)'" for bit in range(MARKER_BITS)]
    return ",".join([f"drawbox=x=0:y=0:w={MARKER_BITS * MARKER_SIZE}:h={MARKER_SIZE}:t=fill:c=black", *bits])


def make_film(file):
    """Three shots of a camera that moves, with grain."""
    width, height = FILM_SIZE
    shots = [f"[{at}:v]scale=1600:1000,loop=-1:1,fps={FILM_RATE},trim=duration={SHOT_SECONDS},"
             f"crop={width}:{height}:x='{40 + 30 * at}+2.5*n':y='{60 + 40 * at}+{at - 1}*n/2',setsar=1,setpts=N/{FILM_RATE}/TB[s{at}]"
             for at in range(len(SHOTS))]
    joined = "".join(f"[s{at}]" for at in range(len(SHOTS)))
    graph = (";".join(shots) + f";{joined}concat=n={len(SHOTS)},noise=alls=4:allf=t,format=yuv420p,{marker_filter()}")
    inputs = [word for shot in SHOTS for word in ("-i", PHOTOS / shot)]
    ffmpeg(*inputs, "-filter_complex", graph, "-c:v", "libx264", "-preset", "veryfast", "-crf", 15, "-color_range", "tv",
           "-colorspace", "smpte170m", "-color_primaries", "bt709", "-color_trc", "bt709", file)


@contextlib.contextmanager
def film(stage):
    """A film of 1280x720 with 24 pictures a second in a player's window."""
    need("mpv")
    (width, height), (left, top) = FILM_SIZE, FILM_PLACE
    file, raw = stage.folder / "film.mp4", stage.folder / "film.raw"
    make_film(file)
    ffmpeg("-i", file, "-pix_fmt", "yuv420p", "-f", "rawvideo", raw)
    with running(["mpv", "--no-config", "--vo=x11", "--no-audio", "--loop-file=inf", "--no-osc", "--osd-level=0",
                  "--no-border", "--cursor-autohide=no", "--hwdec=no", f"--geometry={width}x{height}+{left}+{top}", file],
                 stage.environment):
        stage.wait_for_window("mpv")
        time.sleep(3)
        picture_bytes = width * height * 3 // 2
        yield FilePictures(width, height, left, top, period=raw.stat().st_size // picture_bytes, pixel_format="yuv420p",
                           file=raw, picture_bytes=picture_bytes)
