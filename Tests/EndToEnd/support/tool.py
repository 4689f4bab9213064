"""Runs of glimto-capture."""

import json
import re
import subprocess
import threading
import time

from support.processes import Child

RUN_LIMIT = 60  # seconds after which a run that should have ended counts as hanging
STATUS = "GLIMTO_RECORDING_STATUS="
TIME_STAMP = re.compile(r"\A\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z\Z")


class Line:
    """A line of standard output and when it came, in monotonic seconds."""

    def __init__(self, text, time_):
        self.text = text
        self.time = time_


class Output:
    """What a run of the program has printed."""

    def __init__(self):
        self.lines = []
        self.errors = ""
        self.status = None

    @property
    def texts(self):
        return [line.text for line in self.lines]

    @property
    def text(self):
        return "".join(text + "\n" for text in self.texts)

    @property
    def error_lines(self):
        return self.errors.splitlines()

    def json(self):
        return json.loads(self.text)

    def events(self, kind=None):
        found = [json.loads(text) for text in self.texts if text.startswith('{"') and "recording_lifecycle" in text]
        return [event for event in found if kind in (None, event["kind"])]


class Recording(Child):
    """A running `record`, whose lines are read as they come."""

    def __init__(self, command, environment, directory, **options):
        super().__init__(command, environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=directory,
                         **options)
        self.output = Output()
        self.changed = threading.Condition()
        self.readers = [threading.Thread(target=self.read_lines, daemon=True),
                        threading.Thread(target=self.read_errors, daemon=True)]
        for reader in self.readers:
            reader.start()

    def read_lines(self):
        for line in iter(self.process.stdout.readline, b""):
            with self.changed:
                self.output.lines.append(Line(line.decode().rstrip("\n"), time.monotonic()))
                self.changed.notify_all()

    def read_errors(self):
        self.output.errors = self.process.stderr.read().decode()

    def wait_for(self, text, limit=RUN_LIMIT):
        """The first line that contains `text`."""
        with self.changed:
            self.changed.wait_for(lambda: self.line_with(text) is not None, limit)
            line = self.line_with(text)
        if line is None:
            raise AssertionError(f"no line with {text!r} within {limit} s, only {self.output.texts}")
        return line

    def line_with(self, text):
        return next((line for line in self.output.lines if text in line.text), None)

    def wait_until_recording(self):
        return self.wait_for(STATUS + "recording")

    def finish(self, limit=RUN_LIMIT):
        """The output once the program has ended by itself."""
        try:
            self.output.status = self.process.wait(limit)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"still running after {limit} s; {self.output.texts}") from None
        for reader in self.readers:
            reader.join(limit)
        return self.output

    def end(self):
        if self.is_running():
            self.process.kill()
        self.process.wait()
        for reader in self.readers:
            reader.join(RUN_LIMIT)
        super().end()


def run(command, environment, directory, limit=RUN_LIMIT):
    done = subprocess.run([str(word) for word in command], env=environment, cwd=directory, capture_output=True,
                          timeout=limit, stdin=subprocess.DEVNULL)
    output = Output()
    # Bytes that are no text stand as U+FFFD where a path is printed as it is.
    output.lines = [Line(text, None) for text in done.stdout.decode(errors="replace").rstrip("\n").split("\n")
                    if done.stdout]
    output.errors = done.stderr.decode()
    output.status = done.returncode
    return output
