"""Drives glimto-capture from Python (3.9 and later, asyncio, nothing but the standard library).

    async with Recording("demo", "--system-audio") as recording:
        await recording.started()
        await asyncio.sleep(10)
    print(recording.result["playlistPath"])

Leaving the block stops the recording and waits until the take is complete; an exception inside does so too. Every
failure is a CaptureError, with the code that the program gave it.
"""

import asyncio
import contextlib
import json
import os
import signal


class CaptureError(Exception):
    """What went wrong, in the program's own words, and the code of its event ("" when there was none)."""

    def __init__(self, message, code=""):
        super().__init__(message)
        self.code = code


def _reason(errors, status):
    """The last line that begins with "error: ", and all that follows it."""
    text = "\n" + errors.decode("utf-8", "replace")
    start = text.rfind("\nerror: ")
    if start >= 0:
        return text[start + len("\nerror: "):].rstrip("\n")
    return f"glimto-capture ended by signal {-status}" if status < 0 else f"glimto-capture failed with status {status}"


async def _start(program, arguments, environment, **settings):
    try:
        return await asyncio.create_subprocess_exec(
            program, *map(str, arguments), env=environment, stdin=asyncio.subprocess.DEVNULL,
            stdout=asyncio.subprocess.PIPE, stderr=asyncio.subprocess.PIPE, **settings)
    except OSError as error:
        raise CaptureError(f"{program} cannot be started: {error.strerror}") from error


async def run(*arguments, program="glimto-capture", environment=None, limit=60):
    """Runs a command that prints one document and ends; what it printed. JSON is decoded."""
    process = await _start(program, arguments, environment)
    try:
        output, errors = await asyncio.wait_for(process.communicate(), limit)
    except BaseException as error:
        with contextlib.suppress(ProcessLookupError):
            process.kill()
        await process.wait()
        if isinstance(error, asyncio.TimeoutError):
            raise CaptureError(f"glimto-capture did not end within {limit} s") from error
        raise
    if process.returncode != 0:
        raise CaptureError(_reason(errors, process.returncode))
    text = output.decode("utf-8")
    with contextlib.suppress(ValueError):
        return json.loads(text)
    return text


class Recording:
    """One `record` process. `on_event` is called with every lifecycle event, on the event loop."""

    def __init__(self, directory, *options, program="glimto-capture", environment=None, on_event=None):
        self.program = program
        self.arguments = ["record", "-o", os.fspath(directory), "--stdout-json", "--duration", "86400", *options]
        self.environment = environment
        self.on_event = on_event or (lambda event: None)
        self.events = []
        self.result = None  # what --stdout-json printed, once the take is complete
        self.status_lines = []  # "recording", "stopped", "uploaded", ...
        self._recording = asyncio.Event()

    async def __aenter__(self):
        # A group of its own: a Ctrl-C at the terminal reaches the application, which stops the recording.
        self.process = await _start(self.program, self.arguments, self.environment, start_new_session=True,
                                    limit=1 << 24)
        self._lines = asyncio.create_task(self._read_lines())
        self._errors = asyncio.create_task(self.process.stderr.read())
        return self

    async def __aexit__(self, kind, error, trace):
        self.stop()
        if kind is None:
            await self.finished()
        else:
            await self._end()

    async def started(self):
        """Returns once frames are being recorded; raises CaptureError when the process ends before."""
        waiting = asyncio.create_task(self._recording.wait())
        await asyncio.wait({waiting, self._lines}, return_when=asyncio.FIRST_COMPLETED)
        waiting.cancel()
        if not self._recording.is_set():
            await self.finished()
            raise CaptureError("glimto-capture ended before it recorded")

    def stop(self):
        """Asks for the end. The take is completed."""
        if self.process.returncode is None:
            with contextlib.suppress(ProcessLookupError):
                self.process.send_signal(signal.SIGTERM)

    async def finished(self):
        """Waits for the end of the take, and of the upload if there is one; `result` then tells where it is."""
        await self._end()
        if self.process.returncode != 0:
            failed = [event for event in self.events if event["kind"].endswith("_failed")]
            code = failed[-1].get("error", {}).get("code", "") if failed else ""
            raise CaptureError(_reason(self._errors.result(), self.process.returncode), code)
        return self.result

    async def _end(self):
        await asyncio.gather(self._lines, self._errors)
        await self.process.wait()

    async def _read_lines(self):
        async for line in self.process.stdout:
            self._read(line.decode("utf-8").rstrip("\n"))

    def _read(self, line):
        if line.startswith("GLIMTO_RECORDING_STATUS="):
            self.status_lines.append(line.partition("=")[2])
            if self.status_lines[-1] == "recording":
                self._recording.set()
        elif line.startswith("{"):
            with contextlib.suppress(ValueError):
                document = json.loads(line)
                if document.get("type") == "recording_lifecycle":
                    self.events.append(document)
                    self.on_event(document)
                elif "manifestPath" in document:
                    self.result = document
