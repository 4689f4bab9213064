"""Recordings of a part of the screen."""

import unittest

from support.case import EndToEndCase


class RegionRecordingTests(EndToEndCase):
    def record_region(self, region, *arguments):
        return self.record("-d", "0.6", "--no-cursor", "--region", region, *arguments)

    def test_region_holds_exactly_its_part_of_the_screen(self):
        self.start_screen("640x480", "202020")
        painter = self.start_painter()
        painter.open("100x60+200+150", "ff0000", override=True)
        painter.open("50x60+250+150", "0000ff", override=True)
        output = self.record_region("200,150,100,60")
        self.assertIn("Recording region:100x60pt for 0.6s", output.texts)
        frame = self.frames()[-1]
        self.assertEqual((frame.width, frame.height), (100, 60))
        for y in (1, 30, 58):
            for x, colour in [(1, "ff0000"), (25, "ff0000"), (46, "ff0000"),
                              (53, "0000ff"), (75, "0000ff"), (98, "0000ff")]:
                self.assert_shows(frame, colour, x, y, tolerance=24)

    def test_smallest_region_is_recorded(self):
        self.start_screen("320x240", "208040")
        self.record_region("296,216,24,24")
        frame = self.frames()[-1]
        self.assertEqual((frame.width, frame.height), (24, 24))
        self.assert_shows(frame, "208040", 12, 12)
        self.verify_contract()

    def test_region_of_odd_size_is_padded(self):
        self.start_screen("320x240", "208040")
        self.record_region("11,13,33,25")
        self.assertEqual((self.frames()[0].width, self.frames()[0].height), (34, 26))
        self.assertEqual((self.manifest()["video"]["width"], self.manifest()["video"]["height"]), (33, 25))

    def test_region_with_spaces_and_fractions_is_rounded_to_pixels(self):
        self.start_screen("320x240", "208040")
        output = self.record_region(" 10, 20 ,100.4,60.5")
        self.assertIn("Video: H.264 fMP4, 100x61, 30 fps, ~4.0s segments", output.texts)

    def test_region_may_lie_a_hair_outside_the_display(self):
        self.start_screen("320x240", "208040")
        self.record_region("-0.0005,-0.0005,320,240")
        self.assertEqual((self.frames()[0].width, self.frames()[0].height), (320, 240))

    def test_whole_display_as_a_region_shows_the_whole_display(self):
        self.start_screen("320x240")
        self.start_painter().open("320x240+0+0", "quadrants", override=True)
        self.record_region("0,0,320,240")
        frame = self.frames()[-1]
        for colour, x, y in [("ff0000", 4, 4), ("00ff00", 315, 4), ("0000ff", 4, 235), ("ffffff", 315, 235)]:
            self.assert_shows(frame, colour, x, y)

    def test_later_display_option_drops_the_region(self):
        self.start_screen("320x240")
        output = self.record("-d", "0.3", "--region", "0,0,50,50", "--display", "0")
        self.assertIn("Recording screen:0 for 0.3s", output.texts)


class RegionErrorTests(EndToEndCase):
    def refuse(self, region):
        return self.start_recording("-d", "0.3", "--region", region).finish()

    def test_region_off_every_display_is_refused(self):
        self.start_screen("320x240")
        self.assert_fails(self.refuse("1000,1000,50,50"), "Selected region did not overlap a capturable display.")

    def test_region_reaching_outside_the_display_is_refused_and_not_clipped(self):
        self.start_screen("320x240")
        for region in ["300,10,50,50", "-10,10,50,50", "0,0,320.002,240"]:
            with self.subTest(region=region):
                self.assert_fails(self.refuse(region), "Selected region extends outside display 0. Capture regions "
                                                       "must fit within a single display and are not clipped.")
                self.assertEqual(list(self.take.rglob("*")), [])

    def test_region_on_two_displays_is_refused(self):
        self.start_screen("640x240")
        self.server.run("xrandr", "--setmonitor", "LEFT", "320/80x240/60+0+0", "screen")
        self.server.run("xrandr", "--setmonitor", "RIGHT", "320/80x240/60+320+0", "none")
        self.assert_fails(self.refuse("300,10,50,50"), "Selected region spans multiple displays. Capture regions must "
                                                       "fit within a single display.")


if __name__ == "__main__":
    unittest.main()
