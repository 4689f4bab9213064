"""Text that is read in pictures which the test draws."""

import unittest

from support import pictures
from support.stills import StillsCase


class RecognizeTextTests(StillsCase):
    def text_of(self, path):
        output = self.run_tool("recognize-text", "--path", path, limit=120)
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(len(output.texts), 1)
        return output.json()

    def draw(self, name, *lines, background="white", colour="black", extent=None):
        drawing = [word for at, line in enumerate(lines)
                   for word in ("-annotate", f"+30+{60 + 60 * at}", line)]
        return pictures.make_png(self.work / name, "-size", extent or f"700x{60 * len(lines) + 60}", f"xc:{background}",
                                 "-font", "DejaVu-Sans", "-pointsize", "24", "-fill", colour, *drawing)

    def test_lines_are_read_in_their_order(self):
        image = self.draw("a.png", "The quick brown fox jumps", "over the lazy dog 12345")
        self.assertEqual(self.text_of(image), {"text": "The quick brown fox jumps\nover the lazy dog 12345"})

    def test_light_text_on_dark_ground_is_read(self):
        image = self.draw("a.png", "Everything is fine today", background="#202830", colour="#e0e0e0")
        self.assertEqual(self.text_of(image), {"text": "Everything is fine today"})

    def test_result_is_compact_json(self):
        output = self.run_tool("recognize-text", "--path", self.draw("a.png", "Hello World"), limit=120)
        self.assertEqual(output.text, '{"text":"Hello World"}\n')

    def test_picture_without_text_gives_the_empty_text(self):
        image = pictures.make_png(self.work / "a.png", "-size", "300x200", "xc:#3060c0")
        output = self.run_tool("recognize-text", "--path", image, limit=120)
        self.assertEqual((output.status, output.errors, output.text), (0, "", '{"text":""}\n'))

    def test_watermark_alone_gives_the_empty_text(self):
        image = self.draw("a.png", "glimto.com")
        self.assertEqual(self.text_of(image), {"text": ""})

    def test_watermark_of_a_screenshot_is_dropped(self):
        self.start_screen("1280x720", "ffffff")
        image = self.draw("a.png", "Meeting notes for Monday", extent="1280x720")
        self.show_file(image)
        output = self.run_tool("screenshot", "-o", self.shot)
        self.assertEqual(output.status, 0, output.errors)
        text = self.text_of(self.shot)["text"]
        self.assertIn("Meeting notes for Monday", text)
        self.assertNotIn("glimto", text.lower())

    def test_path_is_needed(self):
        self.assert_fails(self.run_tool("recognize-text"), "recognize-text requires --path <png>.")

    def test_unknown_option_is_refused(self):
        output = self.run_tool("recognize-text", "--path", "a.png", "--fast")
        self.assertEqual((output.status, output.texts), (1, []))

    def test_missing_file_is_told(self):
        output = self.run_tool("recognize-text", "--path", "none.png")
        self.assert_fails(output, f"No image found at {self.work}/none.png.")
        self.assertEqual(output.texts, [])


if __name__ == "__main__":
    unittest.main()
