"""The same sound from PipeWire's sound server."""

import time
import unittest

from support import sound
from support.live_player import LivePlayer
from support.sound_case import MICROPHONE, MICROPHONE_FEED, SPEAKER, SoundCase

START, END = 0.5, 2.3


class PipeWireTests(SoundCase):
    KIND = "pipewire"

    def test_both_sources_are_mixed_without_a_change_of_level(self):
        self.play(SPEAKER, sound.tone(440, 20, 0.3), sound.silence(20))
        self.play_tone(MICROPHONE_FEED, 550, level=0.2)
        output = self.record("-d", "2.5", "--system-audio", "--microphone", MICROPHONE)
        self.assertEqual(output.error_lines, [])
        self.assert_whole_take()
        found = self.decoded_sound()
        left, right = (sound.part(channel, START, END) for channel in found.channels)
        self.assert_level(left, 440, 0.3)
        self.assert_level(right, 440, 0)
        self.assert_level(left, 550, 0.2)
        self.assert_level(right, 550, 0.2)

    def test_system_audio_is_the_outputs_and_not_the_microphones(self):
        self.play_tone(MICROPHONE_FEED, 550)
        self.record("-d", "2", "--system-audio")
        self.assertLess(sound.loudest(self.decoded_sound().left), 1e-3)

    def test_surround_output_is_never_louder_than_the_stereo_sound_that_is_played_on_it(self):
        self.sound_server.add_sink("surround", channels=8, channel_map="front-left,front-right,rear-left,rear-right,"
                                   "front-center,lfe,side-left,side-right")
        self.sound_server.set_default_sink("surround")
        self.play_tone("surround", 440, level=0.5)
        self.record("-d", "2.5", "--system-audio")
        for channel in self.decoded_sound().channels:
            self.assertGreater(sound.level(sound.part(channel, START, END), 440), 0.15)
            self.assertLess(sound.loudest(channel), 0.55)

    def test_sine_is_unbroken(self):
        self.start_live_player(SPEAKER)
        self.record("-d", "8", "--system-audio")
        self.assert_whole_take()
        samples = sound.part(self.decoded_sound().left, 0.5, 7.5)
        self.assert_level(samples, LivePlayer.TONE, LivePlayer.LEVEL)
        self.assertLess(sound.largest_break(samples, LivePlayer.TONE), 0.5)

    def test_unplugged_microphone_ends_the_recording_normally(self):
        number = self.sound_server.add_microphone("usbmic", MICROPHONE_FEED)
        recording = self.start_recording("-d", "30", "--microphone", "usbmic")
        recording.wait_until_recording()
        time.sleep(0.8)
        self.sound_server.unload_module(number)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertTrue(any(text.startswith("Microphone stopped (") for text in output.texts), output.texts)
        self.assert_whole_take()

    def test_sound_server_that_dies_leaves_a_whole_take_with_silence(self):
        self.play_tone(SPEAKER, 440)
        recording = self.start_recording("-d", "4", "--system-audio")
        recording.wait_until_recording()
        time.sleep(1.2)
        self.sound_server.kill()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(len(output.error_lines), 1, output.errors)
        self.assert_whole_take()
        found = self.decoded_sound().left
        self.assert_level(sound.part(found, 0.3, 1.0), 440, 0.25)
        self.assertLess(sound.loudest(sound.part(found, 2.0, 3.9)), 1e-3)


if __name__ == "__main__":
    unittest.main()
