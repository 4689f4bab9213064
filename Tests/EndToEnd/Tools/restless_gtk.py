"""A GTK program of the product's own whose windows open, move, restack, hide and close as fast as they can.

    restless_gtk.py <seconds> <RRGGBB>

Fills its windows with the colour. Ends by itself.
"""

import random
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gio, GLib, Gtk  # noqa: E402 (the versions come first)

SECONDS, COLOUR = float(sys.argv[1]), sys.argv[2]
MOST_WINDOWS = 4
STYLE = f"* {{ background: #{COLOUR}; color: #{COLOUR}; border-color: #{COLOUR}; }}"


class Restless(Gtk.Application):
    def __init__(self):
        super().__init__(application_id="com.glimto.desktop", flags=Gio.ApplicationFlags.NON_UNIQUE)
        self.dice = random.Random(1)
        self.windows_ = []
        self.menu = None

    def do_activate(self):
        provider = Gtk.CssProvider()
        provider.load_from_data(STYLE.encode())
        Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), provider, 900)
        self.hold()
        GLib.idle_add(self.step)
        GLib.timeout_add(int(SECONDS * 1000), self.quit)

    def place(self):
        screen = Gdk.Screen.get_default()
        return self.dice.randrange(screen.get_width()), self.dice.randrange(screen.get_height())

    def open(self):
        window = Gtk.ApplicationWindow(application=self, title="restless")
        if self.dice.random() < 0.3:
            window.set_titlebar(Gtk.HeaderBar(title="restless", visible=True))
        window.set_default_size(self.dice.randrange(50, 300), self.dice.randrange(50, 200))
        window.move(*self.place())
        window.show_all()
        self.windows_.append(window)

    def close(self, window):
        self.windows_.remove(window)
        window.destroy()

    def popup(self, window):
        if self.menu:
            self.menu.popdown()
        self.menu = Gtk.Menu()
        for name in ("one", "two"):
            self.menu.append(Gtk.MenuItem(label=name, visible=True))
        self.menu.attach_to_widget(window)
        self.menu.popup_at_widget(window, Gdk.Gravity.CENTER, Gdk.Gravity.NORTH_WEST, None)

    def step(self):
        actions = {
            "move": lambda window: window.move(*self.place()),
            "resize": lambda window: window.resize(self.dice.randrange(50, 400), self.dice.randrange(50, 300)),
            "raise": lambda window: window.present(),
            "hide": lambda window: window.hide(),
            "show": lambda window: window.show_all(),
            "iconify": lambda window: window.iconify(),
            "deiconify": lambda window: window.deiconify(),
            "popup": self.popup,
            "close": self.close,
        }
        if len(self.windows_) < MOST_WINDOWS:
            self.open()
        else:
            actions[self.dice.choice(list(actions))](self.dice.choice(self.windows_))
        GLib.timeout_add(self.dice.choice([0, 1, 5, 20]), self.step)
        return False


if __name__ == "__main__":
    Restless().run()
