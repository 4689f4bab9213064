"""`record --upload` of a take with sound, to the development server."""

import json
import unittest

from support.dev_server import PREFIX, DevServer
from support.sound_case import SPEAKER, SoundCase
from support.tool import STATUS


class SoundUploadTests(SoundCase):
    def setUp(self):
        super().setUp()
        self.store = self.directory / "store"
        self.api = self.started(DevServer(self.store))

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def objects(self):
        """What the server has, by the key within the recording."""
        root = self.store / "objects" / PREFIX / "rec"
        return {path.relative_to(root).as_posix(): path.read_bytes() for path in root.rglob("*") if path.is_file()}

    def test_sound_arrives_with_the_picture(self):
        self.play_tone(SPEAKER, 440)
        output = self.record("--system-audio", "--api-base-url", self.api.address, "--recording-id", "rec", "-d", "3",
                             "--segment-duration", "0.5", "--background-upload-threshold", "0.5")
        self.assertEqual(output.texts[-1], STATUS + "uploaded")
        objects = self.objects()
        manifest = json.loads(objects.pop("manifest.json"))
        files = {path.relative_to(self.take).as_posix(): path.read_bytes() for path in self.take.rglob("*")
                 if path.is_file() and not path.name.startswith(".")}
        for name in ("manifest.json", "upload-job.json"):
            del files[name]
        self.assertEqual(sorted(objects), sorted(files))
        self.assertEqual(objects, files)
        for name in ("playlist.m3u8", "video/playlist.m3u8", "audio/playlist.m3u8", "audio/init.mp4"):
            self.assertIn("segments/" + name, objects)

        local = self.manifest()
        keys = [segment["key"] for name in ("segments", "audioSegments") for segment in local[name]]
        self.assertGreater(len(local["audioSegments"]), 2)
        self.assertEqual([segment["key"] for segment in manifest["audioSegments"]],
                         [PREFIX + "rec/" + segment["key"] for segment in local["audioSegments"]])
        # The server checks what it requires and what the manifest names: itself, and initialization segment and
        # playlist of the picture and of the sound.
        named = {"manifest.json", local["initSegmentKey"], local["playlistKey"], local["audio"]["initSegmentKey"],
                 local["audio"]["playlistKey"], *keys}
        self.assertIn(f"Checked objects: {len(named)}", output.texts)
        self.assertEqual(output.events("page_url")[-1]["checkedObjectCount"], len(named))
        sent = [text for text in output.texts if text.startswith("Uploaded object: ")]
        self.assertEqual(len(sent), len(set(sent)))
        self.assertEqual(len(sent), len(objects) + 1)
        self.assert_whole_take()


if __name__ == "__main__":
    unittest.main()
