"""Takes whose recording was killed or failed, made whole by glimto-take."""

import json
import os
import shutil
import signal
import subprocess
import time
import unittest

from support import media, take_tool
from support.case import EndToEndCase
from support.dev_server import DevServer
from support.processes import wait_until
from support.sound_case import SoundCase

SEGMENT = 0.3  # seconds


class RepairCase(EndToEndCase):
    def repaired(self, take=None):
        return take_tool.run(self, "repair", take or self.take)

    def info(self, take=None):
        return json.loads(take_tool.run(self, "info", take or self.take, "--json"))

    def assert_whole(self, take=None):
        take = take or self.take
        self.assertEqual(self.info(take)["state"], "whole")
        take_tool.run(self, "verify", take)
        joined = media.run_tool("ffmpeg", "-nostdin", "-v", "error", "-xerror", "-i", take / "result.mp4", "-f", "null",
                                "-")
        self.assertEqual(joined, b"")

    def start_moving_recording(self, *arguments):
        self.start_screen("640x480")
        self.start_painter().open("640x480+0+0", override=True).run_clock(20)
        return self.start_recording("-d", "60", "--segment-duration", SEGMENT, *arguments)

    def kill(self, recording):
        recording.process.send_signal(signal.SIGKILL)
        recording.process.wait()


class KilledTests(RepairCase):
    def test_recording_killed_at_twenty_moments_is_made_whole(self):
        recording = self.start_moving_recording("--record-events")
        wait_until(lambda: "segment_001.m4s" in self.segments(), "the second segment")
        # A copy of the directory at any moment is what a process killed at that moment leaves.
        takes = []
        for number in range(19):
            takes.append(self.work / f"killed-{number}")
            shutil.copytree(self.take, takes[-1], ignore_dangling_symlinks=True,
                            copy_function=take_tool.copy_if_there)
            time.sleep(0.07)
        self.kill(recording)
        for take in [*takes, self.take]:
            with self.subTest(take=take.name):
                before = {path.name: path.read_bytes() for path in (take / "segments/video").glob("segment_*")}
                self.repaired(take)
                self.assert_whole(take)
                after = {path.name: path.read_bytes() for path in (take / "segments/video").glob("segment_*")}
                self.assertLessEqual(before.items(), after.items())

    def test_take_that_is_being_recorded_is_refused_and_left_alone(self):
        recording = self.start_moving_recording()
        wait_until(lambda: "segment_001.m4s" in self.segments(), "the second segment")
        self.assertEqual(self.info()["state"], "recording")
        output = self.run_tool("repair", self.take, binary=take_tool.BINARY)
        self.assert_fails(output, f"The take is being recorded: {self.take}")
        self.assertFalse((self.take / "manifest.json").exists())
        recording.process.send_signal(signal.SIGINT)
        self.assertEqual(recording.finish().status, 0)
        self.assertEqual(self.info()["state"], "whole")

    def test_recording_killed_before_its_first_segment_is_told_and_left_alone(self):
        self.start_screen()
        recording = self.start_recording("-d", "60")
        recording.wait_until_recording()
        self.kill(recording)
        before = sorted(self.take.rglob("*"))
        output = self.run_tool("repair", self.take, binary=take_tool.BINARY)
        self.assert_fails(output, f"The take holds no picture: {self.take}")
        self.assertEqual(sorted(self.take.rglob("*")), before)

    def test_dry_run_tells_and_changes_nothing(self):
        recording = self.start_moving_recording()
        wait_until(lambda: "segment_001.m4s" in self.segments(), "the second segment")
        self.kill(recording)
        before = {path: path.stat().st_mtime_ns for path in self.take.rglob("*")}
        told = take_tool.run(self, "repair", self.take, "--dry-run")
        self.assertIn("Would do: Write playlist and manifest.", told.splitlines())
        self.assertEqual({path: path.stat().st_mtime_ns for path in self.take.rglob("*")}, before)


class UploadTests(RepairCase):
    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def test_repaired_take_is_uploaded_as_one_that_ended_well(self):
        store = self.directory / "store"
        api = self.started(DevServer(store))
        recording = self.start_moving_recording("--record-events", "--api-base-url", api.address, "--recording-id", "rec",
                                                "--background-upload-threshold", "0.3")
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        self.kill(recording)
        self.repaired()
        output = self.run_tool("upload", "--dir", self.take, "--api-base-url", api.address, "--recording-id", "rec")
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(api.api("GET", "/rec")[1]["recording"]["state"], "uploaded")
        stored = next(store.rglob("manifest.json")).parent
        for segment in (self.take / "segments/video").glob("segment_*.m4s"):
            self.assertEqual((stored / "segments/video" / segment.name).read_bytes(), segment.read_bytes())


class FailedTests(RepairCase):
    def test_recording_whose_screen_went_away_is_made_whole(self):
        recording = self.start_moving_recording()
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        self.server.process.send_signal(signal.SIGKILL)
        self.assertEqual(recording.finish(limit=30).status, 1)
        self.repaired()
        self.assert_whole()

    def test_recording_whose_disk_was_full_is_made_whole_elsewhere(self):
        disk = self.directory / "disk"
        disk.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4m", "tmpfs", str(disk)], check=True, timeout=30)
        self.addCleanup(subprocess.run, ["umount", "-l", str(disk)], check=True, timeout=30)
        self.take = disk / "take"
        recording = self.start_moving_recording()
        wait_until(lambda: "segment_002.m4s" in self.segments(), "the third segment")
        room = os.statvfs(disk)
        (disk / "filler").write_bytes(bytes(room.f_bavail * room.f_frsize))
        self.assertEqual(recording.finish(limit=30).status, 1)
        # Whatever a disk that is still full lets it do, the take is not worse than before.
        before = {path.name: path.read_bytes() for path in (self.take / "segments/video").glob("segment_*")}
        self.run_tool("repair", self.take, binary=take_tool.BINARY)
        after = {path.name: path.read_bytes() for path in (self.take / "segments/video").glob("segment_*")}
        self.assertEqual(before, after)
        (disk / "filler").unlink()
        self.repaired()
        self.assert_whole()


class WholeTests(RepairCase):
    def test_repair_writes_what_the_recorder_has_written(self):
        self.start_screen("321x241")
        self.start_painter().open("321x241+0+0", override=True).run_clock(20)
        self.record("-d", "1.5", "--segment-duration", "0.5", "--record-events")
        recorded = self.manifest()
        self.assertIn("nothing was done", self.repaired())
        playlist = (self.take / "segments/playlist.m3u8").read_bytes()
        for name in ("manifest.json", "segments/playlist.m3u8", "thumbnail.jpg"):
            (self.take / name).unlink()
        self.repaired()
        self.assert_whole()
        self.assertEqual((self.take / "segments/playlist.m3u8").read_bytes(), playlist)
        repaired = self.manifest()
        self.assertEqual(repaired["segments"], recorded["segments"])
        for key in ("totalDuration", "totalBytes", "preferredSegmentDuration", "notes"):
            self.assertEqual(repaired[key], recorded[key])
        for key in ("width", "height", "framesPerSecond"):
            self.assertEqual(repaired["video"][key], recorded["video"][key])

    def test_odd_size_of_a_killed_take_is_known_by_its_thumbnail(self):
        self.start_screen("321x241")
        self.record("-d", "0.6")
        (self.take / "manifest.json").unlink()
        self.repaired()
        self.assert_whole()
        self.assertEqual((self.manifest()["video"]["width"], self.manifest()["video"]["height"]), (321, 241))

    def test_torn_last_segment_is_cut_back_and_a_missing_one_closed(self):
        self.start_screen()
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        self.record("-d", "2", "--segment-duration", "0.4")
        (self.take / "segments/video/segment_001.m4s").unlink()
        last = sorted((self.take / "segments/video").glob("segment_*"))[-1]
        os.truncate(last, last.stat().st_size - 100)
        self.repaired()
        self.assert_whole()
        self.assertEqual(self.segments(), [f"segment_{at:03d}.m4s" for at in range(len(self.segments()))])
        self.assertEqual(len(self.info()["gaps"]), 1)


class HostileTests(RepairCase):
    def setUp(self):
        super().setUp()
        self.start_screen()
        self.record("-d", "1", "--segment-duration", "0.4")

    def assert_refused(self, message, command="repair"):
        output = self.run_tool(command, self.take, binary=take_tool.BINARY)
        self.assertEqual((output.status, output.texts), (1, []))
        self.assertEqual(len(output.error_lines), 1)
        self.assertIn(message, output.error_lines[0])

    def test_link_in_the_place_of_a_segment_is_refused(self):
        segment = self.take / "segments/video/segment_000.m4s"
        segment.rename(self.work / "elsewhere")
        segment.symlink_to(self.work / "elsewhere")
        self.assert_refused("segment_000.m4s is not a regular file.")
        self.assert_refused("segment_000.m4s is not a regular file.", "info")

    def test_link_in_the_place_of_the_segments_is_refused(self):
        (self.take / "segments").rename(self.work / "elsewhere")
        (self.take / "segments").symlink_to(self.work / "elsewhere")
        self.assert_refused("segments is not a directory of the take.")

    def test_fifo_in_the_place_of_the_manifest_is_refused_at_once(self):
        (self.take / "manifest.json").unlink()
        os.mkfifo(self.take / "manifest.json")
        self.assert_refused("manifest.json is not a regular file.")

    def test_manifest_that_lies_is_not_believed(self):
        manifest = self.manifest()
        manifest["segments"][0]["key"] = "../../../etc/passwd"
        manifest["totalDuration"] = 1e300
        (self.take / "manifest.json").write_text(json.dumps(manifest))
        self.assertEqual(self.info()["state"], "interrupted")
        self.repaired()
        self.assert_whole()

    def test_initialization_segment_that_is_none_is_refused(self):
        (self.take / "segments/video/init.mp4").write_bytes(b"no box at all")
        self.assert_refused("is no initialization segment of one track.")

    def test_endless_time_in_a_segment_is_named(self):
        segment = sorted((self.take / "segments/video").glob("segment_*"))[-1]
        data = bytearray(segment.read_bytes())
        at = data.index(b"tfdt") + 8
        data[at:at + 8] = (2**62).to_bytes(8, "big")
        segment.write_bytes(data)
        self.assert_refused("holds a time that no recording reaches.")

    def test_directory_that_is_no_take_is_named(self):
        shutil.rmtree(self.take)
        self.assert_refused(f"{self.take} is not a directory.")
        self.take.mkdir()
        self.assert_refused("is not a take: it has neither manifest.json nor segments.")


class SoundTests(SoundCase, RepairCase):
    def test_sound_ends_with_the_picture_after_a_repair(self):
        self.start_painter().open("320x240+0+0", override=True).run_clock(20)
        self.play_tone("speaker", 1000)
        recording = self.start_recording("-d", "60", "--segment-duration", "0.5", "--system-audio")
        wait_until(lambda: "segment_003.m4s" in self.segments(), "the fourth segment")
        self.kill(recording)
        longer = self.work / "longer"
        shutil.copytree(self.take, longer)
        self.repaired()
        self.assert_whole()
        self.assert_whole_take()
        # The same with sound that is longer than the picture.
        for segment in sorted((longer / "segments/video").glob("segment_*"))[2:]:
            segment.unlink()
        self.take = longer
        self.repaired()
        self.assert_whole()
        self.assert_whole_take()


if __name__ == "__main__":
    unittest.main()
