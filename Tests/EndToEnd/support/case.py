"""The test case that the end-to-end tests build on."""

import json
import os
import shutil
import tempfile
import unittest
from pathlib import Path

from support import media, tool
from support.processes import wait_until
from support.screens import DummyXorg, WindowManager, Xvfb
from support.windows import BINARY, REPOSITORY, Painter


class EndToEndCase(unittest.TestCase):
    """A fresh directory, and a caches folder of its own so that no other test holds the capture lock."""

    def setUp(self):
        self.directory = Path(tempfile.mkdtemp(prefix="glimto-e2e-"))
        self.addCleanup(shutil.rmtree, self.directory, ignore_errors=True)
        self.caches = self.directory / "caches"
        self.work = self.directory / "work"
        self.work.mkdir()
        self.take = self.work / "take"
        self.server = None

    def started(self, child):
        self.addCleanup(child.end)
        return child

    def start_screen(self, size="320x240", colour=None):
        self.server = self.started(Xvfb(size))
        if colour:
            self.server.paint_root(colour)
        return self.server

    def start_dummy_screen(self):
        self.server = self.started(DummyXorg(self.directory))
        return self.server

    def start_window_manager(self):
        return self.started(WindowManager(self.server))

    def start_painter(self):
        return self.started(Painter(self.server))

    def minimise(self, window):
        """Asks the window manager for it, and waits until that is done."""
        window.iconify()
        wait_until(lambda: "window state: Iconic" in self.server.run("xprop", "-id", window.id, "WM_STATE"),
                   "the minimised window")

    def environment(self, **changes):
        """The program's environment; a change to None takes a variable out."""
        kept = self.server.environment() if self.server else {
            name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        # Desktop files of the machine would name its programs otherwise.
        merged = {**kept, "XDG_CACHE_HOME": str(self.caches), "XDG_DATA_DIRS": str(self.directory / "share"), **changes}
        merged.pop("GLIMTO_DESKTOP_ACCESS_KEY", None)
        return {name: value for name, value in merged.items() if value is not None}

    def run_tool(self, *arguments, binary=BINARY, limit=tool.RUN_LIMIT, **changes):
        return tool.run([binary, *arguments], self.environment(**changes), self.work, limit)

    def start_recording(self, *arguments, binary=BINARY, options=None, **changes):
        return self.started(tool.Recording([binary, "record", "-o", self.take, *map(str, arguments)],
                                           self.environment(**changes), self.work, **(options or {})))

    def record(self, *arguments, **options):
        """A recording that has to succeed."""
        output = self.start_recording(*arguments, **options).finish()
        self.assertEqual(output.status, 0, output.errors)
        return output

    def manifest(self):
        return json.loads((self.take / "manifest.json").read_text())

    def joined(self):
        return media.join_segments(self.take, self.directory / "joined.mp4")

    def frames(self):
        return media.decode(self.joined())

    def verify_contract(self):
        media.run_tool(REPOSITORY / "scripts" / "verify-media-contract.sh", self.take)

    def segments(self):
        return sorted(path.name for path in (self.take / "segments" / "video").glob("segment_*.m4s"))

    def assert_shows(self, frame, colour, x, y, tolerance=media.TOLERANCE):
        self.assertTrue(frame.shows(colour, x, y, tolerance),
                        f"({x}, {y}) of the frame at {frame.time} is {bytes(frame.pixel(x, y)).hex()}, not {colour}")

    def assert_fails(self, output, message):
        """One error line, last on standard error, and status 1."""
        self.assertEqual(output.status, 1, output.errors)
        self.assertEqual(output.error_lines[-1:], ["error: " + message])

    def assert_leaves_no_temporary_file(self):
        """Nothing in the take but files under their final names."""
        names = [path.name for path in self.take.rglob("*") if path.is_file()]
        known = {"manifest.json", "thumbnail.jpg", "events.json", "playlist.m3u8", "init.mp4"}
        strange = [name for name in names if name not in known and not name.startswith("segment_")]
        self.assertEqual(strange, [])
        for path in self.take.rglob("*"):
            self.assertTrue(path.is_dir() or path.stat().st_size > 0, f"{path} is empty")
