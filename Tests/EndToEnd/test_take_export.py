"""Files that glimto-take makes of takes: what is in them, and that picture and sound stay together."""

import json
import struct
import time
import unittest

from support import media, sound, take_tool
from support.case import EndToEndCase
from support.live_player import LivePlayer
from support.sound_case import SoundCase

COLOURS = ["c02020", "20a040", "2040c0", "c0a020"]


class ExportCase(EndToEndCase):
    def export(self, name, *arguments):
        target = self.work / name
        take_tool.run(self, "export", self.take, "-o", target, "--overwrite", *arguments)
        return target

    def assert_refused(self, message, *arguments):
        output = self.run_tool("export", self.take, *arguments, binary=take_tool.BINARY)
        self.assert_fails(output, message)

    def duration(self, path):
        return float(media.probe(path, "-show_format")["format"]["duration"])


class PictureTests(ExportCase):
    """A take whose picture changes its colour a few times and stands still in between.

    The pointer stands in the middle.
    """

    def setUp(self):
        super().setUp()
        self.start_screen("320x240", colour=COLOURS[0])
        window = self.start_painter().open("320x240+0+0", paint=COLOURS[0], override=True)
        recording = self.start_recording("-d", "3", "--segment-duration", "1.1")
        recording.wait_until_recording()
        self.changes = []
        for colour in COLOURS[1:]:
            time.sleep(0.7)
            window.paint(colour)
        self.assertEqual(recording.finish().status, 0)
        self.recorded = self.frames()
        self.changes = [next(frame.time for frame in self.recorded if frame.shows(colour, 40, 40))
                        for colour in COLOURS]

    def test_mp4_holds_every_packet_and_begins_with_its_index(self):
        target = self.export("take.mp4")
        self.assertAlmostEqual(self.duration(target), self.manifest()["totalDuration"], places=2)
        self.assertEqual(media.frame_times(target), [frame.time for frame in self.recorded])
        data = target.read_bytes()
        self.assertLess(data.index(b"moov"), data.index(b"mdat"))
        packets = media.run_tool("ffmpeg", "-v", "error", "-i", target, "-c", "copy", "-f", "framemd5", "-")
        joined = media.run_tool("ffmpeg", "-v", "error", "-i", self.joined(), "-c", "copy", "-f", "framemd5", "-")
        hashes = lambda text: [line.split(b",")[-1] for line in text.splitlines() if not line.startswith(b"#")]
        self.assertEqual(hashes(packets), hashes(joined))

    def test_mp4_is_cut_exactly_within_a_group_of_pictures(self):
        start, end = self.changes[1] + 0.2, self.changes[3] + 0.1
        target = self.export("cut.mp4", "--from", f"{start:.3f}", "--to", f"{end:.3f}")
        media.run_tool("ffmpeg", "-v", "error", "-xerror", "-i", target, "-f", "null", "-")
        self.assertAlmostEqual(self.duration(target), end - start, delta=0.002)
        frames = media.decode(target)
        self.assertEqual(frames[0].time, 0)
        self.assert_shows(frames[0], COLOURS[1], 40, 40)
        for colour, change in zip(COLOURS[2:], self.changes[2:]):
            first = next(frame for frame in frames if frame.shows(colour, 40, 40))
            self.assertAlmostEqual(first.time, change - start, delta=0.002)
        # Only the first group was encoded again.
        recorded = {packet["data_hash"] for packet in media.probe(
            self.joined(), "-show_packets", "-show_data_hash", "md5")["packets"]}
        cut = [packet["data_hash"] for packet in media.probe(
            target, "-show_packets", "-show_data_hash", "md5")["packets"]]
        self.assertTrue(set(cut[-2:]) <= recorded)

    def test_picture_is_the_one_seen_then(self):
        for colour, change in zip(COLOURS, self.changes):
            frame = media.decode(self.export("one.png", "--at", f"{change + 0.15:.3f}"))[0]
            self.assertEqual((frame.width, frame.height), (320, 240))
            self.assert_shows(frame, colour, 40, 40)

    def test_gif_shows_each_picture_as_long_as_it_was_seen(self):
        target = self.export("take.gif", "--fps", "20", "--width", "160")
        stream = media.video_stream(target)
        self.assertEqual((stream["width"], stream["height"]), (160, 120))
        self.assertAlmostEqual(self.duration(target), self.manifest()["totalDuration"], delta=0.03)
        frames = media.decode(target)
        for colour, change in zip(COLOURS, self.changes):
            first = next(frame for frame in frames if frame.shows(colour, 20, 20))
            self.assertAlmostEqual(first.time, change, delta=0.06)
        self.assertLessEqual(len(frames), len(self.recorded))

    def test_webp_is_animated(self):
        data = self.export("take.webp").read_bytes()
        self.assertEqual((data[:4], data[8:12]), (b"RIFF", b"WEBP"))
        self.assertEqual(struct.unpack("<I", data[4:8])[0] + 8, len(data))
        self.assertGreaterEqual(data.count(b"ANMF"), len(COLOURS))

    def test_webm_keeps_the_times_of_its_pictures(self):
        for codec, name in [("av1", "av1"), ("vp9", "vp9")]:
            with self.subTest(codec=codec):
                target = self.export("take.webm", "--codec", codec)
                self.assertEqual(media.video_stream(target)["codec_name"], name)
                frames = media.decode(target)
                for colour, change in zip(COLOURS, self.changes):
                    first = next(frame for frame in frames if frame.shows(colour, 40, 40, 24))
                    self.assertAlmostEqual(first.time, change, delta=0.04)

    def test_existing_file_is_kept_unless_told_otherwise(self):
        target = self.work / "mine.mp4"
        target.write_text("mine")
        self.assert_refused(f"{target} exists already. Use --overwrite to replace it.", "-o", target)
        self.assertEqual(target.read_text(), "mine")
        self.assertEqual([path.name for path in self.work.iterdir() if path != self.take], ["mine.mp4"])

    def test_what_does_not_fit_is_named(self):
        self.assert_refused("--fps means nothing for a .mp4 file.", "-o", "a.mp4", "--fps", "5")
        self.assert_refused("--at means nothing for a .gif file.", "-o", "a.gif", "--at", "1")
        self.assert_refused("The output's name must end with .mp4, .webm, .gif, .webp, .m4a, .wav or .png: a.avi", "-o",
                            "a.avi")
        self.assert_refused("The take has no sound.", "-o", "a.wav")
        self.assert_refused("The take has no sound.", "-o", "a.m4a")
        self.assert_refused("--from must be a time such as 12.5 or 1:02:03.", "-o", "a.mp4", "--from", "soon")
        self.assertRegex(self.run_tool("export", self.take, "-o", "a.mp4", "--from", "9", binary=take_tool.BINARY).errors,
                         r"Nothing of the take lies between --from and --to; it ends after \d+(\.\d{1,3})? s\.")
        self.assertEqual([path.name for path in self.work.iterdir()], ["take"])

    def test_json_tells_what_was_written(self):
        told = json.loads(take_tool.run(self, "export", self.take, "-o", self.work / "a.mp4", "--json"))
        self.assertEqual(told["bytes"], (self.work / "a.mp4").stat().st_size)
        self.assertEqual(told["path"], str(self.work / "a.mp4"))
        self.assertAlmostEqual(told["duration"], self.manifest()["totalDuration"], places=2)


class SoundTests(SoundCase, ExportCase):
    """Flashes and beeps of the same instants."""

    LIMIT = 1 / 30  # seconds: one frame

    def setUp(self):
        super().setUp()
        window = self.start_painter().open("320x240+0+0", paint="000000", override=True)
        player = self.start_live_player("speaker")
        recording = self.start_recording("-d", "7", "--segment-duration", "2", "--system-audio")
        recording.wait_until_recording()
        for _ in range(4):
            time.sleep(1.2)
            window.paint("ffffff")
            player.beep()
            time.sleep(0.15)
            window.paint("000000")
        self.assertEqual(recording.finish().status, 0)

    def flashes(self, path):
        frames = media.decode(path)
        lit = [frame.pixel(40, 40)[0] > 128 for frame in frames]
        return [frame.time for before, now, frame in zip([False, *lit], lit, frames) if now and not before]

    def beeps(self, path):
        samples = sound.decode(path).right
        found, after = [], 0
        while (beep := sound.onset(samples, LivePlayer.BEEP_LEVEL / 2, after)) is not None:
            found.append(beep)
            after = beep + 0.5
        return found

    def assert_same_times(self, found, recorded, start, limit):
        """`found` are the recorded times that lie behind the start, which is the file's zero."""
        expected = [time - start for time in recorded if time > start]
        self.assertEqual(len(found), len(expected))
        for time, wanted in zip(found, expected):
            self.assertAlmostEqual(time, wanted, delta=limit)

    def test_flash_and_beep_stay_together_in_every_file(self):
        whole = self.export("whole.mp4")
        flashes, beeps = self.flashes(whole), self.beeps(whole)
        self.assertEqual((len(flashes), len(beeps)), (4, 4))
        start = (flashes[0] + beeps[0]) / 2 + 0.4  # within a group of pictures, with neither near
        for name, arguments in [("cut.mp4", ("--from", f"{start:.3f}")), ("whole.webm", ()),
                                ("cut.webm", ("--from", f"{start:.3f}"))]:
            with self.subTest(file=name):
                target = self.export(name, *arguments)
                zero = start if arguments else 0
                self.assert_same_times(self.flashes(target), flashes, zero, self.LIMIT)
                self.assert_same_times(self.beeps(target), beeps, zero, self.LIMIT)

    def test_flash_and_beep_stay_together_when_repaired_and_rendered(self):
        whole = self.export("whole.mp4")
        flashes, beeps = self.flashes(whole), self.beeps(whole)
        for path in [self.take / "manifest.json", self.take / "result.mp4", *self.take.rglob("*.m3u8")]:
            path.unlink(missing_ok=True)
        take_tool.run(self, "repair", self.take)
        rendered = self.work / "rendered.mp4"
        take_tool.run(self, "render", self.take, "-o", rendered, "--padding", "10")
        for file in (self.export("repaired.mp4"), rendered):
            with self.subTest(file=file.name):
                self.assert_same_times(self.flashes(file), flashes, 0, self.LIMIT)
                self.assert_same_times(self.beeps(file), beeps, 0, self.LIMIT)

    def test_sound_alone_lies_where_it_lay(self):
        recorded = self.beeps(self.export("whole.mp4"))
        start = recorded[0] + 0.6
        for name, arguments in [("alone.wav", ()), ("alone.m4a", ()), ("cut.wav", ("--from", f"{start:.3f}"))]:
            with self.subTest(file=name):
                zero = start if arguments else 0
                self.assert_same_times(self.beeps(self.export(name, *arguments)), recorded, zero, 0.003)


if __name__ == "__main__":
    unittest.main()
