"""Pictures of screen text, rendered with Pango, together with the text they show."""
import pathlib
import subprocess
from dataclasses import dataclass

FONTS = ["DejaVu Sans", "DejaVu Serif", "Nimbus Sans", "DejaVu Sans Mono"]
SIZES = [9, 10, 11, 12, 14, 16, 24]  # pixels

LIGHT = ("#202020", "#ffffff")
DARK = ("#d8d8d8", "#1e1e1e")
FAINT = ("#9a9a9a", "#f4f4f4")
FAINT_DARK = ("#6f6f78", "#26262b")

PROSE = """\
Preferences are saved when the window closes. To restore the defaults, choose Reset from the View menu \
and confirm with Enter. A recording of 45 minutes at 1920x1080 takes about 2.6 GB on the disk; files older \
than 30 days are removed from the cache every Monday at 7:15.
Could not open the project "Atlas (draft)": permission denied. Ask the owner, jane.fisher@example.com, for \
access or keep a local copy in Documents/Archive. Unsaved changes: 12 lines in 3 files.
The quick brown fox jumps over the lazy dog; five quacking zephyrs jolt my wax bed. Total: $1,284.50 \
(incl. 19% tax), due on 28/02/2031."""

LEFT_COLUMN = """\
Release notes
Version 4.2 brings faster search, a new export dialog and better keyboard control. Large projects open in \
half the time, and the timeline no longer jumps while it is zoomed.
Fixed: the preview stayed black after sleep, and subtitles were shifted by one frame."""
RIGHT_COLUMN = """\
Known problems
Printing to a network printer may take up to 20 seconds. Drag and drop between two displays of different \
size moves the pointer by a few pixels.
Workaround: keep both windows on one display until the next update arrives in June."""

TERMINAL = """\
$ git status --short
 M src/parser/lexer.c
 M include/tokens.h
?? notes.txt
$ make -j4 test 2>&1 | tail -5
[ 98%] Linking CXX executable unit_tests
[100%] Built target unit_tests
Test project /home/kim/atlas/build
100% tests passed, 0 tests failed out of 212
Total Test time (real) = 14.07 sec
$ ls -l dist
-rw-r--r-- 1 kim users 48213 Mar 14 09:26 atlas-1.8.3.tar.gz
-rwxr-xr-x 1 kim users 10752 Mar 14 09:26 install.sh
$ ping -c 1 192.168.0.17
64 bytes from 192.168.0.17: icmp_seq=1 ttl=64 time=0.412 ms"""

LOG = "\n".join(
    f"2026-11-21 09:{line // 60:02}:{line % 60:02} {level:5} worker line {line:05}  started job {job} status {status}"
    for line, (level, job, status) in enumerate(
        [("INFO", "alpha", "ok"), ("INFO", "bravo", "ok"), ("WARN", "delta", "late"), ("INFO", "gamma", "ok"),
         ("ERROR", "kappa", "lost")] * 8, start=1))

LISTING = """\
total 724
drwxr-xr-x 4 kim  users   4096 Mar 14 09:26 Archive
-rw-r--r-- 1 kim  users  48213 Mar 14 09:26 atlas-1.8.3.tar.gz
-rwxr-xr-x 1 kim  users  10752 Feb  2 17:40 install.sh
-rw-r----- 1 root audit   1408 Jan 30 08:05 access.log
-rw-r--r-- 1 root audit 602117 Mar 11 23:59 messages
drwxr-xr-x 2 kim  users   4096 Dec 24  2025 Pictures
-rw-r--r-- 1 kim  users   7430 Mar 13 12:31 report-final.odt
-rw-rw-r-- 1 jane staff  39984 Mar  9 15:12 budget.ods"""

TABLE = """\
Name                        Status            Last change
Annual report               approved          14 March 2026
Travel expenses of April    rejected          2 May 2026
Contract with the printer   waiting           28 February 2026
List of all open questions  in translation    19 November 2025
Minutes of the meeting      approved          7 January 2026
Invoice for the new roof    paid in part      30 June 2026"""

SOURCE = """\
struct Window {
    int width = 0;              // in pixels
    int height = 0;             // in pixels
    double scale = 1;           // pixels of one point
    bool visible = true;        // false while it is hidden
    std::string title;          // what the bar at its top shows
};

int area(const Window& window)
{
    if (!window.visible)        // nothing can be seen of it
        return 0;
    return window.width * window.height;
}"""

SIDEBAR = "Inbox\nDrafts\nSent mail\nArchive\nSpam\nTrash\nSettings"
MESSAGES = """\
Meeting moved to Thursday
Hello Robert, the room on the second floor is taken until noon, so we start at 13:30 instead. Please bring \
the signed contract and the list of open questions.
Kind regards, Maria
Invoice 20417 is ready
Your invoice for the month of April can be downloaded from the customer area. The amount of 49.90 EUR will \
be charged to the account ending in 3381."""

MENU = "File Edit View Insert Format Tools Window Help"
DIALOG = """\
Save changes to "report-final.odt" before closing?
If you close without saving, your changes since 14:05 will be lost."""


@dataclass
class Picture:
    group: str
    name: str
    path: pathlib.Path
    text: str


def render(path, text, font, size, colors, width=None, subpixel=False, margin=12):
    foreground, background = colors
    command = ["pango-view", "--no-display", "--pixels", f"--font={font} {size}", f"--foreground={foreground}",
               f"--background={background}", f"--margin={margin}", f"--output={path}", f"--text={text}"]
    if width:
        command += [f"--width={width}", "--wrap=word"]
    if subpixel:
        command += ["--antialias=subpixel", "--subpixel-order=rgb"]
    subprocess.run(command, check=True, stdin=subprocess.DEVNULL)


def convert(*arguments):
    subprocess.run(["convert", *map(str, arguments)], check=True, stdin=subprocess.DEVNULL)


class Gallery:
    """Renders every picture into `folder`."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.pictures = []

    def add(self, group, name, text):
        path = self.folder / f"{group}-{name}.png".replace(" ", "-")
        self.pictures.append(Picture(group, name, path, text))
        return path

    def part(self, name, *arguments, **options):
        path = self.folder / f"part-{name}.png"
        render(path, *arguments, **options)
        return path

    def prose(self):
        for theme, colors in (("light", LIGHT), ("dark", DARK)):
            for size in SIZES:
                for font in FONTS:
                    path = self.add(f"{theme} {size} px", font, PROSE)
                    render(path, PROSE, font, size, colors, width=40 * size)

    def faint(self):
        for name, colors in (("light", FAINT), ("dark", FAINT_DARK)):
            for size in (11, 13):
                path = self.add("low contrast", f"{name} {size}", PROSE)
                render(path, PROSE, "DejaVu Sans", size, colors, width=480)

    def subpixel(self):
        for name, colors in (("light", LIGHT), ("dark", DARK)):
            for font in FONTS[:2]:
                path = self.add("subpixel 11 px", f"{name} {font}", PROSE)
                render(path, PROSE, font, 11, colors, width=440, subpixel=True)

    def columns(self):
        for name, colors in (("light", LIGHT), ("dark", DARK)):
            for font, size in (("DejaVu Sans", 12), ("Nimbus Sans", 15), ("DejaVu Serif", 11)):
                left = self.part("left", LEFT_COLUMN, font, size, colors, width=20 * size)
                right = self.part("right", RIGHT_COLUMN, font, size, colors, width=20 * size)
                path = self.add("two columns", f"{name} {font}", LEFT_COLUMN + "\n" + RIGHT_COLUMN)
                convert("-background", colors[1], left, right, "+append", path)

    def terminal(self):
        for size in (10, 13, 16):
            for name, colors in (("green", ("#4af626", "#101010")), ("white", ("#eeeeec", "#300a24"))):
                path = self.add("terminal", f"{name} {size}", TERMINAL)
                render(path, TERMINAL, "DejaVu Sans Mono", size, colors)

    def logs(self):
        """Text in a font of equal widths whose fields stand below each other."""
        for name, text in (("log", LOG), ("listing", LISTING), ("table", TABLE), ("source", SOURCE)):
            for theme, colors in (("light", LIGHT), ("dark", DARK)):
                for size in (11, 13, 16):
                    path = self.add("logs", f"{name} {theme} {size}", text)
                    render(path, text, "DejaVu Sans Mono", size, colors)

    def scaled(self):
        for name, colors in (("light", LIGHT), ("dark", DARK)):
            for font in FONTS:
                path = self.add("2x scale", f"{name} {font}", PROSE)
                render(path, PROSE, font, 26, colors, width=1000, margin=24)

    def windows(self):
        """A mail window: a bar, a dark list at the left, light messages with a frame at the right."""
        for size in (11, 13, 15):
            menu = self.part("menu", MENU, "DejaVu Sans", size, ("#f2f2f2", "#3465a4"))
            side = self.part("side", SIDEBAR, "DejaVu Sans", size, ("#c8ccd4", "#2b303b"))
            body = self.part("body", MESSAGES, "DejaVu Sans", size, ("#333333", "#fafafa"), width=34 * size)
            path = self.add("windows", str(size), f"{MENU}\n{SIDEBAR}\n{MESSAGES}")
            convert("(", "-background", "#2b303b", side, "-extent", f"{10 * size}x{24 * size}", ")",
                    "(", "-background", "#fafafa", body, "-extent", f"{38 * size}x{24 * size}", ")",
                    "+append", self.folder / "part-below.png")
            convert("-background", "#3465a4", menu, self.folder / "part-below.png", "-append", path)

    def dialogs(self):
        """A question with an icon and buttons over a colourful desktop."""
        for size in (11, 13, 15):
            text = self.part("text", DIALOG, "DejaVu Sans", size, ("#2e3436", "#eeeeec"), width=30 * size)
            discard = self.part("discard", "Discard", "DejaVu Sans", size, ("#2e3436", "#dddddd"), margin=6)
            save = self.part("save", "Save", "DejaVu Sans", size, ("#ffffff", "#3584e4"), margin=6)
            path = self.add("dialogs", str(size), f"{DIALOG}\nDiscard Save")
            width, height = 38 * size, 12 * size
            convert("-size", f"{width + 160}x{height + 160}", "gradient:#204a87-#8ae234",
                    "-fill", "#eeeeec", "-stroke", "#888a85",
                    "-draw", f"roundrectangle 80,80 {80 + width},{80 + height} 8,8",
                    "-fill", "#f57900", "-stroke", "none",
                    "-draw", f"circle {80 + 2 * size},{80 + 3 * size} {80 + 3 * size},{80 + 3 * size}",
                    text, "-geometry", f"+{80 + 4 * size}+{80 + size}", "-composite",
                    discard, "-geometry", f"+{80 + 20 * size}+{80 + 8 * size}", "-composite",
                    save, "-geometry", f"+{80 + 29 * size}+{80 + 8 * size}", "-composite", path)


def render_all(folder):
    gallery = Gallery(folder)
    for draw in (gallery.prose, gallery.faint, gallery.subpixel, gallery.columns, gallery.terminal, gallery.logs,
                 gallery.scaled, gallery.windows, gallery.dialogs):
        draw()
    return gallery.pictures
