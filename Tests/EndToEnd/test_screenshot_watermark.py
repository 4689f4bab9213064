"""The picture of the watermark, against one that was looked at and kept, and what is kept of it on the disk."""

import shutil
from pathlib import Path

from support import pictures
from support.stills import StillsCase

DEJAVU = Path("/usr/share/fonts/truetype/dejavu")
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


class WatermarkCase(StillsCase):
    def start(self, size="1920x1080"):
        self.start_server(size)
        self.server.paint_root("000000")

    def watermark(self, **changes):
        """The watermark of a picture that is black but for it; None without one."""
        output = self.run_tool("screenshot", "-o", self.shot, **changes)
        self.assertEqual((output.status, output.errors), (0, ""))
        shot = pictures.read_png(self.shot)
        corner = shot.crop(shot.width - 400, shot.height - 100, 400, 100)
        box = corner.differing_box(pictures.Picture(400, 100, bytes(3 * 400 * 100)))
        return box and corner.crop(*box)


class WatermarkPictureTests(WatermarkCase):
    def test_it_looks_as_it_did(self):
        self.start()
        fields = light_fields(self.watermark())
        golden = [int(digit) for row in GOLDEN for digit in row]
        self.assertEqual(len(golden), COLUMNS * ROWS)
        self.assertGreater(likeness(fields, golden), 0.9)
        # What would be found if the text were another one, or lay otherwise.
        mirrored = [int(digit) for row in GOLDEN for digit in reversed(row)]
        upside_down = [int(digit) for row in reversed(GOLDEN) for digit in row]
        for other in (mirrored, upside_down):
            self.assertLess(likeness(fields, other), 0.75)


class KeptWatermarkTests(WatermarkCase):
    """A watermark that was drawn once needs no fonts, as long as they are the same."""

    def setUp(self):
        super().setUp()
        self.start()
        self.fonts = self.directory / "fonts"
        self.fonts.mkdir()
        self.add_font("DejaVuSans.ttf")
        self.configuration = self.directory / "fonts.conf"
        self.configure(self.fonts)

    def add_font(self, name):
        shutil.copy(DEJAVU / name, self.fonts / name)

    def configure(self, folder, family="DejaVu Sans"):
        self.configuration.write_text(
            f"<fontconfig><dir>{folder}</dir><cachedir>{self.directory / 'fontcache'}</cachedir><alias>"
            f"<family>sans-serif</family><prefer><family>{family}</family></prefer></alias></fontconfig>")

    def environment(self, **changes):
        return super().environment(**{"FONTCONFIG_FILE": str(self.configuration), **changes})

    def kept(self):
        return list((self.caches / "com.glimto.capture" / "watermarks").glob("*"))

    def loads_fonts(self):
        """Whether a screenshot opens the libraries that fonts need."""
        log = self.directory / "libraries"
        self.watermark(LD_DEBUG="files", LD_DEBUG_OUTPUT=str(log))
        texts = [path.read_text(errors="replace") for path in self.directory.glob("libraries.*")]
        self.assertTrue(any("libxcb.so" in text for text in texts))
        return any("libpango" in text for text in texts)

    def test_the_second_is_the_first_without_its_work(self):
        first = self.watermark()
        self.assertEqual([path.name for path in self.kept()], ["19.json"])
        self.assertEqual(self.watermark(), first)
        self.assertFalse(self.loads_fonts())

    def test_the_first_loads_fonts(self):
        self.assertTrue(self.loads_fonts())

    def test_another_font_is_seen(self):
        first = self.watermark()
        self.add_font("DejaVuSerif.ttf")
        self.configure(self.fonts, "DejaVu Serif")
        second = self.watermark()
        self.assertNotEqual(second, first)
        self.configure(self.fonts)
        self.assertEqual(self.watermark(), first)

    def test_fonts_that_go_are_missed(self):
        self.assertIsNotNone(self.watermark())
        (self.fonts / "DejaVuSans.ttf").unlink()
        self.assertIsNone(self.watermark())
        self.add_font("DejaVuSans.ttf")
        self.assertIsNotNone(self.watermark())

    def test_what_is_broken_is_drawn_anew(self):
        first = self.watermark()
        self.kept()[0].write_text(self.kept()[0].read_text()[:1000])
        self.assertEqual(self.watermark(), first)
        self.assertFalse(self.loads_fonts())

    def test_nothing_that_can_be_written_is_no_matter(self):
        self.caches.mkdir()
        (self.caches / "com.glimto.capture").mkdir()
        (self.caches / "com.glimto.capture" / "watermarks").touch()
        self.assertEqual(self.watermark(), self.watermark())
        self.assertTrue(self.loads_fonts())
