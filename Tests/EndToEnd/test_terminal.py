"""A person at a terminal: the status line, hints, and what must not change for programs."""

import os
import re
import subprocess
import unittest

from support.case import EndToEndCase
from support.processes import wait_until
from support.terminal import TerminalProgram, run_at_terminal
from support.windows import BINARY

STATUS = re.compile(r"^ (REC|END) \d+:\d\d  \d+ frames?  0 dropped  [\d.]+ [kM]B$")


class TerminalTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240")

    def environment(self, **changes):
        return {**super().environment(), "TERM": "xterm", "NO_COLOR": "", **changes}

    def start_at_terminal(self, *arguments, changes=None, **options):
        command = [BINARY, "record", "-o", self.take, *map(str, arguments)]
        return self.started(TerminalProgram(command, self.environment(**(changes or {})), self.work, **options)).look()

    def status_rows(self, program):
        return [row for row in program.rows() if STATUS.match(row)]

    def wait_for_status(self, program):
        wait_until(lambda: self.status_rows(program), "the status line")

    def run_here(self, *arguments, changes=None, **options):
        return run_at_terminal([BINARY, *map(str, arguments)], self.environment(**(changes or {})), self.work, columns=200,
                               **options)

    # The status line

    def test_there_is_one_line_at_the_bottom_and_none_afterwards(self):
        program = self.start_at_terminal("-d", "3", columns=300)
        self.wait_for_status(program)
        rows = program.rows()
        self.assertRegex(rows[-1], STATUS)
        self.assertEqual(len(self.status_rows(program)), 1)
        self.assertEqual(program.wait(), 0)
        self.assertEqual(self.status_rows(program), [])
        rows = [row for row in program.rows() if not row.startswith("{")]
        self.assertEqual(rows[0], "Recording screen:0 for 3.0s")
        self.assertIn("GLIMTO_RECORDING_STATUS=stopped", rows)
        self.assertEqual(rows[-2:], [
            f"hint: play it: mpv {self.relative('take')}/segments/playlist.m3u8",
            f"hint: one file of it: glimto-take export {self.relative('take')} -o {self.relative('take')}.mp4"])
        self.verify_contract()

    def relative(self, name):
        assert self.take.name == name
        return str(self.take.relative_to(self.work)) if self.take.is_relative_to(self.work) else str(self.take)

    def test_recording_is_red_unless_colours_are_unwelcome(self):
        for no_color, is_red in (("", True), ("1", False)):
            with self.subTest(NO_COLOR=no_color):
                program = self.start_at_terminal("-d", "1.5", "-w", changes={"NO_COLOR": no_color})
                self.assertEqual(program.wait(), 0)
                self.assertIn(b"REC", program.written())
                self.assertEqual(b"\x1b[1;31mREC" in program.written(), is_red)

    def test_what_is_no_terminal_gets_none(self):
        reading, writing = os.pipe()
        for name, options, changes in (("dumb", {}, {"TERM": "dumb"}), ("no TERM", {}, {"TERM": ""}),
                                       ("output", {"stdout": writing}, {}), ("errors", {"stderr": writing}, {})):
            with self.subTest(name):
                program = self.start_at_terminal("-d", "1.2", "-w", changes=changes, **options)
                self.assertEqual(program.wait(), 0)
                self.assertNotIn(b"\x1b", program.written())
                self.assertNotIn(b"hint:", program.written())
        os.close(writing)
        with os.fdopen(reading, "rb") as pipe:
            self.assertNotIn(b"\x1b", pipe.read())

    def test_a_narrower_window_leaves_nothing_behind(self):
        program = self.start_at_terminal("-d", "4", columns=200)
        self.wait_for_status(program)
        program.resize(24, 60)
        wait_until(lambda: any(re.fullmatch(r" REC \d:\d\d  \d+ frames?.*", row) and len(row) <= 23
                               for row in program.rows()), "the line in its new width")
        program.resize(200, 60)
        self.wait_for_status(program)
        self.assertEqual(program.wait(), 0)
        self.assertEqual([row for row in program.rows() if "REC " in row], [])

    def test_it_goes_while_the_program_is_stopped_and_comes_back(self):
        environment = {**self.environment(), "PS1": "$ ", "HISTFILE": "/dev/null"}
        shell = self.started(TerminalProgram(["bash", "--norc", "--noprofile", "-i"], environment, self.work, columns=120,
                                             rows=60)).look()
        shell.type(f"{BINARY} record -d 60 -o {self.take}\n")
        self.wait_for_status(shell)
        shell.type("\x1a")
        wait_until(lambda: "Stopped" in shell.text(), "the stop")
        self.assertEqual(self.status_rows(shell), [])
        self.assertEqual([row for row in shell.rows() if "REC " in row], [])
        shell.type("fg\n")
        self.wait_for_status(shell)
        self.assertRegex(shell.rows()[-1], STATUS)
        shell.type("\x03")
        wait_until(lambda: "hint: one file" in shell.text(), "the end")
        self.assertEqual([row for row in shell.rows() if "REC " in row], [])
        shell.type("exit\n")
        self.assertEqual(shell.wait(), 0)

    def test_in_the_background_nothing_is_drawn(self):
        shell = self.started(TerminalProgram(["bash", "--norc", "--noprofile", "-i"], {**self.environment(), "PS1": "$ "},
                                             self.work, columns=120, rows=60)).look()
        shell.type(f"{BINARY} record -d 2 -o {self.take} & wait; echo over $?\n")
        wait_until(lambda: "over 0" in shell.text(), "the end")
        self.assertNotIn(b"REC ", shell.written())
        shell.type("exit\n")
        self.assertEqual(shell.wait(), 0)

    def test_a_terminal_that_nobody_reads_costs_no_recording(self):
        program = TerminalProgram([BINARY, "record", "-d", "3", "-o", self.take], self.environment(), self.work)
        self.started(program)
        filled = os.open(os.ttyname(program.terminal), os.O_WRONLY | os.O_NONBLOCK | os.O_NOCTTY)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(filled, b"x" * 512)
        os.close(filled)
        self.assertEqual(program.wait(), 0)
        self.verify_contract()

    # Hints

    def assert_hints(self, arguments, hints, error):
        status, rows = self.run_here(*arguments)
        self.assertEqual(status, 1)
        self.assertEqual(rows[-len(hints) - 1:], ["hint: " + hint for hint in hints] + ["error: " + error])

    def test_mistakes_of_typing_are_seen(self):
        end = ". Run `glimto-capture help`."
        self.assert_hints(["recrod"], ["did you mean `glimto-capture record`?"], "Unknown command 'recrod'" + end)
        self.assert_hints(["record", "--framrate", "9"], ["did you mean `--framerate`?"],
                          "Unknown record option '--framrate'" + end)
        self.assert_hints(["record", "demo"], ["a path needs its option: glimto-capture record -o demo"],
                          "Unknown record option 'demo'" + end)

    def test_displays_and_windows_that_exist_are_named(self):
        self.assert_hints(["record", "--display", "7"], ["--display 0 is 320x240"],
                          "No display at index 7. Run `glimto-capture sources`.")
        painter = self.start_painter()
        window = painter.open("100x80+10+20", title="notes")
        status, rows = self.run_here("record", "--window-id", "4000000000")
        self.assertEqual(status, 1)
        self.assertIn(f'hint: --window-id {window.id} is "notes"', rows)

    def test_a_recording_that_breaks_off_can_be_repaired(self):
        program = self.start_at_terminal("-d", "60", columns=200)
        self.wait_for_status(program)
        self.server.process.kill()
        self.assertEqual(program.wait(), 1)
        self.assertIn("hint: what was recorded is kept; this makes a whole take of it: glimto-take repair "
                      f"{self.take}", program.rows())
        self.assertRegex(program.rows()[-1], "^error: ")

    def test_a_picture_that_cannot_be_opened_has_a_reason(self):
        opener = self.directory / "xdg-open"
        opener.write_text("#!/bin/sh\nexit 4\n")
        opener.chmod(0o755)
        status, rows = self.run_here("screenshot", "-o", "shot.png", "--open",
                                     changes={"PATH": f"{self.directory}:{os.environ['PATH']}"})
        self.assertEqual(status, 0)
        self.assertEqual(rows[-2:], ["hint: xdg-open ended with status 4: the program that shows it failed.",
                                     "Warning: Could not open file."])

    def test_programs_get_no_hints(self):
        done = subprocess.run([BINARY, "recrod"], env=self.environment(), capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stdout, done.stderr),
                         (1, "", "error: Unknown command 'recrod'. Run `glimto-capture help`.\n"))


if __name__ == "__main__":
    unittest.main()
