"""The development server answers, and the program asks, as the OpenAPI document of the upload API says."""

import json
import unittest
import urllib.parse

from jsonschema import Draft202012Validator

from support.case import EndToEndCase
from support.dev_server import PREFIX, DevServer
from support.openapi import OpenAPI
from support.upload_server import UploadServer
from support.windows import REPOSITORY

PAGE = REPOSITORY / "Documentation/schemas/upload-api.openapi.json"


class UploadAPIDocumentTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.api = OpenAPI(PAGE)

    def environment(self, **changes):
        return {**super().environment(**changes), "GLIMTO_DESKTOP_ACCESS_KEY": "any"}

    def ask(self, server, method, path, body=None, status=200, headers=None):
        """The answer, which has this status and is as the document says."""
        got, _, answer = server.request(method, path, body, headers)
        self.assertEqual(got, status, answer)
        self.assertEqual(self.api.answer_faults(method, urllib.parse.urlsplit(path).path, got, answer), [])
        return answer

    def test_every_operation_and_every_refusal(self):
        server = self.started(DevServer(self.directory / "store"))
        key = f"{PREFIX}rec/thumbnail.jpg"
        self.ask(server, "POST", "/api/recordings", "{}")
        self.ask(server, "POST", "/api/recordings", '{"recordingId":"rec"}')
        self.ask(server, "POST", "/api/recordings", '{"recordingId":"a/b"}', 400)
        self.ask(server, "POST", "/api/recordings", " " * (9 << 20), 413)
        self.ask(server, "GET", "/api/recordings/rec")
        self.ask(server, "GET", "/api/recordings/nobody", status=404)
        self.ask(server, "GET", "/api/recordings/rec", status=403, headers={"Host": "evil.example"})
        for name, keys, status in [("rec", [key], 200), ("rec", ["elsewhere"], 400), ("nobody", [key], 404)]:
            answer = self.ask(server, "POST", f"/api/recordings/{name}/upload-urls", json.dumps({"keys": keys, "expiresIn": 300}),
                              status)
            if status == 200:
                url = json.loads(answer)["uploads"][0]["url"]
        self.ask(server, "PUT", url, b"picture")
        self.ask(server, "PUT", url.split("?")[0], b"picture", 403)
        self.ask(server, "POST", "/api/recordings/rec/recording-complete", "{}", 409)
        self.ask(server, "POST", "/api/recordings/nobody/recording-complete", "{}", 404)
        locked = self.started(DevServer(self.directory / "locked", "--access-key", "secret"))
        self.ask(locked, "GET", "/api/recordings/rec", status=401)
        self.assertEqual({operation for operation, _ in self.api.seen}, self.api.operations())

    def test_the_program_asks_as_the_document_says(self):
        self.start_screen("320x240")
        server = self.started(DevServer(self.directory / "store"))
        between = self.started(UploadServer())
        asked = []

        def pass_on(request):
            """The development server's answer to the program's request, both held against the document."""
            if request.command == "POST":
                asked.append(self.api.operation("POST", request.path_only)["operationId"])
                self.faults += self.api.request_faults("POST", request.path_only, request.body)
            status, _, answer = server.request(request.command, request.path, request.body)
            self.faults += self.api.answer_faults(request.command, request.path_only, status, answer)
            request.respond(status, answer)
            return True

        self.faults = []
        between.misbehave = pass_on
        output = self.start_recording("-d", "1", "--api-base-url", between.url, "--recording-id", "rec").finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertEqual(self.faults, [])
        self.assertEqual((asked[0], asked[-1]), ("createRecording", "completeRecording"))
        self.assertIn("requestUploadURLs", asked)

    def test_the_document_refuses_what_is_wrong(self):
        self.assertNotEqual(self.api.answer_faults("GET", "/api/recordings/rec", 200, b'{"recording":{}}'), [])
        self.assertNotEqual(self.api.answer_faults("GET", "/api/recordings/rec", 418, b"{}"), [])
        self.assertNotEqual(self.api.answer_faults("GET", "/api/recordings/rec", 404, b'{"error":{"message":"x","more":1}}'), [])
        self.assertNotEqual(self.api.request_faults("POST", "/api/recordings/rec/upload-urls", '{"keys":[1],"expiresIn":300}'), [])
        with self.assertRaises(AssertionError):
            self.api.operation("DELETE", "/api/recordings/rec")

    def test_its_schemas_are_schemas(self):
        schemas = self.api.document["components"]["schemas"]
        self.assertGreater(len(schemas), 10)
        for schema in schemas.values():
            Draft202012Validator.check_schema(schema)
        self.assertEqual(self.api.document["openapi"], "3.1.0")


if __name__ == "__main__":
    unittest.main()
