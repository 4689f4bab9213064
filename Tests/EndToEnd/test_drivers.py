"""The drivers for Python and Node.js, as an application uses them."""

import asyncio
import json
import subprocess
import sys
import textwrap
import unittest
from pathlib import Path

from support import media
from support.case import EndToEndCase
from support.windows import BINARY, REPOSITORY

sys.path.insert(0, str(REPOSITORY / "Drivers/python"))
import glimto_capture  # noqa: E402


class PythonDriverTests(EndToEndCase):
    def record(self, *options, **settings):
        return glimto_capture.Recording(self.take, *options, program=str(BINARY), environment=self.environment(), **settings)

    def test_recording_is_complete_when_its_block_is_left(self):
        self.start_screen()

        async def use():
            kinds = []
            async with self.record(on_event=lambda event: kinds.append(event["kind"])) as recording:
                await recording.started()
                await asyncio.sleep(1)
            return recording, kinds

        recording, kinds = asyncio.run(use())
        self.assertEqual(recording.status_lines, ["recording", "stopped"])
        self.assertEqual(kinds[-1], "completed")
        self.assertEqual(recording.result["videoSegmentCount"], 1)
        self.assertTrue(Path(recording.result["manifestPath"]).is_file())

    def test_recording_is_complete_when_the_application_fails(self):
        self.start_screen()

        async def use():
            async with self.record() as recording:
                await recording.started()
                await asyncio.sleep(0.5)
                raise KeyError("mine")

        with self.assertRaises(KeyError):
            asyncio.run(use())
        self.assertTrue((self.take / "manifest.json").is_file())

    def test_failure_has_code_and_whole_reason(self):
        self.start_screen()

        async def use():
            async with self.record("--window-id", "4000000000") as recording:
                await recording.started()

        with self.assertRaises(glimto_capture.CaptureError) as caught:
            asyncio.run(use())
        self.assertEqual(caught.exception.code, "window_not_found")
        self.assertIn("GLIMTO_CAPTURE_ERROR_JSON=", str(caught.exception))

    def test_program_that_is_killed_is_told(self):
        self.start_screen()

        async def use():
            async with self.record() as recording:
                await recording.started()
                recording.process.kill()
                await recording.finished()

        with self.assertRaisesRegex(glimto_capture.CaptureError, "signal 9"):
            asyncio.run(use())

    def test_documents_are_decoded(self):
        self.start_screen()
        document = asyncio.run(glimto_capture.run("windows-json", program=str(BINARY), environment=self.environment()))
        self.assertEqual(len(document["displays"]), 1)
        with self.assertRaisesRegex(glimto_capture.CaptureError, "Unknown command 'bogus'"):
            asyncio.run(glimto_capture.run("bogus", program=str(BINARY), environment=self.environment()))

    def test_program_that_is_not_there_is_told(self):
        async def use():
            async with glimto_capture.Recording(self.take, program="/nonexistent/program"):
                pass

        with self.assertRaisesRegex(glimto_capture.CaptureError, "^/nonexistent/program cannot be started: "):
            asyncio.run(use())
        with self.assertRaisesRegex(glimto_capture.CaptureError, "^/nonexistent/program cannot be started: "):
            asyncio.run(glimto_capture.run("sources", program="/nonexistent/program"))


class NodeDriverTests(EndToEndCase):
    def run_script(self, body):
        """The JSON that a module script prints, which has the driver's exports and what every run needs."""
        driver = (REPOSITORY / "Drivers/node/glimto-capture.mjs").as_uri()
        script = self.work / "script.mjs"
        script.write_text(f"import {{ record, run, CaptureError }} from {json.dumps(driver)};\n"
                          f"import {{ setTimeout as sleep }} from 'node:timers/promises';\n"
                          f"const program = {json.dumps(str(BINARY))}, take = {json.dumps(str(self.take))};\n"
                          + textwrap.dedent(body))
        done = subprocess.run(["node", str(script)], env=self.environment(), cwd=self.work, capture_output=True, text=True,
                              timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr)
        return json.loads(done.stdout)

    def test_recording_ends_well_by_an_abort(self):
        self.start_screen()
        result = self.run_script("""
            const controller = new AbortController();
            const kinds = [];
            const recording = record(take, [], { program, signal: controller.signal, onEvent: (event) => kinds.push(event.kind) });
            await recording.started;
            await sleep(1000);
            controller.abort();
            console.log(JSON.stringify({ take: await recording.finished, kinds }));
        """)
        self.assertEqual(result["take"]["videoSegmentCount"], 1)
        self.assertEqual(result["kinds"][-1], "completed")
        self.assertEqual(media.video_stream(self.take / "segments/playlist.m3u8")["codec_name"], "h264")

    def test_failure_has_code_and_whole_reason(self):
        self.start_screen()
        result = self.run_script("""
            const recording = record(take, ["--window-id", "4000000000"], { program });
            let failure;
            await recording.started.catch((error) => (failure = error));
            console.log(JSON.stringify({ known: failure instanceof CaptureError, code: failure.code, message: failure.message }));
        """)
        self.assertEqual((result["known"], result["code"]), (True, "window_not_found"))
        self.assertIn("GLIMTO_CAPTURE_ERROR_JSON=", result["message"])

    def test_program_that_is_not_there_is_told(self):
        result = self.run_script("""
            const failures = [];
            await record(take, [], { program: "/nonexistent/program" }).finished.catch((error) => failures.push(error.name));
            await run(["sources"], { program: "/nonexistent/program" }).catch((error) => failures.push(error.name));
            console.log(JSON.stringify(failures));
        """)
        self.assertEqual(result, ["CaptureError", "CaptureError"])

    def test_documents_are_decoded(self):
        self.start_screen()
        result = self.run_script("""
            const failures = [];
            await run(["bogus"], { program }).catch((error) => failures.push(error.message));
            console.log(JSON.stringify({ windows: await run(["windows-json"], { program }), failures }));
        """)
        self.assertEqual(len(result["windows"]["displays"]), 1)
        self.assertEqual(result["failures"], ["Unknown command 'bogus'. Run `glimto-capture help`."])


if __name__ == "__main__":
    unittest.main()
