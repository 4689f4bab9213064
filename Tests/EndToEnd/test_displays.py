"""Several displays, and displays that change while they are recorded."""

import time
import unittest

from support import media
from support.case import EndToEndCase
from support.processes import wait_until
from support.tool import STATUS


class SeveralDisplaysTests(EndToEndCase):
    """A main display of odd size with another one to its left."""

    def setUp(self):
        super().setUp()
        self.start_screen("641x243")
        self.server.run("xrandr", "--setmonitor", "*MAIN", "321/80x243/60+320+0", "screen")
        self.server.run("xrandr", "--setmonitor", "LEFT", "320/80x241/60+0+0", "none")
        painter = self.start_painter()
        painter.open("320x243+0+0", "ff0000", override=True)
        painter.open("321x243+320+0", "0000ff", override=True)

    def displays(self):
        """Index and identifier of the displays by their sizes."""
        lines = [line for line in self.run_tool("sources").texts if line.startswith("  screen:")]
        found = {}
        for index, line in enumerate(lines):
            self.assertRegex(line, rf"\A  screen:{index} -> Display {index + 1} \(\d+x\d+\) id=[1-9]\d*\Z")
            size, identifier = line.split("(")[1].split(") id=")
            found[size] = (index, int(identifier))
        return found

    def test_sources_lists_the_displays_as_the_server_orders_them(self):
        found = self.displays()
        self.assertEqual(sorted(found), ["320x241", "321x243"])
        self.assertEqual(len({identifier for _, identifier in found.values()}), 2)
        listed = [line.split()[-1] for line in self.server.run("xrandr", "--listmonitors").splitlines()[1:]]
        names = [line.split()[1].lstrip("+*") for line in
                 self.server.run("xrandr", "--listmonitors").splitlines()[1:]]
        self.assertEqual(len(listed), 2)
        sizes = {"MAIN": "321x243", "LEFT": "320x241"}
        self.assertEqual(sorted(found, key=lambda size: found[size][0]), [sizes[name] for name in names])

    def test_display_identifiers_are_the_same_in_every_run(self):
        self.assertEqual(self.displays(), self.displays())

    def test_each_display_is_recorded_by_its_index_in_its_own_size(self):
        for size, colour, decoded in [("320x241", "ff0000", (320, 242)), ("321x243", "0000ff", (322, 244))]:
            with self.subTest(size=size):
                index = self.displays()[size][0]
                output = self.record("-d", "0.5", "--no-cursor", "--display", index, "-w")
                self.assertIn(f"Recording screen:{index} for 0.5s", output.texts)
                self.assertIn(f"Video: H.264 fMP4, {size}, 30 fps, ~4.0s segments", output.texts)
                frame = self.frames()[-1]
                self.assertEqual((frame.width, frame.height), decoded)
                for x in (2, frame.width // 2, frame.width - 2):
                    self.assert_shows(frame, colour, x, 120)
                self.verify_contract()

    def test_windows_json_gives_the_frames_of_both_displays(self):
        frames = [display["frame"] for display in self.run_tool("windows-json").json()["displays"]]
        self.assertIn({"x": 0, "y": 0, "width": 320, "height": 241}, frames)
        self.assertIn({"x": 320, "y": 0, "width": 321, "height": 243}, frames)

    def test_region_on_the_second_display_is_taken_from_there(self):
        self.record("-d", "0.5", "--no-cursor", "--region", "330,20,100,80")
        self.assert_shows(self.frames()[-1], "0000ff", 50, 40)

    def test_index_past_the_last_display_is_refused(self):
        output = self.start_recording("--display", "2").finish()
        self.assert_fails(output, "No display at index 2. Run `glimto-capture sources`.")


class ChangingDisplayTests(EndToEndCase):
    def test_resized_screen_goes_on_in_the_first_size(self):
        self.start_screen("640x480", "3070b0")
        self.server.run("xrandr", "--newmode", "small", "31.5", "320", "336", "384", "400", "240", "241", "244",
                        "260")
        self.server.run("xrandr", "--addmode", "screen", "small")
        recording = self.start_recording("-d", "2.5", "--no-cursor", "--segment-duration", "0.5")
        recording.wait_until_recording()
        time.sleep(0.6)
        self.server.run("xrandr", "--output", "screen", "--mode", "small")
        self.server.paint_root("b07030")
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        frames = self.frames()
        self.assertEqual({(frame.width, frame.height) for frame in frames}, {(640, 480)})
        self.assert_shows(frames[0], "3070b0", 320, 240)
        self.assert_shows(frames[-1], "b07030", 320, 240)
        self.assertAlmostEqual(self.manifest()["totalDuration"], 2.5, delta=0.2)
        self.verify_contract()

    def test_unplugged_display_ends_the_recording_with_an_error_and_playable_segments(self):
        self.start_dummy_screen()
        outputs = self.connect_two_outputs()
        index = self.index_of_second_display()
        recording = self.start_recording("-d", "20", "--display", index, "--segment-duration", "0.3")
        recording.wait_until_recording()
        time.sleep(1.2)
        self.server.run("xrandr", "--output", outputs[1], "--off")
        output = recording.finish()
        self.assertEqual(output.status, 1)
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertRegex(output.error_lines[-1], r"\Aerror: .*display.*disconnected")
        self.assertGreaterEqual(len(self.segments()), 2)
        self.assertGreater(len(media.frame_times(self.joined())), 1)

    def test_recording_lasts_until_the_moment_its_display_is_unplugged(self):
        self.start_dummy_screen()
        outputs = self.connect_two_outputs()
        recording = self.start_recording("-d", "20", "--display", self.index_of_second_display())
        recording.wait_until_recording()
        started = time.monotonic()
        time.sleep(1.2)
        lasted = time.monotonic() - started
        self.server.run("xrandr", "--output", outputs[1], "--off")
        self.assertEqual(recording.finish(limit=20).status, 1)
        # Its only segment was not complete.
        self.assertEqual(self.segments(), ["segment_000.m4s"])
        duration = float(media.probe(self.joined(), "-show_format")["format"]["duration"])
        self.assertGreater(duration, lasted - 0.2)
        self.assert_leaves_no_temporary_file()

    def connect_two_outputs(self):
        """The names of two outputs that show 640x480 side by side."""
        listing = self.server.run("xrandr").splitlines()
        names = [line.split()[0] for line in listing if " connected" in line or " disconnected" in line]
        self.assertGreaterEqual(len(names), 2, listing)
        self.server.run("xrandr", "--newmode", "test", "25.2", "640", "656", "752", "800", "480", "490", "492", "525")
        for name in names[:2]:
            self.server.run("xrandr", "--addmode", name, "test")
        self.server.run("xrandr", "--output", names[0], "--mode", "test", "--pos", "0x0",
                        "--output", names[1], "--mode", "test", "--pos", "640x0")
        wait_until(lambda: len(self.server.run("xrandr", "--listmonitors").splitlines()) == 3, "the second output")
        return names[:2]

    def index_of_second_display(self):
        displays = self.run_tool("windows-json").json()["displays"]
        return next(at for at, display in enumerate(displays) if display["frame"]["x"] == 640)


if __name__ == "__main__":
    unittest.main()
