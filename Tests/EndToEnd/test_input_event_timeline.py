"""Input events beside the picture: the same instants, the same places, whoever else holds the pointer."""

import json
import statistics
import time
import unittest

from support.input_events import InputEventCase
from support.pointers import TestPointer
from support.proxy import ServerWithoutExtension

FRAME = 1 / 30
TOLERANCE = 0.005  # seconds, besides one frame
UNPERMITTED = "warning: listen-only CGEventTap not permitted; event track will be empty"


class InputEventTimelineTests(InputEventCase):
    def test_clicks_and_the_changes_they_come_with_are_at_one_time(self):
        """A busy machine may take one picture late, so the middle of many has to be in time, and each by the next."""
        window = self.start_painter().open(f"{self.WIDTH}x{self.HEIGHT}+0+0", "000000", override=True)
        pointer = self.started(TestPointer(self.server))
        recording = self.start_events()
        colours = [f"{red}{green}{blue}" for red in ("00", "80", "ff") for green in ("00", "80", "ff")
                   for blue in ("40", "c0")]
        steps = []
        for colour in colours:
            steps.append((colour, window.paint(colour), self.do(pointer, "press 1 release 1")))
            time.sleep(0.117)
        self.finish(recording)
        frames = self.frames()
        downs = self.of_kind("down")
        self.assertEqual(len(downs), len(steps))
        late = []
        for down, (colour, painted, clicked) in zip(downs, steps):
            self.assert_within(down, clicked)
            frame = next(frame for frame in frames if frame.shows(colour, self.WIDTH // 2, self.HEIGHT // 2))
            late.append(frame.time - frames[0].time - down["t"] / 1000)
        self.assertGreaterEqual(min(late), -TOLERANCE, late)
        self.assertLessEqual(statistics.median(late), FRAME + TOLERANCE, late)
        self.assertLessEqual(max(late), 2 * FRAME + TOLERANCE, late)

    def test_clicks_have_the_time_that_the_server_gave_them(self):
        """One of them comes half a second after the first frame, whose time is known afterwards."""
        pointer = self.started(TestPointer(self.server))
        recording = self.start_recording("--until-stopped", "--stop-file", self.work / "stop", "--record-events")
        recording.wait_until_recording()
        time.sleep(0.4)
        clicks = []
        for _ in range(30):
            clicks.append(self.do(pointer, "press 1 release 1"))
            pointer.do("wait 7")
        self.finish(recording)
        downs = self.of_kind("down")
        self.assertEqual(len(downs), len(clicks))
        for down, clicked in zip(downs, clicks):
            self.assert_within(down, clicked)
        self.assertLess(min(abs(down["t"] - 500) for down in downs), 20)

    def test_a_drag_is_followed_to_the_pixel(self):
        self.server.place_pointer(50, 50)
        recording = self.start_events()
        moments = [self.xdotool("mousedown", 1)]
        steps = [(10, 0), (0, 20), (-5, 5), (40, -3)]
        for x, y in steps:
            moments.append(self.xdotool("mousemove_relative", "--", x, y))
        moments.append(self.xdotool("mouseup", 1))
        self.finish(recording)
        places = [(50, 50), (60, 50), (60, 70), (55, 75), (95, 72), (95, 72)]
        events = self.document["events"]
        self.assertEqual(self.kinds(), ["down", "move", "move", "move", "move", "up"])
        for event, place, moment in zip(events, places, moments):
            self.assert_place(event, *place)
            self.assert_within(event, moment)

    def test_a_pointer_set_down_elsewhere_has_moved_then(self):
        self.server.place_pointer(50, 50)
        recording = self.start_events()
        moments = []
        for x, y in [(200, 100), (20, 220)]:
            moments.append(self.xdotool("mousemove", x, y))
            time.sleep(0.4)
        self.finish(recording)
        moves = self.of_kind("move")
        self.assertEqual(len(moves), 2)
        self.assert_place(moves[0], 200, 100)
        self.assert_place(moves[1], 20, 220)
        for move, moment in zip(moves, moments):
            self.assert_within(move, moment)

    def test_wheels_scroll_once_a_click(self):
        recording = self.start_events()
        for button in (4, 5, 6, 7):
            self.xdotool("click", button)
        self.xdotool("click", 2)
        self.finish(recording)
        self.assertEqual([(event["dx"], event["dy"]) for event in self.of_kind("scroll")],
                         [(0.0, 1.0), (0.0, -1.0), (1.0, 0.0), (-1.0, 0.0)])
        self.assertEqual(self.of_kind("down", "up"), [])

    def test_keys_stand_in_their_order(self):
        recording = self.start_events()
        self.xdotool("click", 1)
        self.xdotool("click", 5)
        self.finish(recording)
        self.assertEqual(list(self.document), ["version", "clock", "display", "cursorHidden", "events"])
        self.assertEqual(list(self.document["clock"]), ["firstVideoSamplePtsValue", "firstVideoSamplePtsTimescale",
                                                        "firstVideoSampleHostTimeNs"])
        self.assertEqual(list(self.document["display"]), ["capturePixelWidth", "capturePixelHeight", "pointScale"])
        self.assertEqual(list(self.of_kind("down")[0]), ["t", "k", "x", "y", "button"])
        self.assertEqual(list(self.of_kind("scroll")[0]), ["t", "k", "x", "y", "dx", "dy"])
        self.assertNotIn("\n", self.text.rstrip("\n"))

    def test_events_are_heard_while_another_client_holds_the_pointer(self):
        window = self.start_painter().open("100x100+200+100", override=True)
        window.grab_pointer()
        self.server.place_pointer(40, 30)
        recording = self.start_events()
        self.xdotool("click", 1)
        self.xdotool("mousemove_relative", "--", 12, 7)
        self.xdotool("click", 4)
        self.finish(recording)
        events = self.document["events"]
        self.assertEqual(self.kinds(), ["down", "up", "move", "scroll"])
        self.assert_place(events[1], 40, 30)
        self.assert_place(events[2], 52, 37)

    def test_nothing_is_from_before_the_first_frame(self):
        recording = self.start_recording("-d", "1", "--record-events")
        clicks = 0
        while recording.line_with("GLIMTO_RECORDING_STATUS=recording") is None:
            self.xdotool("click", 1)
            clicks += 1
            self.assertLess(clicks, 2000)
        self.assertEqual(recording.finish().status, 0)
        events = json.loads((self.take / "events.json").read_text())["events"]
        self.assertLess(len([event for event in events if event["k"] == "down"]), clicks)
        for event in events:
            self.assertGreaterEqual(event["t"], 0)

    def test_a_regions_places_are_its_own_to_the_pixel(self):
        self.server.place_pointer(150, 90)
        recording = self.start_events("--region", "100,60,120,90")
        self.xdotool("click", 1)
        self.xdotool("mousemove_relative", "--", -100, 60)
        self.finish(recording)
        self.assert_place(self.of_kind("down")[0], 50, 30, 120, 90)
        self.assert_place(self.of_kind("move")[-1], 0, 90, 120, 90)

    def test_a_server_without_the_input_extension_gives_one_warning_and_an_empty_track(self):
        self.assert_empty_track_without("XInputExtension")

    def test_a_server_that_records_nothing_gives_one_warning_and_an_empty_track(self):
        self.assert_empty_track_without("RECORD")

    def assert_empty_track_without(self, extension):
        proxy = self.started(ServerWithoutExtension(self.server, extension))
        recording = self.start_events(DISPLAY=proxy.display)
        self.xdotool("click", 1)
        time.sleep(1.2)
        output = self.finish(recording)
        self.assertEqual(output.error_lines, [UNPERMITTED])
        self.assertEqual(self.document["events"], [])
        self.assertEqual(self.document["display"]["capturePixelWidth"], self.WIDTH)


if __name__ == "__main__":
    unittest.main()
