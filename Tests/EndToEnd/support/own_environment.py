"""The environment that tests run in: their own fonts, language, time zone and folders, and nothing of the machine's.

Whatever a test starts inherits it. Of what the machine has set only what programs need to be found and what leads to
the programs under test stays.
"""

import atexit
import os
import shutil
import tempfile
from pathlib import Path

KEPT = ("PATH", "LD_LIBRARY_PATH", "TMPDIR", "PYTHONDONTWRITEBYTECODE", "ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS",
        "UBSAN_OPTIONS")
FONT_FOLDERS = ("/usr/share/fonts/truetype/dejavu", "/usr/share/fonts/opentype/urw-base35")
FONTS = """<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
{folders}
<cachedir>{cache}</cachedir>
<alias><family>sans-serif</family><prefer><family>DejaVu Sans</family></prefer></alias>
<alias><family>serif</family><prefer><family>DejaVu Serif</family></prefer></alias>
<alias><family>monospace</family><prefer><family>DejaVu Sans Mono</family></prefer></alias>
</fontconfig>
"""


def enter():
    """Makes this process's environment the tests' own. Any number of times."""
    if "GLIMTO_TEST_HOME" in os.environ:
        return
    home = Path(tempfile.mkdtemp(prefix="glimto-home-"))
    atexit.register(shutil.rmtree, home, ignore_errors=True)
    fonts = home / "fonts.conf"
    fonts.write_text(FONTS.format(folders="\n".join(f"<dir>{folder}</dir>" for folder in FONT_FOLDERS),
                                  cache=home / "fontcache"))
    kept = {name: value for name, value in os.environ.items() if name in KEPT or name.startswith("GLIMTO_")}
    kept.pop("GLIMTO_DESKTOP_ACCESS_KEY", None)
    folders = {f"XDG_{name}_HOME": str(home / name.lower()) for name in ("CACHE", "CONFIG", "DATA", "STATE")}
    os.environ.clear()
    os.environ.update(kept, HOME=str(home), LANG="C.UTF-8", LC_ALL="C.UTF-8", TZ="UTC", FONTCONFIG_FILE=str(fonts),
                      GLIMTO_TEST_HOME=str(home), **folders)
