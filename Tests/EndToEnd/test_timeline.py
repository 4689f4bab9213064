"""Time in a take: its length, its segments as they appear, and when changes are seen."""

import signal
import struct
import time
import unittest

from support import media
from support.case import EndToEndCase
from support.processes import wait_until
from support.windows import CLOCK_BITS, clock_value

ACCURACY = 0.05  # seconds that a change may be seen late or early, besides one frame


def top_level_boxes(data):
    """The types of the boxes that fill `data` exactly; none when something is cut off."""
    types = []
    at = 0
    while at < len(data):
        if at + 8 > len(data):
            return None
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        if size < 8 or at + size > len(data):
            return None
        types.append(kind.decode())
        at += size
    return types


class StaticScreenTests(EndToEndCase):
    def test_take_of_a_still_screen_lasts_as_long_as_the_recording(self):
        self.start_screen(colour="336699")
        output = self.record("-d", "2.3", "--segment-duration", "0.5")
        first = next(line.time for line in output.lines if line.text == "GLIMTO_RECORDING_STATUS=recording")
        last = next(line.time for line in output.lines if "stopping_capture" in line.text)
        self.assertAlmostEqual(self.manifest()["totalDuration"], last - first, delta=0.1)
        found = media.probe(self.joined(), "-show_format")["format"]
        self.assertAlmostEqual(float(found["duration"]), last - first, delta=0.1)

    def test_segments_are_cut_at_the_interval_while_nothing_changes(self):
        self.start_screen(colour="336699")
        self.record("-d", "2.3", "--segment-duration", "0.5")
        durations = [segment["duration"] for segment in self.manifest()["segments"]]
        self.assertEqual(len(durations), 5)
        for duration in durations[:-1]:
            self.assertAlmostEqual(duration, 0.5, delta=1 / 30 + 0.01)

    def test_still_picture_costs_few_frames(self):
        self.start_screen(colour="336699")
        self.record("-d", "2")
        self.assertLess(len(media.frame_times(self.joined())), 20)


class SegmentFileTests(EndToEndCase):
    def test_files_are_whole_from_the_moment_their_final_names_appear(self):
        self.start_screen("640x480")
        self.start_painter().open("640x480+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "2", "--segment-duration", "0.2")
        video = self.take / "segments" / "video"
        seen = {}
        while recording.is_running():
            if video.is_dir():
                for path in video.iterdir():
                    if not path.name.startswith(".") and path.name not in seen:
                        seen[path.name] = path.read_bytes()
            time.sleep(0.002)
        self.assertEqual(recording.finish().status, 0)
        self.assertEqual(sorted(seen), sorted(path.name for path in video.iterdir()))
        self.assertGreaterEqual(len(seen), 10)
        for name, data in seen.items():
            self.assertEqual(data, (video / name).read_bytes(), name)
            boxes = top_level_boxes(data)
            self.assertIsNotNone(boxes, name)
            self.assertIn("moov" if name == "init.mp4" else "moof", boxes)

    def test_segments_of_a_still_screen_are_there_while_the_recording_runs(self):
        self.start_screen()
        recording = self.start_recording("-d", "2.5", "--segment-duration", "0.5")
        recording.wait_until_recording()
        wait_until(lambda: "segment_001.m4s" in self.segments(), "the second segment")
        self.assertIsNone(recording.line_with("stopping_capture"))
        self.assertEqual(recording.finish().status, 0)

    def test_very_short_segments_are_all_kept(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        self.record("-d", "1.5", "--segment-duration", "0.1")
        durations = [segment["duration"] for segment in self.manifest()["segments"]]
        self.assertGreaterEqual(len(durations), 10)
        self.assertAlmostEqual(sum(durations), 1.5, delta=0.2)
        self.verify_contract()

    def test_interval_longer_than_the_take_gives_one_segment(self):
        self.start_screen()
        self.record("-d", "1.5", "--segment-duration", "3600")
        self.assertEqual(self.segments(), ["segment_000.m4s"])
        self.assertAlmostEqual(self.manifest()["totalDuration"], 1.5, delta=0.1)
        self.verify_contract()


class ChangeTests(EndToEndCase):
    def first_time(self, frames, colour):
        return next(frame.time for frame in frames if frame.shows(colour, 160, 120))

    def test_changes_are_seen_in_the_take_when_they_happened(self):
        self.start_screen()
        window = self.start_painter().open("320x240+0+0", "ff0000", override=True)
        recording = self.start_recording("-d", "2", "--no-cursor")
        started = recording.wait_until_recording().time
        time.sleep(0.61)
        to_green = window.paint("00ff00")
        time.sleep(0.47)
        to_blue = window.paint("0000ff")
        self.assertEqual(recording.finish().status, 0)
        frames = self.frames()
        green, blue = self.first_time(frames, "00ff00"), self.first_time(frames, "0000ff")
        for seen, happened in [(green, to_green), (blue, to_blue)]:
            self.assertGreaterEqual(seen, happened.before - started - ACCURACY)
            self.assertLessEqual(seen, happened.after - started + 1 / 30 + ACCURACY)
        self.assertLessEqual(abs((blue - green) - (to_blue.after - to_green.after)), 1 / 30 + ACCURACY)

    def test_still_colour_before_and_after_a_change_fills_the_take(self):
        self.start_screen()
        window = self.start_painter().open("320x240+0+0", "ff0000", override=True)
        recording = self.start_recording("-d", "1.2", "--no-cursor")
        recording.wait_until_recording()
        time.sleep(0.5)
        window.paint("00ff00")
        self.assertEqual(recording.finish().status, 0)
        frames = self.frames()
        self.assert_shows(frames[0], "ff0000", 160, 120)
        self.assert_shows(frames[-1], "00ff00", 160, 120)

    def assert_clock_agrees_with_time_stamps(self, rate, step):
        self.start_screen("480x120")
        window = self.start_painter().open("480x120+0+0", override=True)
        window.run_clock(step)
        output = self.record("-d", "2", "-r", rate, "--no-cursor")
        frames = self.frames()
        times = [frame.time for frame in frames]
        for earlier, later in zip(times, times[1:]):
            self.assertLess(earlier, later)
        values = [clock_value(frame) for frame in frames]
        self.assertLess(values[-1], 2 ** CLOCK_BITS - 1)
        limit = 1 / rate + ACCURACY + step / 1000
        for frame, value in zip(frames, values):
            shown = (value - values[0]) * step / 1000
            self.assertLessEqual(abs(shown - (frame.time - times[0])), limit, f"frame at {frame.time}")
        return output, frames, values

    def test_moving_counter_agrees_with_the_time_stamps(self):
        self.assert_clock_agrees_with_time_stamps(30, 10)

    def test_highest_frame_rate_keeps_time_even_if_frames_are_dropped(self):
        output, frames, values = self.assert_clock_agrees_with_time_stamps(120, 4)
        self.assertGreater(len(frames), 120)
        self.assertGreater(len(set(values)), 100)
        self.assertLessEqual(len(output.error_lines), 1)
        for line in output.error_lines:
            self.assertRegex(line, r"\Awarning: dropped or rejected \d+ sample buffer\(s\) while writing\Z")

    def test_lowest_frame_rate_is_kept(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        self.record("-d", "3", "-r", "1")
        times = media.frame_times(self.joined())
        self.assertLessEqual(len(times), 6)
        self.assertAlmostEqual(self.manifest()["totalDuration"], 3, delta=1.1)


class SuspendedTests(EndToEndCase):
    def test_suspended_recording_keeps_the_wall_clocks_time(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "2.5", "--segment-duration", "0.5")
        recording.wait_until_recording()
        time.sleep(0.6)
        recording.process.send_signal(signal.SIGSTOP)
        time.sleep(1.1)
        recording.process.send_signal(signal.SIGCONT)
        self.assertEqual(recording.finish().status, 0)
        self.assertAlmostEqual(self.manifest()["totalDuration"], 2.5, delta=0.2)
        frames = self.frames()
        for frame in frames:
            shown = (clock_value(frame) - clock_value(frames[0])) * 0.02
            self.assertGreaterEqual(shown + 1.1 + 2 * ACCURACY, frame.time)
        self.assertAlmostEqual(shown, frames[-1].time, delta=1 / 30 + ACCURACY + 0.02)
        self.verify_contract()


if __name__ == "__main__":
    unittest.main()
