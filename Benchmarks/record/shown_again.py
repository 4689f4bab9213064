"""What real programs draw, photographed and then shown again as numbered pictures, so that it is known what was shown."""
import contextlib
import os
import time

from moving_pictures import FilePictures, ffmpeg
from stage import running

RATE = 30
SECONDS = 10  # of the content, again and again


def photograph(stage, file):
    """The screen as it changes, in raw pictures."""
    ffmpeg("-f", "x11grab", "-framerate", RATE, "-draw_mouse", 0, "-video_size", f"{stage.width}x{stage.height}", "-i",
           stage.environment["DISPLAY"], "-frames:v", RATE * SECONDS, "-pix_fmt", "bgr0", "-f", "rawvideo", file)


def keep_different(file, picture_bytes):
    """Leaves pictures out that are as the one before, and tells for how many thirtieths of a second each is shown."""
    ticks, before = [], None
    with file.open("r+b") as pictures:
        for at in range(file.stat().st_size // picture_bytes):
            pictures.seek(at * picture_bytes)
            picture = pictures.read(picture_bytes)
            if picture == before:
                ticks[-1] += 1
                continue
            pictures.seek(len(ticks) * picture_bytes)
            pictures.write(picture)
            ticks.append(1)
            before = picture
        pictures.truncate(len(ticks) * picture_bytes)
    return ticks


@contextlib.contextmanager
def played(stage, file, plan):
    """Shows pictures of a file, each for some thirtieths of a second, again and again."""
    steps = ",".join(f"{number}*{ticks}" for number, ticks in plan)
    with running([stage.build / "glimto-picture-loop", file, stage.width, stage.height, steps], stage.environment):
        time.sleep(3)
        picture_bytes = 4 * stage.width * stage.height
        yield FilePictures(stage.width, stage.height, period=os.path.getsize(file) // picture_bytes, file=file,
                           picture_bytes=picture_bytes)


def again(show):
    @contextlib.contextmanager
    def shown(stage):
        file = stage.folder / "pictures.raw"
        with show(stage):
            photograph(stage, file)
        ticks = keep_different(file, 4 * stage.width * stage.height)
        with played(stage, file, list(enumerate(ticks))) as pictures:
            yield pictures
    return shown
