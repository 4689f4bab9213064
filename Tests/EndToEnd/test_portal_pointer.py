"""The pointer's track where the desktop's portal tells the pointer beside the pictures."""

import json
import time
import unittest

from support.portal import PortalCase


class PortalPointerTests(PortalCase):
    def follow(self, places, *arguments, prepare=lambda portal: None, **options):
        """The places of a recording's track, in pixels of its frames, while the pointer goes to `places`."""
        portal = self.start_portal(**options)
        stop = self.directory / "stop"
        recording = self.start_recording("-d", "600", "--stop-file", stop, "--record-events", *arguments)
        recording.wait_until_recording()
        prepare(portal)
        before = time.monotonic()
        for x, y in places:
            portal.tell("pointer", x, y)
            time.sleep(0.05)  # moves are thinned out to what the eye can follow
        after = time.monotonic()
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


if __name__ == "__main__":
    unittest.main()
