"""Where screenshots are written, and what is left behind when that fails."""

import random
import resource
import stat
import subprocess
import time
import unittest

from support import pictures
from support.stills import StillsCase
from support.windows import BINARY


def files_of_at_most(size):
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


class ScreenshotFileTests(StillsCase):
    def setUp(self):
        super().setUp()
        self.start_server("640x480")
        self.noise = self.show_noise(640, 480)

    def run_limited(self, size):
        return subprocess.run([BINARY, "screenshot", "-o", self.shot], env=self.environment(), cwd=self.work,
                              capture_output=True, text=True, timeout=60, preexec_fn=files_of_at_most(size))

    def test_existing_file_is_replaced(self):
        self.shot.write_bytes(b"x" * 5_000_000)
        self.assertEqual(self.screenshot(), self.noise)
        self.assertEqual(self.files(), ["shot.png"])

    def test_existing_file_keeps_its_other_names_contents(self):
        self.shot.write_bytes(b"before")
        (self.work / "other").hardlink_to(self.shot)
        self.screenshot()
        self.assertEqual((self.work / "other").read_bytes(), b"before")

    def test_file_is_readable_like_any_other(self):
        self.screenshot()
        self.assertEqual(stat.S_IMODE(self.shot.stat().st_mode) | 0o044, 0o644)

    def test_directory_is_not_replaced(self):
        self.shot.mkdir()
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assert_fails(output, f"Screenshot output path is a directory: {self.shot}")
        self.assertEqual(list(self.shot.iterdir()), [])
        output = self.run_tool("screenshot", "-o", f"{self.shot}/")
        self.assert_fails(output, f"Screenshot output path is a directory: {self.shot}")

    def test_file_in_the_way_of_a_directory_is_an_error(self):
        (self.work / "file").write_text("x")
        output = self.run_tool("screenshot", "-o", "file/shot.png")
        self.assert_fails(output, f"Could not create directory {self.work}/file: Not a directory")

    def test_full_disk_leaves_no_file(self):
        for size in (0, 100, 65536):
            done = self.run_limited(size)
            self.assertEqual(done.returncode, 1)
            self.assertEqual(done.stderr.splitlines(), [f"warning: Could not write {self.shot}: File too large",
                                                        f"error: Could not finalize PNG at {self.shot}"])
            self.assertIn('"kind":"screenshot_failed"', done.stdout)
            self.assertEqual(self.files(), [])

    def test_full_disk_leaves_the_file_that_was_there(self):
        self.shot.write_bytes(b"before")
        self.assertEqual(self.run_limited(100).returncode, 1)
        self.assertEqual(self.shot.read_bytes(), b"before")
        self.assertEqual(self.files(), ["shot.png"])

    def test_directory_that_takes_no_file_is_an_error(self):
        output = self.run_tool("screenshot", "-o", "/proc/shot.png")
        self.assert_fails(output, "Could not create PNG destination at /proc/shot.png")

    def test_termination_at_any_time_leaves_a_whole_file_or_none(self):
        random.seed(5)
        ended = 0
        for _ in range(40):
            process = subprocess.Popen([BINARY, "screenshot", "-o", self.shot, "--no-watermark"],
                                       env=self.environment(), cwd=self.work, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
            time.sleep(random.uniform(0.005, 0.06))
            process.terminate()
            ended += process.wait(60) != 0
            self.assertIn(self.files(), ([], ["shot.png"]))
            if self.files():
                self.assertEqual(pictures.read_png(self.shot), self.noise)
                self.shot.unlink()
        self.assertGreater(ended, 0)


class OpenTests(StillsCase):
    """With an xdg-open that notes what it is asked to do, and no file manager on the session's bus."""

    def setUp(self):
        super().setUp()
        self.start_screen("320x240", "3060c0")
        self.tools = self.directory / "tools"
        self.tools.mkdir()
        self.noted = self.directory / "noted"
        self.quiet = {"PATH": f"{self.tools}:/usr/bin:/bin", "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}

    def make_tool(self, status=0):
        tool = self.tools / "xdg-open"
        tool.write_text(f'#!/bin/sh\nprintf "%s\\n" "$@" >> "{self.noted}"\nexit {status}\n')
        tool.chmod(0o755)

    def shot_with(self, *options, **changes):
        output = self.run_tool("screenshot", "-o", self.shot, *options, **{**self.quiet, **changes})
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(output.texts[0], f"Screenshot: {self.shot}")
        self.assertEqual(self.files(), ["shot.png"])
        return output

    def test_file_is_opened(self):
        self.make_tool()
        self.assertEqual(self.shot_with("--open").errors, "")
        self.assertEqual(self.noted.read_text(), f"{self.shot}\n")

    def test_reveal_without_a_file_manager_opens_the_folder(self):
        self.make_tool()
        self.assertEqual(self.shot_with("--reveal").errors, "")
        self.assertEqual(self.noted.read_text(), f"{self.work}\n")

    def test_reveal_comes_before_open(self):
        self.make_tool()
        self.shot_with("--open", "--reveal")
        self.assertEqual(self.noted.read_text(), f"{self.work}\n{self.shot}\n")

    def test_failing_tool_is_only_warned_of(self):
        self.make_tool(status=3)
        output = self.shot_with("--open", "--reveal")
        self.assertEqual(output.error_lines, ["Warning: Could not reveal file.", "Warning: Could not open file."])

    def test_missing_tool_is_only_warned_of(self):
        output = self.shot_with("--open", PATH=str(self.tools))
        self.assertEqual(len(output.error_lines), 1)
        self.assertTrue(output.error_lines[0].startswith("Warning: Could not open file"), output.errors)

    def test_nothing_is_opened_unless_asked(self):
        self.make_tool()
        self.assertEqual(self.shot_with().errors, "")
        self.assertFalse(self.noted.exists())


if __name__ == "__main__":
    unittest.main()
