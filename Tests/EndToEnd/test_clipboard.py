"""Pictures on the clipboard, read back by another program."""

import os
import subprocess
import unittest
import zlib

from support import pictures
from support.processes import wait_until
from support.stills import StillsCase
from support.tool import RUN_LIMIT
from support.windows import BINARY


def png_that_declares(width, height):
    def chunk(kind, body):
        return len(body).to_bytes(4, "big") + kind + body + zlib.crc32(kind + body).to_bytes(4, "big")

    header = width.to_bytes(4, "big") + height.to_bytes(4, "big") + bytes([8, 2, 0, 0, 0])
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(b"\0" * 1000))
            + chunk(b"IEND", b""))


class ClipboardCase(StillsCase):
    def setUp(self):
        super().setUp()
        self.start_server("640x480")
        self.addCleanup(self.empty_clipboard)

    # What offers the last picture ends when somebody else takes the clipboard, or with the server.
    def empty_clipboard(self):
        if self.server.is_running():
            self.put_text("nothing")

    def put_text(self, text):
        # xclip stays behind as the owner until the server ends.
        subprocess.run(["xclip", "-selection", "clipboard"], input=text.encode(), env=self.server.environment(),
                       timeout=30, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def paste(self, target="image/png"):
        done = subprocess.run(["xclip", "-selection", "clipboard", "-o", "-target", target],
                              env=self.server.environment(), capture_output=True, timeout=60)
        return done.stdout if done.returncode == 0 else None

    def image(self, name="a.png", *arguments):
        return pictures.make_png(self.work / name, *(arguments or ("-size", "64x48", "gradient:red-blue")))


class ClipboardImageTests(ClipboardCase):
    def test_file_is_read_back_byte_for_byte_after_the_end(self):
        image = self.image()
        output = self.run_tool("clipboard-image", "--path", image)
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(output.texts, [f"Clipboard image: {image}", f"Bytes: {image.stat().st_size}"])
        self.assertEqual(self.paste(), image.read_bytes())
        self.assertIn(b"image/png", self.paste("TARGETS").split())

    def test_caller_that_waits_for_the_end_of_our_output_does_not_hang(self):
        for arguments in (["clipboard-image", "--path", self.image()],
                          ["screenshot", "-o", self.shot, "--copy-image"]):
            reader, writer = os.pipe()
            self.addCleanup(os.close, writer)
            # Ends when nobody has the pipe open any more.
            done = subprocess.run([BINARY, *arguments], env=self.environment(), stdin=reader, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, timeout=RUN_LIMIT)
            os.close(reader)
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertIsNotNone(self.paste())

    def test_second_picture_replaces_the_first(self):
        first, second = self.image("a.png"), self.image("b.png", "-size", "30x30", "xc:green")
        self.run_tool("clipboard-image", "--path", first)
        self.run_tool("clipboard-image", "--path", second)
        self.assertEqual(self.paste(), second.read_bytes())

    def test_large_picture_is_read_back_byte_for_byte(self):
        noise = pictures.noise(1600, 1200)
        pictures.write_ppm(noise, self.directory / "noise.ppm")
        image = self.image("large.png", self.directory / "noise.ppm")
        self.assertGreater(image.stat().st_size, 5_000_000)
        self.assertEqual(self.run_tool("clipboard-image", "--path", image).status, 0)
        self.assertEqual(self.paste(), image.read_bytes())

    def test_owner_ends_when_another_program_takes_the_clipboard(self):
        self.run_tool("clipboard-image", "--path", self.image())
        owners = self.processes_of_ours()
        self.assertEqual(len(owners), 1)
        self.put_text("something else")
        wait_until(lambda: not self.processes_of_ours(), "the owner's end")
        self.assertEqual(self.paste("UTF8_STRING"), b"something else")

    def test_owner_holds_nothing_of_the_callers(self):
        reader, writer = os.pipe()
        self.addCleanup(os.close, reader)
        self.addCleanup(os.close, writer)
        subprocess.run([BINARY, "clipboard-image", "--path", self.image()], env=self.environment(),
                       stdout=subprocess.DEVNULL, pass_fds=[writer], check=True, timeout=60)
        (owner,) = self.processes_of_ours()
        pipe = os.readlink(f"/proc/self/fd/{writer}")
        held = [os.readlink(entry.path) for entry in os.scandir(f"/proc/{owner}/fd")]
        self.assertNotIn(pipe, held)
        self.assertEqual(os.readlink(f"/proc/{owner}/cwd"), "/")

    def processes_of_ours(self):
        """Those of the program that live on this test's server."""
        found = []
        for entry in os.scandir("/proc"):
            if not entry.name.isdigit():
                continue
            try:
                executable = os.readlink(f"/proc/{entry.name}/exe")
                with open(f"/proc/{entry.name}/environ", "rb") as file:
                    environment = file.read().split(b"\0")
                with open(f"/proc/{entry.name}/stat", "rb") as file:
                    is_zombie = file.read().rsplit(b")", 1)[1].split()[0] == b"Z"
            except OSError:
                continue
            if executable == str(BINARY) and f"XDG_CACHE_HOME={self.caches}".encode() in environment \
                    and not is_zombie:
                found.append(int(entry.name))
        return found

    def test_screenshot_is_copied(self):
        output = self.run_tool("screenshot", "-o", self.shot, "--copy-image")
        self.assertEqual((output.status, output.errors), (0, ""))
        self.assertEqual(self.paste(), self.shot.read_bytes())

    def test_recording_does_not_stand_in_the_way(self):
        recording = self.start_recording("--until-stopped", "--stop-file", self.directory / "stop", "--no-cursor")
        recording.wait_until_recording()
        output = self.run_tool("clipboard-image", "--path", self.image())
        self.assertEqual((output.status, output.errors), (0, ""))
        (self.directory / "stop").touch()
        self.assertEqual(recording.finish().status, 0)


class ClipboardWithoutServerTests(StillsCase):
    def test_without_a_server_the_clipboard_cannot_be_written(self):
        image = pictures.make_png(self.work / "a.png", "-size", "8x8", "xc:red")
        for display in (None, ":4093"):
            output = self.run_tool("clipboard-image", "--path", image, DISPLAY=display)
            self.assert_fails(output, "Could not write PNG image data to the clipboard.")
            self.assertEqual(output.texts, [])


class BadPictureTests(ClipboardCase):
    """Files that are no pictures, at clipboard-image and recognize-text."""

    def refused(self, command, path, message):
        output = self.run_tool(command, "--path", path)
        self.assert_fails(output, message)
        self.assertEqual(output.texts, [])

    def refused_by_clipboard(self, path):
        self.refused("clipboard-image", path, f"clipboard-image requires a readable PNG image at {path}.")

    def bad_files(self):
        whole = self.image().read_bytes()
        jpeg = self.work / "jpeg.png"
        subprocess.run(["convert", "-size", "64x48", "xc:red", f"jpeg:{jpeg}"], check=True, timeout=60)
        pixels = whole.index(b"IDAT") + 20
        contents = {"empty.png": b"", "signature.png": whole[:8], "header.png": whole[:33],
                    "truncated.png": whole[:len(whole) // 2], "without-end.png": whole[:-12],
                    "text.png": b"This is no picture.\n" * 100, "huge.png": png_that_declares(60000, 60000),
                    "short.png": png_that_declares(1000, 1000),
                    "damaged.png": whole[:pixels] + bytes([whole[pixels] ^ 0x55]) + whole[pixels + 1:]}
        for name, data in contents.items():
            (self.work / name).write_bytes(data)
            yield self.work / name
        yield jpeg

    def test_what_is_no_whole_png_is_refused(self):
        for path in self.bad_files():
            with self.subTest(path=path.name):
                self.refused_by_clipboard(path)

    def test_huge_declared_size_takes_no_memory(self):
        path = self.work / "huge.png"
        path.write_bytes(png_that_declares(60000, 60000))
        done = subprocess.run(["sh", "-c", 'ulimit -v 1000000; exec "$@"', "sh", BINARY, "clipboard-image", "--path",
                               path], env=self.environment(), capture_output=True, text=True, timeout=20)
        self.assertEqual(done.stderr, f"error: clipboard-image requires a readable PNG image at {path}.\n")

    def test_only_files_exist_for_the_clipboard(self):
        pipe = self.work / "pipe.png"
        os.mkfifo(pipe)
        dangling = self.work / "dangling.png"
        dangling.symlink_to(self.work / "nowhere")
        for path in (self.work / "none.png", self.work, pipe, dangling, "/dev/zero", "/dev/tty"):
            self.refused("clipboard-image", path, f"PNG file does not exist at {path}.")

    def test_link_to_a_picture_is_a_picture(self):
        link = self.work / "link.png"
        link.symlink_to(self.image())
        output = self.run_tool("clipboard-image", "--path", link)
        self.assertEqual(output.texts[0], f"Clipboard image: {link}")
        self.assertEqual(self.paste(), link.read_bytes())

    def test_unreadable_file_is_told(self):
        image = self.image()
        image.chmod(0)
        for command, message in (
                ("clipboard-image", f"clipboard-image requires a readable PNG image at {image}."),
                ("recognize-text", f"Could not read the image at {image}: Permission denied")):
            output = self.run_as_nobody(command, "--path", image)
            self.assertEqual(output.returncode, 1)
            self.assertEqual(output.stderr, f"error: {message}\n")

    def run_as_nobody(self, *arguments):
        """A user who may not read everything."""
        for path in (self.directory, self.work):
            path.chmod(0o755)
        user = "nobody" if os.geteuid() == 0 else None
        return subprocess.run([BINARY, *arguments], env=self.environment(), capture_output=True, text=True,
                              timeout=RUN_LIMIT, user=user)

    def test_only_files_are_read_for_text(self):
        pipe = self.work / "pipe.png"
        os.mkfifo(pipe)
        dangling = self.work / "dangling.png"
        dangling.symlink_to(self.work / "nowhere")
        for path in (self.work / "none.png", dangling):
            self.refused("recognize-text", path, f"No image found at {path}.")
        for path in (self.work, pipe, "/dev/zero"):
            self.refused("recognize-text", path, f"Could not read the image at {path}: it is not a regular file.")

    def test_text_of_what_is_no_picture_is_an_error(self):
        for path in self.bad_files():
            if path.name == "jpeg.png":
                continue
            with self.subTest(path=path.name):
                output = self.run_tool("recognize-text", "--path", path)
                self.assertEqual((output.status, output.texts), (1, []))
                self.assertEqual(len(output.error_lines), 1)
                self.assertTrue(output.error_lines[0].startswith("error: "))
                self.assertIn(str(path), output.error_lines[0])


if __name__ == "__main__":
    unittest.main()
