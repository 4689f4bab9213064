"""The test case of the commands for still pictures."""

import subprocess

from support import pictures, tool
from support.case import EndToEndCase
from support.processes import START_LIMIT, Child, read_line
from support.screens import XServer
from support.windows import BINARY

READY = b"GLIMTO_SCREENSHOT_READY_FOR_TRIGGER"


class Server(XServer):
    """An Xvfb of any depth, with any options."""

    def __init__(self, size, depth=24, options=()):
        super().__init__(["Xvfb", "-screen", "0", f"{size}x{depth}", *options])


class TriggeredScreenshot(Child):
    """A `screenshot` that waits for its trigger on a pipe."""

    def __init__(self, command, environment, directory, **options):
        options.setdefault("stdin", subprocess.PIPE)
        super().__init__(command, environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=directory,
                         **options)

    def wait_until_ready(self):
        line = read_line(self.process.stderr.fileno(), START_LIMIT, "screenshot")
        if line != READY:
            raise AssertionError(f"{line!r} instead of the ready line")

    def trigger(self, data=b"\n"):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def close_input(self):
        self.process.stdin.close()
        self.process.stdin = None

    def finish(self):
        """The output that came after the ready line, once the program has ended by itself."""
        kept, self.process.stdin = self.process.stdin, None  # communicate() would close it
        stdout, stderr = self.process.communicate(timeout=tool.RUN_LIMIT)
        if kept:
            kept.close()
        output = tool.Output()
        output.lines = [tool.Line(text, None) for text in stdout.decode().splitlines()]
        output.errors = stderr.decode()
        output.status = self.process.returncode
        return output


class StillsCase(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.shot = self.work / "shot.png"

    def start_server(self, size, depth=24, options=()):
        self.server = self.started(Server(size, depth, options))
        return self.server

    def show_noise(self, width, height):
        """Noise as the background of the whole screen."""
        noise = pictures.noise(width, height)
        pictures.write_ppm(noise, self.directory / "noise.ppm")
        self.show_file(self.directory / "noise.ppm")
        return noise

    def show_file(self, path):
        """A picture as the background of the whole screen."""
        # Its exit status is 1 also when it has done so.
        subprocess.run(["display", "-window", "root", path], check=False, env=self.server.environment(),
                       timeout=START_LIMIT)

    def screenshot(self, *arguments, **changes):
        """A picture that has to succeed, without watermark."""
        output = self.run_tool("screenshot", "-o", self.shot, "--no-watermark", *arguments, **changes)
        self.assertEqual((output.status, output.errors), (0, ""))
        return pictures.read_png(self.shot)

    def start_triggered(self, *arguments, options=None):
        command = [BINARY, "screenshot", "-o", self.shot, "--wait-for-capture-trigger", *map(str, arguments)]
        return self.started(TriggeredScreenshot(command, self.environment(), self.work, **(options or {})))

    def files(self):
        return sorted(path.name for path in self.work.iterdir())


def region(x, y, width, height):
    return f'{{"kind":"region","x":{x},"y":{y},"width":{width},"height":{height}}}'
