"""Families of screens, drawn at random from a seed by a real browser, together with the text that they show.

A family is a function of the words it draws from and the look it is drawn in; it returns the page and its text
in reading order. Fonts and families in the lists of what is kept out were not looked at while the reader was made.
"""
import html
import math
import os
import pathlib
import sys
from dataclasses import dataclass

from words import ACTIONS, FILES, NAMES, OPTIONS, THINGS, Words

ENVIRONMENT = dict(os.environ)  # with all fonts; the tests' support, imported next, keeps only its own
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "Tests" / "EndToEnd"))
from support.browser import Browser  # noqa: E402

os.environ.clear()
os.environ.update(ENVIRONMENT)

TUNED_FONTS = {"sans": ["DejaVu Sans", "Liberation Sans", "Roboto", "Nimbus Sans"],
               "serif": ["DejaVu Serif", "Liberation Serif"],
               "mono": ["DejaVu Sans Mono", "Noto Mono", "Fira Code"]}
KEPT_OUT_FONTS = {"sans": ["Open Sans", "Lato", "Cantarell", "Carlito"],
                  "serif": ["P052", "URW Bookman"],
                  "mono": ["Hack", "Inconsolata", "JetBrains Mono", "Liberation Mono"]}
LIGHT = [("#222", "#fff", "#f0f1f3", "#2a62c9"), ("#111", "#fdf6e3", "#eee8d5", "#268bd2"),
         ("#444", "#f6f6f6", "#fff", "#0a7a4b")]
DARK = [("#d4d4d4", "#1e1e1e", "#252526", "#569cd6"), ("#f8f8f2", "#282a36", "#44475a", "#bd93f9"),
        ("#abb2bf", "#21252b", "#282c34", "#98c379")]


POWERLINE_BANDS = [("#005f87", "#ffffff"), ("#5f8700", "#ffffff"), ("#af5f00", "#ffffff"), ("#af0000", "#ffffff"),
                   ("#585858", "#d0d0d0"), ("#d7af00", "#262626")]
ANSI_INKS = ["#c03030", "#2a9a3a", "#b08010", "#3a6fd8", "#b050b0", "#1f9aa0"]
SCRIPT_LANGUAGES = {"ar": "ara", "he": "heb", "zh": "chi_sim", "ja": "jpn"}  # as Tesseract names them


@dataclass
class Look:
    fonts: dict
    size: int
    ink: str
    paper: str
    panel: str
    accent: str

    def body(self, kind, extra=""):
        return f"font:{self.size}px '{self.fonts[kind]}';color:{self.ink};background:{self.paper};{extra}"


def look(words, fonts):
    return Look({kind: words.pick(names) for kind, names in fonts.items()}, words.pick([11, 12, 13, 14, 15, 16]),
                *words.pick(words.pick([LIGHT, DARK])))


def escaped(text):
    return html.escape(text, quote=False)


def div(style, *content):
    return f'<div style="{style}">{"".join(content)}</div>'


def article(words, style, language="en"):
    kind = words.pick(["sans", "serif"])
    title, parts = words.title(language), [words.paragraph(4, language) for _ in range(2)]
    body = [f"<h2>{escaped(title)}</h2>"] + [f"<p>{escaped(part)}</p>" for part in parts]
    menu = words.several(THINGS, 5)
    body.insert(0, div(f"background:{style.accent};color:#fff;padding:8px;word-spacing:14px", " ".join(menu)))
    return div(style.body(kind, "width:620px;padding:10px;line-height:1.4"), *body), "\n".join(
        [" ".join(menu), title, *parts])


def columns(words, style):
    texts = [words.paragraph(5) for _ in range(2)]
    title = words.title()
    parts = [div("flex:1", escaped(text)) for text in texts]
    gap = words.pick([24, 32, 48])
    return div(style.body("serif", "width:700px;padding:14px"), f"<h3>{escaped(title)}</h3>",
               div(f"display:flex;gap:{gap}px", *parts)), "\n".join([title, *texts])


def editor(words, style):
    """Program text with line numbers, a tab bar above and a status line below."""
    lines, first = words.code(18), words.pick([1, 37, 96, 240])
    tabs = words.several(FILES, 3)
    rows = []
    for number, line in enumerate(lines, start=first):
        shade = f"background:{style.panel}" if words.number(0, 12) == 0 else ""
        code = escaped(line) or " "
        for word, colour in (("def ", style.accent), ("return", style.accent), ("self", "#c586c0"), ("if ", "#c586c0")):
            code = code.replace(word, f'<span style="color:{colour}">{word}</span>')
        rows.append(f'<div style="{shade}"><span style="display:inline-block;width:4ch;text-align:right;opacity:.6;'
                    f'margin-right:2ch">{number}</span>{code}</div>')
    status = f"Ln {words.number()}, Col {words.number(1, 80)}   UTF-8   Python"
    text = ["   ".join(tabs), *(f"{number} {line}" for number, line in enumerate(lines, start=first)), status]
    return div(style.body("mono", "width:80ch;white-space:pre;line-height:1.35"),
               div(f"background:{style.panel};padding:5px", escaped(text[0])), *rows,
               div(f"background:{style.accent};color:#fff;padding:2px 8px", status)), "\n".join(text)


def boxes(words, style):
    """A terminal with tables in box-drawing characters."""
    names = words.several(NAMES, 5)
    columns_ = [["Name", *names], ["Task", *words.several(OPTIONS, 5)], ["Hours", *(str(words.number()) for _ in names)]]
    wide = [max(map(len, column)) for column in columns_]
    rule = {at: left + middle.join("─" * (width + 2) for width in wide) + right
            for at, left, middle, right in (("top", "┌", "┬", "┐"), ("mid", "├", "┼", "┤"), ("end", "└", "┴", "┘"))}
    rows = ["│" + "│".join(f" {cell.ljust(width)} " for cell, width in zip(row, wide)) + "│" for row in zip(*columns_)]
    every = words.pick([True, False])
    lines = [rule["top"], rows[0]]
    for row in rows[1:]:
        lines += [rule["mid"], row] if every or row is rows[1] else [row]
    lines.append(rule["end"])
    before = [f"$ report --from {words.date()} --all", f"{words.number()} entries in {words.number(2, 9)} files"]
    screen = [*before, *lines, "$ exit"]
    height = words.pick(["normal", "1.0", "1.3"])
    text = [line for line in screen if not line.startswith(("┌", "├", "└"))]
    return (div(style.body("mono", f"display:inline-block;white-space:pre;padding:4px;line-height:{height}"),
                escaped("\n".join(screen))), "\n".join(text).replace("│", " "))


def console(words, style):
    """A terminal with colours, a reversed line, a selection and numbered lines."""
    lines, text = [], []
    prompt = f"{words.pick(NAMES).split()[0].lower()}@atlas:~/{words.pick(THINGS).lower()}$ "
    for number in range(1, 15):
        kind = words.number(0, 5)
        if kind == 0:
            line = prompt + words.pick(["ls -l", "git status", "make test", "cat notes.txt", "df -h"])
            drawn = f'<b style="color:{style.accent}">{escaped(line)}</b>'
        elif kind == 1:
            line = f"{number:6}  {words.sentence()}"
            drawn = escaped(line)
        elif kind == 2:
            line = f"-rw-r--r-- 1 kim users {words.number(100, 90000):6} {words.date()} {words.pick(FILES)}"
            drawn = escaped(line)
        elif kind == 3:
            line = f"{words.time()} ERROR worker {words.number()}: {words.sentence()}"
            drawn = escaped(line).replace("ERROR", '<span style="color:#e05050">ERROR</span>')
        elif kind == 4:
            line = f" {words.sentence()} "
            drawn = f'<span style="background:{style.ink};color:{style.paper}">{escaped(line)}</span>'
        else:
            line = words.sentence()
            drawn = f'{escaped(line[:8])}<span style="background:#3465a4;color:#fff">{escaped(line[8:30])}</span>' + escaped(line[30:])
        lines.append(drawn)
        text.append(line)
    return div(style.body("mono", f"display:inline-block;white-space:pre;padding:3px;line-height:{words.pick(['normal', '1.1'])}"),
               "\n".join(lines)), "\n".join(text)


def dialog(words, style):
    question, detail = words.title() + "?", words.sentence()
    checked = words.several(OPTIONS, 2)
    buttons = words.several(ACTIONS, 3)
    ticks = "".join(f'<div style="margin:8px 0"><span style="display:inline-block;width:13px;height:13px;border:1px solid '
                    f'{style.ink};margin-right:8px;vertical-align:middle"></span>{option}</div>' for option in checked)
    last = [f'<span style="border:1px solid {style.ink};border-radius:5px;padding:5px 14px;margin-left:10px;'
            f'{f"background:{style.accent};color:#fff" if at == 2 else ""}">{name}</span>' for at, name in enumerate(buttons)]
    inner = div(style.body("sans", "width:480px;padding:18px;border-radius:9px;border:1px solid #888"),
                f"<b>{escaped(question)}</b><p>{escaped(detail)}</p>", ticks, div("text-align:right;padding:8px 0", *last))
    return (div("background:linear-gradient(120deg,#204a87,#8ae234);padding:40px 60px;display:inline-block", inner),
            "\n".join([question, detail, *checked, " ".join(buttons)]))


def table(words, style):
    head = ["Name", "Subject", "Changed", "Size"]
    rows = [[words.pick(NAMES), words.pick(THINGS) + " " + str(words.number()), words.date(), f"{words.number()} kB"]
            for _ in range(9)]
    border = words.pick([f"border:1px solid {style.accent}", "border:0", f"border-bottom:1px solid {style.panel}"])
    def cells(tag, row, shade=""):
        return f"<tr style='{shade}'>" + "".join(f"<{tag} style='{border};padding:4px 14px;text-align:left;white-space:nowrap'>{cell}</{tag}>"
                                                 for cell in row) + "</tr>"
    body = cells("th", head, f"background:{style.panel}")
    stripes = words.pick([True, False])
    for at, row in enumerate(rows):
        body += cells("td", row, f"background:{style.panel}" if stripes and at % 2 else "")
    return (div(style.body("sans", "display:inline-block;padding:10px"),
                f"<table style='border-collapse:collapse;font:inherit'>{body}</table>"),
            "\n".join(" ".join(row) for row in [head, *rows]))


def tree(words, style):
    """A list of files beside program text."""
    files, code = words.several(FILES, 10), words.code(14, 60)
    items = [div(f"line-height:1.6;padding-left:{words.pick([10, 24])}px", name) for name in files]
    side = div(f"font:{style.size}px '{style.fonts['sans']}';width:180px;color:{style.ink};"
               f"background:{style.panel};{words.pick(['', 'border-right:1px solid #888'])}", *items)
    page = div(style.body("mono", "white-space:pre;padding-left:14px;width:64ch;line-height:1.3"), escaped("\n".join(code)))
    return div("display:flex;width:max-content", side, page), "\n".join([*files, *code])


def settings(words, style):
    names, groups = words.several(OPTIONS, 6), words.several(THINGS, 7)
    side = div(f"width:150px;background:{style.panel};padding:6px",
               *[div("padding:6px 8px", group) for group in groups])
    rows, text = [], []
    for name in names:
        value = words.pick(["switch", "choice"])
        if value == "switch":
            on = words.pick([True, False])
            control = (f'<span style="float:right;width:34px;height:18px;border-radius:9px;background:'
                       f'{style.accent if on else "#888"}"><span style="float:{"right" if on else "left"};width:14px;'
                       f'height:14px;margin:2px;border-radius:7px;background:#fff"></span></span>')
            text.append(name)
        else:
            choice = words.pick(THINGS)
            control = f'<span style="float:right;border:1px solid #999;padding:1px 10px">{choice}</span>'
            text.append(f"{name} {choice}")
        rows.append(div(f"padding:9px 12px;border-bottom:1px solid {style.panel}", name, control))
    title = words.pick(THINGS) + " settings"
    page = div("flex:1;padding:8px", f"<h2 style='margin:6px'>{title}</h2>", *rows)
    return (div(style.body("sans", "display:flex;width:640px"), side, page), "\n".join([*groups, title, *text]))


def languages(words, style):
    return article(words, style, words.pick(["de", "fr", "es"]))


def mixed(words, style):
    parts = [words.paragraph(4, language) for language in words.several(["en", "de", "fr", "es"], 3)]
    return (div(style.body("sans", "width:600px;padding:12px;line-height:1.4"),
                *[f"<p>{escaped(part)}</p>" for part in parts]), "\n".join(parts))


def chat(words, style):
    text, rows = [], []
    for _ in range(6):
        mine, name, said, at = words.pick([True, False]), words.pick(NAMES), words.sentence(), words.time()
        bubble = f"display:inline-block;max-width:340px;border-radius:12px;padding:8px 12px;text-align:left;"
        bubble += f"background:{style.accent};color:#fff" if mine else f"background:{style.panel}"
        rows.append(div(f"margin:8px;text-align:{'right' if mine else 'left'}",
                        div(bubble, f"<b>{name}</b><br>{escaped(said)}"),
                        f"<div style='font-size:{style.size - 2}px;opacity:.7'>{at}</div>"))
        text += [name, said, at]
    return div(style.body("sans", "width:560px;padding:6px"), *rows), "\n".join(text)


def subtitles(words, style):
    said = words.sentence()
    kind = words.pick(["text-shadow:-2px 0 #000,2px 0 #000,0 2px #000,0 -2px #000", "background:#000c;padding:2px 10px"])
    noise = ("<svg width='640' height='360' style='position:absolute;left:0;top:0'><filter id='n'><feTurbulence baseFrequency"
             f"='{words.pick(['.004', '.01 .003', '.02'])}' numOctaves='4' seed='{words.number()}'/><feColorMatrix values="
             "'.8 .2 0 0 0 .5 .5 0 0 0 .3 .5 .2 0 0 0 0 0 0 1'/></filter><rect width='640' height='360' filter='url(#n)'/></svg>")
    line = div(f"position:absolute;left:0;right:0;bottom:18px;text-align:center;color:#fff;font:bold {style.size + 9}px "
               f"'{style.fonts['sans']}'", f"<span style='{kind}'>{escaped(said)}</span>")
    return div("position:relative;width:640px;height:360px;overflow:hidden", noise, line), said


def toolbar(words, style):
    menu, tools = words.several(ACTIONS, 6), words.several(ACTIONS, 5)
    icons = ["M2 2h12v12H2z M4 6h8", "M8 1l7 14H1z", "M8 1a7 7 0 1 0 .1 0z", "M2 8h12M8 2v12", "M2 4h12M2 8h12M2 12h8"]
    buttons = [div("display:inline-block;text-align:center;padding:4px 12px",
                   f"<svg width='16' height='16'><path d='{icon}' fill='none' stroke='{style.ink}' stroke-width='1.5'/></svg>"
                   f"<br>{name}") for icon, name in zip(icons, tools)]
    body, status = words.paragraph(3), f"{words.number()} words, page {words.number(1, 9)} of {words.number(10, 99)}"
    return (div(style.body("sans", "width:600px"), div(f"padding:4px 8px;word-spacing:1.2em;background:{style.panel}", " ".join(menu)),
                div(f"background:{style.panel};border-bottom:1px solid #888", *buttons), div("padding:14px", escaped(body)),
                div(f"background:{style.panel};padding:3px 8px;font-size:{style.size - 1}px", status)),
            "\n".join([" ".join(menu), " ".join(tools), body, status]))


def powerline(words, style):
    """A terminal whose prompts are bands of colours that arrows part; a list of files in the sixteen colours."""
    lines, text = [], []
    for _ in range(5):
        parts = [words.pick(NAMES).split()[0].lower(), "~/" + words.pick(THINGS).lower(), words.pick(["main", "release-2", "fix-login"])]
        bands = words.several(POWERLINE_BANDS, 3)
        drawn = ""
        for at, (part, (paper, ink)) in enumerate(zip(parts, bands)):
            after = bands[at + 1][0] if at < 2 else style.paper
            drawn += (f'<span style="background:{paper};color:{ink}"> {escaped(part)} </span>'
                      f'<span style="background:{after};color:{paper}">\ue0b0</span>')
        command = words.pick(["ls --color", "git diff --stat", "make -j4 test", "tail -f server.log"])
        lines.append(f"{drawn} {command}")
        text.append(" ".join([*parts, command]))
        for _ in range(words.number(0, 2)):
            names = words.several(FILES, 4)
            lines.append("  ".join(f'<span style="color:{words.pick(POWERLINE_BANDS)[0]}">{name}</span>' for name in names))
            text.append("  ".join(names))
    font = f"font-family:'{style.fonts['mono']}','PowerlineSymbols'"
    return div(style.body("mono", f"display:inline-block;white-space:pre;padding:4px;line-height:normal;{font}"),
               "\n".join(lines)), "\n".join(text)


def ansi(words, style):
    """A terminal with bold, faint and underlined words and all colours, as of diffs, tests and meters."""
    lines, text = [], []
    for _ in range(14):
        kind = words.number(0, 4)
        ink = words.pick(ANSI_INKS)
        if kind == 0:
            sign = words.pick("+-")
            line = f"{sign} {words.sentence()}"
            drawn = f'<span style="color:{"#2aa144" if sign == "+" else "#d03c3c"}">{escaped(line)}</span>'
        elif kind == 1:
            name, state = words.pick(FILES), words.pick(["PASSED", "FAILED", "SKIPPED"])
            line = f"{name:20} {state} in {words.number()} ms"
            drawn = escaped(line).replace(state, f'<span style="background:{ink};color:#000">{state}</span>')
        elif kind == 2:
            word = words.pick(THINGS)
            line = f"{word}: {words.sentence()}"
            drawn = f'<b style="color:{ink}">{word}:</b> <u>{escaped(line[len(word) + 2:])}</u>'
        elif kind == 3:
            line = f"{words.number(1, 99):3}% {words.title()}"
            drawn = f'<span style="opacity:.65">{escaped(line)}</span>'
        else:
            parts = words.several(OPTIONS, 2)
            line = "  ".join(parts)
            drawn = f'<span style="color:{ink}">{parts[0]}</span>  <span style="color:{words.pick(ANSI_INKS)}">{parts[1]}</span>'
        lines.append(drawn)
        text.append(line)
    return div(style.body("mono", "display:inline-block;white-space:pre;padding:3px;line-height:normal"),
               "\n".join(lines)), "\n".join(text)


def in_script(words, style, languages, fonts, extra=""):
    language = words.pick(languages)
    title, parts = words.title(language), [words.paragraph(4, language) for _ in range(2)]
    body = f"font:{style.size + 3}px {words.pick(fonts)};color:{style.ink};background:{style.paper};width:560px;padding:12px;{extra}"
    return (div(body, f"<h3>{title}</h3>", *[f"<p>{part}</p>" for part in parts]), "\n".join([title, *parts]),
            SCRIPT_LANGUAGES[language])


def rtl(words, style):
    """Pages in scripts that run from right to left."""
    return in_script(words, style, ["ar", "he"], ["'DejaVu Sans'"], "direction:rtl;line-height:1.5")


def cjk(words, style):
    return in_script(words, style, ["zh", "ja"], ["'WenQuanYi Micro Hei'"], "line-height:1.5")


# `chat`, `powerline`, `rtl` and `cjk` were kept out until one of their pictures was looked at.
TUNED_FAMILIES = [article, columns, editor, boxes, console, dialog, table, tree, languages, chat, powerline, rtl, cjk]
KEPT_OUT_FAMILIES = [settings, mixed, subtitles, toolbar, ansi]
SCALES = [1, 1, 1.25, 1.5, 2]


@dataclass
class Page:
    family: str
    kept_out: str  # what of it was: "", "fonts" or "family"
    name: str
    markup: str
    text: str
    scale: float
    language: str = "eng"  # that the peer is told, as Tesseract names it


def pages(count, seed=""):
    """`count` pages of each family in tuned fonts and as many in those that were kept out."""
    for family in TUNED_FAMILIES + KEPT_OUT_FAMILIES:
        for fonts, kept_out in ((TUNED_FONTS, ""), (KEPT_OUT_FONTS, "fonts")):
            if family in KEPT_OUT_FAMILIES:
                kept_out = "family"
            for index in range(count):
                name = f"{family.__name__}-{'tuned' if fonts is TUNED_FONTS else 'kept'}-{seed}{index}"
                words = Words(name)
                markup, text, *language = family(words, look(words, fonts))
                yield Page(family.__name__, kept_out, name, markup, text, words.pick(SCALES), *language)


def draw(folder, wanted):
    """Draws pages that `folder` does not hold yet; returns the pages."""
    browser, drawn = None, []
    for page in wanted:
        drawn.append(page)
        path = folder / (page.name + ".png")
        if path.exists():
            continue
        if not browser:
            browser = Browser(folder)
        document = (f"<!doctype html><meta charset=utf-8><body style='margin:0;width:max-content;overflow:hidden;background:#fff'>"
                    f"{page.markup}</body>")
        source = folder / (page.name + ".html")
        source.write_text(document)
        browser.call("Emulation.setDeviceMetricsOverride", width=900, height=700, deviceScaleFactor=page.scale,
                     mobile=False)
        browser.open(source.as_uri())
        size = browser.evaluate("(r => [r.width, r.height])(document.body.getBoundingClientRect())")
        browser.call("Emulation.setDeviceMetricsOverride", width=max(60, math.ceil(size[0])), height=max(40, math.ceil(size[1])),
                     deviceScaleFactor=page.scale, mobile=False)
        browser.screenshot(path)
        path.with_suffix(".txt").write_text(page.text)
        source.unlink()
    if browser:
        browser.end()
    return drawn


if __name__ == "__main__":
    target = pathlib.Path(sys.argv[1])
    target.mkdir(parents=True, exist_ok=True)
    draw(target, pages(int(sys.argv[2])))
