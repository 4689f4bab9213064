"""One of everything, for builds with sanitizers: what they find ends the program and is told on standard error."""

import json
import unittest

from support.dev_server import PREFIX, DevServer
from support.pictures import read_png
from support.sound_case import MICROPHONE, MICROPHONE_FEED, SPEAKER, SoundCase
from support.tool import STATUS

LIMIT = 300  # seconds for one run


class TourTests(SoundCase):
    def setUp(self):
        super().setUp()
        self.painter = self.start_painter()
        self.painter.open("320x240+0+0", override=True).run_clock(20)
        self.store = self.directory / "store"
        self.api = self.started(DevServer(self.store))

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def upload_options(self):
        return ("--api-base-url", self.api.address, "--recording-id", "rec")

    def assert_clean(self, output):
        """Nothing was told but that a sanitizer made it too slow for a picture."""
        told = [line for line in output.error_lines if not line.startswith("warning: dropped or rejected ")]
        self.assertEqual((output.status, told), (0, []))

    def state(self):
        return self.api.api("GET", "/rec")[1]["recording"]["state"]

    def test_recording_with_sound_events_and_upload(self):
        self.play_tone(SPEAKER, 440, 60)
        self.play_tone(MICROPHONE_FEED, 1000, 60)
        recording = self.start_recording("--system-audio", "--microphone", MICROPHONE, "--record-events", "-d", "4",
                                         "--segment-duration", "1", "--background-upload-threshold", "1",
                                         *self.upload_options())
        recording.wait_until_recording()
        self.server.place_pointer(80, 60)
        self.server.run("xdotool", "click", 1)
        self.assert_clean(recording.finish(LIMIT))
        self.verify_contract()
        kinds = {event["k"] for event in json.loads((self.take / "events.json").read_text())["events"]}
        self.assertLessEqual({"down", "up"}, kinds)
        self.assertEqual(self.state(), "uploaded")

    def test_recording_that_a_signal_ends(self):
        recording = self.start_recording("-d", "60", "--segment-duration", "0.5")
        recording.wait_until_recording()
        recording.process.terminate()
        self.assert_clean(recording.finish(LIMIT))
        self.verify_contract()

    def test_upload_of_a_take_whose_first_upload_failed(self):
        recording = self.start_recording("-d", "2", "--no-background-upload", *self.upload_options())
        recording.wait_until_recording()
        port = self.api.port
        self.api.end()
        self.assertEqual(recording.finish(LIMIT).texts[-1], STATUS + "failed")
        self.api = self.started(DevServer(self.store, "--port", str(port)))
        output = self.run_tool("upload", "--dir", self.take, *self.upload_options(), limit=LIMIT)
        self.assert_clean(output)
        self.assertEqual(output.texts[-1], STATUS + "uploaded")
        self.assertTrue((self.store / "objects" / PREFIX / "rec/manifest.json").is_file())

    def test_screenshot_and_lists(self):
        picture = self.work / "picture.png"
        self.assert_clean(self.run_tool("screenshot", "-o", picture, limit=LIMIT))
        self.assertEqual(read_png(picture).width, 320)
        for words in (["help"], ["sources"], ["windows-json"], ["permission-json"]):
            with self.subTest(words):
                self.assert_clean(self.run_tool(*words, limit=LIMIT))


if __name__ == "__main__":
    unittest.main()
