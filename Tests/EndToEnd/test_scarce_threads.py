"""Recordings for which no thread can be started, or no memory be had: told for what it is, and never the end of a
take that has run well."""

import os
import resource
import shutil
import signal
import subprocess
import time
import unittest
from pathlib import Path

from support.case import EndToEndCase
from support.windows import BINARY

NAMED = "error: Could not start the thread "


class ScarceCase(EndToEndCase):
    """The program runs as a user of its own: the number of threads is counted by user, and not for root."""

    def setUp(self):
        super().setUp()
        self.start_screen(colour="336699")
        self.programs = self.directory / "programs"
        self.programs.mkdir()
        for file in [Path(BINARY), *Path(BINARY).parent.glob("glimto-capture-*.so")]:
            shutil.copy2(file, self.programs)
        self.user = None
        self.caches.mkdir()
        if os.getuid() == 0:
            self.user = 30000 + os.getpid() % 30000
            for path in [self.directory, *self.directory.rglob("*")]:
                os.chown(path, self.user, self.user)

    def start(self, *arguments, limits=()):
        def limit():
            for kind, most in limits:
                resource.setrlimit(kind, (most, most))

        options = {"preexec_fn": limit}
        if self.user is not None:
            options.update(user=self.user, group=self.user, extra_groups=[])
        return self.start_recording(*arguments, binary=self.programs / Path(BINARY).name, options=options)

    def most_threads(self, more):
        """So many threads more than this user has already."""
        others = 0
        if self.user is None:
            for status in Path("/proc").glob("[0-9]*/status"):
                try:
                    fields = dict(line.split(":\t", 1) for line in status.read_text().splitlines() if ":\t" in line)
                except OSError:
                    continue
                if int(fields["Uid"].split()[0]) == os.getuid():
                    others += int(fields["Threads"])
        return others + more

    def assert_told(self, output):
        """The take is whole, or the failure is an event and an error line, and neither a crash nor a riddle."""
        if output.status == 0:
            self.assertEqual(output.events()[-1]["kind"], "completed")
            return
        self.assertEqual(output.status, 1, output.errors)
        self.assertTrue(output.error_lines[-1].startswith("error: "), output.errors)
        self.assertNotIn("permission", output.error_lines[-1].lower())
        self.assertEqual(output.events()[-1]["kind"], "recording_failed", output.texts)


class ThreadTests(ScarceCase):
    def test_without_any_thread_the_error_says_so(self):
        output = self.start("-d", "1", limits=[(resource.RLIMIT_NPROC, self.most_threads(1))]).finish()
        self.assert_told(output)
        self.assertEqual(output.status, 1)
        self.assertTrue(output.error_lines[-1].startswith(NAMED), output.errors)
        self.assertIn("Could not start the thread ", output.events()[-1]["error"]["message"])
        self.assertEqual(output.events()[-1]["error"]["code"], "recording_failed")

    def test_however_few_threads_there_are_it_is_told(self):
        recorded = []
        for more in range(2, 15):
            output = self.start("-d", "0.3", "-w",
                                limits=[(resource.RLIMIT_NPROC, self.most_threads(more))]).finish()
            self.assert_told(output)
            recorded.append(output.status == 0)
        self.assertTrue(recorded[-1], "enough threads for a recording")

    def test_no_thread_at_the_end_costs_no_take(self):
        recording = self.start("-d", "30")
        recording.wait_until_recording()
        time.sleep(1)
        # By the same user: a sandbox's root may not change the limits of others.
        options = {} if self.user is None else {"user": self.user, "group": self.user, "extra_groups": []}
        subprocess.run(["prlimit", f"--pid={recording.pid}", "--nproc=1:1"], check=True, timeout=20, **options)
        recording.process.send_signal(signal.SIGINT)
        output = recording.finish(limit=30)
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(output.events()[-1]["kind"], "completed")
        self.verify_contract()


class MemoryTests(ScarceCase):
    def test_however_little_memory_there_is_it_is_told(self):
        for megabytes in (24, 40, 60, 80, 100, 130, 160, 200, 250):
            with self.subTest(megabytes=megabytes):
                output = self.start("-d", "0.3", "-w", limits=[(resource.RLIMIT_AS, megabytes << 20)]).finish()
                if output.status == 127:  # the system's own loader had no memory for the program
                    self.assertIn("error while loading shared libraries", output.errors)
                else:
                    self.assert_told(output)


if __name__ == "__main__":
    unittest.main()
