"""`upload` of a take that was recorded before, against servers that answer what they should not."""

import json
import shutil
import subprocess
import sys
import time
import unittest

from support import tool
from support.case import EndToEndCase
from support.tool import STATUS
from support.upload_server import KEY, UploadServer, make_certificate
from support.windows import BINARY


class UploadCommandCase(EndToEndCase):
    """A take of one second, recorded once for all tests, whose first upload failed."""

    @classmethod
    def setUpClass(cls):
        case = EndToEndCase()
        case.setUp()
        cls.addClassCleanup(case.doCleanups)
        case.start_screen(colour="336699")
        api = case.started(UploadServer())
        api.misbehave = lambda request: request.command == "PUT" and (request.respond(500, b"") or True)
        environment = {**case.environment(), "GLIMTO_DESKTOP_ACCESS_KEY": KEY}
        output = tool.run([BINARY, "record", "-o", case.take, "-d", "1.2", "--segment-duration", "0.4", "--recording-id",
                           "rec", "--no-background-upload", "--api-base-url", api.url], environment, case.work)
        assert output.status == 1 and output.texts[-1] == STATUS + "failed", output.errors
        cls.recorded = case.take

    def setUp(self):
        super().setUp()
        shutil.copytree(self.recorded, self.take)
        self.api = self.started(UploadServer())
        self.change_job(apiBaseUrl=self.api.url)

    def job(self):
        return json.loads((self.take / "upload-job.json").read_text())

    def change_job(self, **changes):
        (self.take / "upload-job.json").write_text(json.dumps({**self.job(), **changes}))

    def environment(self, **changes):
        environment = super().environment(**changes)
        return {**environment, "GLIMTO_DESKTOP_ACCESS_KEY": KEY, **changes}

    def command(self):
        return [BINARY, "upload", "--dir", self.take, "--api-base-url", self.api.url, "--recording-id", "rec"]

    def upload(self, **changes):
        return tool.run(self.command(), self.environment(**changes), self.work)

    def start_upload(self):
        return self.started(tool.Recording(self.command(), self.environment(), self.work))

    def assert_upload_fails(self, message, **changes):
        self.assert_fails(self.upload(**changes), message)
        self.assertEqual(self.job()["state"], "failed")
        self.assertEqual(self.job()["lastError"], message)


class UploadCommandTests(UploadCommandCase):
    def test_failed_take_is_uploaded(self):
        output = self.upload()
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(output.texts[0], STATUS + "uploading")
        self.assertEqual(output.texts[-1], STATUS + "uploaded")
        self.assertEqual(output.events("page_url")[0]["pageUrl"], self.api.url + "/recordings/rec")
        self.assertEqual(self.job()["state"], "completed")
        self.assertLessEqual(self.api.most_in_flight, 6)
        self.assert_fails(self.upload(), "Recording job is not pending upload.")

    def test_take_in_use_is_left_alone(self):
        self.api.delay = 0.5
        first = self.start_upload()
        first.wait_for(STATUS + "uploading")
        self.assert_fails(self.upload(), "Recording is in use by another process.")
        self.assertEqual(first.finish().status, 0)

    def test_another_key_is_refused_without_a_request(self):
        output = self.upload(GLIMTO_DESKTOP_ACCESS_KEY="other")
        self.assert_fails(output, "Recording upload destination or credential does not match its original job.")
        self.assertEqual(self.api.requests, [])

    def test_marker_cancels_for_good(self):
        def cancel(request):
            if request.command == "PUT":
                (self.take / ".upload-canceled").touch()
            return False

        self.api.misbehave = cancel
        self.assert_fails(self.upload(), "The upload was canceled.")
        self.assertEqual(self.job()["state"], "canceled")
        puts = sum(request.startswith("PUT") for request in self.api.requests)
        self.assertLessEqual(puts, 6)
        self.assertNotIn("POST /api/recordings/rec/recording-complete", self.api.requests)
        self.assert_fails(self.upload(), "The upload was canceled.")
        (self.take / ".upload-canceled").unlink()
        self.assert_fails(self.upload(), "Recording job is not pending upload.")

    def test_interrupt_ends_an_upload_that_can_be_repeated(self):
        self.api.delay = 3
        upload = self.start_upload()
        upload.wait_for(STATUS + "uploading")
        time.sleep(0.3)
        upload.process.terminate()
        self.assertEqual(upload.finish().status, -15)
        self.api.delay = 0
        self.assertEqual(self.upload().status, 0)

    def test_memory_stays_flat_for_a_large_object(self):
        segment = self.take / "segments/video/segment_000.m4s"
        with segment.open("r+b") as file:
            file.truncate(300 << 20)
        received = []

        def swallow(request):
            received.append(len(request.body))
            return False

        self.api.misbehave = swallow
        program = ("import resource, subprocess, sys; done = subprocess.run(sys.argv[1:]); "
                   "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, file=sys.stderr); "
                   "sys.exit(done.returncode)")
        done = subprocess.run([sys.executable, "-c", program, *map(str, self.command())], env=self.environment(),
                              capture_output=True, timeout=120)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(300 << 20, received)
        self.assertLess(int(done.stderr.split()[-1]), 60000)  # kilobytes


class HostileServerTests(UploadCommandCase):
    def answer(self, path, respond):
        """Answers requests whose path ends so by `respond(request)`."""
        self.api.misbehave = lambda request: request.path_only.endswith(path) and (respond(request) or True)

    def change(self, name, change):
        def apply(this, answer):
            if this == name:
                change(answer)
            return answer

        self.api.change = apply

    def test_other_recordings_are_refused(self):
        self.change("recordings", lambda answer: answer["recording"].update(recordingId="other"))
        self.assert_upload_fails("Upload API returned a different recording ID.")

    def test_mismatched_prefixes_are_refused(self):
        self.change("recordings", lambda answer: answer["uploadInstructions"].update(objectPrefix="org/x"))
        self.assert_upload_fails("API returned mismatched recording prefix and uploadInstructions.objectPrefix.")

    def test_keys_that_lead_out_of_the_take_are_refused(self):
        for key, message in (
                ("org/rec/../../x", "Local artifact key cannot contain relative path segments: ../../x"),
                ("/etc/passwd", "Planned upload key is outside the assigned prefix: /etc/passwd"),
                ("org/rec/a\\..\\b", "Local artifact key cannot contain relative path segments: a\\..\\b"),
                ("org/rec//etc/passwd//x", "Local artifact key must contain non-empty path segments: /etc/passwd//x")):
            self.change("recordings", lambda answer, key=key:
                        answer["uploadInstructions"]["plannedUploads"]["optional"].append({"key": key}))
            self.assert_upload_fails(message)
        self.assertEqual(self.api.objects, {})

    def test_endless_patterns_are_given_up(self):
        self.change("recordings", lambda answer: answer["uploadInstructions"]["allowedSegmentKeyPatterns"][
            "video"].update(regex="^(([a-z0-9/_.]+)+)+$!"))
        output = self.upload()
        self.assertEqual(output.status, 1)
        self.assertIn("error: The search for a pattern was given up: U_REGEX_", output.error_lines[-1])

    def test_faulty_patterns_are_told(self):
        self.change("recordings", lambda answer: answer["uploadInstructions"]["allowedSegmentKeyPatterns"][
            "audio"].update(regex="("))
        self.assert_upload_fails("The pattern is not a usable regular expression: U_REGEX_MISMATCHED_PAREN at character 1.")

    def test_doubled_missing_and_wrong_uploads_are_refused(self):
        cases = (
            (lambda uploads: uploads.append(uploads[0]), "Duplicate values for key: 'org/rec/manifest.json'"),
            (lambda uploads: uploads.pop(0), "API did not return a signed upload URL for org/rec/manifest.json."),
            (lambda uploads: uploads[0].update(method="put"),
             "Expected signed upload method PUT for org/rec/manifest.json, got put."),
            (lambda uploads: uploads[0].update(url="not a url"),
             "API returned an invalid signed upload URL for org/rec/manifest.json."),
            (lambda uploads: uploads[0].update(headers={"x": "a\r\nb: c"}), "A header of a request is malformed."))
        for change, message in cases:
            self.change("upload-urls", lambda answer, change=change: change(answer["uploads"]))
            self.assert_upload_fails(message)

    def test_answers_that_are_no_json_are_refused(self):
        source = "Could not read the answer to the creation of the recording: "
        for body, message in ((b"", "no valid JSON at byte 1."), (b'{"recording": {"pre', "no valid JSON at byte 20."),
                              (b'{"recording": "\xff"}', "no valid JSON at byte 16."), (b"[]", "its JSON is no object."),
                              (b"[" * 1000000, "its JSON is nested too deeply."),
                              (b'{"recording": null}', "recording is no object.")):
            self.answer("/recordings", lambda request, body=body: request.respond(200, body))
            self.assert_upload_fails(source + message)

    def test_endless_answers_are_cut_off(self):
        def pour(request):
            request.send_response(200)
            request.send_header("Connection", "close")
            request.end_headers()
            request.close_connection = True
            while True:
                request.wfile.write(b"x" * 65536)

        self.answer("/recordings", pour)
        self.assert_upload_fails("The answer is longer than 8388608 bytes.")

    def test_redirects_are_followed_and_the_key_stays(self):
        other = self.started(UploadServer())
        other.recordings = self.api.recordings

        def redirect(request):
            place = other.url if request.command == "PUT" else f"{self.api.url}/moved"
            request.respond(307, b"", Location=place + request.path)

        self.api.misbehave = lambda request: not request.path.startswith("/moved") and (redirect(request) or True)
        real_duty = self.api.http.RequestHandlerClass.do_duty

        def duty(request, server):
            request.path_only = request.path_only.removeprefix("/moved")
            real_duty(request, server)

        self.api.http.RequestHandlerClass.do_duty = duty
        output = self.upload()
        self.assertEqual(output.status, 0, output.errors)
        self.assertIn("org/rec/manifest.json", other.objects)
        self.assertEqual(self.api.objects, {})

    def test_key_does_not_follow_to_another_origin(self):
        other = self.started(UploadServer())
        self.api.misbehave = lambda request: request.respond(307, b"", Location=other.url + request.path) or True
        self.assert_upload_fails("HTTP 401 for /api/recordings: The access key is not known.")
        self.assertEqual(other.requests, ["POST /api/recordings"])
        self.assertNotIn("x-glimto-access-key", other.headers[0])

    def test_redirects_in_circles_end(self):
        self.api.misbehave = lambda request: request.respond(308, b"", Location=request.path) or True
        self.assert_upload_fails(f"Too many redirects from {self.api.url}.")


class EncryptedServerTests(UploadCommandCase):
    def setUp(self):
        super().setUp()
        certificate = make_certificate(self.directory, "server")
        self.trusted = certificate.with_suffix(".pem")
        self.api = self.started(UploadServer(certificate))
        self.change_job(apiBaseUrl=self.api.url)

    def test_certificate_that_nobody_vouches_for_is_refused(self):
        output = self.upload()
        self.assertEqual(output.status, 1)
        self.assertIn("failed: SSL certificate problem: ", output.error_lines[-1])
        self.assertEqual(self.api.requests, [])

    def test_certificate_of_ones_own_authority_is_taken(self):
        output = self.upload(SSL_CERT_FILE=str(self.trusted))
        self.assertEqual(output.status, 0, output.errors)

    def test_encryption_is_not_left_by_a_redirect(self):
        plain = self.started(UploadServer())
        self.api.misbehave = lambda request: request.respond(307, b"", Location=plain.url + request.path) or True
        self.assert_upload_fails(f"A redirect of {self.api.url} leads away from encryption.",
                                 SSL_CERT_FILE=str(self.trusted))
        self.assertEqual(plain.requests, [])


if __name__ == "__main__":
    unittest.main()
