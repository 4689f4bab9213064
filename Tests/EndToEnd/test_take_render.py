"""Takes with the pointer drawn and the action zoomed in."""

import json
import unittest

from support import media, take_tool
from support.case import EndToEndCase
from support.pointers import TestPointer

BACKGROUND = "406080"
CLICKS = [(100, 80), (540, 400)]
SIZE = (640, 480)


def light(pixel):
    red, green, blue = pixel
    return 0.299 * red + 0.587 * green + 0.114 * blue


class RenderTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("{}x{}".format(*SIZE), colour=BACKGROUND)
        pointer = self.started(TestPointer(self.server))
        pointer.do("to 320 240")
        recording = self.start_recording("-d", "11", "--record-events")
        recording.wait_until_recording()
        pointer.do("wait 1800")  # the camera needs its time to the first click
        for x, y in CLICKS:
            pointer.do(f"wait 500 to {(320 + x) // 2} {(240 + y) // 2} wait 40 to {x} {y} wait 400 press 1 wait 100 release 1")
            pointer.do("wait 3000")
        self.assertEqual(recording.finish().status, 0)
        events = json.loads((self.take / "events.json").read_text())["events"]
        self.clicks = [event for event in events if event["k"] == "down"]
        self.assertEqual([(round(event["x"] * SIZE[0]), round(event["y"] * SIZE[1])) for event in self.clicks], CLICKS)

    def render(self, *arguments, name="rendered.mp4"):
        target = self.work / name
        take_tool.run(self, "render", self.take, "-o", target, "--overwrite", *arguments)
        return target

    def frame_at(self, frames, seconds):
        return [frame for frame in frames if frame.time <= seconds][-1]

    def drawn(self, frame, around, reach):
        """The places around (x, y) that are clearly lighter or darker than the background.

        Colours are less sharp in a video than light is.
        """
        x0, y0 = around
        return [(x, y) for y in range(max(0, y0 - reach), min(frame.height, y0 + reach))
                for x in range(max(0, x0 - reach), min(frame.width, x0 + reach))
                if abs(light(frame.pixel(x, y)) - light(bytes.fromhex(BACKGROUND))) > 45]

    def test_tip_and_ring_are_where_the_click_was(self):
        frames = media.decode(self.render())
        for click, (x, y) in zip(self.clicks, CLICKS):
            frame = self.frame_at(frames, click["t"] / 1000 + 0.2)
            near = self.drawn(frame, (x, y), 7)  # inside of the ring: the arrow alone
            # The arrow's white edge is a pixel wide around its outline.
            self.assertAlmostEqual(min(place[0] for place in near), x - 1, delta=1)
            self.assertAlmostEqual(min(place[1] for place in near), y - 1, delta=1)
            ring = [place for place in self.drawn(frame, (x, y), 34) if self.is_orange(frame, *place)]
            self.assertGreater(len(ring), 20)
            for low, high, centre in [(min(place[0] for place in ring), max(place[0] for place in ring), x),
                                      (min(place[1] for place in ring), max(place[1] for place in ring), y)]:
                self.assertAlmostEqual((low + high) / 2, centre, delta=2)
            later = self.frame_at(frames, click["t"] / 1000 + 0.8)
            self.assertFalse([place for place in self.drawn(later, (x, y), 34) if self.is_orange(later, *place)])

    @staticmethod
    def is_orange(frame, x, y):
        red, green, blue = frame.pixel(x, y)
        return red > blue + 25 and red >= green

    def test_zoom_keeps_the_tip_on_the_click_and_goes_back(self):
        frames = media.decode(self.render("--zoom", "auto"))
        plan = json.loads(self.render("--plan-only", name="plan.json").read_text())
        self.assertEqual(len(plan["zooms"]), 2)
        for click, (x, y) in zip(self.clicks, CLICKS):
            left = min(max(x - SIZE[0] / 4, 0), SIZE[0] / 2)
            top = min(max(y - SIZE[1] / 4, 0), SIZE[1] / 2)
            where = round((x - left) * 2), round((y - top) * 2)
            # The camera has arrived before the click, and stays for what comes of it.
            for seconds in (-0.1, 0.33, 1.2):
                near = self.drawn(self.frame_at(frames, click["t"] / 1000 + seconds), where, 12)
                self.assertAlmostEqual(min(place[0] for place in near), where[0] - 2, delta=2)
                self.assertAlmostEqual(min(place[1] for place in near), where[1] - 2, delta=2)
        last = self.drawn(frames[-1], CLICKS[-1], 7)
        self.assertAlmostEqual(min(place[0] for place in last), CLICKS[-1][0] - 1, delta=1)

    def test_nothing_is_encoded_while_nothing_changes(self):
        self.assertLess(len(media.frame_times(self.render())), 90)

    def test_same_take_gives_the_same_file(self):
        first = self.render("--zoom", "auto").read_bytes()
        plan = self.render("--plan-only", name="plan.json")
        self.assertEqual(self.render("--zoom", "auto").read_bytes(), first)
        self.assertEqual(self.render("--plan", plan).read_bytes(), first)

    def test_background_surrounds_the_picture(self):
        frame = media.decode(self.render("--padding", "40", "--background", "c02020", "--width", "320"))[0]
        self.assertEqual((frame.width, frame.height), (320, 260))
        self.assert_shows(frame, "c02020", 20, 130, 24)
        self.assert_shows(frame, BACKGROUND, 60, 60)

    def test_what_cannot_be_rendered_is_named(self):
        output = self.run_tool("render", self.take, "-o", "a.avi", binary=take_tool.BINARY)
        self.assert_fails(output, "The output's name must end with .mp4: a.avi")
        (self.work / "plan.json").write_text('{"version":1,"zooms":[{"from":0,"to":1,"x":7,"y":0,"scale":2}]}')
        output = self.run_tool("render", self.take, "-o", "a.mp4", "--plan", "plan.json", binary=take_tool.BINARY)
        self.assert_fails(output, "zoom plan: zooms[0] has its middle outside of the picture")
        (self.take / "events.json").write_text("{")
        output = self.run_tool("render", self.take, "-o", "a.mp4", binary=take_tool.BINARY)
        self.assert_fails(output, "events.json: not JSON, or nested too deeply")
        self.assertFalse((self.work / "a.mp4").exists())


if __name__ == "__main__":
    unittest.main()
