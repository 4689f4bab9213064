"""The picture of the watermark, against one that was looked at and kept."""

from support import pictures
from support.stills import StillsCase

COLUMNS, ROWS = 44, 9
# How light each field of the watermark's box is on black, from 0 to 9: "glimto.com" in the DejaVu Sans of
# Debian 12. Another face of the same kind shows much the same.
GOLDEN = """
00000321300000000010000000000000000000000000
00000420200000000170000000000000000000000000
16651421304573672596027720001674167401576374
73192421507118115170060160006401430611705606
80072421506006005170060060009000600421503405
80072421505005005170060060008000600421503405
55392421505005005082062350605512451701503405
03371210203003003025016510500462046201201203
25550000000000000000000000000000000000000000
""".split()


def light_fields(picture):
    """The mean light of COLUMNS times ROWS equal fields, row by row, 0 to 255."""
    fields = []
    for row in range(ROWS):
        top, bottom = row * picture.height // ROWS, (row + 1) * picture.height // ROWS
        for column in range(COLUMNS):
            left, right = column * picture.width // COLUMNS, (column + 1) * picture.width // COLUMNS
            pixels = [sum(picture.pixel(x, y)) / 3 for y in range(top, bottom) for x in range(left, right)]
            fields.append(sum(pixels) / len(pixels))
    return fields


def likeness(first, second):
    """The correlation of two lists of light, 1 for the same picture and about 0 for unrelated ones."""
    first = [value - sum(first) / len(first) for value in first]
    second = [value - sum(second) / len(second) for value in second]
    product = sum(a * b for a, b in zip(first, second))
    return product / (sum(a * a for a in first) * sum(b * b for b in second)) ** 0.5


class WatermarkPictureTests(StillsCase):
    def watermark(self):
        self.start_server("1920x1080")
        self.server.paint_root("000000")
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assertEqual(output.status, 0, output.errors)
        shot = pictures.read_png(self.shot)
        corner = shot.crop(shot.width - 400, shot.height - 100, 400, 100)
        black = pictures.Picture(400, 100, bytes(3 * 400 * 100))
        return corner.crop(*corner.differing_box(black))

    def test_it_looks_as_it_did(self):
        fields = light_fields(self.watermark())
        golden = [int(digit) for row in GOLDEN for digit in row]
        self.assertEqual(len(golden), COLUMNS * ROWS)
        self.assertGreater(likeness(fields, golden), 0.9)
        # What would be found if the text were another one, or lay otherwise.
        mirrored = [int(digit) for row in GOLDEN for digit in reversed(row)]
        upside_down = [int(digit) for row in reversed(GOLDEN) for digit in row]
        for other in (mirrored, upside_down):
            self.assertLess(likeness(fields, other), 0.75)
