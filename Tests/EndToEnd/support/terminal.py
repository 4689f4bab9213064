"""A terminal at which programs run, and what a person sees on it."""

import fcntl
import os
import pty
import struct
import termios
import threading

import pyte

from support.processes import Child


class TerminalProgram(Child):
    """A program whose standard streams are a terminal, its controlling one."""

    def __init__(self, command, environment, directory, columns=100, rows=30, **streams):
        self.controller, self.terminal = pty.openpty()
        self.set_size(columns, rows)
        self.screen = pyte.Screen(columns, rows)
        self.stream = pyte.ByteStream(self.screen)
        self.raw = b""
        self.lock = threading.Lock()
        at_terminal = {name: self.terminal for name in ("stdin", "stdout", "stderr")}
        super().__init__(command, environment, cwd=directory, start_new_session=True,
                         preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0), **{**at_terminal, **streams})
        self.reader = None

    def set_size(self, columns, rows):
        fcntl.ioctl(self.controller, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def resize(self, columns, rows):
        with self.lock:
            self.screen.resize(rows, columns)
        self.set_size(columns, rows)

    def look(self):
        """Reads from now on."""
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()
        return self

    def read(self):
        while True:
            try:
                data = os.read(self.controller, 4096)
            except OSError:
                return
            if not data:
                return
            with self.lock:
                self.raw += data
                self.stream.feed(data)

    def type(self, text):
        os.write(self.controller, text.encode())

    def rows(self):
        """What is on the screen, without the blank rows below it."""
        with self.lock:
            return [row.rstrip() for row in self.screen.display if row.strip()]

    def text(self):
        return "\n".join(self.rows())

    def written(self):
        with self.lock:
            return self.raw

    def wait(self, limit=60):
        """The exit status, when everything it wrote was read."""
        status = self.process.wait(limit)
        os.close(self.terminal)
        self.terminal = None
        if self.reader:
            self.reader.join(20)
        return status

    def end(self):
        super().end()
        for descriptor in (self.terminal, self.controller):
            if descriptor is not None:
                try:
                    os.close(descriptor)
                except OSError:
                    pass
        self.terminal = self.controller = None


def run_at_terminal(command, environment, directory, **options):
    """A finished program: its status and the rows that it left."""
    program = TerminalProgram(command, environment, directory, **options).look()
    try:
        status = program.wait()
        return status, program.rows()
    finally:
        program.end()
