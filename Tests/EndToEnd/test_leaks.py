"""What is left on the machine after recordings."""

import os
import unittest
from pathlib import Path

from support.case import EndToEndCase
from support.windows import BINARY


def shared_memory_segments():
    """System V segments and the processes that made them."""
    lines = Path("/proc/sysvipc/shm").read_text().splitlines()[1:]
    return {line.split()[1]: int(line.split()[4]) for line in lines}


def processes_of(binary):
    found = []
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                if os.path.samefile(entry / "exe", binary):
                    found.append(int(entry.name))
            except OSError:
                continue
    return found


class LeakTests(EndToEndCase):
    def test_ten_recordings_in_a_row_leave_nothing_behind(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        temporary = self.directory / "temporary"
        temporary.mkdir()
        creators = set()
        for _ in range(10):
            recording = self.start_recording("-d", "0.4", "-w", TMPDIR=str(temporary))
            creators.add(recording.pid)
            output = recording.finish()
            self.assertEqual((output.status, output.errors), (0, ""))
        self.assert_nothing_of(creators)
        self.assertEqual(list(temporary.iterdir()), [])
        self.assertEqual(sorted(path.name for path in self.work.iterdir()), ["take"])
        self.assert_leaves_no_temporary_file()
        strange = [path for path in self.caches.rglob("*") if path.is_file() and path.suffix != ".lock"]
        self.assertEqual(strange, [])

    def test_failed_and_killed_recordings_leave_no_shared_memory(self):
        self.start_screen()
        creators = set()
        killed = self.start_recording("-d", "20")
        creators.add(killed.pid)
        killed.wait_until_recording()
        killed.process.kill()
        killed.finish()
        lost = self.start_recording("-d", "20", "-w")
        creators.add(lost.pid)
        lost.wait_until_recording()
        self.server.process.kill()
        lost.finish()
        self.assert_nothing_of(creators)

    def assert_nothing_of(self, creators):
        left = [identifier for identifier, creator in shared_memory_segments().items() if creator in creators]
        self.assertEqual(left, [])
        for process in processes_of(BINARY):
            self.assertNotIn(process, creators)
        shared = [path.name for path in Path("/dev/shm").iterdir() if "glimto" in path.name]
        self.assertEqual(shared, [])


if __name__ == "__main__":
    unittest.main()
