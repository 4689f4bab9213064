"""The case that tests of the pointer's track build on."""

import json
import time

from support.case import EndToEndCase

CLOCKS = 0.003  # seconds that an event's time may be off
PIXEL = 1.001  # pixels that a place may be off


class Moment:
    """What was done, and between which monotonic seconds; the server's clock counts the same milliseconds."""

    def __init__(self, before, after):
        self.before = before
        self.after = after


class InputEventCase(EndToEndCase):
    WIDTH, HEIGHT = 320, 240

    def setUp(self):
        super().setUp()
        self.start()

    def start(self):
        self.start_screen(f"{self.WIDTH}x{self.HEIGHT}", "808080")

    def start_events(self, *arguments, **changes):
        """A recording that listens to the pointer and has its first frame behind it."""
        recording = self.start_recording("--until-stopped", "--stop-file", self.work / "stop", "--record-events",
                                         *arguments, **changes)
        recording.wait_until_recording()
        time.sleep(0.4)
        return recording

    def finish(self, recording):
        time.sleep(0.3)
        (self.work / "stop").touch()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.text = (self.take / "events.json").read_text()
        self.document = json.loads(self.text)
        self.first = self.document["clock"]["firstVideoSampleHostTimeNs"] / 1e9
        return output

    def of_kind(self, *kinds):
        return [event for event in self.document["events"] if event["k"] in kinds]

    def kinds(self):
        return [event["k"] for event in self.document["events"]]

    def xdotool(self, *words):
        before = time.monotonic()
        self.server.run("xdotool", *words)
        return Moment(before, time.monotonic())

    def do(self, pointer, steps):
        """What a TestPointer does, between the server's own times."""
        done = pointer.do(steps)
        # A stamp is the beginning of its millisecond.
        return Moment(done.before / 1000, (done.after + 1) / 1000)

    def place(self, event, width=None, height=None):
        return event["x"] * (width or self.WIDTH), event["y"] * (height or self.HEIGHT)

    def assert_place(self, event, x, y, width=None, height=None):
        seen_x, seen_y = self.place(event, width, height)
        self.assertAlmostEqual(seen_x, x, delta=PIXEL, msg=str(event))
        self.assertAlmostEqual(seen_y, y, delta=PIXEL, msg=str(event))

    def assert_within(self, event, moment, lateness=0.0):
        happened = self.first + event["t"] / 1000
        self.assertGreaterEqual(happened, moment.before - CLOCKS, str(event))
        self.assertLessEqual(happened, moment.after + CLOCKS + lateness, str(event))
