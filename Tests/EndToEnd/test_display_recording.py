"""What a recording of a whole display looks like once it is decoded."""

import unittest

from support import media
from support.case import EndToEndCase

QUADRANTS = [("ff0000", 1, 1), ("00ff00", 3, 1), ("0000ff", 1, 3), ("ffffff", 3, 3)]


class DisplayRecordingTests(EndToEndCase):
    def record_quadrants(self, size, *arguments):
        self.start_screen(size)
        self.start_painter().open(f"{size}+0+0", "quadrants", override=True)
        self.record("-d", "1", "--no-cursor", *arguments)

    def assert_quadrants(self, frame, width, height):
        for colour, x, y in QUADRANTS:
            self.assert_shows(frame, colour, width * x // 4, height * y // 4)

    def test_painted_colours_are_in_their_places_the_right_way_round(self):
        self.record_quadrants("320x240")
        frames = self.frames()
        self.assertEqual((frames[0].width, frames[0].height), (320, 240))
        for frame in frames:
            self.assert_quadrants(frame, 320, 240)

    def test_edges_between_colours_are_sharp_to_a_few_pixels(self):
        self.record_quadrants("320x240")
        last = self.frames()[-1]
        for colour, x, y in [("ff0000", 156, 60), ("00ff00", 163, 60), ("0000ff", 60, 123), ("ff0000", 60, 116)]:
            self.assert_shows(last, colour, x, y, tolerance=40)

    def test_thumbnail_has_the_full_size_and_the_colours(self):
        self.record_quadrants("320x240")
        thumbnail = media.decode(self.take / "thumbnail.jpg")[0]
        self.assertEqual((thumbnail.width, thumbnail.height), (320, 240))
        self.assert_quadrants(thumbnail, 320, 240)

    def test_stream_is_high_profile_h264_with_its_colour_space_told(self):
        self.record_quadrants("320x240")
        stream = media.video_stream(self.joined())
        self.assertEqual((stream["codec_name"], stream["profile"], stream["pix_fmt"]), ("h264", "High", "yuv420p"))
        self.assertEqual((stream["width"], stream["height"]), (320, 240))
        self.assertEqual(stream["color_range"], "tv")
        self.assertIn(stream["color_space"], ["smpte170m", "bt470bg", "bt709"])

    def test_odd_sizes_are_padded_by_the_last_row_and_column(self):
        self.record_quadrants("161x121")
        frames = self.frames()
        self.assertEqual((frames[-1].width, frames[-1].height), (162, 122))
        self.assert_quadrants(frames[-1], 161, 121)
        self.assert_shows(frames[-1], "00ff00", 161, 10)
        self.assert_shows(frames[-1], "0000ff", 10, 121)
        self.assertEqual((self.manifest()["video"]["width"], self.manifest()["video"]["height"]), (161, 121))
        self.verify_contract()

    def test_moving_screen_gives_about_as_many_frames_as_asked_for(self):
        self.start_screen("320x240")
        self.start_painter().open("320x240+0+0", override=True).run_clock(5)
        self.record("-d", "2", "-r", "20")
        times = media.frame_times(self.joined())
        self.assertLessEqual(len(times), 20 * 2.3)
        self.assertGreaterEqual(len(times), 20 * 2 // 2)

    def test_media_contract_holds(self):
        self.record_quadrants("320x240", "--segment-duration", "0.5")
        self.verify_contract()

    def test_very_large_screen_is_recorded_whole(self):
        self.start_screen("7680x4320", "204060")
        self.start_painter().open("7680x4320+0+0", "quadrants", override=True)
        self.record("-d", "1", "-r", "2", "--no-cursor")
        stream = media.video_stream(self.joined())
        self.assertEqual((stream["width"], stream["height"]), (7680, 4320))
        self.assert_quadrants(self.frames()[-1], 7680, 4320)


if __name__ == "__main__":
    unittest.main()
