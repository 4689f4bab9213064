"""`record --upload` against servers of every mood."""

import fcntl
import json
import os
import shlex
import signal
import subprocess
import threading
import time
import unittest
from pathlib import Path

from support import media, tool
from support.case import EndToEndCase
from support.processes import START_LIMIT, wait_until
from support.tool import STATUS
from support.upload_server import KEY, UploadServer, flaky
from support.windows import BINARY

UPLOADED = "Uploaded object: "
SOON = 20  # seconds; what a server may keep a request waiting is longer


class UploadCase(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen(colour="336699")
        self.api = self.started(UploadServer())

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": KEY}

    def start_upload(self, *arguments):
        return self.start_recording("--api-base-url", self.api.url, "--recording-id", "rec", *arguments)

    def job(self):
        return json.loads((self.take / "upload-job.json").read_text())

    def take_files(self):
        """Every file of the take's media, by its key."""
        paths = [path for path in self.take.rglob("*") if path.is_file() and not path.name.startswith(".")]
        return {str(path.relative_to(self.take)): path.read_bytes() for path in paths
                if path.name not in ("upload-job.json", "manifest.json")}

    def assert_uploaded_whole(self):
        sent = {key.removeprefix("org/rec/"): content for key, content in self.api.objects.items()}
        manifest = json.loads(sent.pop("manifest.json"))
        self.assertEqual(sent, self.take_files())
        local = self.manifest()
        self.assertEqual([segment["key"] for segment in manifest["segments"]],
                         ["org/rec/" + segment["key"] for segment in local["segments"]])
        for document in (manifest, local):
            for segment in document["segments"]:
                del segment["key"]
            del document["initSegmentKey"], document["playlistKey"]
        self.assertEqual(manifest, local)
        self.assertEqual(self.job()["state"], "completed")


class UploadRecordingTests(UploadCase):
    def test_segments_go_while_the_recording_runs_and_the_rest_at_its_end(self):
        painter = self.start_painter()
        painter.open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_upload("-d", "5", "--segment-duration", "0.5", "--background-upload-threshold", "1")
        wait_until(lambda: "org/rec/segments/video/segment_000.m4s" in self.api.objects, "the first segment")
        self.assertIsNone(recording.line_with(STATUS + "stopped"))
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertNotIn("upload", output.errors)
        self.assert_uploaded_whole()
        texts = output.texts
        # What is on its way when the background upload ends goes again; what has arrived does not.
        sent = [text for text in texts if text.startswith(UPLOADED)]
        self.assertEqual(len(sent), len(set(sent)))
        early = [text.removeprefix(UPLOADED) for text in texts[:texts.index(STATUS + "stopped")] if text in sent]
        self.assertIn("org/rec/segments/video/segment_000.m4s", early)
        self.assertEqual(set(early) & set(self.api.key_requests[-1]), set())
        self.assertLess(texts.index("Glimto upload: background upload started"), texts.index(STATUS + "stopped"))
        self.assertLess(texts.index(STATUS + "stopped"), texts.index(STATUS + "uploading"))
        self.assertEqual(texts[-1], STATUS + "uploaded")
        self.assertEqual(texts[-5:-2], ["Uploaded recording: rec", "State: uploaded",
                                        f"Checked objects: {len(self.api.objects)}"])
        self.verify_contract()

    def test_without_a_threshold_everything_goes_at_the_end(self):
        output = self.start_upload("-d", "1.5", "--no-background-upload").finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertNotIn("background", output.text)
        self.assertEqual(len(self.api.key_requests), 1)
        self.assert_uploaded_whole()

    def test_pointer_track_goes_once_and_whole(self):
        output = self.start_upload("-d", "2.5", "--record-events", "--segment-duration", "0.5",
                                   "--background-upload-threshold", "0.2").finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assert_uploaded_whole()
        self.assertIn("org/rec/events.json", self.api.key_requests[-1])
        self.assertIn("org/rec/manifest.json", self.api.key_requests[-1])

    def drip(self, *names):
        """From now on the answer to such a request never ends: a byte now and then."""
        self.dripping = threading.Event()
        over = threading.Event()
        self.addCleanup(over.set)

        def misbehave(request):
            if not request.path_only.endswith(names):
                return False
            self.dripping.set()
            request.wfile.write(b"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n")
            while not over.wait(0.2):
                request.wfile.write(b" ")
            return True

        self.api.misbehave = misbehave

    def assert_interrupted(self, output, event):
        self.assertEqual(output.error_lines[-1:], ["error: The upload was interrupted."])
        self.assertEqual(output.texts[-1], STATUS + "failed")
        self.assertEqual(output.events()[-1]["kind"], event)
        self.assertEqual(self.job()["state"], "failed")
        self.assertEqual(self.job()["lastError"], "The upload was interrupted.")

    def upload_command(self):
        return ("upload", "--dir", self.take, "--api-base-url", self.api.url, "--recording-id", "rec")

    def test_signals_end_the_upload_of_a_whole_take_which_can_be_repeated(self):
        recording = self.start_upload("-d", "1", "--no-background-upload")
        recording.wait_until_recording()
        self.drip("upload-urls")
        recording.wait_for(STATUS + "uploading")
        self.assertTrue(self.dripping.wait(20))
        recording.process.terminate()
        output = recording.finish(SOON)
        self.assertEqual(output.status, -signal.SIGTERM)
        self.assert_interrupted(output, "upload_failed")
        self.verify_contract()
        for number in (signal.SIGINT, signal.SIGHUP):
            self.dripping.clear()
            upload = self.started(tool.Recording([BINARY, *self.upload_command()], self.environment(), self.work))
            self.assertTrue(self.dripping.wait(20))
            upload.process.send_signal(number)
            output = upload.finish(SOON)
            self.assertEqual(output.status, -number)
            self.assert_interrupted(output, "upload_failed")
        self.api.misbehave = lambda request: False
        output = self.run_tool(*self.upload_command())
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(self.job()["uploadAttempts"], 4)

    def test_error_pages_that_nobody_reads_hold_nothing_up(self):
        self.api.misbehave = lambda request: request.command == "PUT" and (request.respond(500, b"x" * 60000) or True)
        reading, writing = os.pipe()
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        os.write(writing, b"x" * 4000)
        command = [BINARY, "record", "-o", self.take, "-d", "3", "--segment-duration", "0.5",
                   "--background-upload-threshold", "0.2", "--api-base-url", self.api.url]
        try:
            done = subprocess.run(command, stdout=subprocess.PIPE, stderr=writing, env=self.environment(), timeout=40,
                                  check=False)
        finally:
            os.close(reading)
            os.close(writing)
        self.assertEqual(done.returncode, 1)
        self.assertTrue(done.stdout.decode().endswith(STATUS + "failed\n"))
        self.verify_contract()

    def test_access_key_is_wiped_from_the_arguments(self):
        recording = self.start_recording("--api-base-url", self.api.url, "-d", "30", "--access-key", KEY,
                                         GLIMTO_DESKTOP_ACCESS_KEY=None)
        recording.wait_until_recording()
        arguments = Path(f"/proc/{recording.pid}/cmdline").read_bytes()
        self.assertIn(b"--access-key", arguments)
        self.assertNotIn(KEY.encode(), arguments)
        recording.process.terminate()
        self.assertEqual(recording.finish().status, 0)

    def test_signal_that_ends_the_recording_lets_its_upload_go_on(self):
        recording = self.start_upload("-d", "60", "--no-background-upload")
        recording.wait_until_recording()
        recording.process.send_signal(signal.SIGINT)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assert_uploaded_whole()

    def test_signal_while_the_server_is_asked_ends_a_recording_before_it_begins(self):
        self.drip("recordings")
        recording = self.start_upload("-d", "60")
        self.assertTrue(self.dripping.wait(20))
        recording.process.send_signal(signal.SIGINT)
        output = recording.finish(SOON)
        self.assertEqual(output.status, -signal.SIGINT)
        self.assert_interrupted(output, "recording_failed")

    def test_parents_death_ends_the_final_upload(self):
        reading, writing = os.pipe()
        command = shlex.join(map(str, [BINARY, "record", "-o", self.take, "-d", "1", "--no-background-upload",
                                       "--api-base-url", self.api.url, "--recording-id", "rec"]))
        self.drip("upload-urls")
        shell = subprocess.Popen(["sh", "-c", f"{command} & echo $!; wait"], stdout=writing, stderr=subprocess.DEVNULL,
                                 env=self.environment())
        os.close(writing)
        with open(reading, encoding="utf-8") as lines:
            child = int(lines.readline())
            self.assertTrue(self.dripping.wait(60))
            shell.kill()
            shell.wait()
            text = lines.read()  # to the end of the program
        self.assertTrue(text.endswith(STATUS + "failed\n"), text)
        wait_until(lambda: not Path(f"/proc/{child}").exists(), "the end of the program", SOON)
        self.assertEqual(self.job()["lastError"], "The upload was interrupted.")
        self.verify_contract()

    def test_end_comes_soon_after_the_stop(self):
        stop_file = self.work / "stop"
        recording = self.start_upload("--until-stopped", "--stop-file", stop_file, "--segment-duration", "0.5",
                                      "--background-upload-threshold", "0.2")
        wait_until(lambda: "org/rec/segments/video/segment_003.m4s" in self.api.objects, "some segments")
        stop_file.touch()
        stopped = recording.wait_for(STATUS + "stopped").time
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertLess(output.lines[-1].time - stopped, SOON)

    def test_key_and_signatures_are_never_printed(self):
        self.api.misbehave = lambda request: request.command == "PUT" and (request.respond(403, b"topsecret") or True)
        output = self.start_upload("-d", "2", "--segment-duration", "0.5", "--background-upload-threshold", "0.5").finish()
        self.assertEqual(output.status, 1)
        for text in (output.text, output.errors, json.dumps(self.job())):
            self.assertNotIn(KEY, text)
            self.assertNotIn("topsecret", text)
        for request, headers in zip(self.api.requests, self.api.headers):
            self.assertEqual("x-glimto-access-key" in headers, not request.startswith("PUT"), request)

    def test_server_that_is_not_there_ends_it_before_it_begins(self):
        self.api.end()
        output = self.start_upload("-d", "1").finish()
        self.assertEqual(output.status, 1)
        self.assertTrue(output.error_lines[-1].startswith(f"error: The request to {self.api.url} failed: "), output.errors)
        self.assertEqual([event["kind"] for event in output.events()], ["launched", "page_url", "recording_failed"])
        self.assertEqual(self.job()["state"], "failed")

    def test_wrong_key_ends_it_before_it_begins(self):
        output = self.start_upload("-d", "1", "--access-key", "wrong").finish()
        self.assert_fails(output, "HTTP 401 for /api/recordings: The access key is not known.")
        self.assertFalse((self.take / "segments").exists())


class FlakyServerTests(UploadCase):
    def test_flaky_server_costs_nothing_but_time(self):
        self.api.misbehave = flaky(seed=5)
        painter = self.start_painter()
        painter.open("320x240+0+0", override=True).run_clock(20)
        recording = self.start_upload("-d", "8", "--segment-duration", "0.5", "--background-upload-threshold", "0.5")
        recording.wait_for(STATUS + "stopped")
        self.api.misbehave = lambda request: False
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertIn("warning: background upload will retry: ", output.errors)
        for line in output.error_lines:
            self.assertTrue(line.startswith("warning: "), line)
        self.assert_uploaded_whole()
        self.verify_contract()
        self.assert_steady()

    def test_server_that_does_not_answer_does_not_delay_the_recording_or_its_end(self):
        hanging, over = threading.Event(), threading.Event()
        self.addCleanup(over.set)

        def hang(request):
            if request.command == "PUT":
                hanging.set()
                over.wait()
            return False

        self.api.misbehave = hang
        stop_file = self.work / "stop"
        recording = self.start_upload("--until-stopped", "--stop-file", stop_file, "--segment-duration", "0.5",
                                      "--background-upload-threshold", "0.2")
        self.assertTrue(hanging.wait(START_LIMIT))
        self.api.misbehave = lambda request: False
        stop_file.touch()
        stopped = recording.wait_for(STATUS + "stopped").time
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertLess(output.lines[-1].time - stopped, SOON)
        self.assert_uploaded_whole()

    def assert_steady(self):
        """No gap in the picture that a clock of 20 changes a second does not explain."""
        times = media.frame_times(self.joined())
        gaps = [after - before for before, after in zip(times, times[1:])]
        self.assertLess(max(gaps), 0.4)


class KilledUploadTests(UploadCase):
    def upload(self):
        return self.run_tool("upload", "--dir", self.take, "--api-base-url", self.api.url, "--recording-id", "rec")

    def test_recording_that_is_killed_leaves_a_job_that_says_what_is_missing(self):
        recording = self.start_upload("-d", "30", "--segment-duration", "0.5", "--background-upload-threshold", "0.2")
        wait_until(lambda: "org/rec/segments/video/segment_001.m4s" in self.api.objects, "two segments")
        recording.process.kill()
        recording.finish()
        self.assertEqual(self.job()["state"], "recording")
        output = self.upload()
        self.assertEqual(output.status, 1)
        self.assertIn("manifest.json: No such file or directory", output.error_lines[-1])
        self.assertEqual(self.job()["state"], "failed")

    def test_upload_that_is_killed_at_any_moment_is_finished_by_the_next(self):
        self.api.delay = 0.05
        recording = self.start_upload("-d", "2.5", "--segment-duration", "0.25", "--no-background-upload")
        recording.wait_for(STATUS + "uploading")
        for count in (1, 2, 4, 8, 12):
            self.assertTrue(recording.is_running())
            done = len(self.api.requests)
            wait_until(lambda: len(self.api.requests) >= done + count or not recording.is_running(), "requests")
            recording.process.kill()
            recording.finish()
            self.assertEqual(self.job()["state"], "uploading")
            recording = self.started(self.start_repeated_upload())
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(self.job()["uploadAttempts"], 6)
        self.assert_uploaded_whole()

    def start_repeated_upload(self):
        return tool.Recording([BINARY, "upload", "--dir", self.take, "--api-base-url", self.api.url,
                               "--recording-id", "rec"], self.environment(), self.work)


if __name__ == "__main__":
    unittest.main()
