"""`record --upload` and `upload` with the development server as it is."""

import json
import unittest

from support import tool
from support.case import EndToEndCase
from support.dev_server import PREFIX, DevServer
from support.tool import STATUS
from support.windows import BINARY


class DevServerUploadTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen(colour="336699")
        self.store = self.directory / "store"
        self.api = self.started(DevServer(self.store))

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def upload(self):
        return tool.run([BINARY, "upload", "--dir", self.take, "--api-base-url", self.api.address, "--recording-id",
                         "rec"], self.environment(), self.work)

    def test_recording_is_there_as_soon_as_it_ends(self):
        output = self.record("--api-base-url", self.api.address, "--recording-id", "rec", "-d", "3",
                             "--segment-duration", "0.5", "--background-upload-threshold", "0.5", "--record-events")
        self.assertIn("Glimto upload: background upload started", output.texts)
        self.assertEqual(output.texts[-1], STATUS + "uploaded")
        page = output.events("page_url")[-1]["pageUrl"]
        self.assertEqual(page, self.api.address + "/recordings/rec")
        self.assertEqual(self.api.request("GET", page)[0], 200)
        status, answer = self.api.api("GET", "/rec")
        self.assertEqual((status, answer["recording"]["state"]), (200, "uploaded"))
        manifest = json.loads(next(self.store.rglob("manifest.json")).read_text())
        self.assertEqual(len(manifest["segments"]), len(self.segments()))
        self.assertTrue(manifest["playlistKey"].startswith(PREFIX + "rec/"))

    def test_upload_that_failed_is_repeated(self):
        recording = self.start_recording("--api-base-url", self.api.address, "--recording-id", "rec", "-d", "1.5",
                                         "--no-background-upload")
        recording.wait_until_recording()
        port = self.api.port
        self.api.end()
        output = recording.finish()
        self.assertEqual(output.status, 1)
        self.assertEqual(output.events()[-1]["kind"], "upload_failed")
        self.api = self.started(DevServer(self.store, "--port", str(port)))
        output = self.upload()
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(output.texts[-1], STATUS + "uploaded")
        self.assert_fails(self.upload(), "Recording job is not pending upload.")


if __name__ == "__main__":
    unittest.main()
