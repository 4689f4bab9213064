"""What happens in terminals: nothing, a clock and a blinking cursor, typing, a log."""
import contextlib
import pathlib
import sys
import time

from stage import running, some_text

TYPING = ("while :; do for c in t h e ' ' q u i c k ' ' b r o w n ' ' f o x ' '; do printf %s \"$c\"; sleep 0.05; done; "
          "done")
CLOCK = "while :; do printf '\\r%s ' \"$(date +%T)\"; sleep 1; done"
NEAR, FAR = 60, 980  # pixels from the left of two terminals; the near one stands as far from the top
TEXT = "fold -s -w 100 text.txt; "
NOTHING = "cat; sleep 1000000"


@contextlib.contextmanager
def terminal(stage, geometry, script, *options):
    size = round(10 * stage.scale)
    with running(["xterm", "-fa", "DejaVu Sans Mono", "-fs", size, "-geometry", geometry, *options, "-e", "sh", "-c", script],
                 stage.environment, cwd=stage.folder):
        yield


def write_text(stage):
    """What TEXT shows."""
    (stage.folder / "text.txt").write_text(some_text(1, 700))


@contextlib.contextmanager
def beside_text(stage, script, *options):
    """Two terminals, one of which is full of text and stands still."""
    write_text(stage)
    near, far = round(NEAR * stage.scale), round(FAR * stage.scale)
    with terminal(stage, f"100x40+{far}+{5 * near}", TEXT + NOTHING), \
            terminal(stage, f"100x40+{near}+{near}", script, *options):
        time.sleep(2)
        yield


@contextlib.contextmanager
def still(stage):
    with beside_text(stage, TEXT + NOTHING):
        yield


@contextlib.contextmanager
def clock(stage):
    """A clock of seconds, and the cursor behind it blinks."""
    with beside_text(stage, CLOCK, "-bc", "-bcf", "500", "-bcn", "500"):
        stage.call("xdotool", "mousemove", round(200 * stage.scale), round(200 * stage.scale))  # focus lets it blink
        yield


@contextlib.contextmanager
def typing(stage):
    """Twenty characters a second."""
    with beside_text(stage, TYPING):
        yield


@contextlib.contextmanager
def log(stage):
    script = f"exec '{sys.executable}' '{pathlib.Path(__file__).with_name('log_lines.py')}'"
    with terminal(stage, f"200x56+{round(100 * stage.scale)}+{round(60 * stage.scale)}", script):
        time.sleep(2)
        yield
