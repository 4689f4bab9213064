"""Everything that ends a recording well before or at its time."""

import os
import pathlib
import signal
import subprocess
import time
import unittest

from support import media
from support.case import EndToEndCase
from support.processes import read_line, wait_until
from support.tool import STATUS
from support.windows import BINARY

LONG = "30"


class StoppingCase(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen(colour="336699")
        self.stop_file = self.work / "stop"

    def assert_whole_take(self, output=None):
        if output is not None:
            self.assertEqual(output.status, 0, output.errors)
            self.assertEqual(output.events()[-1]["kind"], "completed")
        self.assertEqual(self.manifest()["state"], "complete")
        self.verify_contract()

    def kinds(self, output):
        return [event["kind"] for event in output.events()]


class StopFileTests(StoppingCase):
    def test_stop_file_that_appears_ends_the_recording(self):
        recording = self.start_recording("--until-stopped", "--stop-file", self.stop_file)
        recording.wait_until_recording()
        time.sleep(0.5)
        created = time.monotonic()
        self.stop_file.touch()
        output = recording.finish(limit=20)
        self.assertIn("Recording screen:0 until stopped", output.texts)
        self.assertIn(f"Stop file: {self.stop_file}", output.texts)
        at = output.texts.index("Stop file detected; finishing recording")
        self.assertGreaterEqual(output.lines[at].time, created)
        self.assertIn("stop_seen", output.texts[at + 1])
        self.assertIn("stopping_capture", output.texts[at + 2])
        self.assert_whole_take(output)

    def test_stop_file_that_is_already_there_ends_it_after_the_start(self):
        self.stop_file.touch()
        output = self.record("--until-stopped", "--stop-file", self.stop_file)
        self.assertLess(output.texts.index(STATUS + "recording"),
                        output.texts.index("Stop file detected; finishing recording"))
        self.assert_whole_take(output)
        self.assertLess(self.manifest()["totalDuration"], 2)

    def test_stop_file_ends_a_timed_recording_early(self):
        recording = self.start_recording("-d", LONG, "--stop-file", "stop")
        recording.wait_until_recording()
        self.stop_file.touch()
        self.assert_whole_take(recording.finish(limit=20))

    def test_stop_file_is_left_where_it_is(self):
        self.stop_file.touch()
        self.record("-d", "1", "--stop-file", self.stop_file)
        self.assertTrue(self.stop_file.exists())


class DurationTests(StoppingCase):
    def test_duration_ends_without_any_stop_event(self):
        output = self.record("-d", "0.7")
        self.assertIn("Recording screen:0 for 0.7s", output.texts)
        self.assertEqual(self.kinds(output), ["launched", "capture_starting", "capture_starting", "recording",
                                              "stopping_capture", "finalizing", "completed"])
        self.assert_whole_take(output)

    def test_maximum_duration_ends_like_a_stop(self):
        output = self.record("-d", LONG, "--max-duration-seconds", "1.2")
        self.assertIn("Maximum recording duration reached; finishing recording", output.texts)
        self.assertEqual(output.events("max_duration_reached")[0]["limitSeconds"], 1)
        self.assertNotIn("stop_seen", self.kinds(output))
        self.assertAlmostEqual(self.manifest()["totalDuration"], 1.2, delta=0.4)
        self.assert_whole_take(output)

    def test_maximum_duration_ends_an_unlimited_recording(self):
        output = self.record("--until-stopped", "--stop-file", self.stop_file, "--max-duration-seconds", "0.8")
        self.assertIn("max_duration_reached", self.kinds(output))
        self.assert_whole_take(output)

    def test_very_short_duration_still_gives_a_take(self):
        self.assert_whole_take(self.record("-d", "0.01"))


class SignalTests(StoppingCase):
    def test_each_stop_signal_ends_with_a_whole_take(self):
        for number, line in [(signal.SIGINT, "Interrupt received; finishing recording"),
                             (signal.SIGTERM, "Termination signal received; finishing recording"),
                             (signal.SIGHUP, "Hangup received; finishing recording")]:
            with self.subTest(signal=number.name):
                recording = self.start_recording("-d", LONG, "-w")
                recording.wait_until_recording()
                time.sleep(0.4)
                recording.process.send_signal(number)
                output = recording.finish(limit=20)
                self.assertIn("stop_seen", output.texts[output.texts.index(line) + 1])
                self.assertEqual(output.errors, "")
                self.assert_whole_take(output)

    def test_signal_before_the_recording_status_still_gives_a_take(self):
        recording = self.start_recording("-d", LONG)
        recording.wait_for("stream_start")
        recording.process.send_signal(signal.SIGINT)
        self.assert_whole_take(recording.finish(limit=20))

    def test_second_signals_while_finishing_are_ignored(self):
        recording = self.start_recording("-d", LONG)
        recording.wait_until_recording()
        time.sleep(0.3)
        for number in (signal.SIGINT, signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            recording.process.send_signal(number)
            time.sleep(0.02)
        output = recording.finish(limit=20)
        self.assertEqual(self.kinds(output).count("stop_seen"), 1)
        self.assert_whole_take(output)

    def test_second_interrupt_after_a_second_gives_up_the_end_but_not_the_segments(self):
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", LONG, "--segment-duration", "0.3")
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        self.server.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.server.process.send_signal, signal.SIGCONT)
        time.sleep(0.1)  # so old is the last picture that the end of the capture waits for another one
        recording.process.send_signal(signal.SIGINT)
        recording.wait_for("Glimto stop: stopping capture stream")
        time.sleep(1.1)
        recording.process.send_signal(signal.SIGINT)
        self.assertEqual(recording.finish().status, -signal.SIGINT)
        self.assertGreater(media.frame_times(self.joined())[-1], 0.5)

    def test_hangup_that_the_parent_ignores_stays_ignored(self):
        def ignore_hangups():
            signal.signal(signal.SIGHUP, signal.SIG_IGN)

        recording = self.start_recording("-d", "1.5", options={"preexec_fn": ignore_hangups})
        recording.wait_until_recording()
        recording.process.send_signal(signal.SIGHUP)
        output = recording.finish()
        self.assertNotIn("stop_seen", self.kinds(output))
        self.assertAlmostEqual(self.manifest()["totalDuration"], 1.5, delta=0.2)
        self.assert_whole_take(output)


class ReaderTests(StoppingCase):
    def command(self, *arguments):
        return [str(BINARY), "record", "-o", str(self.take), *arguments]

    def test_reader_that_closes_the_output_does_not_end_the_recording(self):
        process = subprocess.Popen(self.command("-d", "1.5"), env=self.environment(), cwd=self.work,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.wait)
        read_line(process.stdout.fileno(), 20, "the first line")
        process.stdout.close()
        self.assertEqual(process.wait(30), 0, process.stderr.read())
        process.stderr.close()
        self.assertAlmostEqual(self.manifest()["totalDuration"], 1.5, delta=0.2)
        self.assert_whole_take()

    def test_reader_that_stops_reading_does_not_hold_up_the_recording(self):
        reader, writer = os.pipe()
        self.addCleanup(os.close, reader)
        os.set_blocking(writer, False)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(writer, b"x" * 4096)
        os.set_blocking(writer, True)
        process = subprocess.Popen(self.command("-d", "1"), env=self.environment(), cwd=self.work, stdout=writer,
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        os.close(writer)
        self.assertEqual(process.wait(110), 0)
        self.assert_whole_take()

    def test_closed_standard_streams_do_not_end_the_recording(self):
        quoted = " ".join(f"'{word}'" for word in self.command("-d", "0.5"))
        done = subprocess.run(["sh", "-c", f"{quoted} <&- >&- 2>&-"], env=self.environment(), cwd=self.work,
                              timeout=30)
        self.assertEqual(done.returncode, 0)
        self.assert_whole_take()
        # The lock file was the first to be opened: nothing may have been printed into it.
        locks = list(pathlib.Path(self.environment()["XDG_CACHE_HOME"]).rglob("*.lock"))
        self.assertEqual([lock.stat().st_size for lock in locks], [0])

    def start_under_a_parent(self, output):
        """A shell that starts a recording and prints its id; the shell and that id."""
        quoted = " ".join(f"'{word}'" for word in self.command("-d", LONG))
        shell = subprocess.Popen(["sh", "-c", f"{quoted} >{output} 2>/dev/null & echo $! >&2; wait"],
                                 env=self.environment(), cwd=self.work, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE)
        self.addCleanup(shell.stderr.close)
        self.addCleanup(shell.stdout.close)
        self.addCleanup(shell.wait)
        self.addCleanup(shell.kill)
        child = int(read_line(shell.stderr.fileno(), 20, "the recording's id"))
        self.addCleanup(self.end_if_running, child)
        return shell, child

    @staticmethod
    def end_if_running(process):
        try:
            os.kill(process, signal.SIGKILL)
        except ProcessLookupError:
            pass

    @staticmethod
    def is_running(process):
        try:
            with open(f"/proc/{process}/stat") as file:
                return file.read().rsplit(")", 1)[1].split()[0] != "Z"
        except FileNotFoundError:
            return False

    def test_parents_death_ends_a_recording_whose_output_it_read(self):
        shell, child = self.start_under_a_parent("&1")
        wait_until(lambda: (self.take / "segments/video/init.mp4").exists() or
                   STATUS.encode() in os.read(shell.stdout.fileno(), 65536), "the recording's start")
        time.sleep(0.6)
        shell.kill()
        wait_until(lambda: not self.is_running(child), "the recording's end", limit=20)
        self.assertLess(self.manifest()["totalDuration"], 10)
        self.assert_whole_take()

    def test_parents_death_does_not_end_a_recording_that_prints_to_a_file(self):
        log = self.work / "log"
        shell, child = self.start_under_a_parent(log)
        wait_until(lambda: log.exists() and STATUS in log.read_text(), "the recording's start")
        shell.kill()
        shell.wait()
        time.sleep(0.8)
        self.assertTrue(self.is_running(child))
        os.kill(child, signal.SIGTERM)  # a shell without a terminal has it ignore SIGINT
        wait_until(lambda: not self.is_running(child), "the recording's end", limit=20)
        self.assert_whole_take()


class KilledTests(StoppingCase):
    def test_killed_recording_leaves_playable_segments(self):
        painter = self.start_painter()
        painter.open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", LONG, "--segment-duration", "0.3")
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        recording.process.kill()
        self.assertEqual(recording.finish().status, -signal.SIGKILL)
        times = media.frame_times(self.joined())
        self.assertGreater(times[-1], 0.6)
        self.assertFalse((self.take / "manifest.json").exists())

    def test_next_recording_is_not_blocked_by_a_killed_one(self):
        recording = self.start_recording("-d", LONG)
        recording.wait_until_recording()
        recording.process.kill()
        recording.finish()
        self.assert_whole_take(self.record("-d", "0.5", "-w"))


if __name__ == "__main__":
    unittest.main()
