"""X servers and window managers."""

import os
import subprocess

from support.processes import START_LIMIT, Child, read_line, wait_until

DUMMY_CONFIGURATION = """
Section "Device"
    Identifier "card"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0-1000.0
    VertRefresh 5.0-200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "card"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Virtual 1600 600
    EndSubSection
EndSection
Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoEnableDevices" "false"
    Option "DontVTSwitch" "true"
EndSection
"""

# Devices that a test drives through a socket each.
DEVICES = {"mouse": "Pointer", "touchscreen": "Touch"}
DEVICE_CONFIGURATION = """
Section "InputDevice"
    Identifier "{name}"
    Driver "inputtest"
    Option "DeviceType" "{kind}"
    Option "SocketPath" "{path}"
    Option "TouchCount" "5"
    Option "AccelerationProfile" "-1"
EndSection
"""
LAYOUT_CONFIGURATION = """
Section "ServerLayout"
    Identifier "layout"
    Screen "screen"
{devices}EndSection
"""


class XServer(Child):
    """A server on a display number of its own choice, named by `display` (":3"). One that `resets` starts anew when
    its last client leaves, as servers do that are started without options."""

    def __init__(self, command, environment=None, resets=False):
        reader, writer = os.pipe()
        try:
            stays = [] if resets else ["-noreset"]
            super().__init__([*command, "-displayfd", str(writer), *stays, "-nolisten", "tcp"], environment,
                             pass_fds=[writer], start_new_session=True)
            os.close(writer)
            self.display = ":" + read_line(reader, START_LIMIT, command[0]).decode()
        finally:
            os.close(reader)

    def environment(self):
        """What a client of this server needs, and nothing that leads it elsewhere."""
        kept = {name: value for name, value in os.environ.items()
                if name not in ("WAYLAND_DISPLAY", "XAUTHORITY", "GLIMTO_DESKTOP_ACCESS_KEY")}
        return {**kept, "DISPLAY": self.display}

    def run(self, *command):
        """The output of an X client that has to succeed."""
        done = subprocess.run(list(map(str, command)), env=self.environment(), capture_output=True, text=True,
                              timeout=START_LIMIT)
        if done.returncode != 0:
            raise AssertionError(f"{command} failed: {done.stderr}")
        return done.stdout

    def paint_root(self, colour):
        self.run("xsetroot", "-solid", "#" + colour)

    def place_pointer(self, x, y):
        self.run("xdotool", "mousemove", x, y)


class Xvfb(XServer):
    def __init__(self, size="320x240"):
        super().__init__(["Xvfb", "-screen", "0", size + "x24"])


class DummyXorg(XServer):
    """A server with outputs that can be switched on and off while it runs, and with input devices."""

    def __init__(self, directory):
        self.devices = {name: directory / f"{name}.input" for name in DEVICES}
        sections = [DEVICE_CONFIGURATION.format(name=name, kind=kind, path=self.devices[name])
                    for name, kind in DEVICES.items()]
        layout = LAYOUT_CONFIGURATION.format(
            devices="".join(f'    InputDevice "{name}"\n' for name in DEVICES))
        configuration = directory / "dummy.conf"
        configuration.write_text(DUMMY_CONFIGURATION + "".join(sections) + layout)
        super().__init__(["Xorg", "-config", str(configuration), "-configdir", str(directory), "-novtswitch",
                          "-sharevts", "-logfile", str(directory / "Xorg.log")])


class WindowManager(Child):
    def __init__(self, server):
        super().__init__(["openbox", "--sm-disable"], server.environment())
        wait_until(lambda: self.is_ready(server), "openbox's start")

    @staticmethod
    def is_ready(server):
        return "window id" in server.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK")
