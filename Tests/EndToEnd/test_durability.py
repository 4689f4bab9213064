"""What a power cut can take: nothing of a take that was said to be complete, and no state of a job that was told.

A name is safe once its file, the directory that holds it, and those that lead there have been flushed, in this order
and before anybody is told. The order of the program's calls is looked at, as no test can cut the power.
"""

import os
import unittest
from pathlib import Path

from support.tool import STATUS
from support.upload_server import KEY, UploadServer
from support.case import EndToEndCase


class Calls:
    """The calls that a run has made, in their order."""

    def __init__(self, log):
        self.calls = [tuple(line.split(" ", 1)) for line in log.read_text().splitlines()]

    def index_of_telling(self, text):
        return next(index for index, (name, what) in enumerate(self.calls) if name == "tell" and text in what)

    def last(self, name, what, before):
        found = [index for index, call in enumerate(self.calls[:before]) if call == (name, str(what))]
        return found[-1] if found else None

    def last_rename_to(self, path, before):
        found = [(index, what.split(" ")[0]) for index, (name, what) in enumerate(self.calls[:before])
                 if name == "rename" and what.endswith(" " + str(path))]
        return found[-1] if found else (None, None)

    def made_directories(self, before):
        return [Path(what) for name, what in self.calls[:before] if name == "mkdir"]


class DurabilityTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.take = self.work / "runs" / "deep" / "take"
        self.log = self.directory / "calls"

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": KEY,
                "LD_PRELOAD": os.environ["GLIMTO_TEST_FILE_CALLS"], "GLIMTO_FILE_CALLS": str(self.log)}

    def assert_safe(self, calls, path, before):
        """The file's last content before that moment: flushed, then named, then the name flushed."""
        renamed, temporary = calls.last_rename_to(path, before)
        self.assertIsNotNone(renamed, f"{path} was not put into place before that")
        flushed = calls.last("fsync", temporary, renamed)
        self.assertIsNotNone(flushed, f"{path} got its name before its content was flushed")
        directory = calls.last("fsync", path.parent, before)
        self.assertIsNotNone(directory, f"the directory of {path} was never flushed")
        self.assertGreater(directory, renamed, f"the directory of {path} was flushed before it held the name")

    def assert_paths_safe(self, calls, before):
        made = [path for path in calls.made_directories(before) if path.is_relative_to(self.work)]
        self.assertIn(self.take.parent, made)
        for path in made:
            index = calls.last("fsync", path.parent, before)
            self.assertIsNotNone(index, f"{path.parent}, which leads to {path}, was never flushed")
            self.assertGreater(index, calls.last("mkdir", path, before))

    def test_completed_take_is_safe(self):
        self.start_screen(colour="336699")
        self.record("-d", "1.2", "--segment-duration", "0.5", "--record-events")
        calls = Calls(self.log)
        completed = calls.index_of_telling('"kind":"completed"')
        files = [path for path in self.take.rglob("*") if path.is_file() and not path.name.startswith(".")]
        self.assertGreater(len(files), 5)
        for path in files:
            self.assert_safe(calls, path, completed)
        self.assert_paths_safe(calls, completed)

    def test_told_state_of_a_job_is_safe(self):
        self.start_screen(colour="336699")
        api = self.started(UploadServer())
        self.record("-d", "1", "--no-background-upload", "--api-base-url", api.url)
        calls = Calls(self.log)
        job = self.take / "upload-job.json"
        states = ['"kind":"capture_starting"', STATUS + "recording", STATUS + "uploading", "Uploaded recording"]
        names = set()
        for text in states:
            told = calls.index_of_telling(text)
            self.assert_safe(calls, job, told)
            names.add(calls.last_rename_to(job, told)[1])
        self.assertEqual(len(names), 3)  # prepared twice, ready, completed
        self.assert_paths_safe(calls, calls.index_of_telling('"kind":"capture_starting"'))


if __name__ == "__main__":
    unittest.main()
