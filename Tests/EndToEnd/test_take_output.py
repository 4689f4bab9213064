"""What glimto-take prints, and where it goes."""

import subprocess
import unittest

from support import take_tool
from support.case import EndToEndCase


class TakeOutputTests(EndToEndCase):
    def run_with(self, output, *arguments):
        return subprocess.run([take_tool.BINARY, *arguments], env=self.environment(), stdin=subprocess.DEVNULL,
                              stdout=output, stderr=subprocess.PIPE, timeout=60, check=False)

    def test_usage_has_a_line_for_each_command(self):
        lines = take_tool.run(self, "help").splitlines()
        self.assertEqual([line for line in lines if line.isupper()][:2], ["USAGE", "COMMANDS"])
        for command in ("info", "verify", "repair", "export", "render"):
            self.assertTrue(any(line.startswith(f"  glimto-take {command} ") for line in lines), command)

    def test_report_that_cannot_be_written_is_an_error(self):
        self.start_screen()
        self.record("-d", "0.5")
        for command in (["help"], ["info", self.take], ["info", self.take, "--json"], ["verify", self.take, "--json"],
                        ["repair", self.take, "--dry-run"]):
            with self.subTest(command), open("/dev/full", "wb") as full:
                done = self.run_with(full, *command)
                self.assertEqual((done.returncode, done.stderr.decode()),
                                 (1, "error: Could not write the output: No space left on device\n"))

    def test_no_file_gets_the_lines_of_a_closed_stream(self):
        self.start_screen()
        self.record("-d", "0.5")
        target = self.work / "picture.png"
        done = subprocess.run(["sh", "-c", '"$0" "$@" <&- >&- 2>&-', take_tool.BINARY, "export", self.take, "-o", target],
                              env=self.environment(), timeout=60, check=False)
        self.assertEqual(done.returncode, 1)  # the report had nowhere to go
        data = target.read_bytes()
        self.assertTrue(data.startswith(b"\x89PNG") and data.endswith(b"IEND\xaeB`\x82"), data[-40:])


if __name__ == "__main__":
    unittest.main()
