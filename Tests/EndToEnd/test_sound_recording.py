"""What is heard in a take: system audio, a microphone, and both."""

import unittest

from support import sound
from support.processes import wait_until
from support.sound_case import MICROPHONE, MICROPHONE_FEED, SPEAKER, SoundCase

START, END = 0.5, 2.3  # seconds of a take that are looked at
BREAK = 0.5  # samples; a dropped or doubled one moves the phase by 1


def tone_levels_when_clamped(first, second, level):
    """How loud two sines are whose sum is clamped to full scale."""
    summed = [max(-1.0, min(1.0, a + b)) for a, b in zip(sound.tone(first, 1, level), sound.tone(second, 1, level))]
    return sound.level(summed, first), sound.level(summed, second)


class SourceTests(SoundCase):
    def recorded(self, *arguments):
        self.record("-d", "2.5", *arguments)
        self.assert_whole_take()
        return self.decoded_sound()

    def test_system_audio_is_heard_at_its_level_on_its_side(self):
        self.play(SPEAKER, sound.tone(440, 20), sound.tone(660, 20, 0.1))
        found = self.recorded("--system-audio")
        left, right = (sound.part(channel, START, END) for channel in found.channels)
        self.assert_level(left, 440, 0.25)
        self.assert_level(left, 660, 0)
        self.assert_level(right, 660, 0.1)
        self.assert_level(right, 440, 0)

    def test_mono_microphone_is_heard_on_both_sides(self):
        self.sound_server.add_sink("monofeed", channels=1)
        self.sound_server.add_microphone("monomic", "monofeed")
        self.play_tone("monofeed", 550)
        found = self.recorded("--microphone", "monomic")
        for channel in found.channels:
            self.assert_level(sound.part(channel, START, END), 550, 0.25)

    def test_stereo_microphone_keeps_its_sides(self):
        self.play(MICROPHONE_FEED, sound.tone(550, 20), sound.silence(20))
        found = self.recorded("--microphone", MICROPHONE)
        self.assert_level(sound.part(found.left, START, END), 550, 0.25)
        self.assert_level(sound.part(found.right, START, END), 550, 0)

    def test_both_sources_are_mixed_without_a_change_of_level(self):
        self.play_tone(SPEAKER, 440, level=0.3)
        self.play_tone(MICROPHONE_FEED, 550, level=0.2)
        found = self.recorded("--system-audio", "--microphone", MICROPHONE)
        for channel in found.channels:
            self.assert_level(sound.part(channel, START, END), 440, 0.3)
            self.assert_level(sound.part(channel, START, END), 550, 0.2)

    def test_system_audio_alone_leaves_the_microphone_out(self):
        self.play_tone(SPEAKER, 440)
        self.play_tone(MICROPHONE_FEED, 550)
        found = self.recorded("--system-audio")
        self.assert_level(sound.part(found.left, START, END), 440, 0.25)
        self.assert_level(sound.part(found.left, START, END), 550, 0)

    def test_microphone_alone_leaves_the_system_out(self):
        self.play_tone(SPEAKER, 440)
        self.play_tone(MICROPHONE_FEED, 550)
        found = self.recorded("--microphone", MICROPHONE)
        self.assert_level(sound.part(found.left, START, END), 550, 0.25)
        self.assert_level(sound.part(found.left, START, END), 440, 0)

    def test_sum_beyond_full_scale_is_clamped(self):
        first, second = 437, 563  # which meet in every phase
        self.play_tone(SPEAKER, first, level=0.9)
        self.play_tone(MICROPHONE_FEED, second, level=0.9)
        found = self.recorded("--system-audio", "--microphone", MICROPHONE)
        samples = sound.part(found.left, START, END)
        self.assertGreater(sound.loudest(samples), 0.92)  # the encoder turns what is so loud down a little
        self.assertLess(sound.loudest(samples), 1.15)  # what the encoder makes of corners
        for frequency, level in zip((first, second), tone_levels_when_clamped(first, second, 0.9)):
            self.assert_level(samples, frequency, level, tolerance=0.08)

    def test_what_is_silent_stays_silent(self):
        found = self.recorded("--system-audio", "--microphone", MICROPHONE)
        for channel in found.channels:
            self.assertLess(sound.loudest(channel), 1e-4)

    def test_output_that_delivers_nothing_while_nothing_is_played_is_silence(self):
        self.sound_server.load_module("module-null-sink", "sink_name=plain")  # its monitor is 1 to 2 s late
        self.sound_server.set_default_sink("plain")
        self.record("-d", "1", "--system-audio")
        self.assert_whole_take()
        for channel in self.decoded_sound().channels:
            self.assertLess(sound.loudest(channel), 1e-4)

    def test_surround_output_is_recorded_as_loud_as_the_stereo_sound_that_is_played_on_it(self):
        self.sound_server.load_module("module-null-sink", "sink_name=surround", "channels=6", "norewinds=1",
                                      "channel_map=front-left,front-right,rear-left,rear-right,front-center,lfe")
        self.sound_server.set_default_sink("surround")
        self.play("surround", sound.tone(440, 20, 0.6), sound.tone(660, 20, 0.6))
        left, right = (sound.part(channel, START, END) for channel in self.recorded("--system-audio").channels)
        for channel, frequency in ((left, 440), (right, 660)):
            self.assertGreater(sound.level(channel, frequency), 0.3)
            self.assertLess(sound.level(channel, frequency), 0.62)

    def test_silence_between_tones_is_as_long_as_it_was_played(self):
        self.record_while_playing(sound.tone(440, 0.6) + sound.silence(0.7) + sound.tone(440, 0.8))
        found = self.decoded_sound()
        first = sound.onset(found.left, 0.1)
        quiet = sound.part(found.left, first + 0.65, first + 1.25)
        self.assertLess(sound.loudest(quiet), 1e-3)
        self.assertAlmostEqual(sound.onset(found.left, 0.1, first + 0.7), first + 1.3, delta=0.004)

    def record_while_playing(self, samples):
        recording = self.start_recording("-d", "3", "--system-audio")
        recording.wait_until_recording()
        self.play(SPEAKER, samples)
        self.assertEqual(recording.finish().status, 0)
        self.assert_whole_take()


class DeviceFormatTests(SoundCase):
    def assert_heard(self, sink, microphone=None):
        self.play_tone(sink, 600)
        self.record("-d", "2.5", *(["--microphone", microphone] if microphone else ["--system-audio"]))
        self.assert_whole_take()
        found = self.decoded_sound()
        for channel in found.channels:
            self.assert_level(sound.part(channel, START, END), 600, 0.25)
            self.assertLess(sound.largest_break(sound.part(channel, START, END), 600), BREAK)

    def test_telephone_microphone(self):
        self.sound_server.add_sink("feed", rate=16000, channels=1, sample_format="s16le")
        self.sound_server.add_microphone("narrow", "feed")
        self.assert_heard("feed", "narrow")

    def test_studio_microphone(self):
        self.sound_server.add_sink("feed", rate=96000, channels=2, sample_format="s24le")
        self.sound_server.add_microphone("wide", "feed")
        self.assert_heard("feed", "wide")

    def test_output_at_the_rate_of_a_compact_disc(self):
        self.sound_server.add_sink("disc", rate=44100, sample_format="s16le")
        self.sound_server.set_default_sink("disc")
        self.assert_heard("disc")

    def test_output_of_floating_point_samples(self):
        self.sound_server.add_sink("float", sample_format="float32le")
        self.sound_server.set_default_sink("float")
        self.assert_heard("float")


class TakeTests(SoundCase):
    def test_take_tells_of_its_sound(self):
        output = self.record("-d", "1.5", "--system-audio", "--microphone", MICROPHONE, "--segment-duration", "0.5",
                             "--stdout-json")
        self.assertIn("Audio: AAC system + microphone, 48000 Hz, 2 channels", output.texts)
        manifest = self.manifest()
        audio = len(manifest["audioSegments"])
        self.assertIn(f"Captured {len(manifest['segments'])} video segment(s), {audio} audio segment(s)", output.texts)
        self.assertEqual(manifest["audio"]["source"], "system+microphone")
        self.assertEqual(audio, len(manifest["segments"]))
        self.assertEqual(output.error_lines, [])
        self.assertIn('"includesSystemAudio":true', output.texts[-1])
        self.assert_leaves_no_temporary_file()
        self.assert_whole_take()

    def test_segments_of_both_tracks_are_there_while_the_recording_runs(self):
        recording = self.start_recording("-d", "2.5", "--segment-duration", "0.5", "--system-audio")
        recording.wait_for("GLIMTO_RECORDING_STATUS=recording")
        for track in ("audio", "video"):
            self.wait_for_segment(track, recording)
        self.assertEqual(recording.finish().status, 0)

    def wait_for_segment(self, track, recording):
        wait_until(lambda: (self.take / f"segments/{track}/segment_001.m4s").exists(), f"{track} segments")
        self.assertIsNone(recording.line_with("stopping_capture"))

    def test_segments_of_both_tracks_are_cut_together(self):
        self.record("-d", "3", "--segment-duration", "1", "--system-audio")
        manifest = self.manifest()
        for video, audio in zip(manifest["segments"], manifest["audioSegments"]):
            self.assertAlmostEqual(video["earliestPresentationTime"], audio["earliestPresentationTime"], delta=0.05)

    def test_recording_starts_and_stops_ten_times(self):
        before = self.sound_server.recorded_sources()
        for _ in range(10):
            output = self.record("-d", "0.4", "--system-audio", "--microphone", MICROPHONE, "-w")
            self.assertEqual(output.error_lines, [])
        self.assert_whole_take()
        self.assertEqual(self.sound_server.recorded_sources(), before)


if __name__ == "__main__":
    unittest.main()
