"""The process that offers a picture on the clipboard: its protocol, and when it ends."""

import os
import random
import signal
import subprocess
import unittest
import zlib
from pathlib import Path

from support import tool
from support.case import EndToEndCase
from support.processes import START_LIMIT, Child, read_line, wait_until
from support.windows import BINARY

TEST_CLIPBOARD = Path(os.environ.get("GLIMTO_TEST_CLIPBOARD", BINARY.parent / "glimto-test-clipboard"))
OWNER_NAME = b"glimto-capture-clipboard"
LARGE = 3700  # pixels a side: 41 MB
MEDIUM = 1000  # 3 MB, which is handed over in pieces
SMALL = 100


def png(side):
    """Noise, not compressed."""
    def chunk(kind, body):
        return len(body).to_bytes(4, "big") + kind + body + zlib.crc32(kind + body).to_bytes(4, "big")

    source = random.Random(side)
    rows = b"".join(b"\0" + source.randbytes(3 * side) for _ in range(side))
    header = side.to_bytes(4, "big") * 2 + bytes([8, 2, 0, 0, 0])
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 0)) + chunk(b"IEND", b"")


class ClipboardClient(Child):
    def __init__(self, server, *arguments):
        super().__init__([TEST_CLIPBOARD, *arguments], server.environment(), stdin=subprocess.PIPE,
                         stdout=subprocess.PIPE, stderr=None)

    def line(self):
        return read_line(self.process.stdout.fileno(), START_LIMIT, "glimto-test-clipboard").decode()

    def go_on(self):
        self.process.stdin.write(b"\n")
        self.process.stdin.flush()

    def kill(self):
        self.process.kill()
        self.process.wait()

    def finish(self):
        status = self.process.wait(tool.RUN_LIMIT)
        if status != 0:
            raise AssertionError(f"glimto-test-clipboard ended with {status}")


class PasteboardCase(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.start_screen()

    def copy(self, side):
        """Puts a picture on the clipboard; its bytes."""
        path = self.work / f"{side}.png"
        data = png(side)
        path.write_bytes(data)
        output = self.run_tool("clipboard-image", "--path", path)
        self.assertEqual((output.status, output.errors), (0, ""))
        return data

    def client(self, *arguments):
        return self.started(ClipboardClient(self.server, *arguments))

    def ask(self, *arguments):
        """What a client prints that has to succeed."""
        return self.server.run(TEST_CLIPBOARD, *arguments).splitlines()

    def pasted(self):
        """The picture on the clipboard; nothing when there is none."""
        done = subprocess.run(["xclip", "-selection", "clipboard", "-o", "-target", "image/png"],
                              env=self.server.environment(), capture_output=True, timeout=tool.RUN_LIMIT)
        return done.stdout if done.returncode == 0 else None

    def paste(self):
        data = self.pasted()
        self.assertIsNotNone(data)
        return data

    def take_clipboard(self):
        subprocess.run(["xclip", "-selection", "clipboard"], input=b"text", env=self.server.environment(), check=True,
                       timeout=tool.RUN_LIMIT, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def owners(self):
        """The processes that offer pictures on this test's server."""
        display = f"DISPLAY={self.server.display}".encode()
        found = []
        for process in Path("/proc").iterdir():
            try:
                if process.name.isdigit() and (process / "cmdline").read_bytes().startswith(OWNER_NAME) \
                        and display in (process / "environ").read_bytes().split(b"\0"):
                    found.append(process)
            except OSError:
                continue
        return found

    def wait_until_owner_ends(self):
        wait_until(lambda: not self.owners(), "the owner's end")


class PasteboardProtocolTests(PasteboardCase):
    def test_all_targets_are_told(self):
        self.copy(SMALL)
        targets = self.server.run("xclip", "-selection", "clipboard", "-o", "-target", "TARGETS")
        self.assertEqual(targets.split(), ["TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "image/png"])

    def test_forty_megabytes_are_read_back_byte_for_byte(self):
        data = self.copy(LARGE)
        self.assertGreater(len(data), 40_000_000)
        self.assertEqual(self.paste(), data)

    def test_readers_at_the_same_time_each_get_everything(self):
        data = self.copy(MEDIUM)
        files = [self.directory / f"read{number}.png" for number in range(3)]
        readers = [self.client("read", file) for file in files]
        for reader in readers:
            self.assertEqual(reader.line(), "begun")
        self.assertEqual(self.paste(), data)
        for reader in readers:
            reader.go_on()
        for reader, file in zip(readers, files):
            reader.finish()
            self.assertEqual(file.read_bytes(), data)

    def test_several_targets_are_converted_at_once(self):
        data = self.copy(SMALL)
        self.assertEqual(self.ask("multiple"), [f"image/png {len(data)}", "UTF8_STRING -1", "TIMESTAMP 4"])

    def test_ownership_has_a_time_of_the_server(self):
        self.copy(SMALL)
        (line,) = self.ask("timestamp")
        owned, now = map(int, line.split())
        self.assertGreater(owned, 0)
        self.assertLessEqual(owned, now)
        self.assertLess(now - owned, 60_000)

    def test_request_from_before_the_ownership_is_refused(self):
        self.copy(SMALL)
        owned = int(self.ask("timestamp")[0].split()[0])
        self.assertEqual(self.ask("ask-at", owned - 1), ["refused"])
        self.assertEqual(self.ask("ask-at", owned), ["answered"])

    def test_reader_that_vanishes_disturbs_nobody(self):
        data = self.copy(MEDIUM)
        file = self.directory / "read.png"
        other = self.client("read", file)
        vanishing = [self.client("read", self.directory / "never.png") for _ in range(3)]
        for reader in [other, *vanishing]:
            self.assertEqual(reader.line(), "begun")
        for reader in vanishing:
            reader.kill()
        other.go_on()
        other.finish()
        self.assertEqual(file.read_bytes(), data)
        self.assertEqual(self.paste(), data)


class PasteboardOwnerTests(PasteboardCase):
    def test_owner_is_alone(self):
        self.copy(SMALL)
        (owner,) = self.owners()
        self.assertEqual((owner / "cwd").resolve(), Path("/"))
        self.assertEqual((owner / "comm").read_text(), "glimto-clip\n")
        fields = (owner / "stat").read_text().rsplit(")", 1)[1].split()
        self.assertEqual(fields[3], owner.name, "it leads a session of its own")
        # The pipe that it answered through is closed a moment after the answer.
        wait_until(lambda: len(self.held_by(owner)) == 4, "letting go of what it was started with")
        held = self.held_by(owner)
        self.assertEqual(held[:3], ["/dev/null"] * 3)
        self.assertTrue(held[3].startswith("socket:"), held)

    @staticmethod
    def held_by(process):
        return sorted(os.readlink(entry) for entry in (process / "fd").iterdir())

    def test_owner_does_not_know_the_access_key(self):
        path = self.work / "picture.png"
        path.write_bytes(png(SMALL))
        environment = {**self.environment(), "GLIMTO_DESKTOP_ACCESS_KEY": "a secret", "HARMLESS": "kept"}
        output = tool.run([BINARY, "clipboard-image", "--path", path], environment, self.work)
        self.assertEqual((output.status, output.errors), (0, ""))
        variables = (self.owners()[0] / "environ").read_bytes().split(b"\0")
        self.assertIn(b"HARMLESS=kept", variables)
        self.assertEqual([each for each in variables if b"ACCESS_KEY" in each or b"secret" in each], [])

    def test_takeover_ends_the_owner_once_readers_have_everything(self):
        data = self.copy(MEDIUM)
        file = self.directory / "read.png"
        reader = self.client("read", file)
        self.assertEqual(reader.line(), "begun")
        self.take_clipboard()
        self.assertEqual(len(self.owners()), 1)
        reader.go_on()
        reader.finish()
        self.assertEqual(file.read_bytes(), data)
        self.wait_until_owner_ends()

    def test_takeover_ends_the_owner_when_a_reader_has_vanished(self):
        self.copy(MEDIUM)
        reader = self.client("read", self.directory / "never.png")
        self.assertEqual(reader.line(), "begun")
        self.take_clipboard()
        reader.kill()
        self.wait_until_owner_ends()

    def test_new_picture_ends_the_owner_of_the_one_before(self):
        self.copy(SMALL)
        (first,) = self.owners()
        data = self.copy(MEDIUM)
        wait_until(lambda: first not in self.owners(), "the first owner's end")
        self.assertEqual(len(self.owners()), 1)
        self.assertEqual(self.paste(), data)

    def test_owner_ends_with_the_server(self):
        self.copy(SMALL)
        (owner,) = self.owners()
        self.server.process.kill()
        self.server.process.wait()
        wait_until(lambda: not owner.exists(), "the owner's end")

    def test_server_that_does_not_answer_is_given_up_and_leaves_nobody(self):
        (self.work / "a.png").write_bytes(png(SMALL))
        os.kill(self.server.pid, signal.SIGSTOP)
        try:
            output = self.run_tool("clipboard-image", "--path", self.work / "a.png")
        finally:
            os.kill(self.server.pid, signal.SIGCONT)
        self.assert_fails(output, "Could not write PNG image data to the clipboard.")
        self.assertEqual(self.owners(), [])


class ClipboardManagerTests(PasteboardCase):
    def start_manager(self, mode):
        manager = self.client("manager", mode)
        self.assertEqual(manager.line(), "ready")
        return manager

    def test_picture_is_there_at_once_and_all_the_time_while_a_manager_saves_it(self):
        for side in (SMALL, MEDIUM, LARGE):
            with self.subTest(side=side):
                manager = self.start_manager("keep")
                data = self.copy(side)
                self.assertEqual([self.paste() == data for _ in range(3)], [True] * 3)
                self.assertEqual(manager.line(), f"saved {len(data)}")
                self.assertEqual([self.paste() == data for _ in range(3)], [True] * 3)
                self.assertEqual(len(self.owners()), 1)
                manager.kill()

    def test_manager_has_the_picture_when_the_owner_is_killed(self):
        manager = self.start_manager("keep")
        data = self.copy(SMALL)
        self.assertEqual(manager.line(), f"saved {len(data)}")
        os.kill(int(self.owners()[0].name), signal.SIGKILL)
        self.wait_until_owner_ends()
        wait_until(lambda: self.pasted() == data, "the manager's taking over")

    def test_manager_gets_large_pictures(self):
        manager = self.start_manager("forget")
        data = self.copy(LARGE)
        self.assertEqual(manager.line(), f"saved {len(data)}")

    def test_manager_that_refuses_leaves_the_owner(self):
        manager = self.start_manager("refuse")
        data = self.copy(SMALL)
        self.assertEqual(manager.line(), "refused")
        self.assertEqual(self.paste(), data)
        self.assertEqual(len(self.owners()), 1)

    def test_manager_that_forgets_loses_nothing(self):
        manager = self.start_manager("forget")
        data = self.copy(SMALL)
        self.assertEqual(manager.line(), f"saved {len(data)}")
        wait_until(lambda: self.has_owner(), "the owner's return")
        self.assertEqual(self.paste(), data)

    def has_owner(self):
        done = subprocess.run(["xclip", "-selection", "clipboard", "-o", "-target", "TARGETS"],
                              env=self.server.environment(), capture_output=True, timeout=tool.RUN_LIMIT)
        return done.returncode == 0


if __name__ == "__main__":
    unittest.main()
