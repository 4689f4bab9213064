"""Captures through the portal that desktops have, with a desktop of our own behind it."""

import json
import unittest

from support import pictures
from support.portal import FrontedPortal, PortalCase, pattern
from support.processes import wait_until


class PortalFrontTests(PortalCase):
    def start_portal(self, **options):
        self.portal = self.started(FrontedPortal(self.desktop, **options))
        wait_until(lambda: self.run_tool("permission-json").json()["preflightGranted"], "the start of the portal")
        return self.portal

    def test_screen_is_recorded_and_the_user_asked_once(self):
        portal = self.start_portal(size="320x240", answer="ask")
        recording = self.start_recording("-d", "2")
        portal.wait_for("asked")
        portal.tell("grant")
        recording.wait_until_recording()
        portal.tell("paint", 0, 0, 320, 240, "00ff00")
        portal.send()
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.verify_contract()
        self.assert_shows(self.frames()[-1], "00ff00", 160, 120)
        portal.wait_for("session closed")
        self.assertEqual(list(json.loads(self.tokens.read_text())), ["display 1"])

        output = self.run_tool("screenshot", "-o", self.shot, "--no-watermark", "--display", "0")
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(pictures.read_png(self.shot), pattern(320, 240))
        self.assertEqual((portal.count("asked"), portal.count("restored")), (1, 1))

    def test_token_that_the_portal_does_not_take_leads_to_a_question(self):
        self.tokens.parent.mkdir(parents=True)
        for token in ("nonsense", "01234567-89ab-cdef-0123-456789abcdef"):
            self.tokens.write_text(json.dumps({"display 1": token}))
            portal = self.start_portal(answer="ask")
            recording = self.start_recording("-d", "1", "-w")
            portal.wait_for("asked")
            portal.tell("grant")
            self.assertEqual(recording.finish().status, 0, recording.output.errors)
            self.assertNotEqual(json.loads(self.tokens.read_text())["display 1"], token)
            portal.end()

    def test_no_of_the_user_and_the_end_of_the_sharing_come_through(self):
        portal = self.start_portal(size="320x240", answer="ask")
        recording = self.start_recording("-d", "600")
        portal.wait_for("asked")
        portal.tell("deny")
        self.assert_fails(recording.finish(), "The sharing of the screen was declined.")
        recording = self.start_recording("-d", "600")
        portal.wait_for("asked", 2)
        portal.tell("grant")
        recording.wait_until_recording()
        portal.tell("close")
        self.assertEqual(recording.finish().status, 1)

    def test_question_that_is_given_up_is_taken_from_the_screen(self):
        portal = self.start_portal(answer="ask")
        stop = self.directory / "stop"
        recording = self.start_recording("-d", "600", "--stop-file", stop)
        portal.wait_for("asked")
        stop.touch()
        self.assertEqual(recording.finish().status, 1)
        portal.wait_for("request closed")


if __name__ == "__main__":
    unittest.main()
