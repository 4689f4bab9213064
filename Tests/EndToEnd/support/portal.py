"""A desktop's portal with a screen to share, on a bus and a PipeWire of its own."""

import os
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path

from support.case import EndToEndCase
from support.pictures import Picture
from support.processes import Child, is_listening, wait_until

PORTAL = os.environ.get("GLIMTO_TEST_PORTAL", "")
FOREIGN = ("DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR",
           "PIPEWIRE_LATENCY", "XDG_CURRENT_DESKTOP")
QUESTION_LIMIT = 60  # seconds

# Nobody is started by being asked for, unless a test says who.
BUS_CONFIGURATION = """<busconfig>
<type>session</type><keep_umask/><listen>unix:path={socket}</listen>{services}
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>"""


class Desktop:
    """A session bus and PipeWire with its session manager. Ends what it started."""

    def __init__(self, has_pipewire=True):
        self.folder = tempfile.TemporaryDirectory(prefix="glimto-portal-", ignore_cleanup_errors=True)
        self.top = Path(self.folder.name)
        for name in ("runtime", "config", "home", "services"):
            (self.top / name).mkdir(mode=0o700)
        self.children = []
        socket = self.top / "bus"
        self.variables = {
            "XDG_RUNTIME_DIR": str(self.top / "runtime"),
            "XDG_CONFIG_HOME": str(self.top / "config"),
            "XDG_STATE_HOME": str(self.top / "home/.local/state"),
            "HOME": str(self.top / "home"),
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={socket}",
        }
        try:
            configuration = self.top / "bus.conf"
            configuration.write_text(BUS_CONFIGURATION.format(
                socket=socket, services=f"<servicedir>{self.top}/services</servicedir>"))
            self.bus = self.run("dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile")
            wait_until(lambda: is_listening(socket), "the start of the bus")
            if has_pipewire:
                self.start_pipewire()
        except BaseException:
            self.end()
            raise

    def start_pipewire(self):
        self.pipewire = self.run("pipewire")
        wait_until(lambda: is_listening(self.top / "runtime/pipewire-0"), "the start of pipewire")
        self.run("wireplumber")
        # It links streams; before it is there, none begins.
        wait_until(lambda: b"WirePlumber [export]" in self.dump(), "the start of wireplumber", interval=0.1)

    def dump(self):
        return subprocess.run(["pw-dump"], env=self.environment(), stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=QUESTION_LIMIT).stdout

    def environment(self):
        kept = {name: value for name, value in os.environ.items() if name not in FOREIGN}
        return {**kept, **self.variables}

    def run(self, *command, **options):
        child = Child(command, self.environment(), start_new_session=True, **options)
        self.children.append(child)
        return child

    def end(self):
        for child in reversed(self.children):
            child.end()
        self.folder.cleanup()


class Portal(Child):
    """The portal of a desktop. Its options stand in the tool's source."""

    def __init__(self, desktop, **options):
        words = [word for name, value in options.items() for word in (f"--{name.replace('_', '-')}", str(value))]
        super().__init__([PORTAL, *words], desktop.environment(), stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.lines = []
        self.changed = threading.Condition()
        self.reader = threading.Thread(target=self.read_lines, daemon=True)
        self.reader.start()
        self.wait_for("ready")

    def read_lines(self):
        for line in iter(self.process.stdout.readline, b""):
            with self.changed:
                self.lines.append(line.decode().rstrip("\n"))
                self.changed.notify_all()

    def wait_for(self, text, count=1, limit=QUESTION_LIMIT):
        """Until it has said so as often."""
        with self.changed:
            if not self.changed.wait_for(lambda: self.count(text) >= count, limit):
                raise AssertionError(f"{text!r} was not heard {count} times within {limit} s, only {self.lines}")

    def count(self, text):
        return sum(text in line for line in self.lines)

    def tell(self, *words):
        """Tells it something and waits until that is done."""
        line = " ".join(str(word) for word in words)
        done = self.count(f"done {line}")
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()
        self.wait_for(f"done {line}", done + 1)

    def tell_with_memory(self, *words):
        """Tells it to send something, again until there was memory to send it in."""
        def is_sent():
            misses = self.count("no buffer")
            self.tell(*words)
            return self.count("no buffer") == misses
        wait_until(is_sent, "a buffer to send", limit=QUESTION_LIMIT)

    def send(self):
        """Sends what was painted."""
        self.tell_with_memory("send")

    def point(self, x, y):
        """Says where the pointer is."""
        self.tell_with_memory("pointer", x, y)

    def end(self):
        if self.is_running():
            self.process.kill()
        self.process.wait()
        self.reader.join(QUESTION_LIMIT)
        super().end()


def pattern(width, height, phase=0):
    """What a portal's screen shows at first, and after `pattern <phase>`."""
    data = bytearray()
    for y in range(height):
        green = (2 * y + phase) & 255
        for x in range(width):
            data += bytes(((x // 8 ^ y // 8) & 255, green, (x + phase) & 255))
    return Picture(width, height, bytes(data))


class PortalCase(EndToEndCase):
    """Tests that share a desktop; each has a portal and a home of its own."""

    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.addClassCleanup(cls.desktop.end)

    def setUp(self):
        super().setUp()
        self.shot = self.work / "shot.png"
        self.state = self.directory / "state"
        self.tokens = self.state / "glimto-capture" / "portal-restore-tokens.json"

    def start_portal(self, **options):
        self.portal = self.started(Portal(self.desktop, **options))
        return self.portal

    def environment(self, **changes):
        shown = self.server.environment() if self.server else {}
        changes = {"GLIMTO_WINDOW_SYSTEM": "portal", "XDG_STATE_HOME": str(self.state),
                   "DISPLAY": shown.get("DISPLAY"), **changes}
        return super().environment(**{**self.desktop.variables, **changes})


class FrontedPortal(Portal):
    """The same behind xdg-desktop-portal, as the part of a desktop that this asks."""

    FRONT = Path("/usr/libexec/xdg-desktop-portal")
    STORE = Path("/usr/libexec/xdg-permission-store")

    def __init__(self, desktop, **options):
        super().__init__(desktop, role="backend", **options)
        parts = desktop.top / "portals"
        parts.mkdir(exist_ok=True)
        (parts / "glimto.portal").write_text(
            "[portal]\nDBusName=org.freedesktop.impl.portal.desktop.glimto_test\n"
            "Interfaces=org.freedesktop.impl.portal.ScreenCast\nUseIn=glimto\n")
        environment = {**desktop.environment(), "XDG_DESKTOP_PORTAL_DIR": str(parts), "XDG_CURRENT_DESKTOP": "glimto"}
        self.helpers = [Child([self.STORE], environment), Child([self.FRONT, "-r"], environment)]

    def end(self):
        for helper in reversed(self.helpers):
            helper.end()
        super().end()
