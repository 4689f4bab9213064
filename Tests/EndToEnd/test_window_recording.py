"""Recordings of one window, whatever happens to it."""

import json
import time
import unittest

from support import media
from support.case import EndToEndCase
from support.tool import STATUS, TIME_STAMP

ERROR_PREFIX = "GLIMTO_CAPTURE_ERROR_JSON="


class WindowRecordingTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("640x480", "101010")
        self.start_window_manager()
        self.painter = self.start_painter()

    def record_while(self, window, change, seconds="2"):
        """A recording of `window` with `change()` made after half a second."""
        recording = self.start_recording("-d", seconds, "--no-cursor", "--window-id", window.id,
                                         "--segment-duration", "0.5")
        recording.wait_until_recording()
        time.sleep(0.5)
        change()
        return recording.finish()

    def assert_quadrants(self, frame, width, height):
        for colour, x, y in [("ff0000", 1, 1), ("00ff00", 3, 1), ("0000ff", 1, 3), ("ffffff", 3, 3)]:
            self.assert_shows(frame, colour, width * x // 4, height * y // 4)

    def test_window_is_recorded_alone_in_its_own_size(self):
        window = self.painter.open("200x100+50+60", "quadrants", title="  Colours ")
        output = self.record("-d", "0.6", "--no-cursor", "--window-id", window.id)
        self.assertIn(f"Recording window:{window.id} Painter Colours for 0.6s", output.texts)
        frame = self.frames()[-1]
        self.assertEqual((frame.width, frame.height), (200, 100))
        self.assert_quadrants(frame, 200, 100)
        self.verify_contract()

    def test_window_that_others_cover_is_seen_whole(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        cover = self.painter.open("400x300+0+0", "ffff00", window_class="Cover", override=True)
        cover.raise_to_top()
        output = self.record("-d", "0.6", "--no-cursor", "--window-id", window.id)
        self.assertEqual(output.errors, "")
        for frame in self.frames():
            self.assert_quadrants(frame, 200, 100)

    def test_window_covered_while_recording_stays_seen(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        output = self.record_while(window, lambda: self.painter.open("400x300+0+0", "ffff00", override=True))
        self.assertEqual(output.status, 0, output.errors)
        self.assert_quadrants(self.frames()[-1], 200, 100)

    def test_moved_window_keeps_its_picture(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        output = self.record_while(window, lambda: window.move(300, 250))
        self.assertEqual(output.status, 0, output.errors)
        for frame in self.frames():
            self.assert_quadrants(frame, 200, 100)

    def test_window_partly_off_the_screen_is_seen_whole(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        output = self.record_while(window, lambda: window.move(540, 430))
        self.assertEqual(output.status, 0, output.errors)
        self.assert_quadrants(self.frames()[-1], 200, 100)

    def test_enlarged_window_is_scaled_into_the_first_size(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        output = self.record_while(window, lambda: window.resize(400, 200))
        self.assertEqual(output.status, 0, output.errors)
        frame = self.frames()[-1]
        self.assertEqual((frame.width, frame.height), (200, 100))
        self.assert_quadrants(frame, 200, 100)
        self.verify_contract()

    def test_window_of_another_shape_is_scaled_to_fit_with_its_proportions(self):
        window = self.painter.open("200x100+50+60", "ff8000")
        output = self.record_while(window, lambda: window.resize(100, 100))
        self.assertEqual(output.status, 0, output.errors)
        frame = self.frames()[-1]
        coloured = sum(frame.shows("ff8000", x, 50) for x in range(200))
        self.assertAlmostEqual(coloured, 100, delta=6)

    def test_minimised_window_goes_on_being_recorded(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        output = self.record_while(window, window.iconify)
        self.assertEqual(output.status, 0, output.errors)
        self.assertAlmostEqual(self.manifest()["totalDuration"], 2, delta=0.2)
        self.assert_quadrants(self.frames()[-1], 200, 100)

    def test_window_minimised_before_the_start_is_seen_once_it_comes_back(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        self.minimise(window)
        output = self.record_while(window, window.map, seconds="1.5")
        self.assertEqual(output.status, 0)
        self.assertEqual(output.error_lines, [f"Warning: Window {window.id} is not on the screen now. What it shows is "
                                              "recorded from when it is shown."])
        self.assert_quadrants(self.frames()[-1], 200, 100)

    def test_window_that_closes_during_the_start_ends_it_with_an_error(self):
        for delay in (0.0, 0.03, 0.06, 0.09):
            with self.subTest(delay=delay):
                window = self.painter.open("200x100+50+60", "quadrants")
                recording = self.start_recording("-d", "20", "-w", "--window-id", window.id)
                time.sleep(delay)
                window.destroy()
                output = recording.finish()
                self.assertEqual(output.status, 1)
                self.assertTrue(output.error_lines[0].startswith("error: "), output.errors)
                self.assertEqual(output.texts[-1], STATUS + "failed")

    def test_closed_window_ends_the_recording_with_an_error_and_playable_segments(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        recording = self.start_recording("-d", "600", "--no-cursor", "--window-id", window.id,
                                         "--segment-duration", "0.3")
        recording.wait_until_recording()
        time.sleep(1.2)
        window.destroy()
        output = recording.finish()
        self.assertEqual(output.status, 1)
        self.assertRegex(output.error_lines[-1], r"\Aerror: .*window.*")
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertEqual(output.events()[-1]["kind"], "recording_failed")
        self.assertTrue(any(text.startswith("capture stopped with error: ") for text in output.texts))
        self.assertGreaterEqual(len(self.segments()), 2)
        self.assert_quadrants(self.frames()[-1], 200, 100)
        self.assert_leaves_no_temporary_file()

    def test_recording_lasts_until_the_moment_its_window_closes(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        recording = self.start_recording("-d", "600", "--no-cursor", "--window-id", window.id,
                                         "--segment-duration", "300")
        recording.wait_until_recording()
        started = time.monotonic()
        time.sleep(1.2)
        lasted = window.destroy().before - started
        output = recording.finish()
        self.assertEqual(output.status, 1)
        self.assertEqual(self.segments(), ["segment_000.m4s"])
        duration = float(media.probe(self.joined(), "-show_format")["format"]["duration"])
        self.assertGreater(duration, lasted - 0.2)
        self.assert_quadrants(self.frames()[-1], 200, 100)
        self.assert_leaves_no_temporary_file()

    def test_smallest_window_gives_two_by_two_pixels(self):
        window = self.painter.open("1x1+50+60", "ff0000", override=True)
        self.record("-d", "0.6", "--no-cursor", "--window-id", window.id)
        stream = media.video_stream(self.joined())
        self.assertEqual((stream["width"], stream["height"]), (2, 2))

    def test_except_window_is_ignored_with_a_warning(self):
        window = self.painter.open("200x100+50+60", "quadrants")
        output = self.record("-d", "0.4", "--window-id", window.id, "--except-window-id", window.id)
        self.assertEqual(len(output.error_lines), 1)
        self.assertTrue(output.error_lines[0].endswith("--except-window-id is ignored for --window-id captures: a "
                                                       "single-window recording contains only that window."))
        self.assertTrue(output.error_lines[0].lower().startswith("warning: "))


class UnknownWindowTests(EndToEndCase):
    UNKNOWN = 4294967295

    def record_unknown(self):
        output = self.start_recording("-d", "1", "--window-id", self.UNKNOWN).finish()
        self.assertEqual(output.status, 1)
        self.assertEqual(output.error_lines[0], "error: No capturable ScreenCaptureKit window with id 4294967295. "
                                                "Try selecting the window again.")
        self.assertEqual(len(output.error_lines), 2)
        self.assertTrue(output.error_lines[1].startswith(ERROR_PREFIX))
        return output, json.loads(output.error_lines[1][len(ERROR_PREFIX):])

    def test_unknown_window_ends_with_a_two_line_message(self):
        self.start_screen()
        window = self.start_painter().open("50x40+10+20", title="Known", override=True)
        output, payload = self.record_unknown()
        self.assertEqual(output.events("recording_failed")[0]["error"]["code"], "window_not_found")
        self.assertEqual(output.events("recording_failed")[0]["error"]["message"],
                         "\n".join(output.error_lines)[len("error: "):])
        self.assertRegex(payload.pop("generatedAt"), TIME_STAMP)
        listed = payload.pop("candidateWindows")
        self.assertEqual([candidate["windowID"] for candidate in listed], [window.id])
        self.assertEqual(listed[0]["title"], "Known")
        self.assertEqual(listed[0]["frame"], {"x": 10, "y": 20, "width": 50, "height": 40})
        self.assertEqual(payload, {
            "schemaVersion": 1, "code": "sckWindowIDNotFound", "candidateCount": 1, "truncated": False,
            "coordinateSpace": "screenCaptureKitGlobalDisplayPoints", "selectedWindow": {"windowID": self.UNKNOWN},
            "enumeration": {"excludingDesktopWindows": False, "onScreenWindowsOnly": False}})

    def test_fifty_windows_are_all_listed(self):
        self.assert_listed(50, 50, False)

    def test_more_than_fifty_windows_are_cut_and_counted(self):
        self.assert_listed(53, 50, True)

    def assert_listed(self, opened, listed, truncated):
        self.start_screen()
        painter = self.start_painter()
        windows = [painter.open(f"20x20+{5 * at}+5", title=f"Window {at}", override=True) for at in range(opened)]
        _, payload = self.record_unknown()
        self.assertEqual((payload["candidateCount"], payload["truncated"]), (opened, truncated))
        frontmost_first = [window.id for window in reversed(windows)]
        self.assertEqual([candidate["windowID"] for candidate in payload["candidateWindows"]],
                         frontmost_first[:listed])


if __name__ == "__main__":
    unittest.main()
