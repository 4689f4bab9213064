"""Recordings that are killed, halted or short of descriptors, and servers and clocks that do not behave."""

import json
import os
import random
import resource
import signal
import subprocess
import time
import unittest

from support import media
from support.case import EndToEndCase
from support.dev_server import DevServer
from support.faults import Faults
from support.processes import wait_until
from support.sound_case import SPEAKER, SoundCase
from support.tool import STATUS
from support.windows import BINARY

KILLS = 20
LATEST_KILL = 2.5  # seconds after the start
HALT = 1.2  # seconds


class KilledAtAnyMomentTests(SoundCase):
    def setUp(self):
        super().setUp()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        self.api = self.started(DevServer(self.directory / "store"))

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def start_take(self, number, *arguments):
        return self.start_recording("--system-audio", "--record-events", "--api-base-url", self.api.address,
                                    "--recording-id", f"rec{number}", "--segment-duration", "0.2",
                                    "--background-upload-threshold", "0.2", *arguments)

    def assert_segments_decode(self):
        for track in ("video", "audio"):
            folder = self.take / "segments" / track
            pieces = sorted(folder.glob("segment_*.m4s"))
            if pieces:
                joined = self.directory / "joined.mp4"
                joined.write_bytes(b"".join(piece.read_bytes() for piece in [folder / "init.mp4", *pieces]))
                media.run_tool("ffmpeg", "-nostdin", "-v", "error", "-xerror", "-i", joined, "-f", "null", "-")

    def test_finished_segments_and_the_job_stay_whole_and_the_next_take_works(self):
        moments = random.Random(16)
        self.play_tone(SPEAKER, 440, 120)
        for number in range(KILLS):
            moment = moments.uniform(0, LATEST_KILL)
            with self.subTest(number=number, moment=moment):
                self.take = self.work / f"take{number}"
                recording = self.start_take(number, "-d", "30")
                time.sleep(moment)
                recording.process.kill()
                self.assertEqual(recording.finish().status, -signal.SIGKILL, recording.output.errors)
                self.assert_segments_decode()
                job = self.take / "upload-job.json"
                if job.exists():
                    self.assertEqual(json.loads(job.read_text())["recordingId"], f"rec{number}")
        self.take = self.work / "last"
        output = self.start_take("last", "-d", "1").finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(output.texts[-1], STATUS + "uploaded")
        self.assert_whole_take()


class HaltedTests(EndToEndCase):
    """SIGSTOP and SIGCONT, as a shell's Ctrl-Z and fg."""

    def setUp(self):
        super().setUp()
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        self.api = self.started(DevServer(self.directory / "store"))

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def halt(self, process):
        process.send_signal(signal.SIGSTOP)
        time.sleep(HALT)
        process.send_signal(signal.SIGCONT)

    def test_a_recording_halted_in_any_phase_ends_as_a_whole_take(self):
        phases = ["launched", STATUS + "recording", "background upload started", "Glimto stop: stopping capture stream",
                  "Glimto stop: finishing segment writer", STATUS + "uploading"]
        for number, phase in enumerate(phases):
            with self.subTest(phase):
                self.take = self.work / f"take{number}"
                recording = self.start_recording("-d", "1.5", "--segment-duration", "0.3", "--record-events",
                                                 "--background-upload-threshold", "0.3", "--api-base-url",
                                                 self.api.address, "--recording-id", f"rec{number}")
                recording.wait_for(phase)
                self.halt(recording.process)
                output = recording.finish()
                self.assertEqual(output.status, 0, output.errors)
                self.assertEqual(output.texts[-1], STATUS + "uploaded")
                self.verify_contract()


class SignalledTests(EndToEndCase):
    def test_two_signals_at_once_in_any_phase_end_in_a_whole_take(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        for phase in ("launched", "capture_starting", STATUS + "recording", "Glimto stop: stopping capture stream",
                      "Glimto stop: finishing segment writer"):
            for first, second in ((signal.SIGINT, signal.SIGINT), (signal.SIGTERM, signal.SIGHUP)):
                with self.subTest(phase=phase, signals=(first, second)):
                    recording = self.start_recording("-d", "0.8", "--record-events", "--overwrite")
                    recording.wait_for(phase)
                    recording.process.send_signal(first)
                    recording.process.send_signal(second)
                    output = recording.finish()
                    self.assertEqual((output.status, output.errors), (0, ""))
                    self.verify_contract()


class LostParentTests(EndToEndCase):
    def test_parents_death_in_any_phase_ends_the_program_and_leaves_no_half_take(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        for phase, is_whole in [("launched", None), ("capture_starting", None), (STATUS + "recording", True),
                                ("Glimto stop: stopping capture stream", True), ("finishing segment writer", True)]:
            with self.subTest(phase):
                parent = subprocess.Popen(
                    ["sh", "-c", '"$0" "$@" 2>/dev/null & echo "id $!"; wait', BINARY, "record", "-o", self.take,
                     "--overwrite", "-d", "1.5" if "stop" in phase or "finish" in phase else "60"],
                    env=self.environment(), cwd=self.work, stdout=subprocess.PIPE)
                lines = iter(parent.stdout.readline, b"")
                text, child = "", None
                while phase not in text:
                    text = next(lines).decode()
                    if text.startswith("id "):
                        child = int(text.split()[1])
                parent.kill()
                parent.wait()
                parent.stdout.close()
                self.assertIsNotNone(child)
                wait_until(lambda: not self.is_running(child), "the recording's end", limit=20)
                self.assert_leaves_no_temporary_file()
                if is_whole:
                    self.verify_contract()

    @staticmethod
    def is_running(process):
        try:
            with open(f"/proc/{process}/stat") as file:
                return file.read().rsplit(")", 1)[1].split()[0] != "Z"
        except FileNotFoundError:
            return False


class MisbehavingServerTests(SoundCase):
    def setUp(self):
        super().setUp()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)

    def test_a_screen_that_freezes_for_a_moment_costs_only_that_moment(self):
        recording = self.start_recording("-d", "5", "--segment-duration", "0.5")
        wait_until(lambda: self.segments(), "the first segment")
        self.server.process.send_signal(signal.SIGSTOP)
        time.sleep(2)
        self.server.process.send_signal(signal.SIGCONT)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.verify_contract()
        self.assertAlmostEqual(self.manifest()["totalDuration"], 5, delta=0.5)

    def test_sound_that_freezes_for_a_moment_leaves_a_whole_take(self):
        self.play_tone(SPEAKER, 440)
        recording = self.start_recording("-d", "5", "--segment-duration", "0.5", "--system-audio")
        wait_until(lambda: self.segments(), "the first segment")
        self.sound_server.freeze()
        time.sleep(2)
        self.sound_server.thaw()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assert_whole_take()
        self.assertAlmostEqual(self.manifest()["totalDuration"], 5, delta=0.5)


class ClockTests(EndToEndCase):
    def test_a_wall_clock_that_is_set_changes_no_times_of_the_take(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        faults = Faults(self.directory / "faults")
        recording = self.start_recording("-d", "3", "--segment-duration", "0.5", "--record-events", **faults.environment())
        for offset in (3600, -3600, 0, -86400):
            time.sleep(0.5)
            faults.set(f"clock {offset}")
        output = recording.finish(limit=20)
        self.assertEqual((output.status, output.errors), (0, ""))
        self.verify_contract()
        self.assertAlmostEqual(self.manifest()["totalDuration"], 3, delta=0.3)
        times = media.frame_times(self.joined())
        self.assertEqual(times, sorted(times))
        stamps = {event["timestamp"][:10] for event in output.events()}
        self.assertGreater(len(stamps), 1, "the program saw no other day")


class DescriptorTests(EndToEndCase):
    def test_a_process_without_free_descriptors_ends_with_an_error_and_keeps_finished_segments(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "20", "--segment-duration", "0.3")
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        _, most = resource.prlimit(recording.pid, resource.RLIMIT_NOFILE)
        resource.prlimit(recording.pid, resource.RLIMIT_NOFILE, (3, most))
        output = recording.finish(limit=30)
        self.assert_fails_with_descriptors(output)
        self.assertGreater(media.frame_times(self.joined())[-1], 0.6)
        self.assert_leaves_no_temporary_file()
        self.record("-d", "0.5", "--overwrite")

    def test_a_start_with_any_number_of_descriptors_ends_in_a_take_or_says_what_is_missing(self):
        self.start_screen()
        # With fewer the libraries cannot be loaded.
        for count in (6, 7, 8, 10, 12, 14, 16, 20, 30):
            with self.subTest(count):
                def limit():
                    resource.setrlimit(resource.RLIMIT_NOFILE, (count, count))

                output = self.start_recording("-d", "0.5", "--overwrite", options={"preexec_fn": limit}).finish(limit=40)
                if output.status == 0:
                    self.verify_contract()
                else:
                    self.assertEqual(output.status, 1, output.errors)
                    self.assertTrue(output.error_lines and output.error_lines[-1].startswith("error: "), output.errors)
                    self.assertIn(os.strerror(24), output.errors)

    def assert_fails_with_descriptors(self, output):
        self.assertEqual(output.status, 1, output.errors)
        self.assertIn(os.strerror(24), output.error_lines[-1])
        self.assertEqual(output.texts[-1], STATUS + "failed")


class MemoryTests(EndToEndCase):
    def test_memory_that_ends_in_the_middle_ends_in_a_take_or_an_error(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        for kind in (resource.RLIMIT_AS, resource.RLIMIT_DATA):
            with self.subTest(kind):
                recording = self.start_recording("-d", "3", "--segment-duration", "0.3", "--overwrite", "--record-events")
                wait_until(lambda: recording.line_with(STATUS + "recording") and "segment_001.m4s" in self.segments(),
                           "the second segment")
                _, most = resource.prlimit(recording.pid, kind)
                resource.prlimit(recording.pid, kind, (1 << 20, most))
                output = recording.finish(limit=40)
                if output.status == 0:
                    self.verify_contract()
                else:
                    self.assertEqual(output.status, 1, output.errors)
                    self.assertTrue(output.error_lines[-1].startswith("error: "), output.errors)
                    self.assertGreater(media.frame_times(self.joined())[-1], 0.3)
                    self.assert_leaves_no_temporary_file()

    def test_a_start_with_any_amount_of_memory_ends_in_a_take_or_an_error(self):
        self.start_screen()
        for megabytes in (100, 150, 200, 300, 400, 600):
            with self.subTest(megabytes):
                def limit():
                    resource.setrlimit(resource.RLIMIT_AS, (megabytes << 20, megabytes << 20))

                output = self.start_recording("-d", "0.5", "--overwrite", options={"preexec_fn": limit}).finish(limit=40)
                if output.status == 0:
                    self.verify_contract()
                else:
                    self.assertEqual(output.status, 1, output.errors)
                    self.assertTrue(output.error_lines and output.error_lines[-1].startswith("error: "), output.errors)


if __name__ == "__main__":
    unittest.main()
