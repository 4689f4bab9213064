"""The pointer in the picture, and out of it."""

import socket
import struct
import time
import unittest

from support.case import EndToEndCase
from support.processes import START_LIMIT

PLACE = (150, 110)
GREY = "808080"


class CursorCase(EndToEndCase):
    def differing(self, frame, x, y, around=16):
        """How many pixels about (x, y) are not of the background's colour."""
        return sum(not frame.shows(GREY, column, row, tolerance=40)
                   for column in range(x - around, x + around) for row in range(y - around, y + around))


class CursorTests(CursorCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240", GREY)
        self.server.run("xsetroot", "-cursor_name", "X_cursor", "-solid", "#" + GREY)

    def test_pointer_is_drawn_where_it_stands(self):
        self.server.place_pointer(*PLACE)
        self.record("-d", "0.6")
        frame = self.frames()[-1]
        self.assertGreater(self.differing(frame, *PLACE), 20)
        self.assertEqual(self.differing(frame, 40, 40), 0)

    def test_pointer_is_not_drawn_without_the_cursor(self):
        self.server.place_pointer(*PLACE)
        self.record("-d", "0.6", "--no-cursor")
        for frame in self.frames():
            self.assertEqual(self.differing(frame, *PLACE), 0)

    def test_moved_pointer_is_seen_at_its_new_place_only(self):
        self.server.place_pointer(*PLACE)
        recording = self.start_recording("-d", "1.5")
        recording.wait_until_recording()
        time.sleep(0.5)
        self.server.place_pointer(60, 200)
        self.assertEqual(recording.finish().status, 0)
        first, last = self.frames()[0], self.frames()[-1]
        self.assertGreater(self.differing(first, *PLACE), 20)
        self.assertEqual(self.differing(last, *PLACE), 0)
        self.assertGreater(self.differing(last, 60, 200), 20)

    def test_pointer_is_placed_within_the_region(self):
        self.server.place_pointer(150, 110)
        self.record("-d", "0.6", "--region", "100,60,120,120")
        self.assertGreater(self.differing(self.frames()[-1], 50, 50), 20)

    def test_pointer_outside_the_region_is_not_seen(self):
        self.server.place_pointer(20, 20)
        self.record("-d", "0.6", "--region", "100,60,120,120")
        self.assertEqual(self.differing(self.frames()[-1], 60, 60, around=50), 0)

    def test_pointer_is_drawn_over_a_recorded_window(self):
        window = self.start_painter().open("160x120+100+60", GREY, override=True)
        self.server.place_pointer(180, 120)
        self.record("-d", "0.6", "--window-id", window.id)
        self.assertGreater(self.differing(self.frames()[-1], 80, 60), 20)


class CursorWithoutItsMakerTests(CursorCase):
    """The shape of a client that has left, and whose number no other client has."""

    def setUp(self):
        super().setUp()
        self.start_screen("320x240", GREY)
        others = [self.connect() for _ in range(8)]
        self.server.run("xsetroot", "-cursor_name", "X_cursor", "-solid", "#" + GREY)
        for other in others:
            other.close()

    def connect(self):
        """A client that does nothing. Its number is lower than those of later ones."""
        client = socket.socket(socket.AF_UNIX)
        self.addCleanup(client.close)
        client.settimeout(START_LIMIT)
        client.connect(f"\0/tmp/.X11-unix/X{self.server.display[1:]}")
        client.sendall(struct.pack("<cxHHHHxx", b"l", 11, 0, 0, 0))
        self.assertEqual(client.recv(1), b"\1")
        return client

    def test_pointer_is_drawn(self):
        self.server.place_pointer(*PLACE)
        self.record("-d", "0.6")
        self.assertGreater(self.differing(self.frames()[-1], *PLACE), 20)


if __name__ == "__main__":
    unittest.main()
