"""Still pictures: noise to show on a screen, and PNG files as decoders see them."""

import random

from support import media


class Picture:
    """8-bit RGB, rows from top to bottom."""

    def __init__(self, width, height, data):
        self.width = width
        self.height = height
        self.data = data

    def pixel(self, x, y):
        at = 3 * (y * self.width + x)
        return tuple(self.data[at:at + 3])

    def crop(self, x, y, width, height):
        rows = [self.data[3 * (row * self.width + x):3 * (row * self.width + x + width)]
                for row in range(y, y + height)]
        return Picture(width, height, b"".join(rows))

    def bgrx(self):
        """Four bytes a pixel, as screens have them."""
        data = bytearray(4 * self.width * self.height)
        data[0::4], data[1::4], data[2::4] = self.data[2::3], self.data[1::3], self.data[0::3]
        return bytes(data)

    def differing_box(self, other):
        """The bounds (x, y, width, height) of the pixels that differ in a picture of the same size; None for
        none."""
        width = 3 * self.width
        rows = [y for y in range(self.height)
                if self.data[y * width:(y + 1) * width] != other.data[y * width:(y + 1) * width]]
        if not rows:
            return None
        columns = [at // 3 for y in rows for at in range(width)
                   if self.data[y * width + at] != other.data[y * width + at]]
        return min(columns), rows[0], max(columns) - min(columns) + 1, rows[-1] - rows[0] + 1

    def __eq__(self, other):
        return (self.width, self.height, self.data) == (other.width, other.height, other.data)

    def __repr__(self):
        return f"<picture of {self.width}x{self.height}>"


def noise(width, height, seed=1):
    return Picture(width, height, random.Random(seed).randbytes(3 * width * height))


def write_ppm(picture, path):
    path.write_bytes(b"P6 %d %d 255\n" % (picture.width, picture.height) + picture.data)


def read_png(path):
    if path.read_bytes()[:8] != b"\x89PNG\r\n\x1a\n":
        raise AssertionError(f"{path} is no PNG")
    stream = media.video_stream(path)
    width, height = stream["width"], stream["height"]
    data = media.run_tool("ffmpeg", "-nostdin", "-v", "error", "-xerror", "-i", path, "-f", "rawvideo", "-pix_fmt",
                          "rgb24", "-")
    if len(data) != 3 * width * height:
        raise AssertionError(f"{path}: {len(data)} bytes for {width}x{height}")
    return Picture(width, height, data)


def make_png(path, *arguments):
    """A PNG that ImageMagick makes."""
    media.run_tool("convert", *arguments, f"png:{path}")
    return path
