"""Servers that lack something, and what the program makes of them."""

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
    def test_display_of_another_colour_depth_is_refused_with_its_depth(self):
        for depth in (8, 16, 30):
            with self.subTest(depth=depth):
                self.start_server(depth=depth)
                output = self.start_recording("-d", "0.4").finish()
                self.assert_refused(output, f"The X display has {depth}-bit colour, which cannot be captured. "
                                            "Switch it to 24-bit colour.")
                self.server.end()


if __name__ == "__main__":
    unittest.main()
