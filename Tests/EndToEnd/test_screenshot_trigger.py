"""Screenshots that wait for one byte on standard input."""

import os
import signal
import subprocess
import sys
import time
import unittest

from support import pictures
from support.processes import START_LIMIT, read_line
from support.stills import READY, StillsCase
from support.windows import BINARY

# Starts the command it is given and ends when its own input does.
PARENT = """
import subprocess, sys
child = subprocess.Popen(sys.argv[1:], stdin=int(sys.stdin.readline()))
sys.stdin.read()
"""


class TriggerTests(StillsCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240", "3060c0")

    def test_any_byte_is_the_trigger(self):
        for data in (b"\n", b"\0", b"x", b"xyz"):
            with self.subTest(data=data):
                run = self.start_triggered("--no-watermark")
                run.wait_until_ready()
                run.trigger(data)
                output = run.finish()
                self.assertEqual((output.status, output.errors), (0, ""))
                self.assertEqual(output.texts[0], f"Screenshot: {self.shot}")
                self.assertEqual(pictures.read_png(self.shot).pixel(9, 9), (0x30, 0x60, 0xc0))
                self.shot.unlink()

    def test_only_one_byte_is_read(self):
        reader, writer = os.pipe()
        self.addCleanup(os.close, writer)
        run = self.start_triggered(options={"stdin": reader})
        run.wait_until_ready()
        os.write(writer, b"abc")
        self.assertEqual(run.finish().status, 0)
        self.assertEqual(os.read(reader, 10), b"bc")
        os.close(reader)

    def test_byte_that_was_there_before_is_the_trigger(self):
        reader, writer = os.pipe()
        os.write(writer, b"x")
        os.close(writer)
        run = self.start_triggered(options={"stdin": reader})
        os.close(reader)
        run.wait_until_ready()
        self.assertEqual(run.finish().status, 0)

    def test_picture_is_that_of_the_trigger(self):
        run = self.start_triggered("--no-watermark")
        run.wait_until_ready()
        self.server.paint_root("c06030")
        run.trigger()
        self.assertEqual(run.finish().status, 0)
        self.assertEqual(pictures.read_png(self.shot).pixel(9, 9), (0xc0, 0x60, 0x30))

    def test_display_is_that_under_the_pointer_at_the_trigger(self):
        self.server.run("xrandr", "--setmonitor", "LEFT", "200/50x240/60+0+0", "screen")
        self.server.run("xrandr", "--setmonitor", "RIGHT", "120/30x150/40+200+0", "none")
        self.server.place_pointer(20, 20)
        run = self.start_triggered()
        run.wait_until_ready()
        self.server.place_pointer(250, 20)
        run.trigger()
        self.assertEqual(run.finish().status, 0)
        self.assertEqual(pictures.read_png(self.shot).width, 120)

    def test_own_window_that_opens_before_the_trigger_is_hidden(self):
        run = self.start_triggered("--no-watermark")
        run.wait_until_ready()
        self.start_painter().open("100x80+40+30", "ff0000", window_class="Glimto", override=True)
        run.trigger()
        self.assertEqual(run.finish().status, 0)
        self.assertEqual(pictures.read_png(self.shot).pixel(90, 70), (0x30, 0x60, 0xc0))

    def test_own_window_that_is_there_all_the_time_is_hidden(self):
        self.start_painter().open("200x200+20+20", "00ff00", window_class="Other", override=True)
        self.start_painter().open("100x80+40+30", "ff0000", window_class="Glimto", override=True)
        run = self.start_triggered("--no-watermark")
        run.wait_until_ready()
        run.trigger()
        self.assertEqual(run.finish().status, 0)
        picture = pictures.read_png(self.shot).crop(20, 20, 200, 200)
        self.assertEqual(set(picture.data[at:at + 3] for at in range(0, len(picture.data), 3)), {b"\0\xff\0"})

    def test_end_of_input_is_no_trigger(self):
        run = self.start_triggered()
        run.wait_until_ready()
        run.close_input()
        output = run.finish()
        self.assert_fails(output, "Screenshot trigger input closed before capture.")
        self.assertEqual(output.events("screenshot_failed")[0]["error"]["code"], "screenshot_failed")
        self.assertEqual(self.files(), [])

    def test_input_that_is_a_closed_descriptor_is_unavailable(self):
        output = subprocess.run(["sh", "-c", '"$@" <&-', "sh", BINARY, "screenshot", "-o", self.shot,
                                 "--wait-for-capture-trigger"], env=self.environment(), capture_output=True,
                                text=True, timeout=60)
        self.assertEqual(output.returncode, 1)
        self.assertEqual(output.stderr.splitlines(), [
            READY.decode(), "error: Screenshot trigger input became unavailable before capture."])
        self.assertEqual(self.files(), [])

    def test_waits_eight_seconds_for_the_trigger(self):
        began = time.monotonic()
        run = self.start_triggered()
        run.wait_until_ready()
        output = run.finish()
        self.assert_fails(output, "Timed out waiting for the screenshot capture trigger.")
        self.assertGreaterEqual(time.monotonic() - began, 8)
        self.assertEqual(self.files(), [])

    def test_ends_soon_after_its_parent(self):
        trigger_reader, trigger_writer = os.pipe()
        self.addCleanup(os.close, trigger_writer)
        parent = subprocess.Popen(
            [sys.executable, "-c", PARENT, str(BINARY), "screenshot", "-o", str(self.shot),
             "--wait-for-capture-trigger"], env=self.environment(), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, pass_fds=[trigger_reader])
        self.addCleanup(lambda: (parent.kill(), parent.wait(), parent.stdout.close(), parent.stderr.close()))
        parent.stdin.write(b"%d\n" % trigger_reader)
        parent.stdin.flush()
        self.assertEqual(read_line(parent.stderr.fileno(), START_LIMIT, "screenshot"), READY)
        os.close(trigger_reader)
        parent.stdin.close()
        self.assertEqual(read_line(parent.stderr.fileno(), START_LIMIT, "screenshot"),
                         b"error: Screenshot trigger parent exited before capture.")
        self.assertEqual(self.files(), [])

    def test_termination_ends_the_wait_by_that_signal(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            run = self.start_triggered()
            run.wait_until_ready()
            run.process.send_signal(number)
            output = run.finish()
            self.assertEqual((output.status, output.errors, output.texts), (-number, "", []))
            self.assertEqual(self.files(), [])

    def test_without_the_option_standard_input_does_not_matter(self):
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assertEqual((output.status, output.errors), (0, ""))


if __name__ == "__main__":
    unittest.main()
