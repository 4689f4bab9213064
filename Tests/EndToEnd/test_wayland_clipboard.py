"""The clipboard of a Wayland compositor."""

import subprocess
import unittest

from support import pictures
from support.case import EndToEndCase
from support.processes import START_LIMIT, wait_until
from support.wayland import Sway, clipboard_owners


class WaylandClipboardTests(EndToEndCase):
    @classmethod
    def setUpClass(cls):
        cls.sway = Sway()
        cls.addClassCleanup(cls.sway.end)

    def setUp(self):
        super().setUp()
        self.server = self.sway

    def copy(self, side, **changes):
        noise = self.directory / "noise.ppm"
        pictures.write_ppm(pictures.noise(side, side), noise)
        path = pictures.make_png(self.work / f"{side}.png", noise)
        output = self.run_tool("clipboard-image", "--path", path, **changes)
        return path, output

    def copied(self, side):
        path, output = self.copy(side)
        self.assertEqual((output.status, output.errors), (0, ""))
        return path.read_bytes()

    def pasted(self):
        done = subprocess.run(["wl-paste", "--no-newline", "--type", "image/png"], env=self.sway.environment(),
                              capture_output=True, timeout=START_LIMIT)
        return done.stdout

    def put_text(self, text):
        subprocess.run(["wl-copy", text], env=self.sway.environment(), check=True, timeout=START_LIMIT,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def test_picture_is_pasted_as_often_as_wanted(self):
        data = self.copied(64)
        for _ in range(3):
            self.assertEqual(self.pasted(), data)

    def test_large_picture_is_pasted_whole(self):
        data = self.copied(1500)
        self.assertGreater(len(data), 5_000_000)
        self.assertEqual(self.pasted(), data)

    def test_owner_ends_when_another_program_takes_the_clipboard(self):
        self.copied(64)
        wait_until(lambda: len(clipboard_owners(self.sway)) == 1, "one owner")
        self.put_text("hello")
        wait_until(lambda: not clipboard_owners(self.sway), "the end of the owner")

    def test_next_picture_replaces_the_last(self):
        self.copied(64)
        data = self.copied(65)
        self.assertEqual(self.pasted(), data)
        wait_until(lambda: len(clipboard_owners(self.sway)) == 1, "one owner")

    def test_reader_that_stops_does_not_hold_up_others(self):
        data = self.copied(1500)
        reader = subprocess.Popen(["wl-paste", "--no-newline", "--type", "image/png"], env=self.sway.environment(),
                                  stdout=subprocess.PIPE)
        self.addCleanup(reader.wait)
        self.addCleanup(reader.stdout.close)
        reader.stdout.read(1)
        self.assertEqual(self.pasted(), data)

    def test_clipboard_of_a_compositor_that_is_not_there_is_an_error(self):
        _, output = self.copy(64, WAYLAND_DISPLAY="wayland-4711")
        self.assertEqual(output.status, 1)
        self.assertEqual(output.texts, [])
        self.assertIn("wayland-4711", output.errors)


class WaylandClipboardEndTests(EndToEndCase):
    def test_owner_ends_with_the_compositor(self):
        self.server = self.started(Sway())
        path = pictures.make_png(self.work / "small.png", "-size", "8x8", "xc:red")
        self.assertEqual(self.run_tool("clipboard-image", "--path", path).status, 0)
        wait_until(lambda: len(clipboard_owners(self.server)) == 1, "one owner")
        self.server.end()
        wait_until(lambda: not clipboard_owners(self.server), "the end of the owner")


if __name__ == "__main__":
    unittest.main()
