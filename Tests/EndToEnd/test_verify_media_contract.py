"""scripts/verify-media-contract.sh against takes that FFmpeg fabricates, whole ones and broken ones."""

import json
import math
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts" / "verify-media-contract.sh"
sys.path.insert(0, str(SCRIPT.parent))
import verify_media_contract  # noqa: E402
from take_files import Take  # noqa: E402

VIDEO_NOTES = ["Segments are emitted directly by AVAssetWriter using MPEG4AppleHLS profile.",
               "Screen video only; audio was not requested."]
SOUND_NOTES = [VIDEO_NOTES[0], "System audio was captured through ScreenCaptureKit and encoded as AAC."]


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *map(str, arguments)], check=True)


def hls(directory, inputs, encoder, seconds):
    """Segments of one track in `directory`; the manifest's list of them."""
    directory.mkdir(parents=True)
    ffmpeg(*inputs, *encoder, "-f", "hls", "-hls_segment_type", "fmp4", "-hls_time", seconds,
           "-hls_playlist_type", "vod", "-hls_fmp4_init_filename", "init.mp4",
           "-hls_segment_filename", directory / "segment_%03d.m4s", directory / "made.m3u8")
    made = (directory / "made.m3u8").read_text()
    (directory / "made.m3u8").unlink()
    segments = []
    start = 0.0
    for index, duration in enumerate(map(float, re.findall(r"#EXTINF:([0-9.]+),", made))):
        path = directory / f"segment_{index:03d}.m4s"
        segments.append({"index": index, "key": f"segments/{directory.name}/{path.name}", "duration": duration,
                         "bytes": path.stat().st_size, "earliestPresentationTime": round(start, 6)})
        start += duration
    return segments


def media_playlist(segments, prefix):
    longest = max(segment["duration"] for segment in segments)
    lines = ["#EXTM3U", "#EXT-X-VERSION:7", f"#EXT-X-TARGETDURATION:{max(1, math.ceil(longest))}",
             "#EXT-X-MEDIA-SEQUENCE:0", "#EXT-X-INDEPENDENT-SEGMENTS", f'#EXT-X-MAP:URI="{prefix}init.mp4"']
    for segment in segments:
        lines += ["#EXTINF:%.6f," % segment["duration"], prefix + segment["key"].rsplit("/", 1)[1]]
    return "\n".join([*lines, "#EXT-X-ENDLIST"]) + "\n"


def make_take(root, width=161, height=121, keyframe_interval=30, sound=False, sound_seconds=3.0,
              b_pictures=0):
    """Three seconds in segments of one second, of an odd size padded to even."""
    padded = (width + width % 2, height + height % 2)
    video = hls(root / "segments" / "video",
                ["-f", "lavfi", "-i", f"testsrc=size={padded[0]}x{padded[1]}:rate=30", "-t", 3],
                ["-c:v", "libx264", "-profile:v", "high", "-pix_fmt", "yuv420p", "-bf", b_pictures,
                 "-g", keyframe_interval, "-sc_threshold", 0, "-threads", 1], 1)
    manifest = {"manifestVersion": 1, "createdAt": "2024-01-31T15:45:02.123Z", "state": "complete",
                "initSegmentKey": "segments/video/init.mp4", "playlistKey": "segments/playlist.m3u8",
                "preferredSegmentDuration": 1.0, "totalDuration": sum(s["duration"] for s in video),
                "totalBytes": sum(s["bytes"] for s in video), "segments": video, "notes": VIDEO_NOTES,
                "video": {"source": "screen:0", "codec": "h264", "container": "fmp4", "width": width,
                          "height": height, "framesPerSecond": 30, "hasAudio": sound}}
    if sound:
        add_sound(root, manifest, sound_seconds)
    else:
        (root / "segments" / "playlist.m3u8").write_text(media_playlist(video, "video/"))
    ffmpeg("-f", "lavfi", "-i", f"testsrc=size={width}x{height}", "-frames:v", 1, root / "thumbnail.jpg")
    write_manifest(root, manifest)


def add_sound(root, manifest, seconds):
    audio = hls(root / "segments" / "audio", ["-f", "lavfi", "-i", "sine=sample_rate=48000", "-t", seconds],
                ["-c:a", "aac", "-ac", 2], 1)
    for segment in audio:
        del segment["earliestPresentationTime"]  # the encoder's delay shifts it
    manifest["audio"] = {"source": "system", "codec": "aac", "sampleRate": 48000, "channelCount": 2,
                         "initSegmentKey": "segments/audio/init.mp4",
                         "playlistKey": "segments/audio/playlist.m3u8", "segmentCount": len(audio)}
    manifest["audioSegments"] = audio
    manifest["totalBytes"] += sum(s["bytes"] for s in audio)
    manifest["notes"] = SOUND_NOTES
    (root / "segments/video/playlist.m3u8").write_text(media_playlist(manifest["segments"], ""))
    (root / "segments/audio/playlist.m3u8").write_text(media_playlist(audio, ""))
    video = manifest["video"]
    (root / "segments/playlist.m3u8").write_text(
        '#EXTM3U\n#EXT-X-VERSION:7\n#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID="system-audio",NAME="Audio",DEFAULT=YES,'
        'AUTOSELECT=YES,URI="audio/playlist.m3u8"\n'
        f'#EXT-X-STREAM-INF:BANDWIDTH=16000000,RESOLUTION={video["width"]}x{video["height"]},FRAME-RATE=30,'
        'CODECS="avc1.640028,mp4a.40.2",AUDIO="system-audio"\nvideo/playlist.m3u8\n')


def make_events(root, change=lambda document: None):
    """An events.json that belongs to make_take()'s take, as `change` leaves it."""
    document = {"version": 1,
                "clock": {"firstVideoSamplePtsValue": 7_000_000_001, "firstVideoSamplePtsTimescale": 1_000_000_000,
                          "firstVideoSampleHostTimeNs": 7_000_000_001},
                "display": {"capturePixelWidth": 161, "capturePixelHeight": 121, "pointScale": 1.0},
                "cursorHidden": True,
                "events": [{"t": 0.0, "k": "move", "x": 0.0, "y": 1.0},
                           {"t": 500.0, "k": "down", "x": 0.25, "y": 0.5, "button": 0},
                           {"t": 500.0, "k": "up", "x": 0.25, "y": 0.5, "button": 1},
                           {"t": 501.25, "k": "scroll", "x": 0.25, "y": 0.5, "dx": 0.0, "dy": -1.0}]}
    change(document)
    (root / "events.json").write_text(json.dumps(document, separators=(",", ":")))


def read_manifest(root):
    return json.loads((root / "manifest.json").read_text())


def write_manifest(root, manifest):
    (root / "manifest.json").write_text(json.dumps(manifest, indent=2, sort_keys=True))


class VerifyMediaContractTests(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.whole = Path(cls.directory.name) / "whole"
        make_take(cls.whole)

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    def setUp(self):
        self.work = Path(tempfile.mkdtemp(dir=self.directory.name))
        self.take = self.work / "take"
        shutil.copytree(self.whole, self.take)

    def verify(self, *arguments):
        return subprocess.run([SCRIPT, *map(str, arguments)], capture_output=True, text=True, timeout=120)

    def edit(self, change):
        manifest = read_manifest(self.take)
        change(manifest)
        write_manifest(self.take, manifest)

    def assertRefused(self, *names):
        """The take is refused, and the failing checks are exactly `names`."""
        run = self.verify(self.take)
        written = json.loads((self.take / "verification.json").read_text())
        failing = [check["name"] for check in written["checks"] if not check["passed"]]
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertFalse(written["passed"])
        self.assertEqual(failing, list(names), run.stdout)
        return written

    def segment(self, index):
        return self.take / f"segments/video/segment_{index:03d}.m4s"

    # Whole takes

    def test_a_whole_take_passes_and_leaves_its_results(self):
        run = self.verify(self.take)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertNotIn("FAIL", run.stdout)
        written = json.loads((self.take / "verification.json").read_text())
        self.assertTrue(written["passed"])
        self.assertEqual({key for check in written["checks"] for key in check},
                         {"name", "expected", "found", "passed"})
        for name in ("result.ffprobe.json", "playlist.ffprobe.json"):
            probe = json.loads((self.take / name).read_text())
            self.assertEqual(len(probe["packets"]), 90)
            self.assertEqual(probe["streams"][0]["width"], 162)
            self.assertIn("format", probe)
        self.assertGreater((self.take / "result.mp4").stat().st_size, 0)
        self.assertEqual([path.name for path in self.take.iterdir() if path.name.startswith(".")], [])

    def test_a_take_with_sound_passes(self):
        take = self.work / "sound"
        make_take(take, sound=True)
        run = self.verify(take)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertEqual(len(json.loads((take / "result.ffprobe.json").read_text())["streams"]), 2)

    def test_sound_that_ends_before_the_video_is_refused(self):
        self.take = self.work / "sound"
        make_take(self.take, sound=True, sound_seconds=2.9)
        self.assertRefused("audio ends with the video")

    def test_sound_that_ends_after_the_video_is_refused(self):
        self.take = self.work / "sound"
        make_take(self.take, sound=True, sound_seconds=3.1)
        self.assertRefused("audio ends with the video")

    def test_pictures_that_are_decoded_in_another_order_keep_their_times(self):
        take = self.work / "reordered"
        make_take(take, b_pictures=2)
        self.verify(take)
        packets = json.loads((take / "result.ffprobe.json").read_text())["packets"]
        late = [packet for packet in packets if packet["pts_time"] != packet["dts_time"]]
        self.assertGreater(len(late), 10)

    def test_a_take_without_thumbnail_passes(self):
        (self.take / "thumbnail.jpg").unlink()
        self.assertEqual(self.verify(self.take).returncode, 0)

    def test_a_take_with_input_events_passes(self):
        make_events(self.take)
        run = self.verify(self.take)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertRegex(run.stdout, "PASS  input events +4 events")

    def test_a_take_with_an_empty_list_of_input_events_passes(self):
        make_events(self.take, lambda document: document.update(events=[]))
        self.assertEqual(self.verify(self.take).returncode, 0)

    def test_the_result_of_an_earlier_run_does_not_outlive_a_failure(self):
        self.verify(self.take)
        self.segment(1).unlink()
        self.verify(self.take)
        self.assertFalse((self.take / "result.mp4").exists())
        self.assertFalse((self.take / "result.ffprobe.json").exists())

    def test_nothing_but_path_and_an_empty_home_is_needed(self):
        run = subprocess.run([SCRIPT, self.take], capture_output=True, text=True, timeout=120, env={})
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)

    # Misuse

    def test_no_directory_is_misuse(self):
        run = self.verify()
        self.assertEqual(run.returncode, 2)
        self.assertEqual(run.stderr, "usage: scripts/verify-media-contract.sh <output-dir>\n")

    def test_a_missing_directory_is_misuse(self):
        run = self.verify(self.work / "nothing")
        self.assertEqual(run.returncode, 2)
        self.assertIn("is not a directory.", run.stderr)

    def test_a_directory_without_a_take_is_misuse_and_stays_untouched(self):
        (self.work / "other").mkdir()
        (self.work / "other/result.mp4").write_text("mine")
        run = self.verify(self.work / "other")
        self.assertEqual(run.returncode, 2)
        self.assertIn("is not a take", run.stderr)
        self.assertEqual((self.work / "other/result.mp4").read_text(), "mine")

    # Broken takes

    def test_a_take_without_manifest_is_refused(self):
        (self.take / "manifest.json").unlink()
        self.assertRefused("manifest is readable")

    def test_a_missing_segment_is_refused(self):
        self.segment(1).unlink()
        self.assertRefused("video files", "video segment sizes", "total bytes", "media")

    def test_a_truncated_segment_is_refused(self):
        data = self.segment(1).read_bytes()
        self.segment(1).write_bytes(data[:-100])
        written = self.assertRefused("video files", "video segment sizes", "total bytes", "media")
        found = next(check["found"] for check in written["checks"] if check["name"] == "video files")
        self.assertEqual(found, "segment_001.m4s: box mdat is cut off, 100 bytes are missing")

    def test_a_wrong_size_in_the_manifest_is_refused(self):
        self.edit(lambda manifest: manifest["segments"][0].update(bytes=1))
        self.assertRefused("video segment sizes")

    def test_a_wrong_sum_of_bytes_is_refused(self):
        self.edit(lambda manifest: manifest.update(totalBytes=manifest["totalBytes"] + 1))
        self.assertRefused("total bytes")

    def test_a_segment_beside_the_manifest_is_refused(self):
        shutil.copy(self.segment(0), self.segment(7))
        self.assertRefused("video files beside the manifest")

    def test_segments_that_do_not_start_with_a_keyframe_are_refused(self):
        take = self.work / "cut"
        make_take(take, keyframe_interval=90)
        # One fragment a frame lets the three seconds be cut anywhere.
        video = take / "segments/video"
        for path in video.iterdir():
            path.unlink()
        ffmpeg("-f", "lavfi", "-i", "testsrc=size=162x122:rate=30", "-t", 3, "-c:v", "libx264", "-profile:v", "high",
               "-pix_fmt", "yuv420p", "-bf", 0, "-g", 90, "-movflags", "frag_every_frame+empty_moov+default_base_moof",
               self.work / "whole.mp4")
        cut_everywhere(self.work / "whole.mp4", take)
        self.take = take
        written = self.assertRefused("video segments start with a keyframe")
        found = next(check["found"] for check in written["checks"] if not check["passed"])
        self.assertEqual(found, "segments/video/segment_001.m4s does not start with a keyframe")

    def test_segments_in_the_wrong_order_are_refused(self):
        first, second = self.segment(0).read_bytes(), self.segment(1).read_bytes()
        self.segment(0).write_bytes(second)
        self.segment(1).write_bytes(first)
        self.edit(lambda manifest: (manifest["segments"][0].update(bytes=len(second)),
                                    manifest["segments"][1].update(bytes=len(first))))
        run = self.verify(self.take)
        self.assertEqual(run.returncode, 1)
        self.assertIn("FAIL  video time stamps rise", run.stdout)

    def test_damaged_pictures_are_refused(self):
        data = bytearray(self.segment(1).read_bytes())
        at = data.index(b"mdat") + 400
        data[at : at + 200] = bytes(b ^ 0x5A for b in data[at : at + 200])
        self.segment(1).write_bytes(data)
        run = self.verify(self.take)
        self.assertEqual(run.returncode, 1)
        self.assertIn("FAIL  whole take decodes", run.stdout)

    def test_a_wrong_start_time_of_a_segment_is_refused(self):
        self.edit(lambda manifest: manifest["segments"][1].update(earliestPresentationTime=1.01))
        self.assertRefused("video earliest presentation times")

    def test_a_duration_that_the_media_does_not_have_is_refused(self):
        def change(manifest):
            manifest["segments"][2]["duration"] += 0.1
            manifest["totalDuration"] += 0.1

        self.edit(change)
        segments = read_manifest(self.take)["segments"]
        (self.take / "segments/playlist.m3u8").write_text(media_playlist(segments, "video/"))
        self.assertRefused("video segment durations", "video media duration", "joined duration")

    def test_a_wrong_total_duration_is_refused(self):
        self.edit(lambda manifest: manifest.update(totalDuration=4.0))
        self.assertRefused("total duration", "joined duration")

    def test_a_wrong_picture_size_is_refused(self):
        self.edit(lambda manifest: manifest["video"].update(width=163))
        self.assertRefused("thumbnail", "picture size")

    def test_a_broken_thumbnail_is_refused(self):
        (self.take / "thumbnail.jpg").write_bytes((self.take / "thumbnail.jpg").read_bytes()[:-10])
        self.assertRefused("thumbnail")

    def test_a_wrong_target_duration_is_refused(self):
        playlist = self.take / "segments/playlist.m3u8"
        playlist.write_text(playlist.read_text().replace("TARGETDURATION:1", "TARGETDURATION:2"))
        self.assertRefused("video playlist text", "video target duration")

    def test_a_playlist_without_its_end_is_refused(self):
        playlist = self.take / "segments/playlist.m3u8"
        playlist.write_text(playlist.read_text().replace("#EXT-X-ENDLIST\n", ""))
        self.assertRefused("video playlist text", "video playlist ends", "media")

    # Hostile takes

    def test_a_manifest_that_is_no_json_is_refused(self):
        for text in ("", "{", "[" * 100000, '{"totalDuration": NaN}', "null", '"\ud800"'.encode("utf-8", "replace").decode()):
            with self.subTest(text=text[:20]):
                (self.take / "manifest.json").write_text(text)
                self.assertEqual(self.verify(self.take).returncode, 1)

    def test_values_of_the_wrong_kind_are_refused(self):
        for key, value in (("segments", []), ("segments", [1]), ("video", None), ("totalDuration", "3"),
                           ("totalDuration", 1e300), ("totalBytes", True), ("createdAt", "yesterday"),
                           ("notes", "none"), ("audio", {}), ("manifestVersion", 2)):
            with self.subTest(key=key, value=value):
                write_manifest(self.take, {**read_manifest(self.whole), key: value})
                self.assertRefused("manifest keys")

    def test_no_file_outside_the_take_is_followed(self):
        secret = self.work / "secret.m4s"
        shutil.copy(self.segment(1), secret)
        for key in ("../secret.m4s", str(secret), "segments/../../secret.m4s", "segments//video/segment_001.m4s",
                    "file:segment", "segments/video/segment_001.m4s\n", ""):
            with self.subTest(key=key):
                write_manifest(self.take, read_manifest(self.whole))
                self.edit(lambda manifest, key=key: manifest["segments"][1].update(key=key))
                self.assertEqual(self.verify(self.take).returncode, 1)
                self.assertFalse((self.take / "result.mp4").exists())

    def test_a_link_out_of_the_take_is_not_followed(self):
        outside = self.work / "outside.m4s"
        shutil.move(self.segment(1), outside)
        self.segment(1).symlink_to(outside)
        self.assertRefused("video files", "video segment sizes", "total bytes", "media")

    def test_a_pipe_in_the_place_of_a_segment_does_not_hang(self):
        self.segment(1).unlink()
        os.mkfifo(self.segment(1))
        self.assertRefused("video files", "video segment sizes", "total bytes", "media")

    def test_a_playlist_that_names_other_files_is_not_played(self):
        playlist = self.take / "segments/playlist.m3u8"
        text = playlist.read_text()
        for change in (text.replace("video/segment_001.m4s", "../../secret.m4s"),
                       text.replace("video/segment_001.m4s", "http://localhost:9/x.m4s"),
                       text.replace("#EXTINF", '#EXT-X-KEY:METHOD=AES-128,URI="file:///etc/hostname"\n#EXTINF', 1)):
            playlist.write_text(change)
            self.assertRefused("video playlist text", "video playlist addresses", "media")

    def test_a_playlist_in_the_place_of_a_segment_is_not_played(self):
        text = b"#EXTM3U\n#EXTINF:1,\n/etc/hostname\n"
        self.segment(1).write_bytes(text)
        self.assertRefused("video files", "video segment sizes", "total bytes", "media")

    def test_a_link_in_the_place_of_a_result_is_replaced_and_not_written_through(self):
        victim = self.work / "victim"
        victim.write_text("mine")
        for name in ("result.mp4", "result.ffprobe.json", "verification.json"):
            (self.take / name).symlink_to(victim)
        self.assertEqual(self.verify(self.take).returncode, 0)
        self.assertEqual(victim.read_text(), "mine")


class VerifyInputEventsTests(unittest.TestCase):
    """events.json without the rest of its take."""

    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.root = Path(self.directory.name)

    def failing(self, change=lambda document: None):
        """Names of the checks that fail."""
        make_events(self.root, change)
        return self.failing_now()

    def failing_now(self):
        report = verify_media_contract.Report()
        verify_media_contract.check_events(report, Take(self.root), {"width": 161, "height": 121})
        return [check["name"] for check in report.checks if not check["passed"]]

    def assert_event_refused(self, event):
        with self.subTest(event=event):
            self.assertEqual(self.failing(lambda document: document["events"].append(event)), ["input events"])

    def test_a_right_document_passes(self):
        self.assertEqual(self.failing(), [])

    def test_no_document_is_no_check(self):
        self.assertEqual(self.failing_now(), [])

    def test_what_is_no_document_is_refused(self):
        for text in ("", "[]", "{", "null", '{"version":1}'):
            (self.root / "events.json").write_text(text)
            self.assertEqual(self.failing_now(), ["input events keys"])

    def test_wrong_keys_are_refused(self):
        for key, value in (("version", 2), ("version", True), ("clock", None), ("display", []), ("cursorHidden", 1),
                           ("events", {})):
            with self.subTest(key=key, value=value):
                self.assertEqual(self.failing(lambda document: document.update({key: value})), ["input events keys"])
        for part, key, value in (("clock", "firstVideoSamplePtsTimescale", 0),
                                 ("clock", "firstVideoSampleHostTimeNs", 7.5),
                                 ("clock", "firstVideoSamplePtsValue", "7"), ("display", "pointScale", 0),
                                 ("display", "capturePixelWidth", -161)):
            with self.subTest(key=key, value=value):
                self.assertEqual(self.failing(lambda document: document[part].update({key: value})),
                                 ["input events keys"])
        self.assertEqual(self.failing(lambda document: document.pop("cursorHidden")), ["input events keys"])

    def test_a_size_other_than_the_pictures_is_refused(self):
        self.assertEqual(self.failing(lambda document: document["display"].update(capturePixelHeight=122)),
                         ["input events picture size"])

    def test_a_clock_of_two_moments_is_refused(self):
        self.assertEqual(self.failing(lambda document: document["clock"].update(firstVideoSamplePtsValue=7_000_000_003)),
                         ["input events clock"])

    def test_a_clock_is_as_exact_as_its_timescale(self):
        def change(document):
            document["clock"] = {"firstVideoSamplePtsValue": 630_001, "firstVideoSamplePtsTimescale": 90_000,
                                 "firstVideoSampleHostTimeNs": 7_000_011_111}

        self.assertEqual(self.failing(change), [])

    def test_events_that_are_wrong_are_refused(self):
        move = {"t": 600.0, "k": "move", "x": 0.5, "y": 0.5}
        for change in ({"t": -1.0}, {"t": 501.0}, {"t": "600"}, {"k": "drag"}, {"k": None}, {"x": 1.001},
                       {"y": -0.001}, {"y": True}, {"button": 0}, {"dx": 1.0}, {"k": "down"},
                       {"k": "down", "button": 2}, {"k": "up", "button": 0, "dy": 1.0}, {"k": "scroll", "dx": 1.0}):
            self.assert_event_refused({**move, **change})
        self.assert_event_refused({"t": 600.0, "k": "move", "x": 0.5})
        self.assert_event_refused(7)


def cut_everywhere(whole, take):
    """Cuts a file of one fragment a frame into segments of 30 frames, whatever frames those are."""
    data = whole.read_bytes()
    pieces = []
    at = 0
    while at < len(data):
        length = int.from_bytes(data[at : at + 4], "big")
        pieces.append((data[at + 4 : at + 8], data[at : at + length]))
        at += length
    video = take / "segments/video"
    (video / "init.mp4").write_bytes(b"".join(data for kind, data in pieces if kind in (b"ftyp", b"moov")))
    media = [data for kind, data in pieces if kind in (b"moof", b"mdat")]
    manifest = read_manifest(take)
    manifest["segments"] = []
    for index in range(3):
        segment = b"".join(media[60 * index : 60 * (index + 1)])
        (video / f"segment_{index:03d}.m4s").write_bytes(segment)
        manifest["segments"].append({"index": index, "key": f"segments/video/segment_{index:03d}.m4s",
                                     "duration": 1.0, "bytes": len(segment), "earliestPresentationTime": float(index)})
    manifest["totalDuration"] = 3.0
    manifest["totalBytes"] = sum(segment["bytes"] for segment in manifest["segments"])
    write_manifest(take, manifest)
    (take / "segments/playlist.m3u8").write_text(media_playlist(manifest["segments"], "video/"))


if __name__ == "__main__":
    unittest.main()
