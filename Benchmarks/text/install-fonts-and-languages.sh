#!/usr/bin/env bash
# Installs what benchmark_families.py and benchmark_programs.py draw with and read: fonts, a browser, programs, three
# languages beside English. The families `rtl` and `cjk` ask for tesseract-ocr-ara, -heb, -chi-sim and -jpn as well, which
# are left out here: the others are measured without them.
set -euo pipefail
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo -n)
"${as_root[@]}" apt-get install --yes --no-install-recommends chromium tesseract-ocr tesseract-ocr-eng \
    tesseract-ocr-deu tesseract-ocr-fra tesseract-ocr-spa fonts-dejavu-core fonts-urw-base35 fonts-noto-mono \
    fonts-firacode fonts-liberation2 fonts-roboto fonts-open-sans fonts-lato fonts-cantarell fonts-hack \
    fonts-inconsolata fonts-jetbrains-mono fonts-crosextra-carlito fonts-mononoki fonts-b612 \
    fonts-comic-neue fonts-powerline fonts-wqy-microhei xfonts-base xfonts-terminus xvfb imagemagick xterm less vim x11-utils zenity yad gxmessage mousepad \
    l3afpad
