"""Files that recognize-text cannot read, or can hardly read: it ends at once, and says why."""

import os
import random
import struct
import unittest
import zlib

from support import pictures
from support.stills import StillsCase


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def declared_png(width, height):
    """A PNG whose header says so; there is next to nothing behind it."""
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(b"\0" * 1000)) + chunk(b"IEND", b""))


class RecognizeTextFilesTests(StillsCase):
    def setUp(self):
        super().setUp()
        self.image = self.work / "picture.png"

    def refusal(self):
        output = self.run_tool("recognize-text", "--path", self.image, limit=20)
        self.assertEqual((output.status, output.texts), (1, []))
        return output.errors.strip()

    def drawn(self):
        return pictures.make_png(self.image, "-size", "240x60", "xc:white", "-font", "DejaVu-Sans", "-pointsize", "20",
                                 "-annotate", "+20+36", "Hello World 123").read_bytes()

    def test_empty_file(self):
        self.image.write_bytes(b"")
        self.assertIn(f"The image at {self.image} is not a PNG.", self.refusal())

    def test_other_kind_of_file(self):
        self.image.write_bytes(b"\xff\xd8\xff\xe0" + bytes(1000))
        self.assertIn(f"The image at {self.image} is not a PNG.", self.refusal())

    def test_truncated_picture(self):
        data = self.drawn()
        self.image.write_bytes(data[:len(data) // 2])
        self.assertIn(f"The image at {self.image} is damaged or incomplete.", self.refusal())

    def test_huge_picture_is_refused_before_memory_is_taken(self):
        self.image.write_bytes(declared_png(60000, 60000))
        self.assertIn("is too large to be read: 60000x60000 pixels.", self.refusal())

    def test_large_picture_that_is_not_there(self):
        self.image.write_bytes(declared_png(12000, 12000))
        self.assertIn(f"The image at {self.image} is damaged or incomplete.", self.refusal())

    def test_directory(self):
        self.image.mkdir()
        self.assertIn("it is not a regular file.", self.refusal())

    def test_pipe_without_a_writer(self):
        os.mkfifo(self.image)
        self.assertIn("it is not a regular file.", self.refusal())

    def test_link_is_followed(self):
        self.drawn()
        link = self.work / "link.png"
        link.symlink_to(self.image)
        output = self.run_tool("recognize-text", "--path", link, limit=60)
        self.assertEqual(output.text, '{"text":"Hello World 123"}\n')

    def test_changed_bytes_are_read_or_refused(self):
        """Neither a crash nor a hang, and not a word of the libraries on the standard streams."""
        data = self.drawn()
        numbers = random.Random(5)
        for turn in range(40):
            changed = bytearray(data)
            for _ in range(numbers.randint(1, 8)):
                changed[numbers.randrange(8, len(changed))] = numbers.randrange(256)
            if turn % 2:  # a right checksum lets the change through to what reads the chunk
                changed = self.with_right_checksums(bytes(changed))
            self.image.write_bytes(changed)
            output = self.run_tool("recognize-text", "--path", self.image, limit=60)
            with self.subTest(turn=turn):
                if output.status == 0:
                    self.assertEqual((list(output.json()), output.errors), (["text"], ""))
                else:
                    self.assertEqual((output.status, output.texts), (1, []))
                    self.assertIn(f"The image at {self.image} is", output.errors)
                    self.assertEqual(len(output.errors.splitlines()), 1)

    @staticmethod
    def with_right_checksums(data):
        place = 8
        result = bytearray(data)
        while place + 12 <= len(result):
            length = struct.unpack_from(">I", result, place)[0]
            if place + 12 + length > len(result):
                break
            checksum = zlib.crc32(result[place + 4:place + 8 + length])
            struct.pack_into(">I", result, place + 8 + length, checksum)
            place += 12 + length
        return bytes(result)


if __name__ == "__main__":
    unittest.main()
