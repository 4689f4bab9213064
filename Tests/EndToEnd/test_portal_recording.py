"""Recordings and pictures of what the desktop's portal shares."""

import os
import signal
import unittest

from support import media, pictures
from support.portal import PortalCase, pattern
from support.processes import wait_until
from support.stills import region


class PortalRecordingTests(PortalCase):
    def screenshot(self, *arguments, **changes):
        output = self.run_tool("screenshot", "-o", self.shot, "--no-watermark", *arguments, **changes)
        self.assertEqual((output.status, output.errors), (0, ""))
        return pictures.read_png(self.shot)

    def start_take(self, *arguments, **changes):
        recording = self.start_recording("--segment-duration", "1", *arguments, **changes)
        recording.wait_until_recording()
        return recording

    def finish(self, recording):
        """Ends the recording when it has received what was sent to it: a segment that began after that is whole. As a
        compositor does, the portal sends more than once: PipeWire may keep the last of pictures that come quickly."""
        whole = len(self.segments())

        def has_later_segment():
            self.portal.send()
            return len(self.segments()) >= whole + 2
        wait_until(has_later_segment, "a segment with what was sent last", interval=0.2)
        os.kill(recording.pid, signal.SIGTERM)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.verify_contract()
        return output

    def test_moving_screen_is_recorded_in_its_size_and_colours(self):
        portal = self.start_portal(size="320x240")
        recording = self.start_take("-d", "600")
        portal.tell("animate", 30)
        portal.wait_for("stream streaming")
        wait_until(lambda: len(self.segments()) > 0, "the first segment")
        portal.tell("animate", 0)
        portal.tell("paint", 0, 0, 160, 240, "ff0000")
        portal.tell("paint", 160, 0, 160, 240, "0000ff")
        portal.send()
        self.finish(recording)
        frames = self.frames()
        self.assertEqual((frames[0].width, frames[0].height), (320, 240))
        self.assertGreater(len(frames), 30)
        self.assert_shows(frames[-1], "ff0000", 80, 120)
        self.assert_shows(frames[-1], "0000ff", 240, 120)
        portal.wait_for("session closed")

    def test_still_screen_lasts_as_long_as_the_recording(self):
        self.start_portal()
        self.record("-d", "3")
        self.verify_contract()
        times = media.frame_times(self.joined())
        self.assertGreater(times[-1], 2.3)
        self.assertLess(len(times), 20)

    def test_painted_places_are_seen_where_they_were_painted(self):
        portal = self.start_portal(size="320x240")
        recording = self.start_take("-d", "600")
        portal.tell("paint", 0, 0, 320, 240, "808080")
        portal.send()
        for x, y, colour in [(10, 10, "ff0000"), (200, 30, "00ff00"), (40, 180, "0000ff")]:
            portal.tell("paint", x, y, 60, 40, colour)
            portal.send()
        self.finish(recording)
        last = self.frames()[-1]
        for x, y, colour in [(40, 30, "ff0000"), (230, 50, "00ff00"), (70, 200, "0000ff"), (150, 120, "808080")]:
            self.assert_shows(last, colour, x, y)

    def test_screen_that_changes_its_size_is_scaled_to_fit(self):
        portal = self.start_portal(size="320x240")
        recording = self.start_take("-d", "600")
        portal.tell("resize", 320, 120)
        portal.tell("paint", 0, 0, 320, 120, "00ff00")
        portal.wait_for("format 320x120")
        portal.send()
        self.finish(recording)
        last = self.frames()[-1]
        self.assertEqual((last.width, last.height), (320, 240))
        self.assert_shows(last, "00ff00", 160, 120)
        self.assert_shows(last, "000000", 160, 30)
        self.assert_shows(last, "000000", 160, 210)

    def test_picture_is_that_of_the_screen_in_every_format_and_memory(self):
        shown = pattern(320, 200)
        for options in ({"format": "BGRx"}, {"format": "BGRA", "padding": 64}, {"format": "RGBx"},
                        {"format": "RGBA", "padding": 4, "offset": 128}, {"memory": "unsealed"},
                        {"memory": "servers"}, {"memory": "unsealed", "format": "RGBx", "offset": 4096}):
            with self.subTest(**options):
                portal = self.start_portal(size="320x200", **options)
                self.assertEqual(self.screenshot("--display", "0"), shown)
                portal.end()

    def test_size_in_points_is_that_of_the_recording(self):
        self.start_portal(size="640x480", points="320x240", position="0,0")
        self.record("-d", "1")
        frame = self.frames()[-1]
        self.assertEqual((frame.width, frame.height), (320, 240))

    def test_region_is_cut_out_of_the_picked_screen(self):
        self.start_screen("320x200")
        self.start_portal(size="320x200", points="320x200", position="0,0")
        picture = self.screenshot("--target-json", region(30, 40, 100, 80))
        self.assertEqual(picture, pattern(320, 200).crop(30, 40, 100, 80))
        self.record("-d", "1", "--region", "30,40,100,80")
        frame = self.frames()[-1]
        self.assertEqual((frame.width, frame.height), (100, 80))

    def test_region_on_another_screen_than_the_picked_one_is_refused(self):
        self.start_screen("320x200")
        self.start_portal(size="320x200", points="320x200", position="320,0")
        output = self.run_tool("record", "-o", self.take, "-d", "1", "--region", "30,40,100,80")
        self.assert_fails(output, "The region does not lie on the screen that was picked, which has 320x200 points "
                                  "at 320,0.")
        self.assertFalse(self.take.exists())

    def test_window_is_picked_in_the_dialog_and_cropped_to_itself(self):
        portal = self.start_portal(size="320x240", crop="20 10 160 120")
        recording = self.start_take("-d", "600", "--window-id", "7")
        portal.wait_for("types=2")
        portal.tell("paint", 0, 0, 320, 240, "ff0000")
        portal.tell("paint", 20, 10, 160, 120, "00ff00")
        portal.tell("paint", 20, 10, 40, 40, "0000ff")
        portal.send()
        output = self.finish(recording)
        self.assertIn("Shared: window:7 window, 160x120 at 0,0", output.error_lines)
        last = self.frames()[-1]
        self.assertEqual((last.width, last.height), (160, 120))
        self.assert_shows(last, "0000ff", 10, 10)
        for x, y in [(155, 5), (5, 115), (155, 115)]:
            self.assert_shows(last, "00ff00", x, y)

    def test_window_that_grows_is_scaled_to_fit(self):
        portal = self.start_portal(size="320x240", crop="0 0 160 120")
        recording = self.start_take("-d", "600", "--window-id", "7")
        portal.tell("crop", 0, 0, 160, 240)
        portal.tell("paint", 0, 0, 160, 240, "00ff00")
        portal.send()
        self.finish(recording)
        last = self.frames()[-1]
        self.assertEqual((last.width, last.height), (160, 120))
        self.assert_shows(last, "00ff00", 80, 60)
        self.assert_shows(last, "000000", 20, 60)
        self.assert_shows(last, "000000", 140, 60)

    def test_pictures_that_make_no_sense_change_nothing(self):
        portal = self.start_portal(size="320x240")
        recording = self.start_take("-d", "600")
        portal.tell("paint", 0, 0, 320, 240, "00ff00")
        portal.send()
        for how in ("flag", "header", "stride", "negative", "offset", "narrow"):
            portal.tell("corrupt", how)
        portal.point(5, 5)
        portal.tell("paint", 100, 100, 60, 60, "ff0000")
        portal.send()
        self.finish(recording)
        last = self.frames()[-1]
        self.assert_shows(last, "00ff00", 20, 20)
        self.assert_shows(last, "ff0000", 130, 130)

    def test_portal_is_the_way_where_the_compositor_is_none(self):
        self.start_portal(size="320x240")
        output = self.run_tool("screenshot", "-o", self.shot, "--no-watermark", "--display", "0",
                               GLIMTO_WINDOW_SYSTEM=None, WAYLAND_DISPLAY="nobody", GLIMTO_DIAGNOSTICS="1")
        self.assertEqual(output.status, 0, output.errors)
        self.assertIn("diagnostics: the desktop's portal is the way to the screen: portal.", output.error_lines)
        self.assertEqual(pictures.read_png(self.shot), pattern(320, 240))

    def test_pointer_is_in_the_picture_or_not_as_asked(self):
        portal = self.start_portal()
        self.record("-d", "1")
        portal.wait_for("cursor=2")
        self.record("-d", "1", "--no-cursor", "-w")
        portal.wait_for("cursor=4")


if __name__ == "__main__":
    unittest.main()
