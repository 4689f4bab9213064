"""The track of input events: events.json of takes whose pointer clicks, moves and scrolls."""

import json
import subprocess
import time
import unittest

from support.case import EndToEndCase


class InputEventsTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("320x240", "808080")

    def document(self):
        return json.loads((self.take / "events.json").read_text())

    def of_kind(self, *kinds):
        return [event for event in self.document()["events"] if event["k"] in kinds]

    def record_while(self, action, *arguments):
        """The output of a recording during which `action` is done."""
        recording = self.start_recording("--until-stopped", "--stop-file", self.work / "stop", "--record-events",
                                         *arguments)
        recording.wait_until_recording()
        time.sleep(0.3)  # the first frame comes before what is to be seen
        action()
        time.sleep(0.3)
        (self.work / "stop").touch()
        output = recording.finish()
        self.assertEqual((output.status, output.errors), (0, ""))
        self.verify_contract()
        return output

    def click(self, x, y, button=1):
        self.server.place_pointer(x, y)
        time.sleep(0.2)
        self.server.run("xdotool", "click", button)

    def assert_at(self, event, x, y):
        self.assertAlmostEqual(event["x"], x, delta=0.01)
        self.assertAlmostEqual(event["y"], y, delta=0.01)

    def test_clicks_have_their_place_button_and_order(self):
        def action():
            self.click(80, 60)
            self.click(240, 180, button=3)

        output = self.record_while(action)
        clicks = self.of_kind("down", "up")
        self.assertEqual([(click["k"], click["button"]) for click in clicks],
                         [("down", 0), ("up", 0), ("down", 1), ("up", 1)])
        self.assert_at(clicks[0], 0.25, 0.25)
        self.assert_at(clicks[3], 0.75, 0.75)
        document = self.document()
        self.assertEqual(list(document), ["version", "clock", "display", "cursorHidden", "events"])
        self.assertEqual(document["display"], {"capturePixelWidth": 320, "capturePixelHeight": 240, "pointScale": 1.0})
        self.assertTrue(document["cursorHidden"])
        told = output.texts.index("GLIMTO_RECORDING_STATUS=stopped")
        self.assertEqual(output.texts[told + 1], f"Events: {self.take}/events.json")

    def test_a_click_has_its_time_since_the_first_frame(self):
        clicked = []

        def action():
            clicked.append(time.monotonic_ns())
            self.server.run("xdotool", "click", 1)
            clicked.append(time.monotonic_ns())

        self.record_while(action)
        first = self.document()["clock"]["firstVideoSampleHostTimeNs"]
        down = self.of_kind("down")[0]
        self.assertGreaterEqual(down["t"], (clicked[0] - first) / 1e6 - 5)
        self.assertLessEqual(down["t"], (clicked[1] - first) / 1e6 + 5)

    def test_moves_end_where_the_pointer_came_to_rest(self):
        self.server.place_pointer(40, 40)
        self.record_while(lambda: self.server.run("xdotool", "mousemove_relative", "--", 120, 80))
        self.assert_at(self.of_kind("move")[-1], 160 / 320, 120 / 240)

    def test_a_scroll_has_its_deltas(self):
        self.record_while(lambda: self.server.run("xdotool", "click", 5))
        scrolls = self.of_kind("scroll")
        self.assertEqual([(scroll["dx"], scroll["dy"]) for scroll in scrolls], [(0.0, -1.0)])

    def test_a_regions_clicks_are_placed_within_it_and_clamped_to_its_edge(self):
        def action():
            self.click(150, 90)
            self.click(10, 230)

        self.record_while(action, "--region", "100,60,100,120")
        inside, outside = self.of_kind("down")
        self.assert_at(inside, 0.5, 0.25)
        self.assertEqual((outside["x"], outside["y"]), (0.0, 1.0))

    def test_a_windows_clicks_are_placed_within_it(self):
        window = self.start_painter().open("160x120+100+60", "808080", override=True)
        self.record_while(lambda: self.click(140, 150), "--window-id", window.id)
        self.assert_at(self.of_kind("down")[0], 0.25, 0.75)

    def test_a_killed_recording_leaves_its_events_but_the_last_second(self):
        recording = self.start_recording("--until-stopped", "--stop-file", self.work / "stop", "--record-events")
        recording.wait_until_recording()
        time.sleep(0.4)
        self.click(80, 60)
        time.sleep(2.2)
        recording.process.kill()
        recording.finish()
        self.assertEqual(recording.output.errors, "")
        self.assertFalse((self.take / "events.json").exists())
        text = subprocess.run(["jq", "-nR", "[inputs | fromjson?] | .[0] + {cursorHidden: true, events: .[1:]}",
                               self.take / ".events.partial"], capture_output=True, check=True).stdout
        (self.take / "events.json").write_bytes(text)
        clicks = self.of_kind("down", "up")
        self.assertEqual([click["k"] for click in clicks], ["down", "up"])
        self.assert_at(clicks[0], 0.25, 0.25)
        self.assertEqual(sorted(self.document()), ["clock", "cursorHidden", "display", "events", "version"])
        self.record("-d", "1.5", "--record-events", "--overwrite")
        self.assertEqual([path.name for path in self.take.glob(".*")], [])

    def test_a_partial_file_that_cannot_be_written_costs_nothing_else(self):
        self.take.mkdir()
        (self.take / ".events.partial").mkdir()
        self.record_while(lambda: (self.click(80, 60), time.sleep(1.2)))
        self.assertEqual(len(self.of_kind("down", "up")), 2)

    def test_without_the_option_there_is_no_track(self):
        self.record("-d", "0.6")
        self.assertFalse((self.take / "events.json").exists())

    def test_a_track_of_nothing_is_whole(self):
        self.record_while(lambda: None)
        self.assertEqual(self.of_kind("down", "up", "scroll"), [])


if __name__ == "__main__":
    unittest.main()
