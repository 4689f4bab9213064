"""The pointer's track where the desktop's portal tells the pointer beside the pictures."""

import json
import time
import unittest

from support.devices import BTN_LEFT, BTN_RIGHT, KEY, KEY_A, REL, REL_HWHEEL, REL_WHEEL, REL_X, InputDevices
from support.portal import PortalCase
from support.processes import wait_until


class PointerCase(PortalCase):
    def setUp(self):
        super().setUp()
        self.devices = InputDevices(self.work / "input")
        self.addCleanup(self.devices.end)

    def environment(self, **changes):
        return super().environment(**{**self.devices.environment(), **changes})


class PortalPointerTests(PointerCase):
    def follow(self, places, *arguments, prepare=lambda portal: None, **options):
        """The places of a recording's track, in pixels of its frames, while the pointer goes to `places`."""
        portal = self.start_portal(**options)
        stop = self.directory / "stop"
        recording = self.start_recording("-d", "600", "--stop-file", stop, "--record-events", *arguments)
        recording.wait_until_recording()
        prepare(portal)
        before = time.monotonic()
        for x, y in places:
            portal.point(x, y)
            time.sleep(0.05)  # moves are thinned out to what the eye can follow
        after = time.monotonic()
        time.sleep(0.3)  # the last of them is on its way
        stop.touch()
        self.output = recording.finish()
        self.assertEqual(self.output.status, 0, self.output.errors)
        document = json.loads((self.take / "events.json").read_text())
        display = document["display"]
        first = document["clock"]["firstVideoSampleHostTimeNs"] / 1e9
        for event in document["events"]:
            self.assertEqual(event["k"], "move")
            self.assertGreater(first + event["t"] / 1000, before - 0.1)
            self.assertLess(first + event["t"] / 1000, after + 0.1)
        return [(round(event["x"] * display["capturePixelWidth"]), round(event["y"] * display["capturePixelHeight"]))
                for event in document["events"]]

    def test_moves_are_where_the_pointer_was(self):
        places = [(10, 20), (100, 50), (310, 230), (0, 0)]
        self.assertEqual(self.follow(places, size="320x240"), places)
        self.assertEqual(self.portal.count("cursor=4"), 1)
        self.assertEqual(self.output.error_lines, [
            "Shared: screen:0, 320x240 at 0,0",
            "Warning: The event track has no clicks and scrolls: this system does not tell them."])

    def test_moves_are_in_the_points_of_the_screen_wherever_that_lies(self):
        places = [(20, 40), (200, 100), (620, 460)]
        seen = self.follow(places, size="640x480", points="320x240", position="1920,100")
        self.assertEqual(seen, [(x // 2, y // 2) for x, y in places])

    def test_moves_are_told_from_the_corner_of_a_region(self):
        self.start_screen("320x240")
        seen = self.follow([(40, 60), (120, 100)], "--region", "30,40,100,80", size="320x240", points="320x240",
                           position="0,0")
        self.assertEqual(seen, [(10, 20), (90, 60)])

    def test_portal_that_tells_no_pointer_leaves_the_track_empty(self):
        self.assertEqual(self.follow([(10, 20)], cursor_modes=3), [])
        self.assertIn("warning: listen-only CGEventTap not permitted; event track will be empty",
                      self.output.error_lines)


class PortalClickTests(PointerCase):
    def setUp(self):
        super().setUp()
        self.portal = self.start_portal(size="320x240")
        self.stop = self.directory / "stop"
        self.moves = 0

    def start(self):
        self.recording = self.start_recording("-d", "600", "--stop-file", self.stop, "--record-events")
        self.recording.wait_until_recording()

    def move(self, x, y):
        self.portal.point(x, y)
        self.moves += 1
        wait_until(lambda: self.heard_moves() == self.moves, "the move")

    def heard_moves(self):
        partial = self.take / ".events.partial"
        return partial.read_text().count('"move"') if partial.exists() else 0

    def finish(self):
        self.stop.touch()
        output = self.recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.document = json.loads((self.take / "events.json").read_text())
        return output, [event for event in self.document["events"] if event["k"] != "move"]

    def place(self, event):
        return round(event["x"] * 320), round(event["y"] * 240)

    def test_clicks_and_scrolls_are_where_the_pointer_was(self):
        self.devices.plug_in("event1")
        self.start()
        self.move(100, 50)
        pressed = self.devices.tell("event1", (KEY, BTN_LEFT, 1))
        released = self.devices.tell("event1", (KEY, BTN_LEFT, 0))
        self.move(200, 60)
        self.devices.tell("event1", (KEY, BTN_RIGHT, 1))
        self.devices.tell("event1", (KEY, BTN_RIGHT, 0), (REL, REL_WHEEL, -2), (REL, REL_HWHEEL, 1))
        output, events = self.finish()
        self.assertEqual(output.error_lines, ["Shared: screen:0, 320x240 at 0,0"])
        self.assertEqual([(event["k"], event.get("button"), self.place(event)) for event in events], [
            ("down", 0, (100, 50)), ("up", 0, (100, 50)), ("down", 1, (200, 60)), ("up", 1, (200, 60)),
            ("scroll", None, (200, 60))])
        self.assertEqual((events[-1]["dx"], events[-1]["dy"]), (-1, -2))
        first = self.document["clock"]["firstVideoSampleHostTimeNs"] / 1e9
        for event, moment in zip(events, (pressed, released)):
            self.assertAlmostEqual(first + event["t"] / 1000, moment, places=3)
        times = [event["t"] for event in self.document["events"]]
        self.assertEqual(times, sorted(times))

    def test_keys_are_neither_asked_for_nor_heard(self):
        for name in ("event1", "event2"):
            self.devices.plug_in(name)
        self.start()
        self.move(100, 50)
        for name in ("event1", "event2"):
            self.devices.tell(name, (KEY, KEY_A, 1), (KEY, KEY_A, 0), (REL, REL_X, 5))
        self.devices.tell("event2", (KEY, BTN_LEFT, 1))
        _, events = self.finish()
        self.assertEqual(events, [])
        self.assertEqual(self.devices.asked(), [
            "event1 mask 0 1 2", f"event1 mask 1 {BTN_LEFT} {BTN_RIGHT}", f"event1 mask 2 {REL_HWHEEL} {REL_WHEEL}",
            "event1 clock 1"])

    def test_mouse_that_is_plugged_in_later_is_heard(self):
        self.start()
        self.move(100, 50)
        self.devices.plug_in("event1")
        wait_until(lambda: (self.devices.folder / "asked").exists() and len(self.devices.asked()) == 4,
                   "the discovery of the mouse")
        self.devices.tell("event1", (KEY, BTN_LEFT, 1))
        output, events = self.finish()
        self.assertEqual([(event["k"], self.place(event)) for event in events], [("down", (100, 50))])
        self.assertIn("Warning: The event track has no clicks and scrolls: this system does not tell them.",
                      output.error_lines)


if __name__ == "__main__":
    unittest.main()
