"""Calls to the system that fail while the program runs: the library of Tools/Faults.cpp and its file."""

import errno
import os

from support.windows import BINARY

LIBRARY = os.environ.get("GLIMTO_TEST_FAULTS_LIBRARY", str(BINARY.parent / "libglimto-test-faults.so"))


class Faults:
    """What fails, as lines of a file that the program reads again at every call."""

    def __init__(self, path):
        self.path = path
        self.set()

    def environment(self):
        return {"LD_PRELOAD": LIBRARY, "GLIMTO_TEST_FAULTS": str(self.path)}

    def set(self, *lines):
        """From now on these fail, and no others."""
        fresh = self.path.with_suffix(".new")
        fresh.write_text("".join(line + "\n" for line in lines))
        fresh.rename(self.path)


class Fault:
    """One kind of trouble with a disk: the calls that fail, and the words that the user reads."""

    def __init__(self, number, *calls):
        self.number = number
        self.calls = calls
        self.words = os.strerror(number)

    def lines(self, part=""):
        return [f"{call} {self.number} {part}".rstrip() for call in self.calls]


DISK_FAULTS = {
    "full": Fault(errno.ENOSPC, "write"),
    "quota": Fault(errno.EDQUOT, "write"),
    "broken": Fault(errno.EIO, "write", "sync"),
    "remounted read-only": Fault(errno.EROFS, "write", "open", "sync"),
}
