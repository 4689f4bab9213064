"""Sound in time: with the picture, with itself, and after a break."""

import re
import statistics
import time
import unittest

from support import media, sound
from support.live_player import LivePlayer
from support.sound_case import MICROPHONE, MICROPHONE_FEED, SPEAKER, SoundCase

SYNC_LIMIT = 0.02  # seconds between a flash and a beep of the same instant
PAIRS = 5  # of a flash and a beep, at the beginning and at the end
RATE = 120  # frames a second, so that a flash's time is known well


class TimingCase(SoundCase):
    def beep_time(self, samples, after):
        return sound.onset(samples, LivePlayer.BEEP_LEVEL / 2, after)

    def wait_until(self, seconds):
        time.sleep(max(0, self.began + seconds - time.monotonic()))


class MinuteTests(TimingCase):
    """One recording of more than a minute, looked at in several ways."""

    def flashes_and_beeps(self):
        """When each flash was painted and its beep was heard."""
        instants = []
        for _ in range(PAIRS):
            flash = self.window.paint("ffffff")
            instants.append((flash, self.player.beep()))
            time.sleep(0.4)
            self.window.paint("000000")
            time.sleep(0.4)
        return instants

    def record_a_minute(self):
        self.window = self.start_painter().open("320x240+0+0", "000000", override=True)
        self.player = self.start_live_player(SPEAKER)
        recording = self.start_recording("-d", "64", "-r", RATE, "--no-cursor", "--system-audio")
        self.began = recording.wait_until_recording().time
        self.wait_until(1.5)
        instants = [self.flashes_and_beeps()]
        self.wait_until(57)
        instants.append(self.flashes_and_beeps())
        output = recording.finish(120)
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(output.error_lines, [])
        return instants

    def test_sound_is_unbroken_and_in_time_over_a_minute(self):
        instants = self.record_a_minute()
        self.assert_whole_take()
        found = self.decoded_sound()
        self.assert_in_time(instants, found)
        self.assert_unbroken(found)

    def assert_in_time(self, instants, found):
        frames = [(frame.time, frame.shows("ffffff", 160, 120)) for frame in self.frames()]
        flashes = [time for (time, is_lit), (_, was_lit) in zip(frames[1:], frames) if is_lit and not was_lit]
        beeps = []
        while (beep := self.beep_time(found.right, beeps[-1] + 0.2 if beeps else 0.5)) is not None:
            beeps.append(beep)
        self.assertEqual((len(flashes), len(beeps)), (2 * PAIRS, 2 * PAIRS))
        for part in range(2):
            errors = []
            for at, (flash, heard) in enumerate(instants[part], part * PAIRS):
                errors.append(beeps[at] - flashes[at] - (heard - (flash.before + flash.after) / 2))
            print("beeps against flashes:", *(f"{1000 * error:+.1f}" for error in errors), "ms")
            # A moment in which a busy machine runs neither painter nor player is no error of the take's.
            self.assertLess(abs(statistics.median(errors)), SYNC_LIMIT)

    def assert_unbroken(self, found):
        samples = sound.part(found.left, 0.5, 63)
        self.assert_level(samples, LivePlayer.TONE, LivePlayer.LEVEL)
        largest = sound.largest_break(samples, LivePlayer.TONE)
        drift = sum(sound.phase_steps(samples, LivePlayer.TONE))
        print(f"breaks of up to {largest:.3f} samples; {1000 * drift / sound.RATE:+.2f} ms in a minute")
        self.assertLess(largest, 0.5)
        self.assertLess(abs(drift) / sound.RATE, SYNC_LIMIT / 2)


class TwoSourceTests(TimingCase):
    def render_lead(self, sink):
        """Seconds by which a null sink hands sound to its monitor before it counts as played: a block.

        A microphone made of that monitor hears it then.
        """
        text = self.sound_server.pactl("list", "sinks")
        entry = next(entry for entry in text.split("Sink #") if f"Name: {sink}\n" in entry)
        return int(re.search(r"Latency: \d+ usec, configured (\d+) usec", entry).group(1)) / 1e6

    def beeps(self, system, microphone):
        """When a beep of each player was heard, one after the other."""
        heard = [system.beep()]
        time.sleep(0.4)
        return [*heard, microphone.beep() - self.render_lead(MICROPHONE_FEED)]

    def assert_beeps(self, found, after, heard):
        """The beeps follow each other in the take as they were heard."""
        times = []
        for _ in heard:
            times.append(self.beep_time(found.right, after))
            self.assertIsNotNone(times[-1])
            after = times[-1] + 0.2
        for at in range(1, len(heard)):
            self.assertAlmostEqual(times[at] - times[0], heard[at] - heard[0], delta=SYNC_LIMIT)
        return times

    def test_sources_that_start_at_different_times_are_in_time_with_each_other(self):
        system = self.start_live_player(SPEAKER)
        recording = self.start_recording("-d", "5", "--system-audio", "--microphone", MICROPHONE)
        self.began = recording.wait_until_recording().time
        self.wait_until(1)
        microphone = self.start_live_player(MICROPHONE_FEED)
        self.wait_until(2)
        heard = self.beeps(system, microphone)
        self.assertEqual(recording.finish().status, 0)
        self.assert_whole_take()
        found = self.decoded_sound()
        self.assert_beeps(found, 1.8, heard)

    def test_microphone_that_stalls_comes_back_in_time_and_breaks_nothing_else(self):
        system = self.start_live_player(SPEAKER)
        microphone = self.start_live_player(MICROPHONE_FEED)
        recording = self.start_recording("-d", "10", "--system-audio", "--microphone", MICROPHONE)
        self.began = recording.wait_until_recording().time
        self.wait_until(0.7)
        before = self.beeps(system, microphone)
        self.wait_until(2.5)
        self.sound_server.pactl("suspend-source", MICROPHONE, 1)
        self.wait_until(5.5)
        self.sound_server.pactl("suspend-source", MICROPHONE, 0)
        self.wait_until(7)
        after = self.beeps(system, microphone)
        self.assertEqual(recording.finish().status, 0)
        self.assert_whole_take()
        found = self.decoded_sound()
        first = self.assert_beeps(found, 0.5, before)
        second = self.assert_beeps(found, 6.8, after)
        self.assertAlmostEqual(second[0] - first[0], after[0] - before[0], delta=SYNC_LIMIT)
        # Meanwhile the system's tone is alone.
        self.assert_level(sound.part(found.left, 3.2, 5.3), LivePlayer.TONE, LivePlayer.LEVEL)


if __name__ == "__main__":
    unittest.main()
