"""Displays of a Wayland compositor: listed, photographed and recorded."""

import json
import signal
import subprocess
import time
import unittest

from support import pictures
from support.case import EndToEndCase
from support.processes import Child, wait_until
from support.stills import region
from support.tool import STATUS
from support.wayland import Surface, Sway
from support.windows import BINARY

FIRST = (640, 480)
SECOND = (800, 600)  # pixels; half as many points
BLUE, RED, GREEN = "3060c0", "c03030", "30a030"
GONE = "The display being captured was disconnected."
NO_WINDOWS = "This Wayland compositor cannot show a single window to this program. Record a display or a region."


class WaylandCase(EndToEndCase):
    """All tests of a class share one compositor."""

    @classmethod
    def setUpClass(cls):
        cls.sway = Sway()
        cls.addClassCleanup(cls.sway.end)

    def setUp(self):
        super().setUp()
        self.server = self.sway
        self.shot = self.work / "shot.png"

    def surface(self, output="HEADLESS-1", colour=None, **options):
        surface = self.started(Surface(self.sway, output, **options))
        if colour:
            surface.fill(colour)
        return surface

    def show_noise(self, output, size):
        """Noise in every pixel of a display."""
        noise = pictures.noise(*size)
        self.surface(output).show(noise, self.directory / "noise")
        return noise

    def screenshot(self, *arguments):
        output = self.run_tool("screenshot", "-o", self.shot, "--no-watermark", *arguments)
        self.assertEqual((output.status, output.errors), (0, ""))
        return pictures.read_png(self.shot)

    def record_until_stopped(self, *arguments):
        recording = self.start_recording("--until-stopped", "--stop-file", self.directory / "stop", "--no-cursor",
                                         *arguments)
        recording.wait_until_recording()
        return recording

    def stop(self, recording):
        time.sleep(0.3)  # what was shown last is on its way
        (self.directory / "stop").touch()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        return output


class WaylandListingTests(WaylandCase):
    def test_displays_have_points_and_ids_that_stay(self):
        first = self.run_tool("sources")
        self.assertEqual((first.status, first.errors), (0, ""))
        self.assertRegex(first.texts[1], r"\A  screen:0 -> Display 1 \(640x480\) id=\d+\Z")
        self.assertRegex(first.texts[2], r"\A  screen:1 -> Display 2 \(400x300\) id=\d+\Z")
        self.assertEqual(self.run_tool("sources").texts, first.texts)

    def test_displays_tell_their_place_and_scale(self):
        payload = json.loads(self.run_tool("windows-json", "--all").texts[0])
        self.assertNotIn("error", payload)
        self.assertEqual(payload["permission"], {"screenRecording": "granted", "preflightGranted": True})
        self.assertEqual([(each["frame"], each["scale"]) for each in payload["displays"]],
                         [({"x": 0, "y": 0, "width": 640, "height": 480}, 1),
                          ({"x": 1920, "y": 0, "width": 400, "height": 300}, 2)])

    def test_permission_is_granted_without_a_question(self):
        output = self.run_tool("permission-json")
        self.assertEqual(output.errors, "")
        self.assertEqual(json.loads(output.texts[0]), {"screenRecording": "granted", "preflightGranted": True})

    def test_diagnostics_tell_the_way_that_was_taken(self):
        output = self.run_tool("sources", GLIMTO_DIAGNOSTICS="1")
        self.assertEqual(output.status, 0)
        self.assertEqual(output.errors, "diagnostics: Wayland is the way to the screen: wlr-screencopy.\n")


class WaylandScreenshotTests(WaylandCase):
    def test_picture_has_every_pixel_of_the_display(self):
        noise = self.show_noise("HEADLESS-1", FIRST)
        self.assertEqual(self.screenshot("--display", "0"), noise)

    def test_region_of_a_scaled_display_has_its_pixels(self):
        noise = self.show_noise("HEADLESS-2", SECOND)
        self.assertEqual(self.screenshot("--target-json", region(1920 + 11, 13, 40, 50)),
                         noise.crop(22, 26, 80, 100))


    def test_own_windows_that_cannot_be_left_out_are_warned_of(self):
        self.surface(colour=BLUE, application="com.glimto.desktop", title="Glimto")
        output = self.run_tool("screenshot", "-o", self.shot, "--no-watermark")
        self.assertEqual((output.status, output.error_lines), (
            0, ["Warning: This system cannot leave the windows of Glimto out of a screenshot."]))

    def test_trigger_and_watermark_are_as_everywhere(self):
        self.surface(colour=BLUE)
        plain = self.screenshot()
        waiting = self.started(Child([BINARY, "screenshot", "-o", self.shot, "--wait-for-capture-trigger"],
                                     self.environment(), stdin=subprocess.PIPE, stderr=subprocess.PIPE))
        self.assertEqual(waiting.process.stderr.readline(), b"GLIMTO_SCREENSHOT_READY_FOR_TRIGGER\n")
        waiting.process.communicate(b"\n", timeout=60)
        self.assertEqual(waiting.process.returncode, 0)
        marked = pictures.read_png(self.shot)
        self.assertEqual((marked.width, marked.height), (plain.width, plain.height))
        self.assertNotEqual(marked.data, plain.data)


class WaylandRecordingTests(WaylandCase):
    def test_changes_are_recorded_to_the_last_one(self):
        surface = self.surface(colour=BLUE)
        recording = self.record_until_stopped()
        wait_until(lambda: (self.take / "thumbnail.jpg").exists(), "the first frame")
        surface.fill(RED)
        surface.ask("rect", 100, 100, 50, 40, GREEN)
        self.stop(recording)
        frames = self.frames()
        self.assert_shows(frames[0], BLUE, 320, 240)
        self.assert_shows(frames[-1], RED, 320, 240)
        self.assert_shows(frames[-1], GREEN, 120, 120)
        self.verify_contract()

    def test_still_screen_keeps_the_timeline(self):
        self.surface(colour=BLUE)
        output = self.record("-d", "3", "--segment-duration", "1", "--no-cursor")
        self.assertEqual(output.errors, "")
        self.assertIn("Recording screen:0 for 3.0s", output.texts)
        seconds = sum(each["duration"] for each in self.manifest()["segments"])
        self.assertAlmostEqual(seconds, 3, delta=0.6)
        self.verify_contract()

    def test_motion_is_recorded_frame_by_frame(self):
        surface = self.surface(colour=BLUE)
        recording = self.record_until_stopped()
        surface.ask("count", 90)
        self.stop(recording)
        # One change a refresh is more than one a frame: nearly every point of time has its frame. Far below what an
        # idle machine does, as this one may be busy.
        self.assertGreater(len(self.frames()), 15)
        self.verify_contract()

    def test_scaled_display_is_recorded_in_its_points(self):
        self.surface("HEADLESS-2", GREEN)
        self.record("-d", "0.6", "--display", "1", "--no-cursor")
        self.assertEqual((self.manifest()["video"]["width"], self.manifest()["video"]["height"]), (400, 300))
        self.assert_shows(self.frames()[-1], GREEN, 200, 150)

    def test_region_of_a_scaled_display_is_recorded_in_its_pixels(self):
        self.surface("HEADLESS-2", GREEN)
        self.record("-d", "0.6", "--region", "1930,10,100,80", "--no-cursor")
        self.assertEqual((self.manifest()["video"]["width"], self.manifest()["video"]["height"]), (200, 160))
        self.assert_shows(self.frames()[-1], GREEN, 100, 80)

    def test_signal_ends_the_take_well(self):
        self.surface(colour=BLUE)
        recording = self.record_until_stopped()
        recording.process.send_signal(signal.SIGINT)
        self.assertEqual(recording.finish().status, 0)
        self.verify_contract()

    def test_window_is_refused_with_a_clear_error(self):
        self.surface(colour=BLUE, title="Notes")
        window = json.loads(self.run_tool("windows-json", "--all").texts[0])["windows"][0]
        output = self.start_recording("-d", "1", "--window-id", window["windowID"]).finish()
        self.assert_fails(output, NO_WINDOWS)
        self.assertFalse(self.take.exists())

    def test_pointer_track_is_empty_with_a_warning(self):
        self.surface(colour=BLUE)
        output = self.record("-d", "0.6", "--record-events")
        self.assertIn("event track will be empty", output.errors)
        self.assertEqual(json.loads((self.take / "events.json").read_text())["events"], [])


class WaylandTroubleTests(WaylandCase):
    """Each test has a compositor of its own, which it may break."""

    @classmethod
    def setUpClass(cls):
        cls.sway = None

    def setUp(self):
        type(self).sway = self.started(Sway())
        super().setUp()

    def start_second_display(self):
        recording = self.start_recording("-d", "600", "--display", "1", "--no-cursor", "--segment-duration", "0.5")
        wait_until(lambda: len(self.segments()) >= 2, "two segments")
        return recording

    def test_display_that_is_unplugged_ends_the_recording(self):
        self.server = self.started(Sway(outer=self.sway))
        recording = self.start_second_display()
        self.sway.message('[title="WL-2"]', "kill")
        output = recording.finish()
        self.assert_fails(output, GONE)
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertGreaterEqual(len(self.segments()), 2)
        self.assert_leaves_no_temporary_file()

    def test_compositor_that_dies_ends_the_recording(self):
        recording = self.start_second_display()
        self.sway.process.kill()
        output = recording.finish()
        self.assert_fails(output, "The connection to the Wayland compositor was lost.")
        self.assert_leaves_no_temporary_file()

    def test_compositor_that_hangs_is_given_up(self):
        self.sway.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.sway.process.send_signal, signal.SIGCONT)
        output = self.run_tool("sources")
        self.assertEqual(output.status, 1)
        # What stands in the way of the desktop's portal follows, where that is built.
        self.assertEqual(len(output.error_lines), 1)
        self.assertRegex(output.errors, r"\Aerror: The Wayland compositor does not answer\.")

    def test_stop_is_heard_while_the_compositor_hangs(self):
        recording = self.start_second_display()
        self.sway.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.sway.process.send_signal, signal.SIGCONT)
        recording.process.send_signal(signal.SIGTERM)
        self.assertEqual(recording.finish().status, 0)
        self.verify_contract()


if __name__ == "__main__":
    unittest.main()
