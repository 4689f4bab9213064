"""Windows of the product's own toolkit programs, under window managers with and without compositing: a recording
shows nothing of them, from the first frame of each to its last, shadows included."""

import unittest
from pathlib import Path

from support import pictures
from support.case import EndToEndCase
from support.processes import Child, is_listening, wait_until

PYTHON = "/usr/bin/python3"  # that has the system's toolkits
TOOLS = Path(__file__).resolve().parent / "Tools"
BEHIND = "40c080"
SIZE = (640, 480)
CHECKED_ROWS = 380  # above the clock and its shadow
OWN = "ff00ff"
TOLERANCE = 24  # of a channel: flat areas come out as painted, but for what the encoder leaves of the first frame


class Desktop(Child):
    """A window manager, by its command."""

    def __init__(self, server, directory, *command):
        settings = {"XDG_CONFIG_HOME": str(directory / "config"), "XDG_RUNTIME_DIR": str(directory),
                    "HOME": str(directory), "DBUS_SESSION_BUS_ADDRESS": f"unix:path={directory / 'bus'}",
                    "NO_AT_BRIDGE": "1"}
        super().__init__(command, {**server.environment(), **settings})


def is_managed(server):
    return "window id" in server.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK")


class OwnProgramsTests(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen("%dx%d" % SIZE, BEHIND)

    def start_desktop(self, *command):
        return self.started(Desktop(self.server, self.directory, *command))

    def start_managed(self, *command):
        desktop = self.start_desktop(*command)
        wait_until(lambda: is_managed(self.server), command[0])
        return desktop

    def start_bus(self):
        """Ends with what it started, as dbus-run-session does not when it is ended itself."""
        socket = self.directory / "bus"
        self.start_desktop("dbus-daemon", "--session", "--nofork", "--nopidfile", f"--address=unix:path={socket}")
        wait_until(lambda: is_listening(socket), "the bus")

    def start_program(self, name, seconds):
        environment = {**self.server.environment(), "GTK_THEME": "Adwaita", "GDK_BACKEND": "x11", "NO_AT_BRIDGE": "1",
                       "QT_QPA_PLATFORM": "xcb", "XDG_DATA_HOME": str(self.directory / "data"),
                       "HOME": str(self.directory), "QT_LOGGING_RULES": "*=false"}
        return self.started(Child(["dbus-run-session", "--", PYTHON, TOOLS / f"restless_{name}.py", str(seconds), OWN], environment))

    def assert_nothing_is_seen(self):
        """No pixel of any frame is anything but what lies behind."""
        wanted = bytes.fromhex(BEHIND)
        tables = [bytes(abs(value - each) > TOLERANCE for value in range(256)) for each in wanted]
        frames = self.frames()
        self.assertGreater(len(frames), 20)
        seen = {}
        for frame in frames:
            data = frame.data[:3 * SIZE[0] * CHECKED_ROWS]
            count = sum(data[channel::3].translate(table).count(1) for channel, table in enumerate(tables))
            if count:
                seen[frame.time] = count
        self.assertEqual(seen, {}, f"{len(seen)} of {len(frames)} frames show something")

    def screen_pixel(self):
        path = self.directory / "look.png"
        output = self.run_tool("screenshot", "-o", path)
        self.assertEqual(output.status, 0, output.errors)
        return pictures.read_png(path).pixel(SIZE[0] // 2, SIZE[1] // 2)

    def wait_until_composited(self, painter):
        """A compositor shows an empty screen while it starts; it has painted its first picture when a window is
        mixed with what lies behind."""
        veil = painter.open("%dx%d+0+0" % SIZE, "ffffff", override=True)
        self.server.run("xprop", "-id", veil.id, "-f", "_NET_WM_WINDOW_OPACITY", "32c", "-set", "_NET_WM_WINDOW_OPACITY",
                        str(1 << 31))
        desk = tuple(bytes.fromhex(BEHIND))
        wait_until(lambda: self.screen_pixel() not in (desk, (255, 255, 255), (0, 0, 0)), "a window that is seen through")
        veil.destroy()
        wait_until(lambda: self.screen_pixel() == desk, "the desk")

    def record_restless_programs(self, veil_shows_through=True):
        painter = self.start_painter()
        painter.open("%dx%d+0+0" % SIZE, BEHIND, window_class="Desk", override=True).lower_to_bottom()
        if veil_shows_through:
            self.wait_until_composited(painter)
        # Makes frames.
        painter.open("640x10+0+470", override=True).run_clock(20)
        recording = self.start_recording("-d", "7", "--no-cursor", "--framerate", "30")
        recording.wait_until_recording()
        for name in ("gtk", "qt"):
            program = self.start_program(name, 2)
            self.assertEqual(program.process.wait(20), 0)
        output = recording.finish()
        self.assertEqual(output.status, 0, output.errors)
        self.assert_nothing_is_seen()

    def test_without_window_manager(self):
        self.record_restless_programs(veil_shows_through=False)

    def test_openbox_and_picom(self):
        self.start_managed("openbox", "--sm-disable")
        self.start_desktop("picom", "--backend", "xrender", "--config", "/dev/null", "--shadow", "--shadow-radius", "40",
                           "--fading")
        self.record_restless_programs()

    def test_xfwm4(self):
        self.start_bus()
        self.start_managed("xfwm4", "--compositor=on", "--vblank=off")
        self.record_restless_programs(veil_shows_through=False)  # no window is seen through here

    def test_kwin(self):
        self.start_managed("kwin_x11")
        self.record_restless_programs()


if __name__ == "__main__":
    unittest.main()
