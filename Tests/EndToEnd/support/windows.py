"""Windows with known contents, painted by glimto-test-window."""

import os
import subprocess
from pathlib import Path

from support.processes import START_LIMIT, Child, read_line

REPOSITORY = Path(__file__).resolve().parents[3]
BINARY = Path(os.environ.get("GLIMTO_CAPTURE_BINARY", REPOSITORY / "build" / "glimto-capture")).resolve()
TEST_WINDOW = Path(os.environ.get("GLIMTO_TEST_WINDOW", BINARY.parent / "glimto-test-window"))
CLOCK_BITS = 12


def hexadecimal(text):
    data = text.encode() if isinstance(text, str) else text
    return data.hex() or "-"


class Painter(Child):
    """A client whose windows the test opens and changes."""

    def __init__(self, server):
        super().__init__([TEST_WINDOW], server.environment(), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         stderr=None)

    def open(self, geometry, paint="808080", window_class="Painter", title="", pid=None, override=False):
        """A mapped window; `pid` is the painter's own unless given, 0 for none."""
        owner = self.pid if pid is None else pid
        mode = "override" if override else "managed"
        answer = self.ask("open", geometry, hexadecimal(window_class), hexadecimal(title), owner, mode, paint)
        return Window(self, int(answer.result))

    def grab_server(self, milliseconds):
        """Returns when the server answers the others again."""
        return self.ask("grab-server", milliseconds)

    def ask(self, *words):
        self.process.stdin.write((" ".join(map(str, words)) + "\n").encode())
        self.process.stdin.flush()
        answer = read_line(self.process.stdout.fileno(), START_LIMIT, "glimto-test-window").decode().split(" ", 3)
        if answer[0] != "ok":
            raise AssertionError(f"{words}: {' '.join(answer)}")
        return Answer(int(answer[1]) / 1e9, int(answer[2]) / 1e9, answer[3] if len(answer) > 3 else "")


class Answer:
    """When the server was asked, when it had done it (monotonic seconds), and what came of it."""

    def __init__(self, before, after, result):
        self.before = before
        self.after = after
        self.result = result


class Window:
    def __init__(self, painter, identifier):
        self.painter = painter
        self.id = identifier

    def paint(self, picture):
        return self.painter.ask("paint", self.id, picture)

    def run_clock(self, step_milliseconds):
        """Counts steps from now in bars that clock_value() reads."""
        return self.painter.ask("clock", self.id, step_milliseconds)

    def move(self, x, y):
        return self.painter.ask("move", self.id, x, y)

    def resize(self, width, height):
        return self.painter.ask("resize", self.id, width, height)

    def raise_to_top(self):
        return self.painter.ask("raise", self.id)

    def lower_to_bottom(self):
        return self.painter.ask("lower", self.id)

    def iconify(self):
        return self.painter.ask("iconify", self.id)

    def map(self):
        return self.painter.ask("map", self.id)

    def unmap(self):
        return self.painter.ask("unmap", self.id)

    def grab_pointer(self):
        """Takes all clicks and moves of the pointer from every other client."""
        return self.painter.ask("grab", self.id)

    def destroy(self):
        return self.painter.ask("destroy", self.id)

    def place(self):
        """x, y, width, height on the screen."""
        return tuple(map(int, self.painter.ask("where", self.id).result.split()))


def clock_value(frame):
    """The number that a frame filled by a running clock shows."""
    value = 0
    for bit in range(CLOCK_BITS):
        red, green, blue = frame.pixel(frame.width * (2 * bit + 1) // (2 * CLOCK_BITS), frame.height // 2)
        value = value * 2 + (red + green + blue > 3 * 128)
    return value
