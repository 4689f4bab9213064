"""Runs of glimto-take."""

import os
import shutil
from pathlib import Path

from support.windows import BINARY as CAPTURE

BINARY = Path(os.environ.get("GLIMTO_TAKE_BINARY", CAPTURE.parent / "glimto-take")).resolve()


def run(case, *arguments, limit=120):
    """What a run that has to succeed prints."""
    output = case.run_tool(*arguments, binary=BINARY, limit=limit)
    case.assertEqual((output.status, output.errors), (0, ""))
    return output.text


def copy_if_there(source, target):
    """Copies a file of a directory that changes meanwhile."""
    try:
        shutil.copy2(source, target)
    except FileNotFoundError:
        pass
