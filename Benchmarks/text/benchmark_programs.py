#!/usr/bin/env python3
"""Character errors and CPU seconds of recognize-text on windows of real programs, beside the tesseract command.

Each program shows a text that is known, a file or what it was told to say, on a virtual screen without a
window manager; light and dark, in several fonts. Ours sees every installed language, the peer runs with its
defaults, English. Pictures and what the peer read are kept in the folder.

    Benchmarks/text/benchmark_programs.py [--build build] [--folder pictures] [--only xterm,zenity]
"""
import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass

from benchmark_families import report
from words import ACTIONS, FILES, NAMES, OPTIONS, THINGS, Words

DEADLINE = 30  # seconds for a window to be drawn
COLOURS = [("black", "white"), ("white", "black"), ("#00d000", "#101010"), ("#839496", "#002b36"),
           ("#3b3228", "#f4ecd8")]
BITMAP_FONTS = ["fixed", "7x14", "8x13", "9x15", "10x20", "-*-terminus-medium-r-*-*-16-*-*-*-*-*-iso10646-1"]
SMOOTH_FONTS = ["DejaVu Sans Mono", "Hack", "Fira Code", "Noto Mono", "Inconsolata", "mononoki"]
VIEWERS = [["less", "-N"], ["vim", "-u", "NONE", "--cmd", "set number laststatus=0 noruler noshowcmd shortmess=aF"]]
ROWS = 26  # of a terminal
INTERFACE_FONTS = ["DejaVu Sans 10", "Cantarell 11", "Roboto 10", "B612 10", "Open Sans 11", "Comic Neue 11"]


@dataclass
class Window:
    program: str
    name: str
    command: list
    text: str
    environment: dict


def prose(words):
    return [line for _ in range(8) for line in (words.sentence(), "")][:-1]


def listing(words):
    return [f"-rw-r--r-- 1 kim users {words.number(100, 90000):6} {words.date()} {words.time()} {words.pick(FILES)}"
            for _ in range(14)]


def log(words):
    return [f"{words.date()} {words.time()} {words.pick(['INFO', 'WARN', 'ERROR'])} worker[{words.number()}]: {words.title()}"
            for _ in range(12)]


def boxed(words):
    rows = [[words.pick(NAMES), words.pick(THINGS), f"{words.number()} kB"] for _ in range(6)]
    def line(left, middle, right):
        return left + middle.join("─" * width for width in (16, 14, 10)) + right
    body = ["│" + "│".join(f" {cell:{width - 1}}" for cell, width in zip(row, (16, 14, 10))) + "│" for row in rows]
    return [line("┌", "┬", "┐"), body[0], line("├", "┼", "┤"), *body[1:], line("└", "┴", "┘")]


def shown(lines):
    return "\n".join(line for line in lines if not line.startswith(("┌", "├", "└"))).replace("│", " ")


def terminals(folder):
    kinds = [prose, listing, log, boxed, lambda words: words.code(18)]
    for number in range(70):
        name = f"xterm-{number}"
        words = Words(name)
        source = folder / (name + ".source")
        lines = kinds[number % len(kinds)](words)
        source.write_text("\n".join(lines) + "\n")
        ink, paper = words.pick(COLOURS)
        font = (["-fn", words.pick(BITMAP_FONTS)] if number % 3 == 0 else
                ["-fa", words.pick(SMOOTH_FONTS), "-fs", str(words.pick([9, 10, 11, 12, 14]))])
        if number >= 60:
            font.append("-rv")
        viewer = ["cat"] if number % 4 else words.pick(VIEWERS)
        text = shown(lines)
        if viewer != ["cat"]:
            text = "\n".join(f"{at} {shown([line])}" for at, line in enumerate(lines, 1))
            text += f"\n{source.name} (END)" if viewer[0] == "less" else "\n~" * (ROWS - 1 - len(lines))
        script = " ".join(f"'{part}'" for part in [*viewer, source.name]) + "; printf '\\033[?25l'; sleep 60"
        yield Window("xterm", name, ["xterm", *font, "-u8", "+sb", "-fg", ink, "-bg", paper, "-geometry", f"90x{ROWS}+20+20",
                                     "-e", "sh", "-c", script], text, {"LC_ALL": "C.UTF-8", "TERM": "xterm-256color"})


def interface(folder, name, words, dark):
    """Settings of the toolkit."""
    settings = folder / (name + ".config") / "gtk-3.0" / "settings.ini"
    settings.parent.mkdir(parents=True, exist_ok=True)
    settings.write_text(f"[Settings]\ngtk-font-name={words.pick(INTERFACE_FONTS)}\n"
                        f"gtk-application-prefer-dark-theme={int(dark)}\ngtk-cursor-blink=0\n")
    return {"XDG_CONFIG_HOME": str(settings.parents[1]), "GTK_THEME": "Adwaita:dark" if dark else "Adwaita",
            "GSETTINGS_BACKEND": "memory", "NO_AT_BRIDGE": "1"}


def dialogs(folder):
    for number in range(40):
        program = ["zenity", "yad", "gxmessage", "xmessage"][number % 4]
        name = f"{program}-{number}"
        words = Words(name)
        said = [words.sentence() for _ in range(words.number(1, 4))]
        buttons = words.several(ACTIONS, 2)
        environment = interface(folder, name, words, number % 8 >= 4)
        if program == "zenity" and number % 3 == 0:
            rows = [[words.pick(NAMES), words.pick(THINGS), words.date()] for _ in range(5)]
            command = ["zenity", "--list", "--width=560", "--height=300", "--text", said[0], "--column=Name", "--column=Subject",
                       "--column=Changed", "--ok-label", buttons[0], "--cancel-label", buttons[1], *sum(rows, [])]
            said = [said[0], "Name Subject Changed", *(" ".join(row) for row in rows)]
            buttons = [buttons[1], buttons[0]]
        elif program == "zenity":
            command = ["zenity", "--question", "--width=480", "--no-markup", "--text", "\n".join(said), "--ok-label",
                       buttons[1], "--cancel-label", buttons[0]]
        elif program == "yad":
            options = words.several(OPTIONS, 3)
            command = ["yad", "--form", "--width=520", "--text", "\n".join(said),
                       *(f"--field={option}:CHK" for option in options), f"--button={buttons[0]}:0", f"--button={buttons[1]}:1"]
            said += options
        elif program == "gxmessage":
            command = ["gxmessage", "-geometry", "560x260", "-buttons", ",".join(buttons), "\n".join(said)]
        else:
            command = ["xmessage", "-buttons", ",".join(buttons), "\n".join(said)]
        yield Window(program, name, command, "\n".join([*said, " ".join(buttons)]), environment)


MENUS = {"mousepad": "File Edit Search View Document Help", "l3afpad": "File Edit Search Options Help"}
if os.geteuid() == 0:
    MENUS["mousepad"] += "\nWarning: you are using the root account. You may harm your system."


def editors(folder):
    for number in range(16):
        program = ["mousepad", "l3afpad"][number % 2]
        name = f"{program}-{number}"
        words = Words(name)
        lines = [prose, listing, lambda words: words.code(16)][number % 3](words)
        source = folder / (name + ".source")
        source.write_text("\n".join(lines))
        yield Window(program, name, [program, str(source)], "\n".join([MENUS[program], *lines]),
                     interface(folder, name, words, number % 4 >= 2))


class Screen:
    """A virtual screen of the benchmark's own."""

    def __enter__(self):
        read, write = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1000x560x24", "-nolisten", "tcp", "-noreset"],
                                       pass_fds=(write,), stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as told:
            self.display = ":" + told.readline().strip()
        return self

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()

    def picture(self, path):
        subprocess.run(["import", "-display", self.display, "-window", "root", str(path)], check=True)
        return path.read_bytes()

    def show(self, window, path):
        """The picture once it no longer changes. The window is closed again."""
        empty = self.picture(path)
        program = subprocess.Popen([str(part) for part in window.command], cwd=path.parent,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   env={**os.environ, "DISPLAY": self.display, **window.environment})
        try:
            deadline, before, same = time.monotonic() + DEADLINE, empty, 0
            while same < 3:
                if time.monotonic() > deadline:
                    raise SystemExit(f"{window.name}: nothing steady to see after {DEADLINE} s")
                time.sleep(0.4)
                now = self.picture(path)
                same = same + 1 if now == before and now != empty else 0
                before = now
        except BaseException:
            path.unlink()
            raise
        finally:
            program.terminate()
            program.wait()
        while self.picture(path.with_suffix(".empty.png")) != empty and time.monotonic() < deadline + DEADLINE:
            time.sleep(0.1)
        path.with_suffix(".empty.png").unlink()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build")
    parser.add_argument("--folder", help="where the pictures are kept; a temporary folder when left out")
    parser.add_argument("--only", help="only these programs, separated by commas")
    parser.add_argument("--verbose", action="store_true", help="one line a picture on standard error")
    options = parser.parse_args()
    tool = [str(pathlib.Path(options.build, "glimto-capture").resolve()), "recognize-text", "--path"]

    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(options.folder or temporary)
        folder.mkdir(parents=True, exist_ok=True)
        windows = [window for make in (terminals, dialogs, editors) for window in make(folder)
                   if not options.only or window.program in options.only.split(",")]
        with Screen() as screen:
            for window in windows:
                path = folder / (window.name + ".png")
                if not path.exists():
                    screen.show(window, path)
                    path.with_suffix(".txt").write_text(window.text)
        return report(windows, "program", lambda window: window.program, folder, tool, options.verbose)


if __name__ == "__main__":
    sys.exit(main())
