"""A Qt program of the product's own whose windows open, move, restack, hide and close as fast as they can.

    restless_qt.py <seconds> <RRGGBB>

Fills its windows with the colour. Ends by itself.
"""

import random
import sys

from PyQt5.QtCore import QTimer
from PyQt5.QtWidgets import QApplication, QMenu, QWidget

SECONDS, COLOUR = float(sys.argv[1]), sys.argv[2]
MOST_WINDOWS = 4


class Restless(QApplication):
    def __init__(self):
        super().__init__(["com.glimto.desktop"])
        self.setQuitOnLastWindowClosed(False)
        self.setStyleSheet(f"* {{ background: #{COLOUR}; color: #{COLOUR}; }}")
        self.dice = random.Random(2)
        self.opened = []
        self.menu = None
        QTimer.singleShot(0, self.step)
        QTimer.singleShot(int(SECONDS * 1000), self.quit)

    def place(self):
        size = self.primaryScreen().size()
        return self.dice.randrange(size.width()), self.dice.randrange(size.height())

    def open(self):
        window = QWidget()
        window.setGeometry(*self.place(), self.dice.randrange(50, 300), self.dice.randrange(50, 200))
        window.show()
        self.opened.append(window)

    def close(self, window):
        self.opened.remove(window)
        window.close()
        window.deleteLater()

    def popup(self, window):
        if self.menu:
            self.menu.close()
        self.menu = QMenu()
        self.menu.addAction("one")
        self.menu.addAction("two")
        self.menu.popup(window.geometry().center())

    def step(self):
        actions = {
            "move": lambda window: window.move(*self.place()),
            "resize": lambda window: window.resize(self.dice.randrange(50, 400), self.dice.randrange(50, 300)),
            "raise": lambda window: window.raise_(),
            "lower": lambda window: window.lower(),
            "hide": lambda window: window.hide(),
            "show": lambda window: window.show(),
            "iconify": lambda window: window.showMinimized(),
            "deiconify": lambda window: window.showNormal(),
            "popup": self.popup,
            "close": self.close,
        }
        if len(self.opened) < MOST_WINDOWS:
            self.open()
        else:
            actions[self.dice.choice(list(actions))](self.dice.choice(self.opened))
        QTimer.singleShot(self.dice.choice([0, 1, 5, 20]), self.step)


if __name__ == "__main__":
    sys.exit(Restless().exec_())
