"""The documents: their links lead somewhere, and what they tell to type is known to the program."""

import re
import subprocess
import unittest
from pathlib import Path

from support.windows import BINARY, REPOSITORY
from test_usage_documents import UNLISTED, usage

LINK = re.compile(r"\]\(([^)\s]+)\)")
# Modules of pkg-config, as Arch, Fedora and Nix name their packages.
PACKAGES = {
    "libavcodec": ("ffmpeg", "ffmpeg-devel", "ffmpeg"), "libavformat": ("ffmpeg", "ffmpeg-devel", "ffmpeg"),
    "libavutil": ("ffmpeg", "ffmpeg-devel", "ffmpeg"), "libavfilter": ("ffmpeg", "ffmpeg-devel", "ffmpeg"),
    "libswresample": ("ffmpeg", "ffmpeg-devel", "ffmpeg"), "libswscale": ("ffmpeg", "ffmpeg-devel", "ffmpeg"),
    "x264": ("x264", "x264-devel", "x264"), "xcb": ("libxcb", "libxcb-devel", "xorg.libxcb"),
    "libturbojpeg": ("libjpeg-turbo", "turbojpeg-devel", "libjpeg_turbo"), "spng": ("libspng", "libspng-devel", "libspng"),
    "libdeflate": ("libdeflate", "libdeflate-devel", "libdeflate"), "zlib": ("zlib", "zlib-devel", "zlib"),
    "cairo": ("cairo", "cairo-devel", "cairo"),
    "pangocairo": ("pango", "pango-devel", "pango"), "pangofc": ("pango", "pango-devel", "pango"),
    "fontconfig": ("fontconfig", "fontconfig-devel", "fontconfig"),
    "wayland-client": ("wayland", "wayland-devel", "wayland"), "libsystemd": ("systemd-libs", "systemd-devel", "systemd"),
    "libpipewire-0.3": ("libpipewire", "pipewire-devel", "pipewire"),
    "libpulse": ("libpulse", "pulseaudio-libs-devel", "libpulseaudio"), "libcurl": ("curl", "libcurl-devel", "curl"),
    "icu-i18n": ("icu", "libicu-devel", "icu"), "icu-uc": ("icu", "libicu-devel", "icu"),
    "tesseract": ("tesseract", "tesseract-devel", "tesseract"), "lept": ("leptonica", "leptonica-devel", "leptonica"),
    "cpp-httplib": ("cpp-httplib", "cpp-httplib-devel", "httplib"),
}
DOCUMENTS = sorted([*REPOSITORY.glob("*.md"), *(REPOSITORY / "Documentation").glob("*.md"), REPOSITORY / "Benchmarks/README.md"])


def headings(text):
    """Anchors of the headings, as web pages of repositories make them."""
    titles = re.findall(r"^#+ (.+)$", re.sub(r"^```.*?^```", "", text, flags=re.MULTILINE | re.DOTALL), re.MULTILINE)
    return {re.sub(r"[^a-z0-9 _-]", "", title.lower()).replace(" ", "-") for title in titles}


class DocumentTests(unittest.TestCase):
    def test_links_lead_somewhere(self):
        broken = []
        for document in DOCUMENTS:
            for link in LINK.findall(document.read_text()):
                path, _, anchor = link.partition("#")
                if re.match(r"[a-z]+:", path):
                    continue
                target = document.parent / path if path else document
                if not target.exists() or anchor and anchor not in headings(target.read_text()):
                    broken.append(f"{document.relative_to(REPOSITORY)}: {link}")
        self.assertEqual(broken, [])
        self.assertGreater(len(DOCUMENTS), 10)

    def test_every_document_is_found_from_the_first_page(self):
        found, left = set(), [REPOSITORY / "README.md"]
        while left:
            document = left.pop()
            found.add(document)
            for link in LINK.findall(document.read_text()):
                target = (document.parent / link.partition("#")[0]).resolve()
                if target.suffix == ".md" and target.exists() and target not in found:
                    left.append(target)
        self.assertEqual([path.name for path in DOCUMENTS if path not in found], [])

    def test_the_first_page_is_short(self):
        self.assertLessEqual(len((REPOSITORY / "README.md").read_text().splitlines()), 150)

    def test_commands_in_documents_exist(self):
        commands, seen = usage(), 0
        for document in DOCUMENTS:
            text = re.sub(r'"\$\(.*?\)"', "value", document.read_text().replace("\\\n", " "))
            for words in re.findall(r"(?:^ {4}|&& )(?:build/)?glimto-capture ([a-z].*?)(?= [&|#]|$)", text, re.MULTILINE):
                command, *rest = words.split()
                self.assertIn(command, {*commands, "help"}, document)
                options = {word for word in rest if re.match(r"--?[a-z]", word)}
                known = commands.get(command, set()) | UNLISTED.get(command, set())
                self.assertEqual(options - known, set(), f"{document}: {words}")
                seen += 1
        self.assertGreater(seen, 20)

    def test_recipes_have_what_the_build_looks_for(self):
        recipes = {name: (REPOSITORY / "packaging" / name).read_text() for name in
                   ("arch/PKGBUILD", "fedora/glimto-capture.spec", "nix/default.nix")}
        version = re.search(r"project\(glimto-capture VERSION ([0-9.]+)", (REPOSITORY / "CMakeLists.txt").read_text()).group(1)
        files = [*(REPOSITORY / "cmake").glob("*.cmake"), *(REPOSITORY / "Sources").rglob("CMakeLists.txt")]
        wanted = set()
        for text in map(Path.read_text, files):
            for names in re.findall(r"pkg_check_modules\(\w*(?:\$\{\w+\})? REQUIRED IMPORTED_TARGET GLOBAL\s+([^)]*)\)", text):
                wanted.update(re.sub(r"\$\{\w+\}", "client", names).split())
        self.assertGreater(len(wanted), 20)
        for module in sorted(wanted):
            for recipe, name in zip(recipes, PACKAGES[re.sub(r"^xcb-.*", "xcb", module)]):
                self.assertRegex(recipes[recipe], r"(?<![\w-])" + re.escape(name) + r"(?![\w-])", f"{recipe}: {module}")
        for recipe, text in recipes.items():
            self.assertIn(version, text, recipe)
            self.assertTrue(text.startswith("# Not built here."), recipe)


if __name__ == "__main__":
    unittest.main()
