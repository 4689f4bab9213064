"""A long page in a web browser, scrolled by the wheel of a mouse."""
import contextlib
import random
import time

from stage import PHOTOS, need, running, some_text

PHOTO_NAMES = ["Storm", "RainDrops", "Blinds", "Wood", "Garden", "TwoWings"]
STYLE = """body { font: 17px/1.5 "DejaVu Sans", sans-serif; max-width: 1000px; margin: 40px auto; color: #222 }
h2 { color: #174e86; border-bottom: 1px solid #ccd } img { width: 100%; border-radius: 8px }
pre { background: #f4f5f7; padding: 14px; font: 14px "DejaVu Sans Mono", monospace; color: #0b5 }
a { color: #b3261e } table { border-collapse: collapse; width: 100% } td { border: 1px solid #ddd; padding: 6px }"""
OPTIONS = ["--no-sandbox", "--test-type", "--no-first-run", "--no-default-browser-check", "--disable-gpu",
           "--disable-background-networking", "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage",
           "--password-store=basic", "--window-position=0,0"]
NOTCHES_A_LOOK = 6  # of the wheel, before the reader looks for a while
LOOKS = 12


def page():
    dice = random.Random(5)
    parts = []
    for section in range(40):
        parts.append(f"<h2>{section + 1}. {some_text(section, 4)}</h2>")
        parts += [f"<p>{some_text(100 * section + at, 60)} <a href='#'>{some_text(at, 2)}</a> {some_text(at, 30)}</p>"
                  for at in range(3)]
        kind = section % 4
        if kind == 0:
            parts.append(f"<img src='file://{PHOTOS}/nature/{dice.choice(PHOTO_NAMES)}.jpg'>")
        elif kind == 1:
            code = "\n".join(f"    {some_text(dice.random(), 1)}({some_text(dice.random(), 3)});" for _ in range(14))
            parts.append(f"<pre>{code}</pre>")
        elif kind == 2:
            rows = "".join("<tr>" + "".join(f"<td>{dice.randint(0, 99999)}</td>" for _ in range(8)) + "</tr>" for _ in range(10))
            parts.append(f"<table>{rows}</table>")
    return f"<!DOCTYPE html><meta charset='utf-8'><title>A long page</title><style>{STYLE}</style>" + "".join(parts)


@contextlib.contextmanager
def scrolled(stage):
    need("chromium")
    file = stage.folder / "page.html"
    file.write_text(page())
    looks = [line for button in (5, 4) for _ in range(LOOKS)
             for line in [f"click {button}", "sleep 0.12"] * NOTCHES_A_LOOK + ["sleep 0.9"]]
    with running(["chromium", *OPTIONS, f"--window-size={stage.width},{stage.height}",
                  f"--user-data-dir={stage.folder / 'profile'}", file.as_uri()], stage.environment):
        stage.wait_for_window("chromium")
        time.sleep(6)
        with stage.hands([f"mousemove {stage.width // 2} {stage.height // 2}", *looks]):
            time.sleep(1)
            yield
