"""A window dragged about by its title bar, over a photo and another window."""
import contextlib
import math
import time

import terminals
from stage import need, running

STEP_SECONDS = 0.016
STEPS = 700


@contextlib.contextmanager
def dragged(stage):
    need("openbox")
    with running(["openbox", "--sm-disable"], stage.environment):
        time.sleep(2)
        with terminals.still(stage):
            left, top = terminals.NEAR + 300, terminals.NEAR + 8  # within its title bar
            path = [(left + round(350 * math.sin(6.2832 * step / STEPS)), top + round(180 * math.sin(12.5664 * step / STEPS)))
                    for step in range(STEPS)]
            moves = [line for x, y in path for line in (f"mousemove {x} {y}", f"sleep {STEP_SECONDS}")]
            with stage.hands([f"mousemove {left} {top}", "mousedown 1", *moves, "mouseup 1"]):
                time.sleep(1)
                yield
