"""Processes that a test starts and ends itself, each by its own id."""

import os
import select
import socket
import subprocess
import time

START_LIMIT = 90  # seconds until a server must be there; a loaded machine takes its time
END_LIMIT = 30


class Child:
    """A process that ends with its `with` block, or with end()."""

    def __init__(self, arguments, environment=None, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("stdout", subprocess.DEVNULL)
        options.setdefault("stderr", subprocess.DEVNULL)
        self.process = subprocess.Popen([os.fspath(argument) for argument in arguments], env=environment, **options)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    @property
    def pid(self):
        return self.process.pid

    def is_running(self):
        return self.process.poll() is None

    def end(self):
        if self.is_running():
            self.process.terminate()
            try:
                self.process.wait(END_LIMIT)
            except subprocess.TimeoutExpired:
                self.process.kill()
        self.process.wait(END_LIMIT)
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            if stream:
                stream.close()


def wait_until(condition, what, limit=START_LIMIT, interval=0.02):
    """The first true value of `condition()`; fails when none comes in time."""
    deadline = time.monotonic() + limit
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"{what} did not happen within {limit} s")
        time.sleep(interval)


def is_listening(path):
    """Whether somebody answers at a Unix socket. Its file alone says nothing: it stands there before anybody listens,
    and stays when its server was killed."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as client:
        client.settimeout(END_LIMIT)
        return client.connect_ex(os.fspath(path)) == 0


def read_line(descriptor, limit, what):
    """One line of bytes from a descriptor, read without reading past it."""
    deadline = time.monotonic() + limit
    line = b""
    while not line.endswith(b"\n"):
        left = deadline - time.monotonic()
        if left <= 0 or not select.select([descriptor], [], [], left)[0]:
            raise AssertionError(f"{what}: no line within {limit} s, only {line!r}")
        byte = os.read(descriptor, 1)
        if not byte:
            raise AssertionError(f"{what}: ended after {line!r}")
        line += byte
    return line[:-1]
