"""Captures by ext-image-copy-capture: of displays and of windows, and what may go wrong."""

import json
import signal
import time
import unittest

from support import pictures
from support.case import EndToEndCase
from support.compositor import Compositor
from support.processes import wait_until
from support.stills import region
from support.tool import STATUS
from support.wayland import clipboard_owners

SIZE = (320, 240)
BLUE, RED, GREEN, WHITE = "3060c0", "c03030", "30a030", "ffffff"
BLACK = "000000"
XBGR8888, RGB565 = 0x34324258, 0x36314752
UNKNOWN, CONSTRAINTS = 0, 1  # reasons of failures
ENDED = "The Wayland compositor has ended the capture of the display."


class ImageCopyCase(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_compositor()
        self.shot = self.work / "shot.png"

    def start_compositor(self, *without):
        self.server = self.started(Compositor(*without))
        self.server.add_output("TEST-1", SIZE)

    def ask(self, command, *words):
        return self.server.ask(command, "TEST-1", *words)

    def captures(self, name="TEST-1"):
        return self.server.counts(name)[1]

    def wait_for_capture(self, name="TEST-1", more_than=0):
        wait_until(lambda: self.captures(name) > more_than, f"a capture of {name}")

    def screenshot(self, *arguments):
        output = self.run_tool("screenshot", "-o", self.shot, "--no-watermark", *arguments)
        self.assertEqual((output.status, output.errors), (0, ""))
        return pictures.read_png(self.shot)

    def start(self, *arguments, name="TEST-1"):
        """A recording that has its first picture."""
        before = self.captures(name)
        recording = self.start_recording("--until-stopped", "--stop-file", self.directory / "stop", *arguments)
        recording.wait_until_recording()
        self.wait_for_capture(name, before)
        return recording

    def show(self, command, *words, name="TEST-1"):
        """Something that is seen before this returns."""
        before = self.captures(name)
        self.server.ask(command, name, *words)
        self.wait_for_capture(name, before)

    def stop(self, recording):
        time.sleep(0.3)  # what was shown last is on its way
        (self.directory / "stop").touch()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.verify_contract()
        return output

    def size(self):
        video = self.manifest()["video"]
        return video["width"], video["height"]


class ScreenshotTests(ImageCopyCase):
    def noise(self, name, size):
        noise = pictures.noise(*size)
        self.server.show(name, noise, self.directory / "noise")
        return noise

    def test_picture_has_every_pixel_of_the_display(self):
        noise = self.noise("TEST-1", SIZE)
        self.assertEqual(self.screenshot("--display", "0"), noise)
        # One copy of every pixel, and nothing is left behind.
        wait_until(lambda: self.server.counts("TEST-1") == (0, 1, SIZE[0] * SIZE[1]), "the end of a single capture")

    def test_region_of_a_scaled_display_has_its_pixels(self):
        self.server.add_output("TEST-2", (400, 300), (1920, 0), 2)
        noise = self.noise("TEST-2", (400, 300))
        self.assertEqual(self.screenshot("--target-json", region(1920 + 11, 13, 40, 50)), noise.crop(22, 26, 80, 100))

    def test_turned_displays_stand_upright(self):
        # Red stands in the top left corner of what people see, so it lies in these corners of the buffer.
        for transform, corner in enumerate([(0, 0), (0, 1), (1, 1), (1, 0), (1, 0), (0, 0), (0, 1), (1, 1)]):
            with self.subTest(transform=transform):
                name = f"TURNED-{transform}"
                self.server.add_output(name, (64, 48), (1000, 0), 1, transform)
                self.server.ask("fill", name, BLUE)
                self.server.ask("rect", name, corner[0] * 48, corner[1] * 32, 16, 16, RED)
                shot = self.screenshot("--display", "1")
                self.assertEqual((shot.width, shot.height), (48, 64) if transform % 2 else (64, 48))
                self.assertEqual(shot.pixel(2, 2), tuple(bytes.fromhex(RED)))
                self.assertEqual(shot.pixel(24, 24), tuple(bytes.fromhex(BLUE)))
                self.server.ask("remove", name)

    def test_best_format_is_taken(self):
        noise = self.noise("TEST-1", SIZE)
        self.ask("formats", RGB565, XBGR8888)
        self.assertEqual(self.screenshot("--display", "0"), noise)

    def test_formats_of_the_graphics_card_alone_are_refused(self):
        self.ask("formats")
        output = self.run_tool("screenshot", "-o", self.shot, "--display", "0")
        self.assertEqual(output.status, 1)
        self.assertIn("in a format that cannot be captured", output.errors)


class RecordingTests(ImageCopyCase):
    def test_diagnostics_tell_the_way_that_was_taken(self):
        output = self.run_tool("sources", GLIMTO_DIAGNOSTICS="1")
        self.assertEqual(output.errors, "diagnostics: Wayland is the way to the screen: ext-image-copy-capture.\n")

    def test_every_change_is_in_the_picture_to_the_last_one(self):
        self.ask("fill", BLUE)
        recording = self.start("--no-cursor")
        for at in range(20):
            self.show("rect", at % 5 * 64, at // 5 * 60, 64, 60, GREEN if at % 2 else RED)
        # The buffers go round, and each has to catch up with what was drawn while others were in use. Where no damage is
        # told, every pixel of the buffer is looked at.
        self.show("vague")
        pixels = self.server.counts("TEST-1")[2]
        self.stop(recording)
        last = self.frames()[-1]
        for at in range(20):
            self.assert_shows(last, GREEN if at % 2 else RED, at % 5 * 64 + 32, at // 5 * 60 + 30)
        # Five buffers at most are filled, and what changes goes into each once.
        self.assertLessEqual(pixels, 5 * (SIZE[0] * SIZE[1] + 20 * 64 * 60))

    def test_region_shows_what_changes_in_it(self):
        self.ask("fill", BLUE)
        recording = self.start("--region", "100,50,120,100")
        self.show("rect", 110, 60, 40, 40, RED)
        self.show("rect", 0, 0, 50, 50, GREEN)
        self.show("rect", 90, 140, 40, 40, GREEN)
        self.stop(recording)
        self.assertEqual(self.size(), (120, 100))
        last = self.frames()[-1]
        self.assert_shows(last, RED, 30, 30)
        self.assert_shows(last, BLUE, 80, 80)
        self.assert_shows(last, GREEN, 15, 95)

    def test_still_screen_costs_nothing(self):
        self.ask("fill", BLUE)
        recording = self.start("--segment-duration", "0.5")
        wait_until(self.segments, "frames that repeat the first")
        self.assertEqual(self.captures(), 1)
        self.stop(recording)
        self.assert_shows(self.frames()[-1], BLUE, 160, 120)

    def test_cursor_is_in_the_picture_as_wished(self):
        self.ask("fill", BLUE)
        self.ask("cursor", 100, 100, 32, 32)
        for wish, colour in ((), WHITE), (("--no-cursor",), BLUE):
            with self.subTest(wish=wish):
                self.record("-d", "0.3", "--overwrite", *wish)
                self.assert_shows(self.frames()[-1], colour, 116, 116)

    def test_size_that_changes_is_scaled_to_fit(self):
        self.ask("fill", BLUE)
        recording = self.start()
        self.show("resize", 160, 240, RED)
        self.show("rect", 0, 0, 80, 240, GREEN)
        self.stop(recording)
        self.assertEqual(self.size(), SIZE)
        frames = self.frames()
        self.assert_shows(frames[0], BLUE, 160, 120)
        self.assert_shows(frames[-1], BLACK, 40, 120)
        self.assert_shows(frames[-1], GREEN, 120, 120)
        self.assert_shows(frames[-1], RED, 200, 120)

    def test_capture_that_wants_another_size_is_asked_for_again(self):
        self.ask("fill", BLUE)
        recording = self.start()
        wait_until(lambda: self.ask("lose") == ["1"], "the next capture")
        self.show("resize", 640, 480, RED)
        self.stop(recording)
        self.assertEqual(self.size(), SIZE)
        self.assert_shows(self.frames()[-1], RED, 160, 120)

    def test_formats_may_change(self):
        self.ask("fill", BLUE)
        recording = self.start()
        self.ask("formats", XBGR8888)
        self.show("fill", RED)
        self.stop(recording)
        self.assert_shows(self.frames()[-1], RED, 160, 120)


class TroubleTests(ImageCopyCase):
    def setUp(self):
        super().setUp()
        self.ask("fill", BLUE)

    def assert_ends(self, recording, message):
        output = recording.finish()
        self.assert_fails(output, message)
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assert_leaves_no_temporary_file()

    def test_display_that_goes_ends_the_recording(self):
        recording = self.start()
        self.ask("remove")
        self.assert_ends(recording, "The display being captured was disconnected.")

    def test_capture_that_the_compositor_ends_ends_the_recording(self):
        recording = self.start()
        self.ask("stop")
        self.assert_ends(recording, ENDED)

    def test_captures_that_fail_now_and_then_are_repeated(self):
        for reason, colour in (UNKNOWN, RED), (CONSTRAINTS, GREEN):
            with self.subTest(reason=reason):
                self.ask("fail", reason, 2)
                recording = self.start("--overwrite")
                self.ask("fail", reason, 2)
                self.show("fill", colour)
                self.stop(recording)
                self.assert_shows(self.frames()[-1], colour, 160, 120)
                (self.directory / "stop").unlink()

    def test_captures_that_always_fail_end_the_recording(self):
        recording = self.start()
        self.ask("fail", UNKNOWN, 1000)
        self.ask("fill", RED)
        self.assert_ends(recording, "The Wayland compositor gives no picture of the display.")

    def test_capture_that_is_not_answered_does_not_hold_up_the_stop(self):
        recording = self.start()
        self.ask("hold")
        self.ask("fill", RED)
        recording.process.send_signal(signal.SIGINT)
        self.assertEqual(recording.finish().status, 0)
        self.verify_contract()

    def test_first_capture_that_is_not_answered_is_an_error(self):
        self.ask("hold")
        output = self.start_recording("-d", "0.5").finish()
        self.assertEqual(output.status, 1)
        self.assertFalse((self.take / "manifest.json").exists())


class WindowTests(ImageCopyCase):
    def setUp(self):
        super().setUp()
        self.server.add_window("window-1", (160, 120), "org.example.Editor", "Notes")
        self.server.ask("fill", "window-1", BLUE)

    def window_id(self):
        windows = json.loads(self.run_tool("windows-json", "--all").texts[0])["windows"]
        return next(each["windowID"] for each in windows if each["title"] == "Notes")

    def test_window_is_recorded_in_its_size(self):
        recording = self.start("--window-id", self.window_id(), name="window-1")
        self.show("rect", 80, 0, 80, 120, RED, name="window-1")
        output = self.stop(recording)
        self.assertIn("window:", output.text)
        self.assertEqual(self.size(), (160, 120))
        self.assert_shows(self.frames()[0], BLUE, 120, 60)
        self.assert_shows(self.frames()[-1], BLUE, 40, 60)
        self.assert_shows(self.frames()[-1], RED, 120, 60)

    def test_window_that_changes_its_size_is_scaled_to_fit(self):
        recording = self.start("--window-id", self.window_id(), name="window-1")
        self.show("resize", 320, 120, RED, name="window-1")
        self.stop(recording)
        self.assertEqual(self.size(), (160, 120))
        self.assert_shows(self.frames()[-1], BLACK, 80, 15)
        self.assert_shows(self.frames()[-1], RED, 80, 60)

    def test_window_of_odd_size_is_recorded_whole(self):
        self.server.ask("resize", "window-1", 161, 121, BLUE)
        self.server.ask("rect", "window-1", 140, 100, 21, 21, RED)
        self.record("-d", "0.3", "--window-id", self.window_id())
        self.assertEqual(self.size(), (161, 121))
        self.assert_shows(self.frames()[-1], RED, 150, 110)

    def test_window_that_is_closed_ends_the_recording(self):
        recording = self.start("--window-id", self.window_id(), name="window-1")
        self.server.ask("remove", "window-1")
        self.assert_fails(recording.finish(), "The window being captured was closed.")

    def test_ids_stay_while_windows_come_and_go(self):
        before = self.window_id()
        self.server.add_window("window-2", SIZE, title="Other")
        self.assertEqual(self.window_id(), before)

    def test_window_that_is_not_there_is_named_in_the_error(self):
        output = self.start_recording("-d", "1", "--window-id", "4711").finish()
        self.assertEqual(output.status, 1)
        self.assertIn("4711", output.error_lines[-1])


class ClipboardTests(ImageCopyCase):
    def copied(self, side):
        noise = self.directory / "noise.ppm"
        pictures.write_ppm(pictures.noise(side, side), noise)
        path = pictures.make_png(self.work / "picture.png", noise)
        output = self.run_tool("clipboard-image", "--path", path)
        self.assertEqual((output.status, output.errors), (0, ""))
        return path.read_bytes()

    def assert_pastes(self, data):
        pasted = self.directory / "pasted"
        self.server.ask("paste", pasted)
        wait_until(lambda: pasted.read_bytes() == data, "the whole picture")

    def test_picture_is_pasted_as_often_as_wanted(self):
        data = self.copied(200)
        for _ in range(3):
            self.assert_pastes(data)

    def test_owner_ends_when_another_program_takes_the_clipboard(self):
        self.copied(20)
        self.assert_pastes(self.copied(21))
        wait_until(lambda: len(clipboard_owners(self.server)) == 1, "one owner")
        self.server.ask("take")
        wait_until(lambda: not clipboard_owners(self.server), "the end of the owner")


class NoClipboardTests(ImageCopyCase):
    def start_compositor(self):
        super().start_compositor("no-clipboard")

    def test_clipboard_is_refused_with_a_clear_error(self):
        path = pictures.make_png(self.work / "small.png", "-size", "8x8", "xc:red")
        output = self.run_tool("clipboard-image", "--path", path)
        self.assertEqual(output.status, 1)
        self.assertIn("(ext-data-control, wlr-data-control)", output.errors)


if __name__ == "__main__":
    unittest.main()
