"""The inputs of the sound server alone, driven by the probe, with servers that come, change and go."""

import array
import os
import statistics
import subprocess
import threading
import time
import unittest
from pathlib import Path

from support import sound
from support.case import EndToEndCase
from support.processes import Child
from support.sound_server import SoundServer
from support.windows import BINARY

PROBE = os.environ.get("GLIMTO_AUDIO_PROBE", str(Path(BINARY).parent / "glimto-audio-probe"))
LIMIT = 30  # seconds
SEAM = 0.000002  # seconds: the rounding of times


class Buffer:
    def __init__(self, words, at):
        self.time, self.frames, self.rate, self.channels, now = map(int, words[:5])
        self.level = float(words[5])
        self.arrival = now / 1e9
        self.start = self.time / 1e9
        self.end = self.start + self.frames / self.rate
        self.at = at  # of its first sample in the file


class Probe(Child):
    """A recording of the probe, whose lines are read as they come."""

    def __init__(self, environment, source, file, seconds=LIMIT):
        super().__init__([PROBE, "record", source, str(seconds), file], environment, stdin=subprocess.PIPE,
                         stdout=subprocess.PIPE)
        self.file = file
        self.lines = []
        self.buffers = []
        self.changed = threading.Condition()
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        at = 0
        for line in self.process.stdout:
            words = line.decode().split()
            with self.changed:
                if words[0] == "buffer":
                    self.buffers.append(Buffer(words[1:], at))
                    at += self.buffers[-1].frames * self.buffers[-1].channels
                else:
                    self.lines.append(line.decode().strip())
                self.changed.notify_all()

    def wait_for(self, condition, what, limit=LIMIT):
        with self.changed:
            if not self.changed.wait_for(condition, limit):
                raise AssertionError(f"no {what}; {self.lines}, {len(self.buffers)} buffers")

    def wait_for_line(self, word, limit=LIMIT):
        self.wait_for(lambda: self.line(word), word, limit)
        return self.line(word)

    def wait_for_sound(self, level=0.1, since=None):
        """Until something is heard, after a host time."""
        self.wait_for(lambda: any(b.level > level and (since is None or b.start > since) for b in self.buffers[-50:]),
                      "sound")

    def line(self, word):
        return next((line for line in self.lines if line.split()[0] == word), None)

    def count(self, word):
        return sum(line.split()[0] == word for line in self.lines)

    def started(self):
        line = self.wait_for_line("start")
        if line.split()[1] != "running":
            raise AssertionError(line)
        return self

    def finish(self):
        """Milliseconds that the stop took."""
        self.process.stdin.close()
        self.process.stdin = None
        self.process.wait(LIMIT)
        self.reader.join(LIMIT)
        return float(self.line("stopped").split()[1])

    def samples(self, channel=0):
        """Of all buffers, one channel."""
        data = array.array("f", Path(self.file).read_bytes())
        return data[channel::self.buffers[0].channels]


class SoundCase(EndToEndCase):
    kind = None

    def setUp(self):
        super().setUp()
        self.sound = self.started(SoundServer(self.kind))

    def record(self, source="system"):
        return self.started(Probe(self.sound.environment(), source, self.directory / "samples.f32"))

    def probe(self, *words):
        done = subprocess.run([PROBE, *map(str, words)], env=self.sound.environment(), capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=LIMIT)
        return done.stdout.splitlines()

    def tone(self, frequency=480, seconds=20):
        samples = sound.tone(frequency, seconds)
        return sound.write_wave(self.directory / f"tone{frequency}.wav", samples, samples)

    def assert_joined(self, buffers):
        for earlier, later in zip(buffers, buffers[1:]):
            self.assertLess(abs(later.start - earlier.end), SEAM)


class SoundTests:
    """With either kind of server."""

    def test_microphones_are_listed_without_the_monitors_of_outputs(self):
        self.assertEqual(self.probe("devices"), ["device fakemic"])

    def test_devices_are_found_by_exactly_their_name(self):
        self.assertEqual(len(self.probe("find", "fakemic")), 1)
        self.assertTrue(self.probe("find", "fakemic")[0].startswith("found "))
        self.assertTrue(self.probe("find", "micfeed.monitor")[0].startswith("found "))
        for name in ("fake", "nobody", "", "0", "@DEFAULT_SOURCE@", "speaker"):
            self.assertEqual(self.probe("find", name), ["none"], name)

    def test_a_tone_arrives_whole_and_in_step(self):
        probe = self.record().started()
        self.sound.play(self.tone(seconds=12), "speaker", latency_ms=300)
        probe.wait_for_sound()
        time.sleep(10)
        self.assertLess(probe.finish(), 100)
        self.assert_in_step(probe)

    def test_a_microphone_hears_what_is_said(self):
        probe = self.record("fakemic").started()
        self.sound.play(self.tone(), "micfeed", latency_ms=300)
        probe.wait_for_sound()
        time.sleep(4)
        probe.finish()
        self.assert_in_step(probe, least=2)
        self.assertEqual(probe.lines[-1].split()[0], "stopped")

    def assert_in_step(self, probe, least=7):
        """The tone stands in one stretch of buffers that join, and its phase goes on at its own pace."""
        loud = [buffer for buffer in probe.buffers if buffer.level > 0.2]
        # Servers change their block size for a new player: sound before and after that need not join.
        loud = [buffer for buffer in loud[:-4] if buffer.start > loud[0].start + 1.5]
        self.assert_joined([buffer for buffer in probe.buffers if loud[0].start <= buffer.start <= loud[-1].start])
        length = loud[-1].end - loud[0].start
        self.assertGreater(length, least)
        at = loud[0].at // loud[0].channels
        samples = probe.samples()[at:at + round(length * loud[0].rate)]
        self.assertAlmostEqual(sound.level(samples[:4800], 480), 0.25, delta=0.01)
        steps = sound.phase_steps(samples, 480, block=0.05)
        self.assertGreater(len(steps), least * 15)
        # The pace changes by thousandths at most, 2400 samples to a step, and a lost sample stands out by one.
        self.assertLess(max(map(abs, steps)), 0.003 * 2400)
        for three in zip(steps, steps[1:], steps[2:]):
            self.assertLess(abs(three[1] - statistics.median(three)), 0.5)
        for buffer in loud:
            self.assertLess(buffer.arrival - buffer.end, 0.15)
            self.assertGreaterEqual(buffer.arrival - buffer.end, 0)

    def test_a_change_of_the_default_output_is_followed(self):
        self.sound.add_sink("headphones")
        probe = self.record().started()
        self.sound.set_default_sink("headphones")
        probe.wait_for_line("interrupted")
        changed = time.monotonic()
        self.sound.play(self.tone(), "headphones")
        probe.wait_for_sound(since=changed)
        self.sound.set_default_sink("speaker")
        self.sound.wait_until_recorded("speaker.monitor")
        probe.finish()
        self.assertEqual(probe.count("interrupted"), 1)
        self.assertEqual(probe.count("failed") + probe.count("disconnected"), 0)

    def test_an_output_that_goes_is_replaced_by_the_next(self):
        number = self.sound.add_sink("headphones")
        self.sound.set_default_sink("headphones")
        probe = self.record().started()
        self.sound.unload_module(number)
        probe.wait_for_line("interrupted")
        # A server chooses the default itself now.
        self.sound.set_default_sink("speaker")
        gone = time.monotonic()
        self.sound.play(self.tone(), "speaker")
        probe.wait_for_sound(since=gone)
        probe.finish()
        self.assertEqual(probe.count("interrupted"), 1)

    def test_a_server_that_dies_and_comes_back_is_found_again(self):
        probe = self.record().started()
        self.sound.kill()
        probe.wait_for_line("interrupted")
        self.sound.start()
        back = time.monotonic()
        self.sound.play(self.tone(), "speaker")
        probe.wait_for_sound(since=back)
        probe.finish()
        self.assertEqual(probe.count("interrupted"), 1)
        self.assertEqual(probe.count("failed"), 0)

    def test_a_microphone_that_goes_is_disconnected_and_not_replaced(self):
        number = self.sound.add_microphone("second", "speaker")
        probe = self.record("second").started()
        self.sound.unload_module(number)
        probe.wait_for_line("disconnected")
        count = len(probe.buffers)
        time.sleep(0.5)
        self.assertEqual(len(probe.buffers), count)
        self.assertEqual(self.sound.recorded_sources().count("fakemic"), 0)
        probe.finish()
        self.assertEqual((probe.count("disconnected"), probe.count("failed")), (1, 0))

    def test_nobody_can_move_a_recording_to_another_device(self):
        self.sound.add_microphone("second", "speaker")
        self.sound.play(self.tone(), "speaker")
        probe = self.record("fakemic").started()
        move = subprocess.run(["pactl", "move-source-output", self.stream_from("fakemic"), "second"],
                              env=self.sound.environment(), capture_output=True, timeout=LIMIT)
        self.assertNotEqual(move.returncode, 0)
        time.sleep(0.5)
        probe.finish()
        self.assertLess(max(buffer.level for buffer in probe.buffers), 0.01)

    def stream_from(self, source):
        """The number of the stream that records from it."""
        sources = [line.split("\t") for line in self.sound.pactl("list", "short", "sources").splitlines()]
        index = next(words[0] for words in sources if words[1] == source)
        streams = [line.split("\t") for line in self.sound.pactl("list", "short", "source-outputs").splitlines()]
        return next(words[0] for words in streams if words[1] == index)

    def test_a_microphone_fails_with_its_server(self):
        probe = self.record("fakemic").started()
        self.sound.kill()
        self.assertEqual(probe.wait_for_line("failed"), "failed the sound server has gone")
        probe.finish()
        self.assertEqual((probe.count("disconnected"), probe.count("failed")), (0, 1))

    def test_a_stall_of_three_seconds_is_survived(self):
        probe = self.record().started()
        self.sound.play(self.tone(), "speaker")
        probe.wait_for_sound()
        self.sound.freeze()
        time.sleep(3)
        self.sound.thaw()
        thawed = time.monotonic()
        probe.wait_for_sound(since=thawed + 1)
        probe.finish()
        self.assertEqual([line.split()[0] for line in probe.lines], ["start", "stopped"])
        late = [buffer for buffer in probe.buffers if buffer.start > thawed + 0.8]
        self.assert_joined(late)
        for buffer in late:
            self.assertLess(abs(buffer.arrival - buffer.end), 0.15)

    def test_a_server_that_hangs_does_not_keep_the_end_waiting(self):
        probe = self.record().started()
        self.sound.freeze()
        time.sleep(0.3)
        self.assertLess(probe.finish(), 500)

    def test_a_server_that_hangs_for_good_is_given_up(self):
        system = self.record().started()
        microphone = self.started(Probe(self.sound.environment(), "fakemic", os.devnull)).started()
        system.wait_for(lambda: system.buffers, "sound")
        self.sound.freeze()
        self.assertEqual(microphone.wait_for_line("failed"), "failed the sound server does not answer")
        system.wait_for_line("interrupted")
        self.sound.thaw()
        thawed = time.monotonic()
        system.wait_for(lambda: system.buffers[-1].start > thawed + 1, "sound after the server is back")
        system.finish()
        microphone.finish()
        self.assertEqual(system.count("interrupted"), 1)

    def test_no_server_is_a_clear_error(self):
        self.sound.kill()
        for words in (["devices"], ["find", "fakemic"], ["record", "system", 1]):
            lines = self.probe(*words)
            self.assertEqual(len(lines), 1)
            self.assertRegex(lines[0], r"^error No sound server answers \(Connection .*\)\. Start PulseAudio, or")

    def test_a_server_that_never_answers_is_given_up(self):
        self.sound.freeze()
        self.assertRegex(self.probe("record", "system", 1)[0], r"^error No sound server answers \(Timeout\)\.")

    def test_ten_recordings_leave_no_thread_and_no_descriptor(self):
        for source in ("system", "fakemic"):
            before, after = self.probe("cycles", source, 10)
            self.assertEqual(after.removeprefix("after "), before.removeprefix("before "))

    def test_rate_is_the_devices_and_surround_is_stereo(self):
        surround = "front-left,front-right,rear-left,rear-right,front-center,lfe"
        for rate, channels, channel_map in ((8000, 1, None), (44100, 2, None), (96000, 6, surround)):
            name = f"sink{rate}"
            self.sound.add_sink(name, rate=rate, channels=channels, channel_map=channel_map)
            probe = self.record(name + ".monitor").started()
            probe.wait_for(lambda: len(probe.buffers) > 5, "sound")
            probe.finish()
            self.assertEqual({(buffer.rate, buffer.channels) for buffer in probe.buffers},
                             {(rate, min(channels, 2))})
            self.assert_joined(probe.buffers)


class PulseAudioTests(SoundTests, SoundCase):
    kind = "pulseaudio"

    def test_sample_types_of_all_kinds_are_heard_at_their_level(self):
        for kind in ("u8", "s16le", "s24le", "s24-32le", "s32le", "float32le"):
            name = "sink-" + kind
            self.sound.add_sink(name, sample_format=kind)
            probe = self.record(name + ".monitor").started()
            player = self.sound.play(self.tone(seconds=2), name)
            probe.wait_for_sound()
            time.sleep(0.5)
            probe.finish()
            player.end()
            self.assertAlmostEqual(max(buffer.level for buffer in probe.buffers), 0.25, delta=0.02, msg=kind)

    def test_an_output_whose_monitor_is_late_counts_as_running(self):
        self.sound.load_module("module-null-sink", "sink_name=slow")
        self.sound.set_default_sink("slow")
        probe = self.record().started()
        self.sound.play(self.tone(seconds=4), "slow")
        probe.wait_for_sound()
        probe.finish()

    def test_a_microphone_that_is_suspended_and_resumed_lies_right_again(self):
        probe = self.record("micfeed.monitor").started()
        self.sound.play(self.tone(), "micfeed")
        probe.wait_for_sound()
        self.sound.pactl("suspend-sink", "micfeed", 1)
        time.sleep(2)
        self.sound.pactl("suspend-sink", "micfeed", 0)
        resumed = time.monotonic()
        probe.wait_for_sound(since=resumed + 1)
        probe.finish()
        late = [buffer for buffer in probe.buffers if buffer.start > resumed + 0.5]
        self.assert_joined(late)
        for buffer in late:
            self.assertLess(abs(buffer.arrival - buffer.end), 0.15)


class PipeWireTests(SoundTests, SoundCase):
    kind = "pipewire"


if __name__ == "__main__":
    unittest.main()
