#!/usr/bin/env python3
"""Prints a log for ever: a few lines ten times a second, some of them coloured."""
import random
import time

from stage import some_text

COLOURS = {"INFO": 32, "DEBUG": 36, "WARN": 33, "ERROR": 31}


def main():
    dice = random.Random(7)
    words = some_text(2, 400).split()
    for number in range(1 << 30):
        level = dice.choices(list(COLOURS), weights=[8, 5, 2, 1])[0]
        text = " ".join(dice.choices(words, k=dice.randint(4, 20)))
        print(f"12:{number // 600 % 60:02}:{number // 10 % 60:02} \033[{COLOURS[level]}m{level:5}\033[0m "
              f"[worker-{dice.randint(1, 8)}] {text} id={dice.getrandbits(32):08x}", flush=True)
        if dice.random() < 0.3:
            time.sleep(0.1)


main()
