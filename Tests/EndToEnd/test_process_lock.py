"""One capture command of a copy of the program at a time."""

import hashlib
import os
import shutil
import unittest

from support.case import EndToEndCase
from support.windows import BINARY

BUSY = "Screen capture is in use. Finish the active capture before starting another capture command."
NOT_OPENED = "Could not open the screen capture process lock."


class ProcessLockTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen()

    def lock_file(self, binary=BINARY):
        name = hashlib.sha256(os.fsencode(os.path.realpath(binary))).hexdigest() + ".lock"
        return self.caches / "com.glimto.capture" / "locks" / name

    def start_first(self, binary=BINARY):
        recording = self.start_recording("-d", "20", binary=binary)
        recording.wait_until_recording()
        return recording

    def copy_of_the_program(self):
        folder = self.directory / "copy"
        folder.mkdir()
        for name in ("glimto-capture", "glimto-capture-video.so"):
            shutil.copy2(BINARY.parent / name, folder / name)
        return folder / "glimto-capture"

    def test_another_copy_does_not_take_the_directory_of_a_take_that_is_recorded(self):
        first = self.start_first()
        before = self.segments()
        output = self.run_tool("record", "-w", "-o", self.take, "-d", "0.3", binary=self.copy_of_the_program())
        self.assert_fails(output, "Recording is in use by another process.")
        self.assertTrue(set(before) <= set(self.segments()))
        first.process.terminate()
        self.assertEqual(first.finish().status, 0)
        self.verify_contract()

    def test_second_capture_command_is_told_that_the_capture_is_busy(self):
        first = self.start_first()
        for command in (["record", "-o", "other", "-d", "1"], ["windows-json"], ["windows", "--all"], ["sources"]):
            with self.subTest(command=command[0]):
                output = self.run_tool(*command)
                self.assert_fails(output, BUSY)
                self.assertEqual(len(output.error_lines), 1)
        self.assertFalse((self.work / "other").exists())
        self.assertTrue(first.is_running())

    def test_commands_without_capture_are_not_blocked(self):
        self.start_first()
        for command in (["permission-json"], ["help"]):
            self.assertEqual(self.run_tool(*command).status, 0)
        for command in (["clipboard-image", "--path", "a.png"], ["recognize-text", "--path", "a.png"],
                        ["upload", "--dir", "d", "--api-base-url", "http://localhost:1", "--recording-id", "rec_a"]):
            self.assertNotIn(BUSY, self.run_tool(*command).errors)

    def test_copies_at_different_paths_do_not_block_each_other(self):
        self.start_first()
        copy = self.copy_of_the_program()
        output = self.run_tool("record", "-o", "other", "-d", "0.3", binary=copy)
        self.assertEqual(output.status, 0, output.errors)
        self.assertNotEqual(self.lock_file(copy), self.lock_file())
        self.assertTrue(self.lock_file(copy).exists())

    def test_symbolic_link_to_the_program_shares_its_lock(self):
        link = self.directory / "linked"
        link.symlink_to(BINARY)
        self.start_first()
        self.assert_fails(self.run_tool("sources", binary=link), BUSY)

    def test_recording_through_a_link_blocks_the_program_itself(self):
        link = self.directory / "linked"
        link.symlink_to(BINARY)
        self.start_first(binary=link)
        self.assert_fails(self.run_tool("windows-json"), BUSY)

    def test_lock_file_is_private_and_stays_for_the_next_run(self):
        self.assertEqual(self.run_tool("sources").status, 0)
        self.assertEqual([self.lock_file()], list(self.lock_file().parent.iterdir()))
        self.assertEqual(self.lock_file().stat().st_mode & 0o777, 0o600)
        self.assertEqual(self.run_tool("sources").status, 0)

    def test_lock_file_that_is_a_symbolic_link_is_not_followed(self):
        self.lock_file().parent.mkdir(parents=True)
        target = self.directory / "target"
        self.lock_file().symlink_to(target)
        self.assert_fails(self.run_tool("sources"), NOT_OPENED)
        self.assertFalse(target.exists())
        target.write_text("")
        self.assert_fails(self.run_tool("record", "-o", self.take, "-d", "1"), NOT_OPENED)
        self.assertFalse(self.take.exists())

    def test_caches_folder_that_cannot_be_made_is_an_error(self):
        self.caches.write_text("a file in the way")
        output = self.run_tool("sources")
        self.assertEqual(output.status, 1)
        self.assertEqual(len(output.error_lines), 1)
        self.assertIn(str(self.caches), output.error_lines[0])

    def test_users_caches_folder_is_used_without_a_variable(self):
        output = self.run_tool("sources", XDG_CACHE_HOME=None, HOME=str(self.work))
        self.assertEqual(output.status, 0, output.errors)
        self.assertTrue((self.work / ".cache/com.glimto.capture/locks" / self.lock_file().name).exists())


if __name__ == "__main__":
    unittest.main()
