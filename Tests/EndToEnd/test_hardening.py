"""The built files, read: the program, the development server, and every module that is loaded."""

import os
import re
import subprocess
import unittest

from support.dev_server import DEV_SERVER
from support.windows import BINARY

MODULES = ("ffmpeg", "network", "sound", "stills", "text", "video")
OPTIONAL_MODULES = ("portal", "wayland")
LANDING_PADS = {"x86_64": b"\xf3\x0f\x1e\xfa"}  # endbr64, where an indirect branch may go
FORTIFIED = re.compile(r"\b__\w+_chk\b")
STACK_CHECK = "__stack_chk_fail"


def readelf(*arguments):
    done = subprocess.run(["readelf", "--wide", *arguments], capture_output=True, text=True, check=True,
                          env={**os.environ, "LC_ALL": "C"})
    return done.stdout


def built_files():
    needed = [BINARY.parent / f"glimto-capture-{name}.so" for name in MODULES]
    optional = [BINARY.parent / f"glimto-capture-{name}.so" for name in OPTIONAL_MODULES]
    return [str(path) for path in [BINARY, DEV_SERVER, *needed, *filter(lambda path: path.exists(), optional)]]


def code_of(file):
    """The bytes of the section .text."""
    section = re.search(r"\] \.text\s+PROGBITS\s+[0-9a-f]+ ([0-9a-f]+) ([0-9a-f]+)", readelf("--sections", file))
    with open(file, "rb") as content:
        content.seek(int(section[1], 16))
        return content.read(int(section[2], 16))


class HardeningTests(unittest.TestCase):
    def test_every_module_is_looked_at(self):
        there = {str(path) for path in BINARY.parent.glob("glimto-capture-*.so")}
        self.assertEqual(there - set(built_files()), set())

    def test_programs_and_modules_may_lie_anywhere_in_memory(self):
        for file in built_files():
            with self.subTest(os.path.basename(file)):
                self.assertIn("Type:                              DYN", readelf("--file-header", file))
        for file in (str(BINARY), DEV_SERVER):
            self.assertRegex(readelf("--dynamic", file), r"\(FLAGS_1\).*\bPIE\b")

    def test_tables_of_addresses_are_read_only_once_the_file_is_loaded(self):
        for file in built_files():
            with self.subTest(os.path.basename(file)):
                self.assertIn("GNU_RELRO", readelf("--segments", file))
                dynamic = readelf("--dynamic", file)
                self.assertRegex(dynamic, r"BIND_NOW|\(FLAGS_1\).*\bNOW\b")
                self.assertNotIn("TEXTREL", dynamic)

    def test_no_memory_is_writable_and_executable(self):
        for file in built_files():
            with self.subTest(os.path.basename(file)):
                segments = readelf("--segments", file)
                self.assertRegex(segments, r"GNU_STACK .* RW  ")
                self.assertNotIn("RWE", segments)

    def test_a_return_address_is_guarded(self):
        for file in built_files():
            with self.subTest(os.path.basename(file)):
                self.assertIn(STACK_CHECK, readelf("--dyn-syms", file))

    def test_copies_into_buffers_of_known_size_are_checked(self):
        checked = set()
        for file in built_files():
            checked.update(set(FORTIFIED.findall(readelf("--dyn-syms", file))) - {STACK_CHECK})
        self.assertTrue(checked)

    def test_indirect_branches_land_where_they_may(self):
        pad = LANDING_PADS.get(os.uname().machine)
        if not pad:
            return  # this processor has none
        for file in built_files():
            with self.subTest(os.path.basename(file)):
                code = code_of(file)
                # One a function, at 16 bytes and more each; a few would come from the start-up code alone.
                self.assertGreater(code.count(pad), len(code) // 2000)


if __name__ == "__main__":
    unittest.main()
