"""An earlier take that may be replaced, and mistakes that must not cost it."""

import unittest

from support.case import EndToEndCase
from support.tool import STATUS

COLOUR = "3060c0"


class EarlierTakeTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240", COLOUR)
        self.record("-d", "0.4")
        self.before = self.contents()

    def contents(self):
        return {path.relative_to(self.take): path.read_bytes() for path in self.take.rglob("*") if path.is_file()}

    def assert_kept(self, output, start):
        self.assertEqual(output.status, 1)
        self.assertTrue(output.error_lines[-1].startswith("error: " + start), output.errors)
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertEqual(self.contents(), self.before)

    def test_take_outlives_a_stale_window(self):
        window = self.start_painter().open("100x80+40+40", "ff0000", override=True)
        window.destroy()
        output = self.start_recording("-d", "0.4", "-w", "--window-id", window.id).finish()
        self.assertEqual(output.status, 1)
        self.assertIn(f"error: No capturable ScreenCaptureKit window with id {window.id}.", output.errors)
        self.assertEqual(self.contents(), self.before)

    def test_take_outlives_a_display_that_is_not_there(self):
        output = self.start_recording("-d", "0.4", "-w", "--display", "7").finish()
        self.assert_kept(output, "No display at index 7. Run `glimto-capture sources`.")

    def test_take_outlives_a_region_outside_the_display(self):
        output = self.start_recording("-d", "0.4", "-w", "--region", "300,0,100,100").finish()
        self.assert_kept(output, "Selected region extends outside display 0.")

    def test_take_outlives_a_microphone_that_is_not_there(self):
        output = self.start_recording("-d", "0.4", "-w", "--microphone", "nowhere", PULSE_SERVER="unix:/nowhere",
                                      PULSE_COOKIE="/dev/null").finish()
        self.assert_kept(output, "")

    def test_take_outlives_a_sound_server_that_is_not_there(self):
        output = self.start_recording("-d", "0.4", "-w", "--system-audio", PULSE_SERVER="unix:/nowhere",
                                      PULSE_COOKIE="/dev/null").finish()
        self.assert_kept(output, "")

    def test_take_outlives_a_screen_that_cannot_be_read(self):
        output = self.start_recording("-d", "0.4", "-w", DISPLAY=":4711").finish()
        self.assert_kept(output, "Screen Recording permission is not granted for glimto-capture.")

    def test_refusal_comes_before_every_other_mistake(self):
        output = self.start_recording("-d", "0.4", "--display", "7", "--microphone", "nowhere").finish()
        self.assert_kept(output, "Output directory already contains proof artifacts: segments, manifest.json, ")

    def test_take_is_replaced_by_a_recording(self):
        self.record("-d", "0.4", "-w")
        self.assertNotEqual(self.contents(), self.before)


if __name__ == "__main__":
    unittest.main()
