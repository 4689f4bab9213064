"""What is recorded, and what it may cost."""
import contextlib
import dataclasses
import functools
import typing

import dragged_window
import moving_pictures
import scrolled_page
import terminals
from shown_again import again


@dataclasses.dataclass
class Content:
    """`show` shows it on a stage as long as its context lasts, and gives the pictures if they are known."""

    title: str
    goal: float  # CPU time in parts of the peer's, at most
    show: typing.Callable[..., contextlib.AbstractContextManager]
    width: int = 1920
    height: int = 1080
    rate: int = 30
    length: int = 1  # times the seconds that are asked for; what costs next to nothing must not be measured at its start
    again: bool = False  # shown as numbered pictures for the sake of the picture, and not of what it costs
    small: str = None  # the same at 1080p
    small_goal: float = None  # CPU time in parts of that of `small`, at most


CONTENTS = {
    "still": Content("still desktop", 0.02, terminals.still, length=3),
    "clock": Content("clock and blinking cursor", 0.05, terminals.clock, length=3),
    "typing": Content("typing, 20 characters a second", 0.18, terminals.typing),
    "log": Content("log in a terminal", 0.30, terminals.log),
    "page": Content("page scrolled in a browser", 0.18, scrolled_page.scrolled),
    "drag": Content("window dragged about", 0.25, dragged_window.dragged),
    "typing-again": Content("typing, 20 characters a second", None, again(terminals.typing), again=True),
    "log-again": Content("log in a terminal", None, again(terminals.log), again=True),
    "page-again": Content("page scrolled in a browser", None, again(scrolled_page.scrolled), again=True),
    "drag-again": Content("window dragged about", None, again(dragged_window.dragged), again=True),
    "film": Content("720p film in a window", 0.30, moving_pictures.film),
    "motion": Content("full-screen motion", 0.42, moving_pictures.motion),
    "zoom": Content("slow zoom over a sharp photo", 0.42, moving_pictures.photo_zoom),
    "fractal": Content("fractal zoom", 0.42, moving_pictures.fractal_zoom),
    "typing-4k": Content("typing, 3840x2160", None, terminals.typing, 3840, 2160, small="typing", small_goal=3.0),
    "motion-4k": Content("full-screen motion, 3840x2160", None, moving_pictures.motion, 3840, 2160, small="motion",
                         small_goal=4.2),
    "motion-4k60": Content("full-screen motion, 3840x2160, 60 a second", None,
                           functools.partial(moving_pictures.motion, rate=60), 3840, 2160, 60),
}
