"""The progress channel: a descriptor that the parent passes and names hears how far a recording is."""

import fcntl
import json
import os
import unittest

from jsonschema import Draft202012Validator

from support.processes import wait_until
from support.tool import Recording
from support.windows import BINARY, REPOSITORY
from test_upload_recording import UploadCase

VARIABLE = "GLIMTO_CAPTURE_PROGRESS_FD"
SCHEMA = json.loads((REPOSITORY / "Documentation/schemas/progress.schema.json").read_text())


class ProgressChannelTests(UploadCase):
    def pipe(self):
        """Reading end as a file, and the number of the writing end."""
        reading, writing = os.pipe()
        self.addCleanup(lambda: [os.close(end) for end in (writing,) if self.is_open(end)])
        return os.fdopen(reading, "rb"), writing

    @staticmethod
    def is_open(descriptor):
        try:
            fcntl.fcntl(descriptor, fcntl.F_GETFD)
            return True
        except OSError:
            return False

    def start_with(self, descriptor, *arguments, value=None):
        number = str(descriptor) if value is None else value
        recording = self.start_recording(*arguments, options={"pass_fds": [descriptor]}, **{VARIABLE: number})
        os.close(descriptor)
        return recording

    def lines(self, reading):
        """All lines to the end of the channel, as the schema has them."""
        with reading:
            snapshots = [json.loads(line) for line in reading]
        for snapshot in snapshots:
            self.assertEqual([error.message for error in Draft202012Validator(SCHEMA).iter_errors(snapshot)], [])
            self.assertLessEqual(set(snapshot), set(SCHEMA["properties"]))
        return snapshots

    def test_a_recording_tells_how_far_it_is(self):
        reading, writing = self.pipe()
        output = self.start_with(writing, "-d", "3").finish()
        self.assertEqual((output.status, output.errors), (0, ""))
        snapshots = self.lines(reading)
        self.assertGreaterEqual(len(snapshots), 3)
        self.assertEqual(snapshots[-1]["phase"], "ended")
        self.assertIn("recording", [snapshot["phase"] for snapshot in snapshots])
        self.assertGreaterEqual(snapshots[-1]["frames"], 2)
        segments = sum(path.stat().st_size for path in (self.take / "segments/video").glob("segment_*.m4s"))
        self.assertEqual(snapshots[-1]["bytes"], segments)
        self.assertGreaterEqual(snapshots[-1]["elapsed"], 2.9)
        for name in ("elapsed", "frames", "bytes", "dropped"):
            values = [snapshot[name] for snapshot in snapshots]
            self.assertEqual(values, sorted(values))
        self.assertNotIn("levels", snapshots[-1])
        self.assertNotIn("upload", snapshots[-1])

    def test_an_upload_tells_its_queue(self):
        reading, writing = self.pipe()
        output = self.start_with(writing, "-d", "2", "--api-base-url", self.api.url, "--recording-id", "rec").finish()
        self.assertEqual(output.status, 0, output.errors)
        last = self.lines(reading)[-1]
        self.assertEqual(last["phase"], "ended")
        self.assertEqual(last["upload"], {"sent": len(self.api.objects), "waiting": 0, "waitingBytes": 0})

    def test_the_upload_command_tells_its_queue(self):
        self.api.misbehave = lambda request: request.command == "PUT" and (request.respond(500, b""), True)[1]
        self.start_recording("-d", "1", "--api-base-url", self.api.url, "--recording-id", "rec").finish()
        self.api.misbehave = lambda request: False
        path = self.directory / "progress"
        with path.open("wb") as file:
            environment = self.environment(**{VARIABLE: str(file.fileno())})
            upload = self.started(Recording([BINARY, "upload", "--dir", self.take, "--api-base-url", self.api.url,
                                             "--recording-id", "rec"], environment, self.work, pass_fds=[file.fileno()]))
            output = upload.finish()
        self.assertEqual(output.status, 0, output.errors)
        last = self.lines(path.open("rb"))[-1]
        self.assertEqual((last["phase"], last["frames"], last["upload"]["waiting"]), ("ended", 0, 0))
        self.assertGreaterEqual(last["upload"]["sent"], 4)

    def test_a_recording_that_fails_ends_the_channel_too(self):
        reading, writing = self.pipe()
        output = self.start_with(writing, "--window-id", "4000000000").finish()
        self.assertEqual(output.status, 1)
        self.assertEqual([snapshot["phase"] for snapshot in self.lines(reading)][-1], "ended")

    def test_a_reader_that_never_reads_costs_lines_and_nothing_else(self):
        reading, writing = self.pipe()
        os.set_blocking(writing, False)
        filled = 0
        try:
            while True:
                filled += os.write(writing, bytes(4096))
        except BlockingIOError:
            os.set_blocking(writing, True)
        output = self.start_with(writing, "-d", "2").finish()
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(len(reading.read()), filled)
        reading.close()
        self.assertEqual(len(output.events("completed")), 1)

    def test_a_reader_that_goes_away_changes_nothing(self):
        reading, writing = self.pipe()
        recording = self.start_with(writing, "-d", "3")
        self.assertTrue(reading.readline())
        reading.close()
        output = recording.finish()
        self.assertEqual((output.status, output.errors), (0, ""))

    def test_what_the_variable_names_wrongly_is_only_warned_of(self):
        reading, writing = self.pipe()
        cases = {"1": "is a standard stream", "x": "is no number of a descriptor", "4000": "is not open",
                 str(reading.fileno()): "is not open for writing"}
        for value, reason in cases.items():
            with self.subTest(value):
                output = self.start_recording("-d", "0.2", "-w", options={"pass_fds": [reading.fileno()]},
                                              **{VARIABLE: value}).finish()
                self.assertEqual((output.status, output.errors),
                                 (0, f'warning: {VARIABLE}: "{value}" {reason}; no progress is told\n'))
        os.close(writing)
        reading.close()

    def test_what_is_printed_is_the_same_with_and_without(self):
        reading, writing = self.pipe()
        without = self.start_recording("-d", "1").finish()
        with_channel = self.start_with(writing, "-d", "1", "-w").finish()
        self.lines(reading)
        self.assertEqual([text[:60] for text in without.texts if not text.startswith("{")],
                         [text[:60] for text in with_channel.texts if not text.startswith("{")])
        self.assertEqual([event["kind"] for event in without.events()], [event["kind"] for event in with_channel.events()])

    def test_no_child_inherits_it(self):
        """The process that stays behind with the clipboard's picture would keep the channel open."""
        reading, writing = self.pipe()
        environment = self.environment(**{VARIABLE: str(writing)})
        shot = self.started(Recording([BINARY, "screenshot", "-o", self.work / "shot.png", "--copy-image"], environment,
                                           self.work, pass_fds=[writing]))
        os.close(writing)
        self.assertEqual(shot.finish().status, 0)
        os.set_blocking(reading.fileno(), False)
        wait_until(lambda: reading.read() == b"", "the end of the channel")
        reading.close()


if __name__ == "__main__":
    unittest.main()
