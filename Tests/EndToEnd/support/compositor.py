"""A Wayland compositor of our own, for what no compositor here offers: glimto-test-compositor."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from support.processes import START_LIMIT, Child, read_line
from support.windows import BINARY, hexadecimal

TEST_COMPOSITOR = Path(os.environ.get("GLIMTO_TEST_COMPOSITOR", BINARY.parent / "glimto-test-compositor"))
SOCKET = "wayland-test"


class Compositor(Child):
    """Obeys commands, as Tools/Compositor/TestCompositor.cpp lists them."""

    def __init__(self, *without):
        self.runtime = Path(tempfile.mkdtemp(prefix="glimto-compositor-"))
        super().__init__([TEST_COMPOSITOR, SOCKET, *without], self.environment(), stdin=subprocess.PIPE,
                         stdout=subprocess.PIPE, stderr=None)
        try:
            if self.hear() != "ready":
                raise AssertionError("the compositor did not start")
        except BaseException:
            self.end()
            raise

    def end(self):
        super().end()
        shutil.rmtree(self.runtime, ignore_errors=True)

    def environment(self):
        kept = {name: value for name, value in os.environ.items()
                if name not in ("DISPLAY", "SWAYSOCK", "HYPRLAND_INSTANCE_SIGNATURE", "DBUS_SESSION_BUS_ADDRESS",
                                "GLIMTO_DESKTOP_ACCESS_KEY")}
        return {**kept, "XDG_RUNTIME_DIR": str(self.runtime), "WAYLAND_DISPLAY": SOCKET}

    def hear(self):
        return read_line(self.process.stdout.fileno(), START_LIMIT, "glimto-test-compositor").decode()

    def ask(self, *words):
        """Returns what it answers once it is done."""
        self.process.stdin.write((" ".join(map(str, words)) + "\n").encode())
        self.process.stdin.flush()
        answer = self.hear().split()
        if answer[0] != "ok":
            raise AssertionError(f"{words}: {answer}")
        return answer[1:]

    def add_output(self, name, size, place=(0, 0), scale=1, transform=0):
        self.ask("output", name, *size, *place, scale, transform)

    def add_window(self, identifier, size, application="", title=""):
        self.ask("window", identifier, *size, hexadecimal(application), hexadecimal(title))

    def show(self, name, picture, path):
        """A picture of the source's size, by a file at `path`."""
        path.write_bytes(picture.bgrx())
        self.ask("show", name, path)

    def counts(self, name):
        """Sessions that there are, captures that succeeded, pixels copied."""
        return tuple(map(int, self.ask("count", name)))
