"""Mice and keyboards in the place of the machine's own, for a program that loads a library of the tests first."""

import os
import struct
import time

from support.windows import BINARY

LIBRARY = BINARY.parent / "glimto-test-input-devices.so"

SYN, KEY, REL = 0, 1, 2
KEY_A, BTN_LEFT, BTN_RIGHT = 30, 0x110, 0x111
REL_X, REL_HWHEEL, REL_WHEEL = 0, 6, 8


class InputDevices:
    def __init__(self, folder):
        self.folder = folder
        self.pipes = {}
        folder.mkdir()

    def environment(self):
        return {"LD_PRELOAD": str(LIBRARY), "GLIMTO_TEST_INPUT_DEVICES": str(self.folder)}

    def plug_in(self, name):
        os.mkfifo(self.folder / name)
        self.pipes[name] = os.open(self.folder / name, os.O_RDWR | os.O_NONBLOCK)

    def tell(self, name, *events):
        """Each event as (type, code, value), and that this is all of them. When that was."""
        seconds, nanoseconds = divmod(time.monotonic_ns(), 10**9)
        for kind, code, value in (*events, (SYN, 0, 0)):
            os.write(self.pipes[name], struct.pack("llHHi", seconds, nanoseconds // 1000, kind, code, value))
        return seconds + nanoseconds / 1e9

    def asked(self):
        return (self.folder / "asked").read_text().splitlines()

    def end(self):
        for pipe in self.pipes.values():
            os.close(pipe)
