"""A headless web browser that a test steers, by Chromium's DevTools protocol over a pair of pipes."""

import base64
import json
import os
import select
import subprocess
import time

from support.processes import Child

ANSWER_LIMIT = 60
OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync", "--mute-audio",
           "--autoplay-policy=no-user-gesture-required", "--disable-dev-shm-usage", "--window-size=1000,1200",
           "--remote-debugging-pipe"]


class Browser(Child):
    def __init__(self, directory, environment=None):
        commands_read, self.commands = os.pipe()
        self.answers, answers_write = os.pipe()
        # Chromium reads commands from descriptor 3 and writes answers to descriptor 4.
        script = f'exec chromium "$@" 3<&{commands_read} 4>&{answers_write}'
        super().__init__(["bash", "-c", script, "chromium", *OPTIONS, f"--user-data-dir={directory / 'profile'}"],
                         {**(environment or os.environ), "HOME": str(directory)},
                         pass_fds=(commands_read, answers_write), start_new_session=True)
        os.close(commands_read)
        os.close(answers_write)
        self.received = b""
        self.number = 0
        self.session = None
        self.messages = []  # what pages said on their console, and what went wrong in them
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.call(domain + ".enable")

    def end(self):
        super().end()
        for descriptor in (self.commands, self.answers):
            os.close(descriptor)
        self.commands = self.answers = None

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.next_message()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise AssertionError(f"{method}: {answer['error']}")
                return answer["result"]
            self.note(answer)

    def next_message(self):
        deadline = time.monotonic() + ANSWER_LIMIT
        while b"\0" not in self.received:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.answers], [], [], left)[0]:
                raise AssertionError("the browser does not answer")
            data = os.read(self.answers, 1 << 16)
            if not data:
                raise AssertionError("the browser has ended")
            self.received += data
        message, self.received = self.received.split(b"\0", 1)
        return json.loads(message)

    def note(self, message):
        if message.get("method") in ("Runtime.exceptionThrown", "Log.entryAdded", "Runtime.consoleAPICalled",
                                     "Page.javascriptDialogOpening"):
            self.messages.append(message)

    def open(self, address):
        self.call("Page.navigate", url=address)
        self.wait_for("document.readyState === 'complete' && location.href !== 'about:blank'")

    def evaluate(self, expression):
        """The value of a JavaScript expression, awaited when it is a promise."""
        result = self.call("Runtime.evaluate", expression=expression, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            raise AssertionError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def wait_for(self, expression, limit=ANSWER_LIMIT):
        """The first true value of an expression."""
        deadline = time.monotonic() + limit
        while True:
            value = self.evaluate(expression)
            if value:
                return value
            if time.monotonic() > deadline:
                raise AssertionError(f"not true within {limit} s: {expression}; {self.messages}")
            time.sleep(0.05)

    def press(self, key, text=None):
        for kind in ("keyDown", "keyUp"):
            extra = {"text": text} if text and kind == "keyDown" else {}
            self.call("Input.dispatchKeyEvent", type=kind, key=key, **extra)

    def resize(self, width, height):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=2, mobile=True)

    def screenshot(self, path):
        path.write_bytes(base64.b64decode(self.call("Page.captureScreenshot")["data"]))
