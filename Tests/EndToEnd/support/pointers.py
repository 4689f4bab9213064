"""Pointers whose doings the test decides on and knows exactly."""

import os
import socket
import struct
import subprocess
from pathlib import Path

from support.processes import START_LIMIT, Child, read_line, wait_until
from support.windows import BINARY

TEST_POINTER = Path(os.environ.get("GLIMTO_TEST_POINTER", BINARY.parent / "glimto-test-pointer"))


class Steps:
    """Between which milliseconds of the server's clock something was done."""

    def __init__(self, before, after):
        self.before = before
        self.after = after


class TestPointer(Child):
    """A client that moves the pointer and presses its buttons; see glimto-test-pointer for the steps."""

    def __init__(self, server):
        super().__init__([TEST_POINTER], server.environment(), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         stderr=None)

    def do(self, steps):
        self.process.stdin.write((steps + "\n").encode())
        self.process.stdin.flush()
        answer = read_line(self.process.stdout.fileno(), START_LIMIT, "glimto-test-pointer").decode()
        word, *times = answer.split()
        if word != "ok":
            raise AssertionError(f"{steps}: {answer}")
        return Steps(*map(int, times))


class Device:
    """An input device of DummyXorg, driven as its "inputtest" driver has it.

    Messages are packed structs: length and kind, then what the kind needs, then the axes' values.
    """

    VERSION, SYNC, MOTION, BUTTON, TOUCH = 0, 1, 2, 4, 6
    TOUCH_BEGIN, TOUCH_MOVE, TOUCH_END = 18, 19, 20
    HORIZONTAL_SCROLL, VERTICAL_SCROLL = 2, 3  # axes
    LINE = 120.0  # on a scrolling axis
    TOUCH_RANGE = 65536
    MOST_AXES = 64

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(START_LIMIT)
        wait_until(lambda: path.exists(), f"the socket {path}")
        self.socket.connect(os.fspath(path))
        self.send(self.VERSION, struct.pack("=HH", 1, 1))
        self.receive(12)

    def send(self, kind, body):
        self.socket.sendall(struct.pack("=II", 8 + len(body), kind) + body)

    def receive(self, size):
        while size > 0:
            data = self.socket.recv(size)
            if not data:
                raise AssertionError("the input device is gone")
            size -= len(data)

    def send_values(self, kind, head, values):
        mask = bytearray(self.MOST_AXES // 8)
        numbers = [0.0] * self.MOST_AXES
        for axis, value in values.items():
            mask[axis // 8] |= 1 << axis % 8
            numbers[axis] = value
        # The values begin at a multiple of eight bytes from the beginning of the message.
        head += b"\0" * (-len(head) % 8)
        self.send(kind, head + struct.pack("=I8s4x", 0, bytes(mask)) + struct.pack("=64d", *numbers) * 2)
        self.send(self.SYNC, b"")
        self.receive(8)

    def move_by(self, x, y):
        self.send_values(self.MOTION, struct.pack("=I", 0), {0: x, 1: y})

    def scroll(self, axis, amount):
        self.send_values(self.MOTION, struct.pack("=I", 0), {axis: amount})

    def button(self, number, is_press):
        self.send_values(self.BUTTON, struct.pack("=iiI", 0, number, is_press), {})

    def touch(self, finger, kind, x, y):
        self.send_values(self.TOUCH, struct.pack("=II", finger, kind), {0: x, 1: y})

    def end(self):
        self.socket.close()
