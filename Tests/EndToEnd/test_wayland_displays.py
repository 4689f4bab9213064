"""Displays that are turned, scaled or large, and the windows on them, in a Wayland session."""

import unittest

from support import pictures
from support.processes import wait_until
from support.stills import region
from support.wayland import Surface
from test_wayland import BLUE, RED, WaylandCase

TRANSFORMS = ("normal", "90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270")
WIDE = (320, 200)


class WaylandDisplayTests(WaylandCase):
    def set_display(self, *words):
        self.sway.message("output", "HEADLESS-1", *words)

    def grim(self, output="HEADLESS-1"):
        """What another program sees."""
        head, size, _, data = self.sway.grim(output).split(b"\n", 3)
        self.assertEqual(head, b"P6")
        return pictures.Picture(*map(int, size.split()), data)

    def test_turned_displays_are_upright(self):
        self.addCleanup(self.set_display, "resolution", "640x480", "transform", "normal")
        self.set_display("resolution", "320x200")
        for transform in TRANSFORMS:
            with self.subTest(transform=transform):
                self.set_display("transform", transform)
                size = WIDE[::-1] if transform.endswith("90") or transform.endswith("270") else WIDE
                noise = pictures.noise(*size)
                with Surface(self.sway, "HEADLESS-1") as surface:
                    surface.show(noise, self.directory / "noise")
                    self.assertEqual(self.screenshot("--display", "0"), noise)
                    # A part, cut out where it lies once the picture is upright.
                    self.assertEqual(self.screenshot("--target-json", region(10, 20, 100, 50)),
                                     noise.crop(10, 20, 100, 50))

    def test_turned_display_is_recorded_upright(self):
        self.addCleanup(self.set_display, "transform", "normal")
        self.set_display("transform", "90")
        surface = self.surface(colour=BLUE)
        surface.ask("rect", 0, 0, 480, 100, RED)
        self.record("-d", "0.6", "--no-cursor")
        frame = self.frames()[-1]
        self.assertEqual((self.manifest()["video"]["width"], self.manifest()["video"]["height"]), (480, 640))
        self.assert_shows(frame, RED, 240, 50)
        self.assert_shows(frame, BLUE, 240, 400)

    def test_display_of_a_fractional_scale_has_all_its_pixels(self):
        self.addCleanup(self.set_display, "resolution", "640x480", "scale", "1")
        self.set_display("resolution", "600x450", "scale", "1.5")
        self.surface().show(pictures.noise(800, 600), self.directory / "noise")  # 400x300 points, at a scale of 2
        seen = self.grim()
        self.assertEqual((seen.width, seen.height), (600, 450))
        self.assertEqual(self.screenshot("--target-json", region(20, 40, 100, 60)), seen.crop(30, 60, 150, 90))

    def test_display_in_4k_is_recorded(self):
        self.addCleanup(self.set_display, "resolution", "640x480")
        self.set_display("resolution", "3840x2160")
        surface = self.surface(colour=BLUE)
        recording = self.record_until_stopped()
        wait_until(lambda: (self.take / "thumbnail.jpg").exists(), "the first frame")
        surface.ask("rect", 3000, 2000, 200, 100, RED)
        self.stop(recording)
        frame = self.frames()[-1]
        self.assertEqual((self.manifest()["video"]["width"], self.manifest()["video"]["height"]), (3840, 2160))
        self.assert_shows(frame, RED, 3100, 2050)
        self.assert_shows(frame, BLUE, 2900, 2050)
        self.verify_contract()

    def test_region_over_several_displays_is_refused_as_everywhere(self):
        self.addCleanup(self.sway.message, "output", "HEADLESS-2", "position", "1920", "0")
        self.sway.message("output", "HEADLESS-2", "position", "640", "0")
        output = self.start_recording("-d", "1", "--region", "600,10,100,80").finish()
        self.assertEqual(output.status, 1)
        self.assertIn("display", output.error_lines[-1])
        self.assertFalse(self.take.exists())


class WaylandWindowTests(WaylandCase):
    def windows(self, **changes):
        output = self.run_tool("windows-json", "--all", **changes)
        self.assertEqual((output.status, output.errors), (0, ""))
        return output.json()["windows"]

    def test_windows_tell_place_title_and_the_name_of_their_application(self):
        applications = self.directory / "share/applications"
        applications.mkdir(parents=True)
        (applications / "org.example.Painter.desktop").write_text(
            "[Desktop Entry]\nType=Application\nName=Nice Painter\nExec=true\n")
        first = self.surface("-", application="org.example.Painter", title="One")
        second = self.surface("-", application="unknown", title="Two")
        self.assertNotIn("error", self.run_tool("windows-json", "--all").json())
        two, one = self.windows()
        self.assertEqual((one["title"], two["title"]), ("One", "Two"))
        self.assertEqual(one["owningApplication"],
                         {"name": "Nice Painter", "bundleID": "org.example.Painter", "pid": first.pid})
        self.assertEqual(two["owningApplication"]["pid"], second.pid)
        # Two windows share the display side by side.
        self.assertEqual(one["frame"], {"x": 0, "y": 0, "width": 320, "height": 480})
        self.assertEqual(two["frame"], {"x": 320, "y": 0, "width": 320, "height": 480})
        self.assertEqual([each["windowID"] for each in self.windows()], [two["windowID"], one["windowID"]])

    def test_odd_titles_are_texts_all_the_same(self):
        titles = {"a line\nbreak and \x1b[31mcolour": "a line\nbreak and \x1b[31mcolour", "\u00e4\u65e5\u672c": "\u00e4\u65e5\u672c",
                  "x" * 3000: "x" * 3000, 'quotes " and \\ ': 'quotes " and \\'}
        for title, expected in titles.items():
            with self.subTest(title=title[:20]), Surface(self.sway, "-", "odd", title):
                for environment in ({}, {"SWAYSOCK": None}):
                    window, = self.windows(**environment)
                    self.assertEqual(window["title"], expected)

    def test_bytes_that_are_no_text_do_no_harm(self):
        with Surface(self.sway, "-", b"a\xff", b"bad \xff\xfe end"):
            for environment in ({}, {"SWAYSOCK": None}):
                window, = self.windows(**environment)
                self.assertTrue(window["title"].startswith("bad "))
                self.assertEqual(window["frame"]["width"] > 0, "SWAYSOCK" not in environment)

    def test_without_the_compositors_own_language_windows_have_no_place(self):
        self.surface("-", application="app", title="One")
        for socket in (None, "/nowhere", str(self.work)):
            output = self.run_tool("windows-json", SWAYSOCK=socket)
            window, = output.json()["windows"]
            self.assertEqual((output.status, output.errors), (0, ""))
            self.assertEqual((window["title"], window["owningApplication"]["name"]), ("One", "app"))
            self.assertEqual(window["frame"]["width"], 0)
            self.assertEqual(output.json()["error"], {
                "code": "sckEnumerationFailed", "domain": "Wayland", "nsCode": 10, "type": "PlatformError",
                "message": "This Wayland compositor does not tell programs where windows are."})


if __name__ == "__main__":
    unittest.main()
