"""What bash offers for displays and windows on a real screen, and while a recording holds it."""

import os
import subprocess
import unittest
from pathlib import Path

from support.case import EndToEndCase
from support.windows import BINARY

COMPLETION = Path(__file__).resolve().parents[2] / "packaging/completions/glimto-capture.bash"
SCRIPT = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _glimto_capture; printf "%s\\n" "${COMPREPLY[@]}"'


class CompletionTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240", "305070")
        painter = self.start_painter()
        self.notes = painter.open("80x60+10+10", title='no"tes', window_class="Notes")
        self.mail = painter.open("80x60+120+10", title="mail", window_class="Mail")

    def offered(self, *words):
        environment = self.environment(PATH=f"{BINARY.parent}:{os.environ['PATH']}")
        done = subprocess.run(["bash", "-c", SCRIPT, "bash", COMPLETION, "glimto-capture", *words], env=environment,
                              capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return [line for line in done.stdout.splitlines() if line]

    def test_displays_and_windows_by_their_titles(self):
        self.assertEqual(self.offered("record", "--display", ""), ["0"])
        self.assertEqual(set(self.offered("record", "--window-id", "")),
                         {f'{self.notes.id} no"tes', f"{self.mail.id} mail"})
        self.assertEqual(self.offered("record", "--window-id", str(self.mail.id)), [str(self.mail.id)])

    def test_a_recording_that_holds_the_screen_is_not_disturbed(self):
        recording = self.start_recording("-d", "3")
        recording.wait_until_recording()
        self.assertEqual(self.offered("record", "--display", ""), [])
        self.assertEqual(self.offered("record", "--window-id", ""), [])
        self.assertEqual(recording.finish().status, 0)


if __name__ == "__main__":
    unittest.main()
