"""Takes in players that are not installed for every test run: Firefox and mpv. Run by hand:

    export GLIMTO_CAPTURE_BINARY=<build folder>/glimto-capture GLIMTO_TEST_WINDOW=<build folder>/glimto-test-window
    python3 -B -m unittest -v other_players    # in this folder

Needs Debian's firefox-esr and mpv. Each prints what it made of the known colours.
"""

import json
import unittest

from support import media
from support.processes import Child, wait_until
from support.screens import Xvfb
from test_playback import COLUMN_WIDTH, COLUMNS, PlaybackCase

FIREFOX_PREFERENCES = {"media.autoplay.default": 0, "browser.shell.checkDefaultBrowser": False,
                       "datareporting.policy.dataSubmissionEnabled": False, "app.update.enabled": False,
                       "toolkit.telemetry.enabled": False, "network.captive-portal-service.enabled": False,
                       "network.connectivity-service.enabled": False, "browser.aboutwelcome.enabled": False}


class OtherPlayersTests(PlaybackCase):
    def assert_shows_columns(self, pixels):
        for wanted, seen in zip(COLUMNS, pixels, strict=True):
            print(f"{wanted} came out as {bytes(seen).hex()}")
        super().assert_shows_columns(pixels)

    def test_firefox(self):
        self.record_clock()
        server = self.served_page()
        profile = self.directory / "profile"
        profile.mkdir()
        (profile / "user.js").write_text("".join(f"user_pref({json.dumps(name)}, {json.dumps(value)});\n"
                                                 for name, value in FIREFOX_PREFERENCES.items()))
        self.started(Child(["firefox-esr", "--headless", "--no-remote", "--profile", profile, server.address],
                           self.environment(HOME=str(self.directory)), start_new_session=True))
        report = wait_until(lambda: server.report, "the end of playback in the browser", limit=90)
        print(report)
        self.assertNotIn("error", report)
        self.assert_shows_columns(report["pixels"])

    def test_mpv_drawing_by_itself(self):
        self.assert_mpv_shows_columns("--vo=x11")

    def test_mpv_drawing_with_opengl(self):
        self.assert_mpv_shows_columns("--vo=gpu", "--gpu-api=opengl", "--gpu-sw=yes")

    def assert_mpv_shows_columns(self, *outputs):
        self.record_clock()
        screen = self.started(Xvfb("320x240"))
        environment = {**screen.environment(), "HOME": str(self.directory)}
        self.started(Child(["mpv", "--no-config", *outputs, "--no-audio", "--no-border", "--no-osc", "--osd-level=0",
                            "--keep-open=yes", "--geometry=320x240+0+0", self.joined()], environment))
        grab = ["ffmpeg", "-nostdin", "-v", "error", "-f", "x11grab", "-draw_mouse", "0", "-video_size", "320x240", "-i",
                screen.display, "-frames:v", "1", "-pix_fmt", "rgb24", "-f", "rawvideo", "-"]

        def shown():
            frame = media.Frame(320, 240, media.run_tool(*grab))
            return frame if frame.shows(COLUMNS[1], COLUMN_WIDTH * 3 // 2, 60) else None

        self.assert_shows_columns(self.columns_of(wait_until(shown, "mpv's picture")))

if __name__ == "__main__":
    unittest.main()
