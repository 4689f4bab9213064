"""What the program prints and writes, held against the JSON Schemas of Documentation/schemas."""

import json
import unittest

from jsonschema import Draft202012Validator

from support.windows import REPOSITORY
from test_upload_recording import UploadCase

SCHEMAS = {path.name.removesuffix(".schema.json"): json.loads(path.read_text())
           for path in (REPOSITORY / "Documentation/schemas").glob("*.schema.json")}


def undescribed(schema, document, place=""):
    """Keys of `document` that `schema` does not tell of."""
    if isinstance(document, dict) and "properties" in schema:
        for key, value in document.items():
            if key not in schema["properties"]:
                yield f"{place}/{key}"
            else:
                yield from undescribed(schema["properties"][key], value, f"{place}/{key}")
    elif isinstance(document, list) and "items" in schema:
        for value in document:
            yield from undescribed(schema["items"], value, f"{place}[]")


class SchemaTests(UploadCase):
    def check(self, name, document):
        """It fits, and everything in it is described."""
        schema = SCHEMAS[name]
        errors = [f"{name}: {'/'.join(map(str, error.absolute_path))}: {error.message}"
                  for error in Draft202012Validator(schema).iter_errors(document)]
        self.assertEqual(errors + list(undescribed(schema, document)), [])

    def check_refused(self, name, document):
        self.assertFalse(Draft202012Validator(SCHEMAS[name]).is_valid(document))

    def test_schemas_are_schemas(self):
        self.assertEqual(len(SCHEMAS), 11)
        for schema in SCHEMAS.values():
            Draft202012Validator.check_schema(schema)

    def test_schemas_refuse_what_is_wrong(self):
        self.check_refused("permission", {"preflightGranted": "yes", "screenRecording": "granted"})
        self.check_refused("lifecycle-event", {"schemaVersion": 1, "type": "recording_lifecycle", "kind": "recording_failed",
                                               "timestamp": "2024-01-31T15:45:02.123Z"})
        self.check_refused("events", {"version": 1})

    def test_lists_and_permission(self):
        painter = self.start_painter()
        painter.open("100x80+10+20")
        self.check("permission", self.run_tool("permission-json").json())
        self.check("windows", self.run_tool("windows-json", "--all").json())
        self.check("windows", self.run_tool("windows").json())
        self.check("windows", self.run_tool("windows-json", DISPLAY=":987654").json())
        self.check("permission", self.run_tool("permission-json", DISPLAY=":987654").json())

    def test_take_and_its_upload(self):
        recording = self.start_upload("-d", "2", "--stdout-json", "--record-events", "--segment-duration", "1")
        recording.wait_until_recording()
        self.server.place_pointer(30, 40)
        self.server.run("xdotool", "click", 1, "click", 4)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assertGreater(len(output.events()), 5)
        for event in output.events():
            self.check("lifecycle-event", event)
        documents = [json.loads(text) for text in output.texts if text.startswith("{") and "manifestPath" in text]
        self.assertEqual(len(documents), 1)
        self.check("recording", documents[0])
        self.check("manifest", self.manifest())
        events = json.loads((self.take / "events.json").read_text())
        self.assertEqual({"move", "down", "up", "scroll"}, {event["k"] for event in events["events"]})
        self.check("events", events)
        self.check("upload-job", self.job())

    def test_failures(self):
        output = self.start_recording("--window-id", "4000000000").finish()
        self.assertEqual(output.status, 1)
        for event in output.events():
            self.check("lifecycle-event", event)
        self.check("window-not-found", json.loads(output.errors.split("GLIMTO_CAPTURE_ERROR_JSON=")[1]))
        output = self.start_recording("--max-duration-seconds", "0.5", "-d", "9").finish()
        self.assertEqual(len(output.events("max_duration_reached")), 1)
        for event in output.events():
            self.check("lifecycle-event", event)
        output = self.run_tool("screenshot", "-o", self.work / "shot.png", "--display", "7")
        self.assertEqual(len(output.events("screenshot_failed")), 1)
        self.check("lifecycle-event", output.events()[0])

    def test_still_pictures(self):
        output = self.run_tool("screenshot", "-o", self.work / "shot.png", "--stdout-json")
        self.check("screenshot", output.json())
        self.check("recognized-text", self.run_tool("recognize-text", "--path", self.work / "shot.png").json())


if __name__ == "__main__":
    unittest.main()
