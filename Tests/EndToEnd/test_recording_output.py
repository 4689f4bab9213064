"""The lines of a recording, which a driving program reads as they come."""

import fcntl
import json
import os
import re
import subprocess
import time
import unittest

from support.case import EndToEndCase
from support.tool import STATUS, TIME_STAMP
from support.windows import BINARY

GRANTED = {"preflightGranted": True, "screenRecording": "granted"}


def lifecycle(kind, **fields):
    return {"schemaVersion": 1, "type": "recording_lifecycle", "kind": kind, "timestamp": "TIME", **fields}


def normalised(text):
    """A line, or the event that it holds with its time taken out."""
    if not text.startswith("{"):
        return text
    event = json.loads(text)
    if "timestamp" in event and TIME_STAMP.match(event["timestamp"]):
        event["timestamp"] = "TIME"
    return event


class RecordingOutputTests(EndToEndCase):
    def test_lines_of_a_whole_recording_come_in_order(self):
        self.start_screen("320x240")
        output = self.record("-d", "1.0", "-r", "25", "--segment-duration", "0.5", "--stdout-json",
                             "--stop-file", "never")
        take = str(self.take)
        metadata = {"path": take, "playlistPath": f"{take}/segments/playlist.m3u8",
                    "manifestPath": f"{take}/manifest.json", "thumbnailPath": f"{take}/thumbnail.jpg",
                    "width": 320, "height": 240, "framesPerSecond": 25, "videoSegmentCount": len(self.segments()),
                    "audioSegmentCount": 0, "includesSystemAudio": False, "requestedSystemAudio": False,
                    "includesAudioSegments": False, "sourceDescription": "screen:0"}
        self.assertEqual([normalised(text) for text in output.texts], [
            lifecycle("launched"),
            lifecycle("capture_starting", stage="shareable_content", permission=GRANTED),
            "Recording screen:0 for 1.0s",
            f"Output: {take}",
            "Video: H.264 fMP4, 320x240, 25 fps, ~0.5s segments",
            "Audio: none",
            f"Stop file: {self.work}/never",
            lifecycle("capture_starting", stage="stream_start", permission=GRANTED),
            lifecycle("recording", state="recording"),
            STATUS + "recording",
            lifecycle("stopping_capture"),
            "Glimto stop: stopping capture stream",
            STATUS + "stopped",
            lifecycle("finalizing", state="finalizing"),
            "Glimto stop: finishing segment writer",
            "Glimto stop: waiting for thumbnail",
            "Glimto stop: writing playlists and manifest",
            f"Captured {len(self.segments())} segment(s)",
            f"Playlist: {take}/segments/playlist.m3u8",
            f"Manifest: {take}/manifest.json",
            f"Thumbnail: {take}/thumbnail.jpg",
            f"Verify: scripts/verify-media-contract.sh {take}",
            lifecycle("completed", state="completed"),
            metadata,
        ])
        self.assertEqual(output.errors, "")

    def test_json_lines_are_compact_with_sorted_keys_and_plain_slashes(self):
        self.start_screen()
        output = self.record("-d", "0.5", "--stdout-json")
        documents = [text for text in output.texts if text.startswith("{")]
        self.assertGreaterEqual(len(documents), 7)
        for text in documents:
            self.assertEqual(text, json.dumps(json.loads(text), sort_keys=True, separators=(",", ":")))

    def test_lines_arrive_while_the_recording_runs(self):
        self.start_screen()
        stop_file = self.work / "stop"
        recording = self.start_recording("--until-stopped", "--stop-file", stop_file)
        recording.wait_until_recording()
        self.assertIsNone(recording.line_with("stopping_capture"))
        stop_file.touch()
        self.assertEqual(recording.finish().status, 0)

    def test_failure_ends_with_the_event_the_status_and_the_error_line(self):
        self.start_screen()
        output = self.start_recording("--display", "7").finish()
        self.assert_fails(output, "No display at index 7. Run `glimto-capture sources`.")
        self.assertEqual(len(output.error_lines), 1)
        self.assertEqual(output.texts[-1], STATUS + "failed")
        failed = json.loads(output.texts[-2])
        self.assertEqual(failed["kind"], "recording_failed")
        self.assertEqual(failed["error"]["code"], "recording_failed")
        self.assertEqual(failed["error"]["message"], "No display at index 7. Run `glimto-capture sources`.")
        self.assertEqual(sorted(failed["error"]), ["code", "domain", "message", "nsCode", "type"])

    def test_default_output_directory_is_named_by_the_time_below_the_current_directory(self):
        self.start_screen()
        output = self.run_tool("record", "-d", "0.3")
        self.assertEqual(output.status, 0, output.errors)
        takes = list((self.work / ".glimto-runs").iterdir())
        self.assertEqual(len(takes), 1)
        self.assertRegex(takes[0].name, r"\Acapture-\d{8}-\d{6}\Z")
        self.assertTrue((takes[0] / "manifest.json").is_file())

    def test_manifest_is_pretty_with_sorted_keys_and_describes_the_segments(self):
        self.start_screen("100x80")
        self.record("-d", "1.2", "--segment-duration", "0.5", "-r", "20")
        text = (self.take / "manifest.json").read_text()
        manifest = json.loads(text)
        self.assertEqual(text.rstrip("\n").count("\n") + 1, len(json.dumps(manifest, indent=2).splitlines()))
        self.assertEqual(list(manifest), sorted(manifest))
        self.assertRegex(manifest["createdAt"], TIME_STAMP)
        self.assertEqual(manifest["notes"], [
            "Segments are emitted directly by AVAssetWriter using MPEG4AppleHLS profile.",
            "Screen video only; audio was not requested."])
        self.assertEqual(manifest["video"], {"source": "screen:0", "codec": "h264", "container": "fmp4", "width": 100,
                                             "height": 80, "framesPerSecond": 20, "hasAudio": False})
        self.assertEqual([segment["key"] for segment in manifest["segments"]],
                         [f"segments/video/{name}" for name in self.segments()])
        self.assertEqual([segment["bytes"] for segment in manifest["segments"]],
                         [(self.take / segment["key"]).stat().st_size for segment in manifest["segments"]])
        self.assertEqual(manifest["totalBytes"], sum(segment["bytes"] for segment in manifest["segments"]))
        self.assertAlmostEqual(manifest["totalDuration"], sum(s["duration"] for s in manifest["segments"]), places=6)
        self.assertNotIn("audio", manifest)
        self.assertNotIn("audioSegments", manifest)

    def test_playlist_lists_every_segment_with_its_length(self):
        self.start_screen()
        self.record("-d", "1.2", "--segment-duration", "0.5")
        segments = self.manifest()["segments"]
        expected = ["#EXTM3U", "#EXT-X-VERSION:7", "#EXT-X-TARGETDURATION:1", "#EXT-X-MEDIA-SEQUENCE:0",
                    "#EXT-X-INDEPENDENT-SEGMENTS", '#EXT-X-MAP:URI="video/init.mp4"']
        for segment in segments:
            expected += ["#EXTINF:%.6f," % segment["duration"], re.sub("^segments/", "", segment["key"])]
        text = (self.take / "segments/playlist.m3u8").read_text()
        self.assertEqual(text, "\n".join([*expected, "#EXT-X-ENDLIST"]) + "\n")


class OverwriteTests(EndToEndCase):
    def test_directory_with_a_take_is_refused_and_left_alone(self):
        self.start_screen()
        self.record("-d", "0.3")
        before = {path: path.stat().st_mtime_ns for path in self.take.rglob("*")}
        output = self.start_recording("-d", "0.3").finish()
        self.assert_fails(output, "Output directory already contains proof artifacts: segments, manifest.json, "
                                  "thumbnail.jpg. Use --overwrite or choose a new directory.")
        self.assertEqual({path: path.stat().st_mtime_ns for path in self.take.rglob("*")}, before)

    def test_verification_result_alone_is_refused_and_cleared_with_overwrite(self):
        self.start_screen()
        self.take.mkdir()
        (self.take / "verification.json").write_text("{}")
        output = self.start_recording("-d", "0.3").finish()
        self.assert_fails(output, "Output directory already contains proof artifacts: verification.json. "
                                  "Use --overwrite or choose a new directory.")
        self.record("-d", "0.3", "--overwrite")
        self.assertFalse((self.take / "verification.json").exists())

    def test_overwrite_replaces_the_old_take_and_keeps_other_files(self):
        self.start_screen()
        self.record("-d", "1.2", "--segment-duration", "0.3")
        (self.take / "notes.txt").write_text("mine")
        first = self.segments()
        self.record("-d", "0.3", "-w")
        self.assertLess(len(self.segments()), len(first))
        self.assertEqual((self.take / "notes.txt").read_text(), "mine")
        self.verify_contract()

    def test_unrelated_files_do_not_stand_in_the_way(self):
        self.start_screen()
        self.take.mkdir()
        (self.take / "notes.txt").write_text("mine")
        self.record("-d", "0.3")
        self.assertEqual((self.take / "notes.txt").read_text(), "mine")


class OutputPathTests(EndToEndCase):
    def test_unusual_names_of_the_output_directory_are_kept(self):
        self.start_screen()
        for name in ("sp ace/\u00fc'\"x", "new\nline", "a/b/c"):
            with self.subTest(name=name):
                self.take = self.work / name
                output = self.run_tool("record", "-o", self.take, "-d", "0.3", "--stdout-json")
                self.assertEqual(output.status, 0, output.errors)
                self.assertEqual(json.loads(output.texts[-1])["path"], str(self.take))
                self.verify_contract()

    def test_directory_name_that_is_no_text_gives_well_formed_json(self):
        self.start_screen()
        name = os.fsdecode(b"ta\xffke")
        output = self.run_tool("record", "-o", name, "-d", "0.3", "--stdout-json", "--stop-file", "plain")
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(json.loads(output.texts[-1])["path"], str(self.work / "ta\ufffdke"))
        self.assertTrue((self.work / name / "manifest.json").is_file())

    def test_relative_path_is_told_as_an_absolute_one_without_dots(self):
        self.start_screen()
        output = self.run_tool("record", "-o", "a/b/../c/./d/", "-d", "0.3")
        self.assertEqual(output.status, 0, output.errors)
        self.assertIn(f"Output: {self.work}/a/c/d", output.texts)
        self.assertTrue((self.work / "a/c/d/manifest.json").is_file())

    def test_step_back_behind_a_link_leads_to_where_the_shell_goes(self):
        self.start_screen("320x240")
        (self.work / "far" / "target").mkdir(parents=True)
        (self.work / "link").symlink_to("far/target")
        self.take.mkdir()
        (self.take / "manifest.json").write_text("an old take")
        output = self.run_tool("record", "-w", "-d", "0.5", "-o", "link/../take")
        self.assertEqual(output.status, 0, output.errors)
        self.assertTrue((self.work / "far" / "take" / "manifest.json").exists())
        self.assertEqual((self.take / "manifest.json").read_text(), "an old take")

    def test_umask_says_who_may_read_a_take(self):
        self.start_screen("320x240")
        for umask, mode in ((0o022, 0o644), (0o077, 0o600)):
            self.start_recording("-w", "-d", "1", "--record-events", options={"umask": umask}).finish()
            files = [path for path in self.take.rglob("*") if path.is_file()]
            self.assertGreater(len(files), 5)
            self.assertEqual({oct(path.stat().st_mode & 0o777) for path in files}, {oct(mode)})

    def test_terminal_and_pipes_that_nobody_reads_do_not_hold_a_recording_up(self):
        self.start_screen("320x240")
        terminal, ours = os.openpty()
        reading, writing = os.pipe()
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        try:
            for output, errors in ((ours, writing), (writing, ours)):
                for descriptor in (ours, writing):
                    os.set_blocking(descriptor, False)
                    try:
                        while os.write(descriptor, b"x" * 100):
                            pass
                    except BlockingIOError:
                        os.set_blocking(descriptor, True)
                done = subprocess.run([BINARY, "record", "-w", "-o", self.take, "-d", "1"], stdout=output, stderr=errors,
                                      env=self.environment(), timeout=40, check=False)
                self.assertEqual(done.returncode, 0)
                self.verify_contract()
        finally:
            for descriptor in (terminal, ours, reading, writing):
                os.close(descriptor)

    def test_output_that_cannot_be_written_does_not_end_the_recording(self):
        self.start_screen()
        with open("/dev/full", "w") as full:
            done = subprocess.run([BINARY, "record", "-o", self.take, "-d", "0.5"], env=self.environment(),
                                  stdout=full, stderr=subprocess.PIPE, timeout=60, cwd=self.work)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.verify_contract()


class RevealTests(EndToEndCase):
    def tools(self, script):
        folder = self.directory / "tools"
        folder.mkdir()
        tool = folder / "xdg-open"
        tool.write_text("#!/bin/sh\n" + script)
        tool.chmod(0o755)
        return str(folder)

    def reveal(self, path):
        return self.record("-d", "0.3", "--reveal", PATH=path, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")

    def test_finished_take_is_shown_in_the_file_manager(self):
        self.start_screen()
        output = self.reveal(self.tools(f'echo "$1" > {self.directory}/opened\n') + ":/usr/bin:/bin")
        self.assertEqual(output.errors, "")
        self.assertIn(str(self.directory), (self.directory / "opened").read_text())

    def test_file_manager_that_fails_only_warns(self):
        self.start_screen()
        output = self.reveal(self.tools("exit 3\n") + ":/usr/bin:/bin")
        self.assertEqual(output.errors, "Warning: Could not reveal file.\n")

    def test_file_manager_that_is_missing_only_warns(self):
        self.start_screen()
        output = self.reveal(str(self.work / "nothing"))
        self.assertEqual(len(output.error_lines), 1)
        self.assertTrue(output.error_lines[0].startswith("Warning: Could not reveal file"))


if __name__ == "__main__":
    unittest.main()
