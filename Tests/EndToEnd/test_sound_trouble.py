"""Sound that goes away, and sound that is not there."""

import shutil
import signal
import time
import unittest

from support import sound
from support.case import EndToEndCase
from support.sound_case import MICROPHONE, MICROPHONE_FEED, SPEAKER, SoundCase
from support.windows import BINARY


class LostMicrophoneTests(SoundCase):
    def test_unplugged_microphone_ends_the_recording_normally(self):
        number = self.sound_server.add_microphone("usbmic", MICROPHONE_FEED)
        self.play_tone(MICROPHONE_FEED, 550)
        recording = self.start_recording("-d", "30", "--microphone", "usbmic")
        recording.wait_until_recording()
        time.sleep(1)
        self.sound_server.unload_module(number)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        stops = [text for text in output.texts if text.startswith("Microphone stopped (")]
        self.assertEqual(len(stops), 1, output.texts)
        self.assertRegex(stops[0], r"\AMicrophone stopped \(.+ disconnected\); finishing recording\Z")
        self.assertEqual(len(output.events("stop_seen")), 1)
        self.assertEqual(len(output.events("completed")), 1)
        self.assert_whole_take()
        self.assert_level(sound.part(self.decoded_sound().left, 0.3, 0.8), 550, 0.25)

    def test_microphone_is_never_exchanged_for_another_one(self):
        number = self.sound_server.add_microphone("usbmic", MICROPHONE_FEED)
        self.sound_server.add_sink("otherfeed")
        self.sound_server.add_microphone("othermic", "otherfeed")
        self.sound_server.set_default_source("othermic")
        self.play_tone("otherfeed", 770)
        recording = self.start_recording("-d", "30", "--microphone", "usbmic")
        recording.wait_until_recording()
        time.sleep(0.6)
        self.sound_server.unload_module(number)
        self.assertEqual(recording.finish().status, 0)
        self.assertLess(sound.loudest(self.decoded_sound().left), 1e-3)

    def test_sound_server_that_dies_ends_a_recording_of_its_microphone_normally(self):
        recording = self.start_recording("-d", "30", "--microphone", MICROPHONE)
        recording.wait_until_recording()
        time.sleep(0.6)
        self.sound_server.kill()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertTrue(any(text.startswith("Microphone stopped (") for text in output.texts), output.texts)
        self.assert_whole_take()


class MissingSoundEncoderTests(SoundCase):
    def test_program_without_its_sound_encoder_says_so_when_there_is_to_be_sound(self):
        folder = self.directory / "elsewhere"
        folder.mkdir()
        for name in ("glimto-capture", "glimto-capture-video.so", "glimto-capture-sound.so"):
            shutil.copy2(BINARY.parent / name, folder / name)
        output = self.run_tool("record", "--system-audio", "-d", "1", "-o", self.take, binary=folder / "glimto-capture")
        self.assertEqual(output.status, 1)
        self.assertRegex(output.error_lines[-1],
                         r"\Aerror: The sound encoder is not available: .* is missing beside the program\.\Z")
        self.assertEqual([path for path in self.work.rglob("*") if path.is_file()], [])


class LostOutputTests(SoundCase):
    def start(self, *arguments):
        recording = self.start_recording("-d", "4", "--system-audio", *arguments)
        self.began = recording.wait_until_recording().time
        return recording

    def assert_one_warning(self, output):
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(len(output.error_lines), 1, output.errors)
        self.assertTrue(output.errors.startswith("warning: "), output.errors)
        self.assertAlmostEqual(self.manifest()["totalDuration"], 4, delta=0.2)
        self.assert_whole_take()

    def wait_until(self, seconds):
        time.sleep(max(0, self.began + seconds - time.monotonic()))

    def test_new_default_output_is_followed(self):
        self.sound_server.add_sink("headset")
        self.play_tone(SPEAKER, 440)
        self.play_tone("headset", 660)
        recording = self.start()
        self.wait_until(1.2)
        self.sound_server.set_default_sink("headset")
        self.play_tone(SPEAKER, 880)
        self.assert_one_warning(recording.finish())
        found = self.decoded_sound().left
        self.assert_level(sound.part(found, 0.3, 1.0), 440, 0.25)
        self.assert_level(sound.part(found, 0.3, 1.0), 660, 0)
        self.assert_level(sound.part(found, 3.0, 3.8), 660, 0.25)
        self.assert_level(sound.part(found, 3.0, 3.8), 880, 0)

    def test_output_that_goes_away_is_replaced_by_the_new_default_one(self):
        number = self.sound_server.add_sink("headset")
        self.sound_server.set_default_sink("headset")
        self.play_tone("headset", 660)
        self.play_tone(SPEAKER, 440)
        recording = self.start()
        self.wait_until(1.2)
        self.sound_server.unload_module(number)
        self.assert_one_warning(recording.finish())
        found = self.decoded_sound().left
        self.assert_level(sound.part(found, 0.3, 1.0), 660, 0.25)
        self.assert_level(sound.part(found, 3.0, 3.8), 440, 0.25)

    def test_sound_server_that_dies_leaves_a_whole_take_with_silence(self):
        self.play_tone(SPEAKER, 440)
        recording = self.start()
        self.wait_until(1.2)
        self.sound_server.kill()
        self.assert_one_warning(recording.finish())
        found = self.decoded_sound().left
        self.assert_level(sound.part(found, 0.3, 1.0), 440, 0.25)
        self.assertLess(sound.loudest(sound.part(found, 2.0, 3.9)), 1e-3)

    def test_sound_server_that_comes_back_is_heard_again(self):
        self.play_tone(SPEAKER, 440)
        recording = self.start_recording("-d", "9", "--system-audio")
        self.began = recording.wait_until_recording().time
        self.wait_until(1)
        self.sound_server.kill()
        self.sound_server.start()
        self.play_tone(SPEAKER, 660)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(len(output.error_lines), 1, output.errors)
        self.assert_whole_take()
        self.assert_level(sound.part(self.decoded_sound().left, 7.8, 8.8), 660, 0.25)


class AbsentSoundTests(SoundCase):
    def assert_nothing_was_written(self, output):
        self.assertEqual(output.status, 1)
        self.assertRegex(output.error_lines[-1], r"\Aerror: .+\.\Z")
        self.assertEqual(list(self.work.iterdir()), [])

    def test_without_a_sound_server_nothing_is_written(self):
        self.sound_server.kill()
        for arguments in (["--system-audio"], ["--microphone", MICROPHONE]):
            self.assert_nothing_was_written(self.run_tool("record", "-o", self.take, "-d", "1", *arguments))

    def test_without_anything_to_play_on_nothing_is_written(self):
        self.sound_server.kill()
        self.sound_server.start(devices=False)
        self.assert_nothing_was_written(self.run_tool("record", "-o", self.take, "-d", "1", "--system-audio"))

    def test_without_a_sound_server_the_old_take_is_not_touched(self):
        self.record("-d", "1")
        before = {path: path.read_bytes() for path in self.take.rglob("*") if path.is_file()}
        self.sound_server.kill()
        for arguments in (["--system-audio"], ["--microphone", MICROPHONE]):
            output = self.run_tool("record", "-o", self.take, "-d", "1", "-w", *arguments)
            self.assertEqual(output.status, 1)
            after = {path: path.read_bytes() for path in self.take.rglob("*") if path.is_file()}
            self.assertEqual(before, after)

    def test_sound_server_that_does_not_answer_is_an_error_in_the_end(self):
        self.sound_server.freeze()
        self.assert_nothing_was_written(self.run_tool("record", "-o", self.take, "-d", "1", "--system-audio"))

    def test_recording_without_sound_needs_no_sound_server(self):
        self.sound_server.kill()
        self.assertEqual(self.record("-d", "0.5").error_lines, [])


class HangingSoundServerTests(SoundCase):
    """A sound server that stops answering when the microphone has begun and is not waited for yet.

    The microphone is one from which nothing comes, so that it cannot have started before.
    """

    NO_FRAMES = ("No screen frames were captured. Check Screen Recording permission and try moving the cursor during "
                 "the capture.")

    def start_and_freeze(self, *arguments):
        self.sound_server.add_silent_microphone("silentmic")
        recording = self.start_recording("-d", "30", *arguments)
        recording.wait_for("Recording screen:0")
        self.sound_server.freeze()
        return recording

    def finish_in_vain(self, recording, message):
        output = recording.finish()
        self.assert_fails(output, message)
        self.assertEqual(output.error_lines, ["error: " + message])
        self.assertIsNone(recording.line_with("GLIMTO_RECORDING_STATUS=recording"))
        self.assertEqual(list(self.work.iterdir()), [])

    def test_microphone_without_any_sound_does_not_start(self):
        self.sound_server.add_silent_microphone("silentmic")
        recording = self.start_recording("-d", "30", "--microphone", "silentmic")
        self.finish_in_vain(recording, "The microphone did not start.")

    def test_microphone_does_not_start(self):
        recording = self.start_and_freeze("--microphone", "silentmic")
        self.finish_in_vain(recording, "The microphone did not start.")

    def test_system_audio_does_not_start(self):
        recording = self.start_and_freeze("--system-audio")
        self.finish_in_vain(recording, "System audio did not start.")

    def test_signals_end_the_wait_for_the_microphone(self):
        for number, name in ((signal.SIGTERM, "Termination signal"), (signal.SIGINT, "Interrupt")):
            with self.subTest(name):
                recording = self.start_and_freeze("--microphone", "silentmic")
                recording.process.send_signal(number)
                recording.wait_for("finishing recording")
                self.finish_in_vain(recording, self.NO_FRAMES)
            self.sound_server.thaw()

    def test_signal_ends_the_wait_for_a_server_that_is_asked(self):
        self.sound_server.freeze()
        recording = self.start_recording("-d", "30", "--microphone", MICROPHONE)
        recording.wait_for('"stage":"shareable_content"')
        recording.process.send_signal(signal.SIGTERM)
        self.finish_in_vain(recording, self.NO_FRAMES)


class UnknownMicrophoneTests(SoundCase):
    def test_unknown_microphone_is_told_with_the_ids_there_are(self):
        output = self.run_tool("record", "-o", self.take, "-d", "1", "--microphone", "nomic")
        self.assert_fails(output, "Microphone nomic was not found. Choose another microphone and try again.")
        self.assertTrue(any(MICROPHONE in line for line in output.error_lines[:-1]), output.errors)
        self.assertEqual(list(self.work.iterdir()), [])

    def test_unknown_microphone_costs_no_old_take(self):
        self.record("-d", "0.5")
        self.run_tool("record", "-o", self.take, "-d", "1", "-w", "--microphone", "nomic")
        self.verify_contract()


class PlayerlessTests(EndToEndCase):
    def test_no_sound_server_at_all_is_a_clear_error(self):
        self.start_screen()
        output = self.run_tool("record", "-o", self.take, "-d", "1", "--system-audio",
                               PULSE_SERVER=f"unix:{self.directory}/nothing", XDG_RUNTIME_DIR=str(self.directory))
        self.assertEqual(output.status, 1)
        self.assertEqual(len(output.error_lines), 1, output.errors)
        self.assertEqual(list(self.work.iterdir()), [])


if __name__ == "__main__":
    unittest.main()
