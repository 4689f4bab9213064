"""Windows of the product's own desktop application, which recordings hide."""

import time
import unittest

from support.case import EndToEndCase

BEHIND = "3060c0"
OWN = "ff0000"


class OwnWindowTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240")
        self.painter = self.start_painter()
        self.other = self.start_painter()
        self.painter.open("320x240+0+0", BEHIND, window_class="Desk", override=True)

    def open_own(self, name="Glimto", geometry="100x80+40+40"):
        return self.other.open(geometry, OWN, window_class=name, override=True)

    def test_own_window_is_hidden_and_what_lies_behind_it_is_seen(self):
        for name in ["Glimto", "glimto", "Glimto Desktop"]:
            with self.subTest(name=name):
                window = self.open_own(name)
                output = self.record("-d", "0.5", "--no-cursor", "-w")
                self.assertEqual(output.errors, "")
                for frame in self.frames():
                    self.assert_shows(frame, BEHIND, 90, 80)
                    self.assert_shows(frame, BEHIND, 20, 20)
                window.destroy()

    def test_windows_of_similar_names_are_not_hidden(self):
        self.open_own("Glimtology")
        self.record("-d", "0.5", "--no-cursor")
        self.assert_shows(self.frames()[-1], OWN, 90, 80)

    def test_own_window_is_hidden_in_a_region_as_well(self):
        self.open_own()
        self.record("-d", "0.5", "--no-cursor", "--region", "30,30,120,100")
        self.assert_shows(self.frames()[-1], BEHIND, 60, 50)

    def test_excepted_window_stays_in_the_picture(self):
        kept = self.open_own()
        self.open_own(geometry="60x60+200+100")
        output = self.record("-d", "0.5", "--no-cursor", "--except-window-id", kept.id)
        self.assertEqual(output.errors, "")
        for frame in self.frames():
            self.assert_shows(frame, OWN, 90, 80)
            self.assert_shows(frame, BEHIND, 230, 130)

    def test_unknown_excepted_window_is_warned_about_and_recording_goes_on(self):
        self.open_own()
        output = self.record("-d", "0.5", "--no-cursor", "--except-window-id", "4294967295")
        self.assertEqual(len(output.error_lines), 1)
        self.assertEqual(output.error_lines[0],
                         "Warning: Window 4294967295 from --except-window-id is not in the capturable window list; "
                         "recording without it.")
        self.assert_shows(self.frames()[-1], BEHIND, 90, 80)

    def test_changes_behind_an_own_window_are_seen(self):
        self.open_own()
        behind = self.painter.open("60x40+60+60", "00ff00", window_class="Below", override=True)
        self.other.open("100x80+40+40", OWN, window_class="Glimto", override=True)
        recording = self.start_recording("-d", "1.2", "--no-cursor")
        recording.wait_until_recording()
        time.sleep(0.5)
        behind.paint("ffffff")
        self.assertEqual(recording.finish().status, 0)
        frames = self.frames()
        self.assert_shows(frames[0], "00ff00", 90, 80)
        self.assert_shows(frames[-1], "ffffff", 90, 80)

    def test_further_window_of_the_own_application_is_hidden_when_it_opens_while_recording(self):
        self.open_own(geometry="20x20+280+200")
        recording = self.start_recording("-d", "1.5", "--no-cursor")
        recording.wait_until_recording()
        time.sleep(0.4)
        self.open_own()
        self.assertEqual(recording.finish().status, 0)
        for frame in self.frames():
            self.assert_shows(frame, BEHIND, 90, 80)

    def test_own_window_that_moves_and_closes_is_never_seen(self):
        window = self.open_own()
        recording = self.start_recording("-d", "1.5", "--no-cursor")
        recording.wait_until_recording()
        for x in (80, 120, 160):
            time.sleep(0.2)
            window.move(x, 100)
        window.destroy()
        self.assertEqual(recording.finish().status, 0)
        for frame in self.frames():
            for x, y in [(90, 80), (150, 130), (200, 140)]:
                self.assert_shows(frame, BEHIND, x, y)

    def test_own_window_is_never_seen_among_windows_that_move_resize_and_restack(self):
        own = self.open_own()
        others = [self.painter.open(f"40x40+{30 * at}+100", "00ff00", override=True) for at in range(8)]
        recording = self.start_recording("-d", "1.5", "--no-cursor")
        recording.wait_until_recording()
        step = 0
        while recording.line_with("stopping_capture") is None and recording.is_running():
            other = others[step % 8]
            other.move(step * 37 % 300, step * 53 % 200)
            other.resize(20 + step % 60, 20 + step % 40)
            own.raise_to_top()
            others[(step + 3) % 8].raise_to_top()
            if step % 10 == 0:
                other.unmap()
            if step % 10 == 5:
                others[(step - 5) % 8].map()
            step += 1
        self.assertEqual(recording.finish().status, 0)
        for frame in self.frames():
            seen = [(x, y) for x in range(44, 140, 8) for y in range(44, 120, 8) if frame.shows(OWN, x, y, 60)]
            self.assertEqual(seen, [], f"frame at {frame.time}")

    def test_own_application_that_ends_while_recording_changes_nothing(self):
        self.open_own()
        recording = self.start_recording("-d", "1.2", "--no-cursor")
        recording.wait_until_recording()
        time.sleep(0.4)
        self.other.process.kill()
        self.assertEqual(recording.finish().status, 0)
        for frame in self.frames():
            self.assert_shows(frame, BEHIND, 90, 80)

    def test_own_window_is_not_hidden_when_it_is_the_one_recorded(self):
        window = self.open_own()
        self.record("-d", "0.5", "--no-cursor", "--window-id", window.id)
        self.assert_shows(self.frames()[-1], OWN, 50, 40)


class MinimisedOwnWindowTests(EndToEndCase):
    def test_minimised_own_window_is_hidden_when_it_comes_back_while_recording(self):
        self.start_screen("320x240")
        self.start_window_manager()
        self.start_painter().open("320x240+0+0", BEHIND, window_class="Desk")
        window = self.start_painter().open("100x80+40+40", OWN, window_class="Glimto")
        self.minimise(window)
        recording = self.start_recording("-d", "1.5", "--no-cursor")
        recording.wait_until_recording()
        time.sleep(0.4)
        window.map()
        time.sleep(0.4)
        self.assertEqual(window.place()[2:], (100, 80))
        self.assertEqual(recording.finish().status, 0)
        for frame in self.frames():
            self.assert_shows(frame, BEHIND, 90, 80)


if __name__ == "__main__":
    unittest.main()
