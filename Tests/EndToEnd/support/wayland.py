"""Wayland compositors: sway without a screen, and what is shown on it."""

import glob
import json
import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from support.processes import START_LIMIT, Child, is_listening, read_line, wait_until
from support.windows import BINARY, hexadecimal

TEST_SURFACE = Path(os.environ.get("GLIMTO_TEST_SURFACE", BINARY.parent / "glimto-test-surface"))

# What a process is called that offers a picture.
OWNER_NAME = b"glimto-capture-clipboard"

# A user that is not root, who has nothing of his own: sway refuses to run as root.
OTHER_USER = 1000

# Two displays, of scale 1 and 2, the second beside a gap.
CONFIGURATION = """
output HEADLESS-1 resolution 640x480 position 0,0 scale 1 bg #000000 solid_color
output HEADLESS-2 resolution 800x600 position 1920,0 scale 2 bg #000000 solid_color
default_border none
focus_follows_mouse no
seat * hide_cursor 1
xwayland disable
"""


class Sway(Child):
    """A compositor with the displays HEADLESS-1 and HEADLESS-2, or one that has its displays, WL-1 and WL-2, as
    windows on another one: closing such a window pulls the display's plug."""

    def __init__(self, configuration=CONFIGURATION, outer=None):
        self.displays = ("WL-1", "WL-2") if outer else ("HEADLESS-1", "HEADLESS-2")
        self.runtime = Path(tempfile.mkdtemp(prefix="glimto-sway-"))
        path = self.runtime / "config"
        path.write_text(configuration)
        prefix = []
        if os.geteuid() == 0:
            for each in (self.runtime, path):
                os.chown(each, OTHER_USER, OTHER_USER)
            prefix = ["setpriv", f"--reuid={OTHER_USER}", f"--regid={OTHER_USER}", "--clear-groups"]
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("DISPLAY", "WAYLAND_DISPLAY", "SWAYSOCK", "DBUS_SESSION_BUS_ADDRESS")}
        environment.update(HOME=str(self.runtime), XDG_RUNTIME_DIR=str(self.runtime), WLR_RENDERER="pixman",
                           WLR_LIBINPUT_NO_DEVICES="1", XDG_SESSION_TYPE="wayland")
        if outer:
            environment.update(WLR_BACKENDS="wayland", WLR_WL_OUTPUTS="2", WAYLAND_DISPLAY=str(outer.display_path()))
        else:
            environment.update(WLR_BACKENDS="headless", WLR_HEADLESS_OUTPUTS="2")
        super().__init__([*prefix, "sway", "-c", str(path)], environment, cwd=self.runtime)
        try:
            self.socket = wait_until(self.find_socket, "sway's start")
            wait_until(lambda: is_listening(self.display_path()), "sway's display")
            wait_until(lambda: all(map(self.grim, self.displays)), "sway's displays")
        except BaseException:
            self.end()
            raise

    def end(self):
        super().end()
        shutil.rmtree(self.runtime, ignore_errors=True)

    def find_socket(self):
        if not self.is_running():
            raise AssertionError("sway has ended")
        return next(iter(glob.glob(str(self.runtime / "sway-ipc.*.sock"))), None)

    def display_path(self):
        return self.runtime / "wayland-1"

    def environment(self):
        kept = {name: value for name, value in os.environ.items()
                if name not in ("DISPLAY", "XAUTHORITY", "GLIMTO_DESKTOP_ACCESS_KEY")}
        return {**kept, "XDG_RUNTIME_DIR": str(self.runtime), "WAYLAND_DISPLAY": "wayland-1", "SWAYSOCK": self.socket}

    def message(self, *words):
        """What swaymsg answers."""
        done = subprocess.run(["swaymsg", "-r", "-s", self.socket, *words], check=True, timeout=START_LIMIT,
                              stdout=subprocess.PIPE, env=self.environment())
        return json.loads(done.stdout)

    def output(self, name):
        return next(each for each in self.message("-t", "get_outputs") if each["name"] == name)

    def grim(self, output):
        """The pixels of an output as another program sees them: a binary PPM, or nothing."""
        done = subprocess.run(["grim", "-t", "ppm", "-o", output, "-"], env=self.environment(), capture_output=True,
                              timeout=START_LIMIT)
        return done.stdout if done.returncode == 0 else None


class Surface(Child):
    """A window of glimto-test-surface."""

    def __init__(self, server, output="-", application="", title=""):
        super().__init__([TEST_SURFACE], server.environment(), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         stderr=None)
        try:
            self.ask("open", output, hexadecimal(application), hexadecimal(title))
        except BaseException:
            self.end()
            raise

    def ask(self, *words):
        """Returns once the compositor has shown it."""
        self.tell(*words)
        answer = read_line(self.process.stdout.fileno(), START_LIMIT, "glimto-test-surface").decode()
        if answer != "ok":
            raise AssertionError(f"{words}: {answer}")

    def tell(self, *words):
        self.process.stdin.write((" ".join(map(str, words)) + "\n").encode())
        self.process.stdin.flush()

    def fill(self, colour):
        self.ask("fill", colour)

    def show(self, picture, path):
        """A picture of the surface's size in pixels, by a file at `path`."""
        path.write_bytes(picture.bgrx())
        self.ask("show", path)


def clipboard_owners(server):
    """The ids of processes that offer a picture in that session."""
    found = []
    for path in Path("/proc").glob("[0-9]*"):
        try:
            words = (path / "cmdline").read_bytes().split(b"\0")
            environment = (path / "environ").read_bytes()
        except OSError:
            continue
        if words[0] == OWNER_NAME and str(server.runtime).encode() in environment:
            found.append(int(path.name))
    return found
