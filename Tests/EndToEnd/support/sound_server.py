"""Sound servers: each in a runtime directory of its own, so that nothing of the host's sound is used or heard."""

import os
import signal
import subprocess
import tempfile
from pathlib import Path

from support.processes import END_LIMIT, START_LIMIT, Child, is_listening, wait_until

KINDS = ("pulseaudio", "pipewire")
COMMAND_LIMIT = 20  # seconds
FOREIGN = ("DBUS_SESSION_BUS_ADDRESS", "PULSE_SINK", "PULSE_SOURCE", "PULSE_PROP", "PULSE_LATENCY_MSEC",
           "PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR", "PIPEWIRE_LATENCY")


class SoundServer:
    """A running server with two sinks, "speaker" (the default one) and "micfeed", and a microphone "fakemic" (the
    default one) that hears what is played on "micfeed".

    `variables` lead a client to the server; `environment()` has everything a client needs. After kill() the same
    object can be started again with start(): the same address, and nothing of what was set up before.
    """

    def __init__(self, kind="pulseaudio", devices=True):
        self.kind = kind
        self.folder = tempfile.TemporaryDirectory(prefix="glimto-sound-", ignore_cleanup_errors=True)
        top = Path(self.folder.name)
        for name in ("runtime/pulse", "config/pulse", "state"):
            (top / name).mkdir(parents=True, mode=0o700)
        (top / "config/pulse/client.conf").write_text("autospawn = no\n")
        self.socket = top / "runtime/pulse/native"
        self.variables = {
            "XDG_RUNTIME_DIR": str(top / "runtime"),
            "XDG_CONFIG_HOME": str(top / "config"),
            "XDG_STATE_HOME": str(top / "state"),
            "PULSE_SERVER": f"unix:{self.socket}",
            "PULSE_RUNTIME_PATH": str(top / "runtime/pulse"),
            "PULSE_STATE_PATH": str(top / "state"),
            "PULSE_COOKIE": str(top / "cookie"),
            "PULSE_CLIENTCONFIG": str(top / "config/pulse/client.conf"),
        }
        self.bus_address = None
        self.children = []
        self.players = []
        try:
            self.start(devices)
        except BaseException:
            self.end()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def environment(self, base=None):
        """`base` (this process's environment without one), leading every client to this server."""
        kept = {name: value for name, value in (os.environ if base is None else base).items() if name not in FOREIGN}
        return {**kept, **self.variables, **self.bus()}

    def bus(self):
        return {"DBUS_SESSION_BUS_ADDRESS": self.bus_address} if self.bus_address else {}

    # Life

    def start(self, devices=True):
        for leftover in (self.socket, Path(f"{self.socket}.lock"), self.socket.parent / "pid"):
            leftover.unlink(missing_ok=True)
        if self.kind == "pulseaudio":
            self.start_pulseaudio()
        else:
            self.start_pipewire()
        wait_until(self.answers, f"the start of {self.kind}", interval=0.05)
        if self.kind == "pipewire":
            # Its session manager, another process, chooses the devices; before it is there nobody can ask it to.
            wait_until(self.has_session_manager, "the start of wireplumber", interval=0.05)
        if devices:
            self.add_sink("speaker")
            self.add_sink("micfeed")
            self.add_microphone("fakemic", "micfeed")
            self.set_default_sink("speaker")
            self.set_default_source("fakemic")

    def start_pulseaudio(self):
        self.run_child("pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--disallow-exit=1",
                       "--use-pid-file=no", "--log-target=stderr",
                       "-L", f"module-native-protocol-unix auth-anonymous=1 socket={self.socket}")

    def start_pipewire(self):
        bus = self.run_child("dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                             stdout=subprocess.PIPE)
        self.bus_address = bus.process.stdout.readline().decode().strip()
        self.run_child("pipewire")
        wait_until(lambda: is_listening(self.socket.parent.parent / "pipewire-0"), "the start of pipewire")
        self.session_manager = self.run_child("wireplumber")
        self.run_child("pipewire-pulse")

    def run_child(self, *command, **options):
        child = Child(command, self.environment(), start_new_session=True, **options)
        self.children.append(child)
        return child

    def answers(self):
        return subprocess.run(["pactl", "info"], env=self.environment(), stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=COMMAND_LIMIT).returncode == 0

    def has_session_manager(self):
        if not self.session_manager.is_running():
            raise AssertionError("wireplumber has ended")
        return not self.pactl("get-default-sink").startswith("@")

    def kill(self):
        """As a crash ends it: without a word to its clients."""
        self.signal(signal.SIGKILL)
        for child in self.children:
            child.end()
        self.children = []
        self.bus_address = None

    def freeze(self):
        """From now on it accepts connections and answers nothing, until thaw()."""
        self.signal(signal.SIGSTOP)

    def thaw(self):
        self.signal(signal.SIGCONT)

    def signal(self, number):
        for child in reversed(self.children):
            if child.is_running():
                os.kill(child.pid, number)

    def end(self):
        for player in self.players:
            player.end()
        self.thaw()
        for child in reversed(self.children):
            child.end()
        self.children = []
        self.folder.cleanup()

    # Devices

    def pactl(self, *arguments):
        """What the command printed; it has to succeed."""
        done = subprocess.run(["pactl", *map(str, arguments)], env=self.environment(), stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=COMMAND_LIMIT)
        if done.returncode != 0:
            raise AssertionError(f"pactl {arguments} failed: {done.stderr}")
        return done.stdout.strip()

    def load_module(self, name, *arguments):
        """The number under which unload_module() knows it."""
        return self.pactl("load-module", name, *arguments)

    def unload_module(self, number):
        self.pactl("unload-module", number)

    def add_sink(self, name, rate=48000, channels=2, sample_format=None, channel_map=None):
        """A null sink. Its monitor delivers at once, also without a player."""
        arguments = [f"sink_name={name}", f"rate={rate}", f"channels={channels}"]
        if sample_format:
            arguments.append(f"format={sample_format}")
        if channel_map:
            arguments.append(f"channel_map={channel_map}")
        if self.kind == "pulseaudio":
            arguments.append("norewinds=1")  # else the monitor's first sound comes 1 to 2 s late
        number = self.load_module("module-null-sink", *arguments)
        self.wait_for("sinks", name)
        return number

    def add_microphone(self, name, sink, **properties):
        """A source that hears what is played on `sink`."""
        arguments = [f"master={sink}.monitor", f"source_name={name}"]
        number = self.load_module("module-remap-source", *arguments,
                                  *(f"{key}={value}" for key, value in properties.items()))
        self.wait_for("sources", name)
        return number

    def add_silent_microphone(self, name):
        """A source from which nothing ever comes, not even silence; once again is no matter."""
        if name not in self.pactl("list", "short", "sources").split():
            self.load_module("module-pipe-source", f"source_name={name}", f"file={self.folder.name}/{name}")
            self.wait_for("sources", name)

    def set_default_sink(self, name):
        self.pactl("set-default-sink", name)
        wait_until(lambda: self.pactl("get-default-sink") == name, f"the change of the default sink to {name}")

    def set_default_source(self, name):
        self.pactl("set-default-source", name)
        wait_until(lambda: self.pactl("get-default-source") == name, f"the change of the default source to {name}")

    def names(self, kind):
        """Of all "sinks" or "sources"."""
        return [line.split("\t")[1] for line in self.pactl("list", "short", kind).splitlines()]

    def recorded_sources(self):
        """The names of the sources that somebody records from, one a stream."""
        names = {line.split("\t")[0]: line.split("\t")[1]
                 for line in self.pactl("list", "short", "sources").splitlines()}
        lines = self.pactl("list", "short", "source-outputs").splitlines()
        return [names.get(line.split("\t")[1], "?") for line in lines]

    def wait_until_recorded(self, source):
        wait_until(lambda: source in self.recorded_sources(), f"a recording from {source}")

    def wait_for(self, kind, name):
        wait_until(lambda: name in self.names(kind), f"{name} among the {kind}")

    # Players

    def play(self, file, sink, latency_ms=20):
        """Begins to play a WAV file on a sink; the child ends with the file."""
        player = Child(["paplay", f"--latency-msec={latency_ms}", "-d", sink, file], self.environment())
        self.players.append(player)
        return player

    def play_to_end(self, file, sink, limit=START_LIMIT):
        player = self.play(file, sink)
        if player.process.wait(limit + END_LIMIT) != 0:
            raise AssertionError(f"paplay failed on {file}")
