"""Contents whose scenes begin at known moments: pictures that were drawn or photographed before, shown by a plan."""
import dataclasses
import pathlib
import subprocess
import time
import typing

import scrolled_page
import terminals
from moving_pictures import SHOTS, ffmpeg, zooming
from stage import PHOTOS, need

REST = 80  # thirtieths of a second; segments and their keyframes last 120, so that scenes begin everywhere in them
MOVING = 60
SCROLL_STEP = 24  # pixels a picture


@dataclasses.dataclass
class Scenes:
    """What is shown: raw pictures in a file, how long each of them, and the scenes by their first pictures."""

    file: pathlib.Path
    plan: list  # of (picture, thirtieths of a second)
    titles: dict  # by the number of the first picture


@dataclasses.dataclass
class Content:
    title: str
    make: typing.Callable[..., Scenes]


def photograph(stage, output):
    """The screen as it is."""
    ffmpeg("-f", "x11grab", "-draw_mouse", 0, "-video_size", f"{stage.width}x{stage.height}", "-i",
           stage.environment["DISPLAY"], "-frames:v", 1, "-pix_fmt", "bgr0", "-f", "rawvideo", "pipe:1", output=output)


def photograph_page(stage, height):
    """A page in a browser, all of it, as an image file."""
    need("chromium")
    page, image = stage.folder / "page.html", stage.folder / "page.png"
    page.write_text(scrolled_page.page())
    subprocess.run(["chromium", "--headless", *scrolled_page.OPTIONS, f"--user-data-dir={stage.folder / 'profile'}",
                    "--hide-scrollbars", f"--window-size={stage.width},{height}", f"--screenshot={image}", page.as_uri()],
                   env=stage.environment, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=120)
    return image


def write_views(stage, image, tops, output):
    """What the screen shows of an image that is higher than it."""
    for top in tops:
        ffmpeg("-i", image, "-vf", f"crop={stage.width}:{stage.height}:0:{top}", "-frames:v", 1, "-pix_fmt", "bgr0",
               "-f", "rawvideo", "pipe:1", output=output)


def slides(stage):
    """Hard cuts between pages of text and desktops."""
    file = stage.folder / "pictures.raw"
    page = photograph_page(stage, 4 * stage.height)
    with file.open("wb") as output:
        write_views(stage, page, [0], output)
        with terminals.still(stage):
            photograph(stage, output)
        with terminals.terminal(stage, "230x60+0+0", "fold -s -w 220 text.txt; cat", "-bg", "black", "-fg", "gray85"):
            time.sleep(2)
            photograph(stage, output)
        write_views(stage, page, [3 * stage.height], output)
    return Scenes(file, [(number, REST) for number in range(4)],
                  {0: "cut to a page", 1: "cut to terminals over a photo", 2: "cut to a dark terminal",
                   3: "cut to another page"})


def window(stage):
    """A window full of text opens over a photo, and closes again."""
    file = stage.folder / "pictures.raw"
    with file.open("wb") as output:
        photograph(stage, output)
        terminals.write_text(stage)
        with terminals.terminal(stage, "110x45+300+150", terminals.TEXT + terminals.NOTHING):
            time.sleep(2)
            photograph(stage, output)
    return Scenes(file, [(0, REST), (1, REST)], {0: "window closes", 1: "window opens over a photo"})


def scroll(stage):
    """A page at rest begins to be scrolled, and rests again."""
    file = stage.folder / "pictures.raw"
    with file.open("wb") as output:
        page = photograph_page(stage, stage.height + MOVING * SCROLL_STEP)
        ffmpeg("-loop", 1, "-i", page, "-vf", f"crop={stage.width}:{stage.height}:0:n*{SCROLL_STEP}", "-frames:v",
               MOVING + 1, "-pix_fmt", "bgr0", "-f", "rawvideo", "pipe:1", output=output)
    return Scenes(file, moved(), {0: "cut back to a page", 1: "scroll begins", MOVING: "scroll ends"})


def zoom(stage):
    """A photo at rest begins to be zoomed, and rests again."""
    file = stage.folder / "pictures.raw"
    with file.open("wb") as output:
        ffmpeg(*zooming(stage), "-frames:v", MOVING + 1, "-pix_fmt", "bgr0", "-f", "rawvideo", "pipe:1", output=output)
    return Scenes(file, moved(), {0: "cut back to a photo", 1: "zoom begins", MOVING: "zoom ends"})


def moved():
    """At rest, from the second picture on one after the other, at rest."""
    return [(0, REST), *((number, 1) for number in range(1, MOVING)), (MOVING, REST)]


def cuts(stage):
    """Cuts between shots of a film."""
    file = stage.folder / "pictures.raw"
    with file.open("wb") as output:
        for at, shot in enumerate(SHOTS):
            ffmpeg("-i", PHOTOS / shot, "-vf", f"scale=2400:-1,loop=-1:1,noise=alls=4:allf=t,crop={stage.width}:{stage.height}:"
                   f"x='{40 + 30 * at}+2.5*n':y='{60 + 40 * at}+{at - 1}*n/2'", "-frames:v", MOVING, "-pix_fmt", "bgr0",
                   "-f", "rawvideo", "pipe:1", output=output)
    return Scenes(file, [(number, 1) for number in range(len(SHOTS) * MOVING)],
                  {at * MOVING: f"cut to shot {at + 1}" for at in range(len(SHOTS))})


CONTENTS = {
    "slides": Content("slides", slides),
    "window": Content("a window", window),
    "scroll": Content("a page", scroll),
    "zoom": Content("a photo", zoom),
    "cuts": Content("a film", cuts),
}
