"""An X server of one's own with a desktop, and the programs on it that are recorded."""
import contextlib
import dataclasses
import os
import pathlib
import random
import shutil
import signal
import subprocess
import time

PHOTOS = pathlib.Path("/usr/share/backgrounds/mate")
WALLPAPER = PHOTOS / "nature" / "Storm.jpg"
NEEDED = ["Xvfb", "ffmpeg", "xterm", "feh", "xdotool"]
INSTALLER = "Benchmarks/record/install-programs.sh"
START_LIMIT = 60  # seconds


class Missing(Exception):
    """Something is not installed, or does not come up."""


def need(*programs):
    missing = [program for program in programs if not shutil.which(program)]
    if missing or not WALLPAPER.exists():
        what = ", ".join(missing) or "the photos of mate-backgrounds"
        raise Missing(f"{what} not found: {INSTALLER} installs what the recordings show")


@contextlib.contextmanager
def running(command, environment, **options):
    """A program with all that it starts, until the end of the block."""
    process = subprocess.Popen([str(word) for word in command], env=environment, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL, start_new_session=True, **options)
    try:
        yield process
    finally:
        end(process)


def end(process):
    for number in (signal.SIGTERM, signal.SIGKILL):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, number)
        with contextlib.suppress(subprocess.TimeoutExpired):
            process.wait(10)
            return


@dataclasses.dataclass
class Stage:
    """Where contents are shown."""

    width: int
    height: int
    build: pathlib.Path
    folder: pathlib.Path  # for files of the content
    environment: dict
    server: subprocess.Popen

    @property
    def scale(self):
        """How much larger things are drawn than at 1080p."""
        return self.height / 1080

    def call(self, *command):
        return subprocess.run([str(word) for word in command], env=self.environment, check=True, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=START_LIMIT).stdout

    def wait_for_window(self, window_class):
        """The id of a visible window of that class."""
        deadline = time.monotonic() + START_LIMIT
        while time.monotonic() < deadline:
            found = subprocess.run(["xdotool", "search", "--onlyvisible", "--class", window_class], text=True,
                                   env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            if found.stdout.strip():
                return found.stdout.split()[0]
            time.sleep(0.2)
        raise Missing(f"no window of {window_class} within {START_LIMIT} s")

    @contextlib.contextmanager
    def hands(self, lines):
        """Somebody at mouse and keyboard, who does what xdotool is told in `lines` again and again."""
        script = self.folder / "hands.txt"
        script.write_text("\n".join(lines) + "\n")
        with running(["sh", "-c", 'while xdotool "$0"; do :; done', script], self.environment):
            yield


@contextlib.contextmanager
def opened(width, height, build, folder):
    need(*NEEDED)
    reading, writing = os.pipe()
    command = ["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{width}x{height}x24", "-noreset", "-nolisten", "tcp"]
    with running(command, os.environ, pass_fds=[writing]) as server:
        os.close(writing)
        with os.fdopen(reading) as answer:
            display = answer.readline().strip()
        if not display:
            raise Missing("Xvfb did not start")
        kept = {name: value for name, value in os.environ.items() if name not in ("WAYLAND_DISPLAY", "XAUTHORITY")}
        stage = Stage(width, height, build, folder, kept | {"DISPLAY": ":" + display, "HOME": str(folder)}, server)
        stage.call("feh", "--no-fehbg", "--bg-scale", WALLPAPER)
        stage.call("xdotool", "mousemove", width - 1, height - 1)  # or the pointer would be in pictures that are compared
        yield stage


def some_text(seed, words):
    """Words that make no sense, the same every time."""
    dice = random.Random(seed)
    syllables = "ka lo mi ten dra sul ve por ani gre tos li qua ber eno".split()
    return " ".join("".join(dice.choices(syllables, k=dice.randint(1, 4))) for _ in range(words))
