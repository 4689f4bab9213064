"""Recordings that cannot begin or cannot go on."""

import os
import resource
import signal
import subprocess
import unittest
from pathlib import Path

from support import media
from support.case import EndToEndCase
from support.processes import wait_until
from support.tool import STATUS
from support.windows import BINARY

DENIED = "Screen Recording permission is not granted for glimto-capture."


class NoScreenTests(EndToEndCase):
    def assert_denied(self, **environment):
        output = self.start_recording("-d", "1", **environment).finish()
        self.assert_fails(output, DENIED)
        self.assertEqual(output.events("capture_starting")[0]["permission"],
                         {"preflightGranted": False, "screenRecording": "denied"})
        failed = output.events("recording_failed")[0]
        self.assertEqual(failed["error"]["code"], "screen_permission_denied")
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertNotIn(STATUS + "recording", output.texts)
        self.assertFalse(self.take.exists())
        return output

    def test_recording_without_a_display_is_denied(self):
        self.assert_denied(DISPLAY=None)

    def test_recording_of_a_display_that_is_not_there_is_denied(self):
        for display in (":4711", "nonsense", ""):
            with self.subTest(display=display):
                self.assert_denied(DISPLAY=display)

    def test_recording_in_a_wayland_session_is_denied_beside_an_x_server(self):
        self.start_screen()
        output = self.assert_denied(WAYLAND_DISPLAY="wayland-0")
        self.assertEqual(len(output.error_lines), 2)
        self.assertRegex(output.error_lines[0], r"\Awarning: .*Wayland")

    def test_sources_says_what_is_missing(self):
        for environment, word in [({"DISPLAY": None}, "DISPLAY"), ({"DISPLAY": ":4711"}, ":4711"),
                                  ({"DISPLAY": ":4711", "WAYLAND_DISPLAY": "wayland-0"}, "Wayland")]:
            with self.subTest(environment=environment):
                output = self.run_tool("sources", **environment)
                self.assertEqual((output.status, output.texts), (1, []))
                self.assertEqual(len(output.error_lines), 1)
                self.assertTrue(output.error_lines[0].startswith("error: "))
                self.assertIn(word, output.error_lines[0])


class LostServerTests(EndToEndCase):
    def test_server_that_dies_ends_the_recording_soon_and_keeps_what_is_finished(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "600", "--segment-duration", "0.3")
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        self.server.process.send_signal(signal.SIGKILL)
        output = recording.finish()
        self.assertEqual(output.status, 1)
        self.assertTrue(any(text.startswith("capture stopped with error: ") for text in output.texts))
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertEqual(len(output.error_lines), 1)
        self.assertGreater(media.frame_times(self.joined())[-1], 0.5)
        self.assert_leaves_no_temporary_file()
        self.assertFalse((self.take / "manifest.json").exists())

    def test_server_grabbed_by_another_client_is_waited_for(self):
        self.start_screen()
        painter = self.start_painter()
        painter.open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "6", "--segment-duration", "0.5")
        wait_until(lambda: "segment_000.m4s" in self.segments(), "the first segment")
        painter.grab_server(4000)
        output = recording.finish(limit=30)
        self.assertEqual(output.status, 0)
        self.assertTrue((self.take / "manifest.json").exists())
        self.assertGreater(media.frame_times(self.joined())[-1], 5)

    def test_server_that_hangs_ends_the_recording_and_keeps_what_is_finished(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "60", "--segment-duration", "0.3")
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        self.server.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.server.process.send_signal, signal.SIGCONT)
        output = recording.finish(limit=40)
        self.assert_fails(output, "The X server does not answer.")
        self.assertGreater(media.frame_times(self.joined())[-1], 0.5)
        self.assert_leaves_no_temporary_file()


class UnwritableTests(EndToEndCase):
    def run_as_nobody(self, *arguments):
        """The program as a user without rights, whose own folder is its caches folder."""
        own = self.directory / "nobody"
        own.mkdir(mode=0o777)
        own.chmod(0o777)
        self.directory.chmod(0o755)
        environment = self.environment(XDG_CACHE_HOME=str(own), HOME=str(own))
        command = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", str(BINARY), *map(str, arguments)]
        done = subprocess.run(command, env=environment, cwd=self.directory, capture_output=True, text=True, timeout=60,
                              stdin=subprocess.DEVNULL)
        return done

    def test_folder_that_the_user_may_not_write_to_is_named(self):
        self.start_screen()
        self.work.chmod(0o755)
        done = self.run_as_nobody("record", "-d", "0.5", "-o", self.take)
        self.assertEqual(done.returncode, 1)
        last = done.stderr.splitlines()[-1]
        self.assertTrue(last.startswith("error: "), last)
        self.assertIn("ermission denied", last)
        self.assertIn(str(self.take), last)
        self.assertFalse(self.take.exists())

    def test_unprivileged_user_records_where_writing_is_allowed(self):
        self.start_screen(colour="336699")
        self.work.chmod(0o777)
        done = self.run_as_nobody("record", "-d", "0.5", "-o", self.take)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.verify_contract()

    def test_output_path_that_is_a_file_is_an_error(self):
        self.start_screen()
        self.take.write_text("mine")
        output = self.start_recording("-d", "0.5").finish()
        self.assertEqual(output.status, 1)
        self.assertTrue(output.error_lines[-1].startswith("error: "))
        self.assertEqual(self.take.read_text(), "mine")


class FullDiskTests(EndToEndCase):
    """Takes on a small file system of their own, which only root may mount."""

    def mount(self, size):
        disk = self.directory / "disk"
        disk.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "tmpfs", str(disk)], check=True, timeout=30)
        self.addCleanup(subprocess.run, ["umount", "-l", str(disk)], check=True, timeout=30)
        self.take = disk / "take"
        return disk

    def fill(self, disk, leaving):
        """Takes all room on the disk but `leaving` bytes."""
        room = os.statvfs(disk)
        with open(disk / "filler", "wb") as file:
            file.write(bytes(max(0, room.f_bavail * room.f_frsize - leaving)))

    def test_disk_that_fills_up_ends_the_recording_and_keeps_finished_segments(self):
        disk = self.mount("4m")
        self.start_screen("640x480")
        self.start_painter().open("640x480+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "30", "--segment-duration", "0.3")
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        self.fill(disk, 0)
        output = recording.finish(limit=25)
        self.assertEqual(output.status, 1)
        self.assertIn("No space left on device", output.error_lines[-1])
        self.assertTrue(output.error_lines[-1].startswith("error: "))
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertGreater(media.frame_times(self.joined())[-1], 0.5)
        self.assert_leaves_no_temporary_file()
        self.assertFalse((self.take / "manifest.json").exists())

    def test_disk_that_is_full_from_the_start_is_told_and_gets_no_half_file(self):
        disk = self.mount("1m")
        self.fill(disk, 0)
        self.start_screen()
        output = self.start_recording("-d", "1").finish(limit=30)
        self.assertEqual(output.status, 1)
        self.assertIn("No space left on device", output.error_lines[-1])
        self.assertEqual([path for path in self.take.rglob("*") if path.is_file()], [])

    def test_read_only_disk_is_told(self):
        disk = self.mount("1m")
        subprocess.run(["mount", "-o", "remount,ro", str(disk)], check=True, timeout=30)
        self.start_screen()
        output = self.start_recording("-d", "1").finish(limit=30)
        self.assertEqual(output.status, 1)
        self.assertIn("Read-only file system", output.error_lines[-1])
        self.assertIn(str(self.take), output.error_lines[-1])


class FileSizeLimitTests(EndToEndCase):
    def test_file_size_limit_ends_the_recording_like_a_full_disk(self):
        def limit_file_sizes():
            resource.setrlimit(resource.RLIMIT_FSIZE, (3000, 3000))  # a third of a segment, whatever encodes it

        self.start_screen("640x480")
        self.start_painter().open("640x480+0+0", override=True).run_clock(20)
        output = self.start_recording("-d", "20", "--segment-duration", "2",
                                      options={"preexec_fn": limit_file_sizes}).finish(limit=30)
        self.assertEqual(output.status, 1)
        self.assertIn("File too large", output.error_lines[-1])
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assert_leaves_no_temporary_file()


class RemovedOutputTests(EndToEndCase):
    def test_output_directory_removed_while_recording_ends_it_with_an_error(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_recording("-d", "20", "--segment-duration", "0.3")
        wait_until(lambda: "segment_000.m4s" in self.segments(), "the first segment")
        self.take.rename(Path(str(self.take) + ".moved"))
        output = recording.finish()
        self.assertEqual(output.status, 1)
        self.assertIn("No such file or directory", output.error_lines[-1])
        self.assertEqual(output.texts[-1], STATUS + "failed")


if __name__ == "__main__":
    unittest.main()
