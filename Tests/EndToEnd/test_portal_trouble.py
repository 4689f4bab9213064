"""The portal's question, what is remembered of it, and portals that refuse, hang, lie and die."""

import json
import os
import signal
import stat
import time
import unittest

from support.portal import PortalCase
from support.processes import wait_until


class PortalPermissionTests(PortalCase):
    def test_permission_is_granted_where_the_portal_would_ask(self):
        portal = self.start_portal(answer="ask")
        output = self.run_tool("permission-json")
        self.assertEqual(output.json(), {"preflightGranted": True, "screenRecording": "granted"})
        self.assertEqual(portal.count("CreateSession"), 0)

    def test_permission_is_denied_where_nobody_shares_screens(self):
        self.start_portal(screencast="no")
        output = self.run_tool("permission-json")
        self.assertEqual(output.json(), {"preflightGranted": False, "screenRecording": "denied"})
        self.assertIn("shares no screens (ScreenCast)", output.errors)

    def test_permission_is_denied_without_a_portal_or_a_bus(self):
        for address in (self.desktop.variables["DBUS_SESSION_BUS_ADDRESS"], "unix:path=/nonexistent"):
            with self.subTest(address=address):
                output = self.run_tool("permission-json", DBUS_SESSION_BUS_ADDRESS=address)
                self.assertEqual(output.json(), {"preflightGranted": False, "screenRecording": "denied"})

    def test_portal_that_never_answers_is_given_up(self):
        self.start_portal(hang="properties")
        output = self.run_tool("permission-json")
        self.assertEqual(output.json(), {"preflightGranted": False, "screenRecording": "denied"})
        self.assertIn("does not answer", output.errors)

    def test_no_of_the_user_is_told_as_such_and_costs_no_earlier_take(self):
        portal = self.start_portal(answer="deny")
        self.take.mkdir()
        (self.take / "manifest.json").write_text("{}")
        output = self.run_tool("record", "-o", self.take, "-d", "1", "-w")
        self.assert_fails(output, "The sharing of the screen was declined.")
        failures = output.events("recording_failed")
        self.assertEqual([event["error"]["code"] for event in failures], ["screen_permission_denied"])
        self.assertEqual((self.take / "manifest.json").read_text(), "{}")
        portal.wait_for("session closed")
        output = self.run_tool("screenshot", "-o", self.shot, "--display", "0")
        self.assert_fails(output, "The sharing of the screen was declined.")

    def test_desktop_that_cannot_share_is_no_denial(self):
        self.start_portal(answer="fail")
        output = self.run_tool("record", "-o", self.take, "-d", "1")
        self.assert_fails(output, "The desktop could not share the screen.")

    def test_user_is_asked_once(self):
        portal = self.start_portal(answer="ask")
        recording = self.start_recording("-d", "1")
        portal.wait_for("asked")
        portal.tell("grant")
        self.assertEqual(recording.finish().status, 0)
        self.assertEqual(stat.S_IMODE(self.tokens.stat().st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(self.tokens.parent.stat().st_mode), 0o700)
        for count in (1, 2):
            self.record("-d", "1", "-w")
            portal.wait_for("restored", count)
        self.assertEqual(portal.count("asked"), 1)

    def test_windows_and_screens_are_remembered_apart(self):
        portal = self.start_portal(answer="ask")
        for arguments in (["--display", "0"], ["--window-id", "7"], ["--window-id", "8"]):
            recording = self.start_recording("-d", "1", "-w", *arguments)
            portal.wait_for("asked", len(json.loads(self.tokens.read_text())) + 1 if self.tokens.exists() else 1)
            portal.tell("grant")
            self.assertEqual(recording.finish().status, 0, recording.output.errors)
        self.assertEqual(set(json.loads(self.tokens.read_text())), {"display 1", "window 7", "window 8"})
        self.record("-d", "1", "-w", "--window-id", "8")
        portal.wait_for("restored")

    def test_tokens_that_are_none_are_ignored(self):
        self.tokens.parent.mkdir(parents=True)
        for content in ("", "[]", "{", '{"display 1": 7}', '{"display 1": "' + "x" * 5000 + '"}',
                        '{"display 1": "a\\u0000b"}'):
            with self.subTest(content=content[:20]):
                self.tokens.write_text(content)
                portal = self.start_portal()
                self.run_screenshot()
                self.assertEqual(portal.count("token=-"), 1)
                portal.end()

    def test_state_that_cannot_be_written_costs_nothing_but_the_memory(self):
        self.state.write_text("a file")
        self.start_portal()
        self.run_screenshot()

    def run_screenshot(self):
        output = self.run_tool("screenshot", "-o", self.shot, "--display", "0")
        self.assertEqual(output.status, 0, output.errors)


class PortalTroubleTests(PortalCase):
    def assert_given_up(self, recording):
        output = recording.finish()
        self.assert_fails(output, "No screen frames were captured. Check Screen Recording permission and try moving the "
                                  "cursor during the capture.")
        self.assertFalse(self.take.exists())

    def test_question_is_taken_back_when_a_signal_ends_the_recording(self):
        portal = self.start_portal(answer="ask")
        recording = self.start_recording("-d", "600")
        portal.wait_for("asked")
        os.kill(recording.pid, signal.SIGTERM)
        self.assert_given_up(recording)
        portal.wait_for("request closed")
        portal.wait_for("session closed")

    def test_question_is_taken_back_when_the_stop_file_appears(self):
        portal = self.start_portal(answer="ask")
        stop = self.directory / "stop"
        recording = self.start_recording("-d", "600", "--stop-file", stop)
        portal.wait_for("asked")
        stop.touch()
        self.assert_given_up(recording)
        portal.wait_for("session closed")

    def test_portal_that_hangs_can_be_given_up_in_every_phase(self):
        for phase in ("CreateSession", "SelectSources", "Start", "OpenPipeWireRemote"):
            with self.subTest(phase=phase):
                portal = self.start_portal(hang=phase)
                recording = self.start_recording("-d", "600")
                portal.wait_for("hanging")
                os.kill(recording.pid, signal.SIGTERM)
                self.assert_given_up(recording)
                portal.end()

    def test_portal_that_dies_fails_the_recording_in_every_phase(self):
        for option in ("die", "orphan"):
            for phase in ("CreateSession", "SelectSources", "Start", "OpenPipeWireRemote"):
                if (option, phase) == ("orphan", "OpenPipeWireRemote"):
                    continue
                with self.subTest(option=option, phase=phase):
                    portal = self.start_portal(**{option: phase})
                    output = self.run_tool("record", "-o", self.take, "-d", "1")
                    self.assertEqual(output.status, 1)
                    self.assertIn("The desktop portal", output.error_lines[-1])
                    self.assertFalse(self.take.exists())
                    portal.end()

    def test_answers_that_make_no_sense_fail_the_recording(self):
        for options in ({"garbage": "CreateSession"}, {"garbage": "SelectSources"}, {"garbage": "Start"},
                        {"refuse": "CreateSession"}, {"refuse": "Start"}, {"streams": "0"},
                        {"refuse": "OpenPipeWireRemote"}, {"remote": "dead"}):
            with self.subTest(**options):
                portal = self.start_portal(**options)
                output = self.run_tool("record", "-o", self.take, "-d", "1")
                self.assertEqual(output.status, 1)
                self.assertEqual(len(output.error_lines), 1, output.errors)
                self.assertNotIn("\x1b", output.errors)
                self.assertFalse(self.take.exists())
                portal.end()

    def assert_ends_with(self, message, trouble):
        portal = self.start_portal(size="320x240")
        recording = self.start_recording("-d", "600")
        recording.wait_until_recording()
        wait_until((self.take / "thumbnail.jpg").exists, "the first frame")
        trouble(portal)
        output = recording.finish()
        self.assertEqual(output.status, 1)
        self.assertIn(message, output.error_lines[-1])
        self.assertGreater(len(self.segments()), 0)
        portal.end()

    def test_sharing_that_the_user_ends_is_the_end_of_the_source(self):
        self.assert_ends_with("The sharing of the screen was ended on the desktop.",
                              lambda portal: portal.tell("close"))

    def test_stream_that_goes_is_the_end_of_the_source(self):
        self.assert_ends_with("What was captured is no longer there.", lambda portal: portal.tell("stop"))

    def test_provider_that_is_killed_is_the_end_of_the_source(self):
        self.assert_ends_with("What was captured is no longer there.", lambda portal: portal.process.kill())

    def test_recording_goes_on_without_the_portal_as_long_as_pictures_come(self):
        portal = self.start_portal(size="320x240")
        recording = self.start_recording("-d", "600")
        recording.wait_until_recording()
        portal.tell("vanish")
        portal.tell("paint", 0, 0, 320, 240, "00ff00")
        portal.send()
        time.sleep(1)  # until it has arrived, and is no longer too soon after the one before
        os.kill(recording.pid, signal.SIGTERM)
        self.assertEqual(recording.finish().status, 0)
        self.assert_shows(self.frames()[-1], "00ff00", 160, 120)


if __name__ == "__main__":
    unittest.main()
