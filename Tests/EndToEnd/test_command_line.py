"""The command line as a program and a person at a terminal meet it: help, errors, exit statuses."""

import pathlib
import shutil
import subprocess
import unittest

from support.case import EndToEndCase
from support.windows import BINARY

SECTIONS = ["USAGE", "WINDOW OPTIONS", "SCREENSHOT OPTIONS", "CLIPBOARD OPTIONS", "RECOGNIZE-TEXT OPTIONS",
            "RECORD OPTIONS", "UPLOAD OPTIONS", "NEXT STEP"]
HELP_FORMS = [[], ["help"], ["--help"], ["-h"], ["help", "bogus"], ["record", "--help"], ["record", "-d", "5", "-h"],
              ["record", "-o", "--help"], ["record", "--bogus", "-h"], ["windows", "-h"], ["windows-json", "--help"],
              ["list-windows", "--help"], ["--list-windows-json", "-h"], ["screenshot", "-h"],
              ["clipboard-image", "--help"], ["recognize-text", "-h"], ["upload", "--help"]]


class HelpTests(EndToEndCase):
    def test_every_form_of_help_prints_the_same_usage_without_a_display(self):
        usage = self.run_tool("help")
        for form in HELP_FORMS:
            with self.subTest(form=form):
                output = self.run_tool(*form)
                self.assertEqual((output.status, output.errors), (0, ""))
                self.assertEqual(output.text, usage.text)

    def test_usage_names_every_section_in_order(self):
        lines = self.run_tool().texts
        self.assertEqual(lines[0], "glimto-capture - media-contract proof CLI")
        self.assertEqual([line for line in lines if line in SECTIONS], SECTIONS)
        self.assertEqual(lines[-1], "  scripts/verify-media-contract.sh <output-dir>")

    def test_usage_puts_descriptions_in_one_column(self):
        lines = self.run_tool().texts
        self.assertIn("  -d, --duration <seconds>".ljust(33) + "Capture duration. Default: 5", lines)
        at = lines.index("  --background-upload-threshold <seconds>")
        self.assertEqual(lines[at + 1],
                         " " * 33 + "Start uploading completed segments after this long. Default: 3")

    def test_document_that_cannot_be_written_is_an_error(self):
        self.start_screen()
        for command in ("help", "permission-json", "windows-json", "sources"):
            for output, reason in (("/dev/full", "No space left on device"), ("&-", "Bad file descriptor")):
                with self.subTest(command=command, output=output):
                    done = subprocess.run(["sh", "-c", f'exec "$@" >{output}', "sh", BINARY, command],
                                          env=self.environment(), stderr=subprocess.PIPE, text=True, timeout=60)
                    self.assertEqual(done.returncode, 1)
                    self.assertEqual(done.stderr.splitlines()[-1:], [f"error: Could not write the output: {reason}"])

    def test_help_leaves_nothing_behind(self):
        self.run_tool("help")
        self.assertEqual(list(self.work.iterdir()), [])
        self.assertFalse(self.caches.exists())


class CommandErrorTests(EndToEndCase):
    def assert_refused(self, arguments, message):
        output = self.run_tool(*arguments)
        self.assert_fails(output, message)
        self.assertEqual(output.errors, f"error: {message}\n")
        self.assertEqual(output.texts, [])
        self.assertEqual(list(self.work.iterdir()), [])

    def test_unknown_commands_are_named(self):
        for word in ["bogus", "Record", "HELP", "", "-x", "--version"]:
            with self.subTest(word=word):
                self.assert_refused([word], f"Unknown command '{word}'. Run `glimto-capture help`.")

    def test_unknown_options_are_named_with_their_command(self):
        for command, word in [("record", "record"), ("windows-json", "windows"), ("windows", "windows"),
                              ("screenshot", "screenshot"), ("clipboard-image", "clipboard-image"),
                              ("recognize-text", "recognize-text"), ("upload", "upload")]:
            with self.subTest(command=command):
                self.assert_refused([command, "--bogus"],
                                    f"Unknown {word} option '--bogus'. Run `glimto-capture help`.")

    def test_bad_record_options_say_what_they_need(self):
        for arguments, message in [
                (["--framerate", "0"], "--framerate must be between 1 and 120."),
                (["-r", "121"], "-r must be between 1 and 120."),
                (["-r", "3x"], "Invalid integer '3x' for -r."),
                (["-d", "0"], "-d must be greater than 0."),
                (["--duration", "abc"], "Invalid number 'abc' for --duration."),
                (["--duration"], "Missing value for --duration."),
                (["-o"], "Missing value for -o."),
                (["--display", "-1"], "--display must be 0 or greater."),
                (["--segment-duration", "0"], "--segment-duration must be greater than 0."),
                (["--max-duration-seconds", "-2"], "--max-duration-seconds must be greater than 0."),
                (["--region", "0,0,23,100"], "--region width and height must be at least 24."),
                (["--region", "1,2,3"], "--region must be four finite numbers: x,y,width,height."),
                (["--window-id", "0"], "--window-id must be an integer between 1 and 4294967295."),
                (["--window-id", "4294967296"], "--window-id must be an integer between 1 and 4294967295."),
                (["--window-id", "012"], "--window-id must be an integer between 1 and 4294967295."),
                (["--except-window-id", "x"], "--except-window-id must be an integer between 1 and 4294967295."),
                (["--microphone", "  "], "--microphone requires a device id."),
                (["--until-stopped"], "--until-stopped requires --stop-file."),
                (["--api-base-url", "ftp://host"], "--api-base-url must be an http or https URL."),
                (["--background-upload-threshold", "-1"], "--background-upload-threshold must be 0 or greater.")]:
            with self.subTest(arguments=arguments):
                self.assert_refused(["record", *arguments], message)

    def test_missing_required_options_are_named(self):
        for arguments, message in [
                (["screenshot"], "screenshot requires --output <png>."),
                (["clipboard-image"], "clipboard-image requires --path <png>."),
                (["recognize-text"], "recognize-text requires --path <png>."),
                (["upload"], "upload requires --dir <dir>."),
                (["upload", "--dir", "d"], "upload requires --api-base-url <url>."),
                (["upload", "--dir", "d", "--api-base-url", "http://h"], "upload requires --recording-id <id>.")]:
            with self.subTest(arguments=arguments):
                self.assert_refused(arguments, message)


class MissingEncoderTests(EndToEndCase):
    def test_program_without_its_encoder_module_says_so_and_leaves_nothing(self):
        self.start_screen()
        lonely = self.directory / "elsewhere" / "glimto-capture"
        lonely.parent.mkdir()
        shutil.copy2(BINARY, lonely)
        output = self.run_tool("record", "-d", "1", "-o", self.take, binary=lonely)
        self.assertEqual(output.status, 1)
        self.assertRegex(output.error_lines[-1],
                         r"\Aerror: The media encoder is not available: .* is missing beside the program\.\Z")
        self.assertEqual(output.texts[-1], "GLIMTO_RECORDING_STATUS=failed")
        self.assertNotIn("GLIMTO_RECORDING_STATUS=recording", output.texts)
        self.assertEqual([path for path in self.work.rglob("*") if path.is_file()], [])

    def test_recording_without_sound_loads_no_library_of_ffmpeg(self):
        self.start_screen()
        recording = self.start_recording("-d", "60")
        recording.wait_until_recording()
        loaded = pathlib.Path(f"/proc/{recording.process.pid}/maps").read_text()
        recording.process.terminate()
        self.assertEqual(recording.finish().status, 0)
        self.assertIn("/glimto-capture-video.so", loaded)
        self.assertNotRegex(loaded, r"/libav(codec|format|util)\.|/glimto-capture-ffmpeg\.so")


if __name__ == "__main__":
    unittest.main()
