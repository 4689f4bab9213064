"""Pixels of screenshots, compared with the picture that the test has put on the screen."""

import json
import os
import signal
import unittest

from support import pictures
from support.processes import wait_until
from support.stills import StillsCase, region

WIDTH, HEIGHT = 323, 241


class ScreenshotPixelTests(StillsCase):
    def test_every_pixel_is_the_screens(self):
        self.start_server(f"{WIDTH}x{HEIGHT}")
        noise = self.show_noise(WIDTH, HEIGHT)
        self.assertEqual(self.screenshot(), noise)

    def test_pointer_is_not_in_the_picture(self):
        self.start_server(f"{WIDTH}x{HEIGHT}")
        noise = self.show_noise(WIDTH, HEIGHT)
        self.server.run("xsetroot", "-cursor_name", "gumby")
        self.server.place_pointer(100, 100)
        self.assertEqual(self.screenshot(), noise)

    def test_windows_are_in_the_picture(self):
        self.start_server(f"{WIDTH}x{HEIGHT}")
        self.start_painter().open("100x80+40+30", "quadrants", override=True)
        picture = self.screenshot()
        for colour, x, y in [((255, 0, 0), 40, 30), ((0, 255, 0), 139, 30), ((0, 0, 255), 40, 109),
                             ((255, 255, 255), 139, 109)]:
            self.assertEqual(picture.pixel(x, y), colour)
        self.assertEqual(picture.pixel(39, 30), (0, 0, 0))
        self.assertEqual(picture.pixel(140, 109), (0, 0, 0))

    def test_regions_are_exact_at_every_edge(self):
        self.start_server(f"{WIDTH}x{HEIGHT}")
        noise = self.show_noise(WIDTH, HEIGHT)
        for rect in [(0, 0, WIDTH, HEIGHT), (0, 0, 1, 1), (WIDTH - 1, HEIGHT - 1, 1, 1), (0, 7, 40, 50),
                     (31, 0, 50, 40), (WIDTH - 50, 9, 50, 60), (20, HEIGHT - 30, 61, 30), (101, 57, 33, 45)]:
            with self.subTest(region=rect):
                self.assertEqual(self.screenshot("--target-json", region(*rect)), noise.crop(*rect))

    def test_regions_between_pixels_are_rounded(self):
        self.start_server(f"{WIDTH}x{HEIGHT}")
        noise = self.show_noise(WIDTH, HEIGHT)
        for asked, taken in [((10.4, 10.6, 20.2, 20.5), (10, 11, 20, 21)), ((0.2, 0.2, 1.2, 1.4), (0, 0, 1, 1)),
                             ((5, 5, 7.49, 7.5), (5, 5, 7, 8))]:
            with self.subTest(region=asked):
                self.assertEqual(self.screenshot("--target-json", region(*asked)), noise.crop(*taken))

    def test_regions_outside_are_refused(self):
        self.start_server(f"{WIDTH}x{HEIGHT}")
        for rect, message in [
                ((WIDTH - 10, 0, 11, 10), "Selected region extends outside display 0. Capture regions must fit within "
                                          "a single display and are not clipped."),
                ((-1, 0, 10, 10), "Selected region extends outside display 0. Capture regions must fit within a "
                                  "single display and are not clipped."),
                ((WIDTH, 0, 10, 10), "Selected region did not overlap a capturable display.")]:
            output = self.run_tool("screenshot", "-o", self.shot, "--target-json", region(*rect))
            self.assert_fails(output, message)
            event = output.events("screenshot_failed")[0]
            self.assertEqual(event["error"]["code"], "screenshot_failed")
            self.assertEqual(event["error"]["message"], message)
            self.assertEqual(len(output.texts), 1)
            self.assertEqual(self.files(), [])

    def test_large_screen_is_exact(self):
        self.start_server("2560x1440")
        noise = self.show_noise(2560, 1440)
        self.assertEqual(self.screenshot(), noise)


class OtherServerTests(StillsCase):
    def test_without_shared_memory_every_pixel_is_the_screens(self):
        self.start_server(f"{WIDTH}x{HEIGHT}", options=["-extension", "MIT-SHM"])
        noise = self.show_noise(WIDTH, HEIGHT)
        self.assertEqual(self.screenshot(), noise)

    def test_without_extensions_every_pixel_is_the_screens(self):
        missing = [word for name in ("MIT-SHM", "RANDR", "DAMAGE", "Composite", "X-Resource")
                   for word in ("-extension", name)]
        self.start_server(f"{WIDTH}x{HEIGHT}", options=missing)
        noise = self.show_noise(WIDTH, HEIGHT)
        self.assertEqual(self.screenshot(), noise)

    def test_ten_bits_a_channel_become_eight(self):
        self.start_server(f"{WIDTH}x{HEIGHT}", depth=30)
        noise = self.show_noise(WIDTH, HEIGHT)
        self.assertEqual(self.screenshot(), noise)
        self.assertEqual(self.screenshot("--target-json", region(11, 13, 40, 50)), noise.crop(11, 13, 40, 50))

    def test_sixteen_bits_a_pixel_reach_from_black_to_white(self):
        self.start_server(f"{WIDTH}x{HEIGHT}", depth=16)
        painter = self.start_painter()
        for value, shown in [(0x0000, (0, 0, 0)), (0xffff, (255, 255, 255)), (0xf800, (255, 0, 0)),
                             (0x07e0, (0, 255, 0)), (0x001f, (0, 0, 255)), (0x8410, (132, 130, 132))]:
            window = painter.open("60x40+10+10", f"{value:06x}", override=True)
            picture = self.screenshot("--target-json", region(9, 10, 61, 40))
            self.assertEqual(picture.pixel(0, 0), (0, 0, 0))
            self.assertEqual({picture.pixel(x, y) for x in range(1, 61) for y in range(40)}, {shown})
            window.destroy()

    def test_palette_of_colours_is_refused(self):
        self.start_server(f"{WIDTH}x{HEIGHT}", depth=8)
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assert_fails(output, "The X display has 8-bit colour in a format that cannot be captured. Switch it to "
                                  "24-bit colour.")
        self.assertEqual(self.files(), [])

    def test_without_a_server_the_permission_is_missing(self):
        output = self.run_tool("screenshot", "-o", self.shot, DISPLAY=None)
        self.assert_fails(output, "Screen Recording permission is not granted for glimto-capture.")
        self.assertEqual(output.error_lines[0], "warning: There is no X display: DISPLAY is not set.")
        self.assertEqual(output.events("screenshot_failed")[0]["error"]["code"], "screen_permission_denied")
        self.assertEqual(self.files(), [])

    def test_server_that_does_not_answer_is_given_up(self):
        self.start_server(f"{WIDTH}x{HEIGHT}")
        os.kill(self.server.pid, signal.SIGSTOP)
        try:
            output = self.run_tool("screenshot", "-o", self.shot)
        finally:
            os.kill(self.server.pid, signal.SIGCONT)
        self.assert_fails(output, "Screen Recording permission is not granted for glimto-capture.")
        self.assertIn("does not answer.", output.error_lines[0])
        self.assertEqual(output.events("screenshot_failed")[0]["error"]["code"], "screen_permission_denied")
        self.assertEqual(self.files(), [])


class TwoDisplaysTests(StillsCase):
    """A display of 200x241, and one of 123x150 to its right."""

    def setUp(self):
        super().setUp()
        self.start_server(f"{WIDTH}x{HEIGHT}")
        self.noise = self.show_noise(WIDTH, HEIGHT)
        self.server.run("xrandr", "--setmonitor", "LEFT", "200/50x241/60+0+0", "screen")
        self.server.run("xrandr", "--setmonitor", "RIGHT", "123/30x150/40+200+0", "none")

    def test_each_display_is_exact(self):
        self.assertEqual(self.screenshot("--display", 0), self.noise.crop(0, 0, 200, 241))
        self.assertEqual(self.screenshot("--display", 1), self.noise.crop(200, 0, 123, 150))

    def test_the_one_under_the_pointer_is_the_default(self):
        for (x, y), rect in [((250, 100), (200, 0, 123, 150)), ((199, 100), (0, 0, 200, 241)),
                             ((200, 0), (200, 0, 123, 150))]:
            self.server.place_pointer(x, y)
            self.assertEqual(self.screenshot(), self.noise.crop(*rect))
            self.assertEqual(self.screenshot("--display-strategy", "cursor"), self.noise.crop(*rect))

    def test_pointer_on_no_display_is_an_error(self):
        self.server.place_pointer(250, 200)
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assert_fails(output, "Could not resolve the display under the cursor. Run `glimto-capture sources` and "
                                  "retry with --display <index>.")

    def test_regions_of_the_second_display_are_exact(self):
        for rect in [(200, 0, 123, 150), (322, 149, 1, 1), (210, 20, 50, 60)]:
            self.assertEqual(self.screenshot("--target-json", region(*rect)), self.noise.crop(*rect))

    def test_regions_across_displays_are_refused(self):
        output = self.run_tool("screenshot", "-o", self.shot, "--target-json", region(190, 10, 20, 20))
        self.assert_fails(output, "Selected region spans multiple displays. Capture regions must fit within a single "
                                  "display.")

    def test_unknown_display_is_refused(self):
        output = self.run_tool("screenshot", "-o", self.shot, "--display", "2")
        self.assert_fails(output, "No display at index 2. Run `glimto-capture sources`.")


class ScreenshotOutputTests(StillsCase):
    def setUp(self):
        super().setUp()
        self.start_screen("640x480", "3060c0")

    def test_people_read_two_lines(self):
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(output.texts, [f"Screenshot: {self.shot}",
                                        f"Format: png, 640x480, {self.shot.stat().st_size} bytes"])

    def test_programs_read_one_line_of_json(self):
        output = self.run_tool("screenshot", "-o", self.shot, "--stdout-json", "--target-json", region(9, 8, 70, 60))
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(output.text, json.dumps(
            {"byteSize": self.shot.stat().st_size, "captureKind": "region", "format": "png", "height": 60,
             "path": str(self.shot), "width": 70}, separators=(",", ":")) + "\n")

    def test_relative_output_is_in_the_working_directory(self):
        output = self.run_tool("screenshot", "-o", "a/b.png", "--stdout-json")
        self.assertEqual(output.json()["path"], str(self.work / "a" / "b.png"))
        self.assertEqual(pictures.read_png(self.work / "a" / "b.png").width, 640)

    def test_watermark_stands_in_the_bottom_right_corner(self):
        plain = self.screenshot()
        self.assertEqual(set(plain.data[at:at + 3] for at in range(0, len(plain.data), 3)), {bytes.fromhex("3060c0")})
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assertEqual(output.status, 0, output.errors)
        x, y, width, height = pictures.read_png(self.shot).differing_box(plain)
        # Size 14, margin 11; the ink of the letters stays within their advance and line, shadow and blur aside.
        self.assertGreater(width, 50)
        self.assertLess(width, 110)
        self.assertGreater(height, 8)
        self.assertLess(height, 22)
        self.assertLessEqual(abs(x + width - (640 - 11)), 4)
        self.assertLessEqual(y + height, 480 - 11 + 3)
        self.assertGreaterEqual(y + height, 480 - 11 - 8)

    def test_watermark_is_light_with_a_dark_shadow(self):
        self.run_tool("screenshot", "-o", self.shot)
        picture = pictures.read_png(self.shot)
        corner = picture.crop(500, 440, 140, 40)
        brightness = [sum(corner.data[at:at + 3]) for at in range(0, len(corner.data), 3)]
        self.assertGreater(max(brightness), 600)
        self.assertLess(min(brightness), sum(bytes.fromhex("3060c0")) - 60)

    def test_watermark_never_covers_a_small_picture(self):
        small = region(0, 0, 120, 60)
        output = self.run_tool("screenshot", "-o", self.shot, "--target-json", small)
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(pictures.read_png(self.shot), self.screenshot("--target-json", small))


class OwnWindowTests(StillsCase):
    BEHIND = (0x30, 0x60, 0xc0)
    OWN = (255, 0, 0)

    def setUp(self):
        super().setUp()
        self.start_server(f"{WIDTH}x{HEIGHT}")
        self.noise = self.show_noise(WIDTH, HEIGHT)
        self.own = self.start_painter()
        self.other = self.start_painter()

    def open_own(self, geometry="100x80+40+30", override=True):
        return self.own.open(geometry, "ff0000", window_class="Glimto", override=override)

    def test_hidden_window_shows_what_lies_behind_it(self):
        self.open_own()
        self.assertEqual(self.screenshot(), self.noise)

    def test_hidden_window_shows_the_window_behind_it(self):
        self.other.open("150x100+20+20", "3060c0", override=True)
        self.open_own()
        picture = self.screenshot()
        behind = picture.crop(20, 20, 150, 100)
        self.assertEqual(set(behind.data[at:at + 3] for at in range(0, len(behind.data), 3)), {bytes(self.BEHIND)})
        self.assertEqual(picture.crop(170, 0, 100, HEIGHT), self.noise.crop(170, 0, 100, HEIGHT))

    def test_hidden_window_is_hidden_in_regions(self):
        self.open_own()
        self.assertEqual(self.screenshot("--target-json", region(60, 40, 100, 90)), self.noise.crop(60, 40, 100, 90))

    def test_windows_of_the_list_are_kept(self):
        self.start_window_manager()
        kept = self.open_own(override=False)
        hidden = self.open_own("60x50+200+150", override=False)
        hidden.move(220, 150)
        kept.move(20, 30)
        wait_until(lambda: hidden.place()[0] >= 220 and kept.place()[0] <= 30, "the move of the windows")
        x, y, width, height = kept.place()
        picture = self.screenshot("--include-glimto-window-ids", json.dumps([kept.id]))
        self.assertEqual(picture.crop(200, 0, 123, HEIGHT), self.noise.crop(200, 0, 123, HEIGHT))
        for at in ((x, y), (x + width - 1, y), (x, y + height - 1), (x + width - 1, y + height - 1)):
            self.assertEqual(picture.pixel(*at), self.OWN)

    def test_override_redirect_window_of_the_list_is_hidden(self):
        popup = self.open_own()
        self.assertEqual(self.screenshot("--include-glimto-window-ids", json.dumps([popup.id])), self.noise)

    def test_windows_of_another_application_are_never_hidden(self):
        self.other.open("100x80+40+30", "ff0000", window_class="Glimtology", override=True)
        self.assertEqual(self.screenshot().differing_box(self.noise), (40, 30, 100, 80))

    def test_window_stays_when_its_application_is_in_front(self):
        self.start_window_manager()
        window = self.open_own(override=False)
        self.server.run("xdotool", "windowactivate", "--sync", window.id)
        x, y, _, _ = window.place()
        self.assertEqual(self.screenshot().pixel(x + 50, y + 40), self.OWN)
        self.assertEqual(self.screenshot("--include-glimto-window-ids", "[]"), self.noise)

    def test_window_is_hidden_when_another_application_is_in_front(self):
        self.start_window_manager()
        self.open_own(override=False)
        front = self.other.open("40x40+250+180", "00ff00", window_class="Other")
        self.server.run("xdotool", "windowactivate", "--sync", front.id)
        picture = self.screenshot("--target-json", region(0, 0, 200, 150))
        self.assertEqual(picture, self.noise.crop(0, 0, 200, 150))


if __name__ == "__main__":
    unittest.main()
