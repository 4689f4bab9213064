"""What `windows-json` and `sources` say of window managers and programs that are particular about windows."""

import unittest

from support.case import EndToEndCase
from support.processes import Child, wait_until

PANEL = """
import gi
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk
panel = Gtk.Window(type_hint=Gdk.WindowTypeHint.DOCK)
panel.set_default_size(100, 20)
panel.move(0, 480)
panel.show_all()
Gtk.main()
"""


class ParticularDesktopsTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("640x480")

    def windows(self, *arguments):
        output = self.run_tool("windows-json", *arguments)
        self.assertEqual(output.status, 0, output.errors)
        return output.json()["windows"]

    def test_frames_of_a_tiling_window_manager_are_no_windows(self):
        configuration = self.directory / "i3.conf"
        configuration.write_text("font pango:monospace 8\n")
        self.started(Child(["i3", "-a", "-c", configuration],
                           {**self.server.environment(), "XDG_RUNTIME_DIR": str(self.directory),
                            "HOME": str(self.directory)}))
        wait_until(lambda: "window id" in self.server.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), "i3's start")
        painter = self.start_painter()
        opened = {painter.open("100x100+0+0", title=f"window {at}").id for at in range(3)}
        wait_until(lambda: {window["windowID"] for window in self.windows()} >= opened, "the windows' listing")
        for scope in ("--visible", "--all"):
            self.assertEqual({window["windowID"] for window in self.windows(scope)}, opened)

    def test_window_that_passes_by_the_window_manager_is_listed(self):
        painter = self.start_painter()
        menu = painter.open("100x100+50+50", override=True)
        self.assertEqual([window["windowID"] for window in self.windows()], [menu.id])

    def test_panel_that_hides_outside_of_the_screen_is_not_visible(self):
        self.start_window_manager()
        self.started(Child(["/usr/bin/python3", "-c", PANEL], {**self.server.environment(), "NO_AT_BRIDGE": "1"}))
        wait_until(lambda: [window for window in self.windows("--all") if window["frame"]["y"] == 480.0],
                   "the panel's hiding")
        self.assertEqual(self.windows("--visible"), [])

    def test_sources_do_not_change_with_the_stacking_order(self):
        painters = [self.start_painter() for _ in range(3)]
        windows = [painter.open("100x100+50+50", window_class=f"Class{at % 2}", override=True)
                   for at, painter in enumerate(painters)]
        windows.append(painters[0].open("50x50+0+0", window_class="Other", override=True))
        listed = self.run_tool("sources").text
        self.assertIn("Class0", listed)
        self.assertNotIn("Other", listed)
        for window in windows:
            window.raise_to_top()
            self.assertEqual(self.run_tool("sources").text, listed)
        owners = {window["owningApplication"]["pid"]: window["owningApplication"]["bundleID"]
                  for window in self.windows()}
        for window in self.windows():
            owner = window["owningApplication"]
            self.assertEqual(owner["bundleID"], owners[owner["pid"]])


if __name__ == "__main__":
    unittest.main()
