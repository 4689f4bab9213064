"""The transcripts of Documentation/driving.md are what the program prints."""

import re
import signal
import time
import unittest
from pathlib import Path

from support.case import EndToEndCase
from support.windows import REPOSITORY

PAGE = (REPOSITORY / "Documentation/driving.md").read_text()
TRANSCRIPTS = {name: text.splitlines() for name, text in
               re.findall(r"^```transcript ([a-z-]+)\n(.*?)^```$", PAGE, re.MULTILINE | re.DOTALL)}
TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")


class TranscriptTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240")

    def check(self, name, output):
        """`...` in the transcript stands for any lines; one that begins later than the program is compared from there."""
        seen = [TIME.sub("<time>", text).replace(str(self.work), "<dir>") for text in output.texts]
        wanted = TRANSCRIPTS[name]
        seen = seen[seen.index(wanted[0]):]
        if "..." in wanted:
            cut = wanted.index("...")
            rest = wanted[cut + 1:]
            self.assertGreater(len(seen), len(wanted))
            seen = seen[:cut] + ["..."] + seen[-len(rest):]
        self.assertEqual(seen, wanted)

    def test_every_transcript_is_compared(self):
        compared = set(re.findall(r'self\.check\("([a-z-]+)"', Path(__file__).read_text()))
        self.assertEqual(compared, set(TRANSCRIPTS))

    def test_duration_and_a_directory_in_use(self):
        output = self.start_recording("-d", "1", "--stdout-json").finish()
        self.assertEqual(output.status, 0, output.errors)
        self.check("duration", output)
        output = self.start_recording("-d", "1").finish()
        self.assertEqual(output.status, 1)
        self.assertEqual(output.error_lines[-1], "error: Output directory already contains proof artifacts: segments, "
                         "manifest.json, thumbnail.jpg. Use --overwrite or choose a new directory.")
        self.check("refused", output)

    def test_stop_file(self):
        recording = self.start_recording("--until-stopped", "--stop-file", self.work / "stop")
        recording.wait_until_recording()
        time.sleep(0.5)
        (self.work / "stop").touch()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.check("stop-file", output)

    def test_signal(self):
        recording = self.start_recording("-d", "60")
        recording.wait_until_recording()
        time.sleep(0.5)
        recording.process.send_signal(signal.SIGTERM)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.check("signal", output)

    def test_limit(self):
        output = self.start_recording("-d", "60", "--max-duration-seconds", "1").finish()
        self.assertEqual(output.status, 0, output.errors)
        self.check("limit", output)


if __name__ == "__main__":
    unittest.main()
