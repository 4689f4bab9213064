"""A disk that fails while a take is made, in every phase of it."""

import json
import unittest

from support import media
from support.case import EndToEndCase
from support.dev_server import DevServer
from support.faults import DISK_FAULTS, Faults
from support.processes import wait_until
from support.tool import STATUS

END_LIMIT = 30  # seconds in which a recording whose disk failed must have ended


class DiskFaultCase(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        self.faults = Faults(self.directory / "faults")

    def environment(self, **changes):
        return {**super().environment(), **self.faults.environment(), **changes}

    def for_each_fault(self, check, what=""):
        """Runs `check(fault)` for every kind of trouble, each with a take of its own."""
        for name, fault in DISK_FAULTS.items():
            with self.subTest(name + what):
                self.take = self.work / f"take-{fault.number}"
                self.faults.set()
                check(fault)

    def start_take(self, *arguments):
        return self.start_recording("-d", "30", "--segment-duration", "0.3", *arguments)

    def assert_ended_by(self, fault, output):
        self.assertEqual(output.status, 1, output.errors)
        self.assertTrue(output.error_lines[-1].startswith("error: "), output.errors)
        self.assertIn(fault.words, output.error_lines[-1])
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertEqual(output.events()[-1]["kind"], "recording_failed")

    def assert_next_take_is_whole(self, *arguments):
        self.faults.set()
        self.record("-d", "0.5", "--overwrite", *arguments)
        self.verify_contract()


class RecordingTests(DiskFaultCase):
    def test_at_the_start_nothing_is_left(self):
        def check(fault):
            self.faults.set(*fault.lines(self.take.name))
            self.assert_ended_by(fault, self.start_take().finish(END_LIMIT))
            self.assertEqual([path for path in self.take.rglob("*") if path.is_file()], [])
            self.assert_next_take_is_whole()

        self.for_each_fault(check)

    def test_in_the_middle_finished_segments_stay_and_can_be_played(self):
        def check(fault):
            recording = self.start_take()
            wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
            finished = self.segments()
            self.faults.set(*fault.lines(self.take.name))
            self.assert_ended_by(fault, recording.finish(END_LIMIT))
            self.assertLessEqual(set(finished), set(self.segments()))
            self.assertGreater(media.frame_times(self.joined())[-1], 0.6)
            self.assertFalse((self.take / "manifest.json").exists())
            self.assert_leaves_no_temporary_file()
            self.assert_next_take_is_whole()

        self.for_each_fault(check)

    def test_at_the_end_the_media_stays_and_no_document_is_half(self):
        for document in ("playlist.m3u8", "manifest.json"):
            def check(fault):
                recording = self.start_take("--until-stopped", "--stop-file", self.work / "stop", "--overwrite")
                wait_until(lambda: "segment_000.m4s" in self.segments(), "the first segment")
                self.faults.set(*fault.lines(document))
                (self.work / "stop").touch()
                output = recording.finish(END_LIMIT)
                (self.work / "stop").unlink()
                self.assert_ended_by(fault, output)
                self.assertFalse((self.take / document).exists())
                self.assertFalse((self.take / "manifest.json").exists())
                self.assertTrue(media.frame_times(self.joined()))
                self.assert_leaves_no_temporary_file()
                self.assert_next_take_is_whole()

            self.for_each_fault(check, " of " + document)

    def test_the_pointers_track_and_the_thumbnail_cost_a_warning_and_no_take(self):
        for document in ("events.json", "thumbnail.jpg"):
            def check(fault):
                name = document.split(".")[0]
                self.faults.set(*fault.lines(name))
                output = self.record("-d", "0.5", "--record-events", "--overwrite")
                self.assertTrue(any(line.startswith("warning: ") and (fault.words in line or name in line)
                                    for line in output.error_lines), output.errors)
                self.assertFalse((self.take / document).exists())
                self.assert_leaves_no_temporary_file()
                self.faults.set()
                self.verify_contract()

            self.for_each_fault(check, " of " + document)


class JobTests(DiskFaultCase):
    def setUp(self):
        super().setUp()
        self.api = self.started(DevServer(self.directory / "store"))

    def upload_options(self):
        return ("--api-base-url", self.api.address, "--recording-id", "rec")

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def job(self):
        return json.loads((self.take / "upload-job.json").read_text())

    def test_a_job_that_cannot_be_written_at_the_start_costs_no_recording(self):
        def check(fault):
            self.faults.set(*fault.lines("upload-job"))
            output = self.start_take(*self.upload_options()).finish(END_LIMIT)
            self.assertEqual(output.status, 1, output.errors)
            self.assertIn(fault.words, output.error_lines[-1])
            self.assertNotIn(STATUS + "recording", output.texts)
            self.assert_next_take_is_whole()

        self.for_each_fault(check)

    def test_a_job_that_cannot_be_written_at_the_end_costs_the_upload_and_no_take(self):
        def check(fault):
            recording = self.start_take(*self.upload_options(), "--until-stopped", "--stop-file", self.work / "stop")
            recording.wait_until_recording()
            wait_until(lambda: "segment_000.m4s" in self.segments(), "the first segment")
            before = self.job()
            self.faults.set(*fault.lines("upload-job"))
            (self.work / "stop").touch()
            output = recording.finish(END_LIMIT)
            (self.work / "stop").unlink()
            self.assertEqual(output.status, 1, output.errors)
            self.assertIn(fault.words, output.error_lines[-1])
            self.assertEqual(self.job(), before)
            self.faults.set()
            self.verify_contract()
            again = self.run_tool("upload", "--dir", self.take, *self.upload_options())
            self.assertEqual(again.status, 0, again.errors)
            self.assertEqual(self.job()["state"], "completed")

        self.for_each_fault(check)


if __name__ == "__main__":
    unittest.main()
