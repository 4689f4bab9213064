"""Servers that lack something, and what the program makes of them."""

import time
import unittest

from support import tool
from support.case import EndToEndCase
from support.screens import XServer
from support.tool import STATUS
from support.windows import BINARY

COLOUR = "3060c0"


class ServerTests(EndToEndCase):
    def start_server(self, *arguments, depth=24):
        self.server = self.started(XServer(["Xvfb", "-screen", "0", f"320x240x{depth}", *arguments]))
        self.server.paint_root(COLOUR)

    def assert_recorded(self, output):
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assert_shows(self.frames()[-1], COLOUR, 200, 20)

    def assert_refused(self, output, message):
        self.assert_fails(output, message)
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertEqual([path for path in self.take.rglob("*") if path.is_file()], [])


class ResettingServerTests(ServerTests):
    """A server that starts anew, with other displays, when its last client leaves; there is no client but ours."""

    def setUp(self):
        super().setUp()
        self.server = self.started(XServer(["Xvfb", "-screen", "0", "320x240x24"], resets=True))

    def test_its_screen_is_recorded(self):
        output = self.record("-d", "0.4")
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assert_shows(self.frames()[-1], "000000", 200, 20)

    def test_its_screen_is_photographed(self):
        picture = self.work / "picture.png"
        output = self.run_tool("screenshot", "-o", picture, "--no-watermark")
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertTrue(picture.exists())


class MissingExtensionTests(ServerTests):
    def test_display_is_recorded_without_extensions_that_only_help(self):
        for extension in ("MIT-SHM", "RANDR", "Composite", "RENDER", "X-Resource", "SHAPE"):
            with self.subTest(extension=extension):
                self.start_server("-extension", extension)
                self.assert_recorded(self.record("-d", "0.4", "-w"))
                self.server.end()

    def test_missing_extension_that_is_needed_is_named(self):
        for extension in ("DAMAGE", "XFIXES"):
            with self.subTest(extension=extension):
                self.start_server("-extension", extension)
                output = self.start_recording("-d", "0.4").finish()
                self.assert_refused(output, f"The X server has no {extension} extension.")
                self.server.end()

    def test_own_windows_that_cannot_be_hidden_are_not_recorded(self):
        self.start_server("-extension", "Composite")
        self.start_painter().open("100x80+40+40", "ff0000", window_class="Glimto", override=True)
        output = self.start_recording("-d", "0.4").finish()
        self.assert_refused(output, "The X server has no Composite extension.")

    def test_window_is_not_recorded_without_the_extension_for_covered_windows(self):
        self.start_server("-extension", "Composite")
        window = self.start_painter().open("100x80+40+40", "ff0000", override=True)
        output = self.start_recording("-d", "0.4", "--window-id", window.id).finish()
        self.assert_refused(output, "The X server has no Composite extension.")

    def test_changes_are_seen_without_shared_memory(self):
        self.start_server("-extension", "MIT-SHM")
        self.start_painter().open("320x240+0+0", override=True).run_clock(50)
        self.record("-d", "1", "-r", "20")
        self.assertGreater(len({bytes(frame.data) for frame in self.frames()}), 5)

    def test_program_that_cannot_share_memory_with_the_server_records(self):
        self.start_server()
        command = ["unshare", "--ipc", str(BINARY), "record", "-o", str(self.take), "-d", "0.4"]
        self.assert_recorded(tool.run(command, self.environment(), self.work))


class ColourDepthTests(ServerTests):
    # What a window is painted with, and how that looks.
    RED = {16: "f800", 30: "3ff00000"}
    GREEN = {16: "07e0", 30: "000ffc00"}

    def each_depth(self):
        for depth in (16, 30):
            with self.subTest(depth=depth):
                self.start_server(depth=depth)
                yield depth
                self.server.end()

    def test_palette_of_colours_is_refused_with_its_depth(self):
        self.start_server(depth=8)
        output = self.start_recording("-d", "0.4").finish()
        self.assert_refused(output, "The X display has 8-bit colour in a format that cannot be captured. Switch it to "
                                    "24-bit colour.")

    def test_display_is_recorded_as_it_changes(self):
        for depth in self.each_depth():
            painter = self.start_painter()
            window = painter.open("100x80+40+40", self.RED[depth], override=True)
            recording = self.start_recording("-d", "1.6", "-w")
            recording.wait_until_recording()
            time.sleep(0.5)
            window.move(180, 120)
            time.sleep(0.4)
            window.paint(self.GREEN[depth])
            self.assertEqual(recording.finish().status, 0)
            frames = self.frames()
            self.assert_shows(frames[0], "ff0000", 90, 80)
            self.assert_shows(frames[0], COLOUR, 200, 20)
            self.assert_shows(frames[-1], "00ff00", 230, 160)
            self.assert_shows(frames[-1], COLOUR, 200, 20)
            self.assert_shows(frames[-1], COLOUR, 90, 80)
            self.verify_contract()

    def test_pointer_leaves_no_trace(self):
        for depth in self.each_depth():
            painter = self.start_painter()
            painter.open("320x240+0+0", self.GREEN[depth], override=True)
            self.server.place_pointer(150, 110)
            recording = self.start_recording("-d", "1.2", "-w")
            recording.wait_until_recording()
            time.sleep(0.5)
            self.server.place_pointer(40, 40)
            self.assertEqual(recording.finish().status, 0)
            frames = self.frames()
            around = [(x, y) for x in range(140, 170) for y in range(100, 130)]
            self.assertTrue(any(not frames[0].shows("00ff00", x, y, 40) for x, y in around))
            self.assertTrue(all(frames[-1].shows("00ff00", x, y, 40) for x, y in around))

    def test_region_and_window_are_recorded(self):
        for depth in self.each_depth():
            painter = self.start_painter()
            window = painter.open("101x81+40+40", self.RED[depth], override=True)
            self.record("-d", "0.4", "-w", "--region", "90,70,100,90")
            frame = self.frames()[-1]
            self.assert_shows(frame, "ff0000", 10, 10)
            self.assert_shows(frame, COLOUR, 90, 80)
            painter.open("320x240+0+0", self.GREEN[depth], override=True)
            self.record("-d", "0.4", "-w", "--window-id", window.id)
            self.assert_shows(self.frames()[-1], "ff0000", 50, 40)

    def test_window_that_grows_is_scaled(self):
        for depth in self.each_depth():
            window = self.start_painter().open("100x80+40+40", self.RED[depth], override=True)
            recording = self.start_recording("-d", "1.4", "-w", "--no-cursor", "--window-id", window.id)
            recording.wait_until_recording()
            window.resize(200, 160)
            time.sleep(0.4)
            window.paint(self.GREEN[depth])
            self.assertEqual(recording.finish().status, 0)
            self.assert_shows(self.frames()[-1], "00ff00", 50, 40)

    def test_own_windows_are_hidden(self):
        for depth in self.each_depth():
            self.start_painter().open("320x240+0+0", self.GREEN[depth], window_class="Desk", override=True)
            self.start_painter().open("100x80+40+40", self.RED[depth], window_class="Glimto", override=True)
            self.record("-d", "0.5", "-w", "--no-cursor")
            self.assert_shows(self.frames()[-1], "00ff00", 90, 80)

    def test_everything_is_recorded_without_shared_memory(self):
        for depth in (16, 30):
            with self.subTest(depth=depth):
                self.start_server("-extension", "MIT-SHM", depth=depth)
                self.start_painter().open("101x81+39+41", self.RED[depth], override=True)
                self.record("-d", "0.5", "-w", "--no-cursor")
                frame = self.frames()[-1]
                self.assert_shows(frame, "ff0000", 90, 80)
                self.assert_shows(frame, COLOUR, 200, 20)
                self.server.end()


if __name__ == "__main__":
    unittest.main()
