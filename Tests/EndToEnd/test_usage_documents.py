"""The manual page and the completions of the shells know every command and option of the usage text, and no other."""

import os
import re
import subprocess
import unittest
from pathlib import Path

from support.windows import BINARY

TAKE = os.environ.get("GLIMTO_TAKE_BINARY", str(BINARY.parent / "glimto-take"))
TOP = Path(__file__).resolve().parents[2]
PACKAGING = TOP / "packaging"
# Options that serve programs: the manual page has them, the usage text and the completions have not.
UNLISTED = {"screenshot": {"--wait-for-capture-trigger", "--include-glimto-window-ids"}}
SECTIONS = {
    "WINDOW OPTIONS": ["windows-json"],
    "SCREENSHOT OPTIONS": ["screenshot"],
    "CLIPBOARD OPTIONS": ["clipboard-image"],
    "RECOGNIZE-TEXT OPTIONS": ["recognize-text"],
    "RECORD OPTIONS": ["record"],
    "UPLOAD OPTIONS": ["upload"],
}


def usage():
    """Commands of the usage text with the options of each."""
    text = subprocess.run([BINARY, "help"], capture_output=True, text=True, check=True, timeout=20).stdout
    commands = {name: set() for name in re.findall(r"^  glimto-capture ([a-z-]+)", text, re.MULTILINE)}
    section = []
    for line in text.splitlines():
        if line and not line.startswith(" "):
            section = SECTIONS.get(line, [])
        match = re.match(r"  (-{1,2}[a-z][a-z-]*(?:, --[a-z-]+)?)", line)
        if match:
            for command in section:
                commands[command].update(match.group(1).split(", "))
    return commands


def manual_sections():
    """Sections of the manual page, as a terminal shows them."""
    text = subprocess.run(["man", "-l", str(PACKAGING / "glimto-capture.1")], capture_output=True, text=True, check=True,
                          timeout=60, env={**os.environ, "MANWIDTH": "200", "MAN_KEEP_FORMATTING": "", "LC_ALL": "C"}).stdout
    text = re.sub(".\b", "", text)
    sections, name = {}, None
    for line in text.splitlines():
        if re.match(r"[A-Z]", line):
            name = line.strip()
            sections[name] = []
        elif name:
            sections[name].append(line)
    return {name: "\n".join(lines) for name, lines in sections.items()}


class UsageDocumentTests(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.commands = usage()

    def test_usage_text_has_commands_with_options(self):
        self.assertEqual(len(self.commands), 8)
        self.assertIn("--window-id", self.commands["record"])
        self.assertIn("-o", self.commands["screenshot"])

    def test_manual_page_has_every_command_and_option(self):
        sections = manual_sections()
        for command, options in self.commands.items():
            self.assertIn(command, sections["COMMANDS"])
            if not options:
                continue
            text = sections["OPTIONS OF " + command.upper()]
            described = set(re.findall(r"(?:^ {7}|, )(-{1,2}[a-z][a-z-]*)(?=[ ,]|$)", text, re.MULTILINE))
            self.assertEqual(described, options | UNLISTED.get(command, set()), command)

    def test_manual_page_has_the_sections_that_readers_look_for(self):
        for name in ("EXIT STATUS", "SIGNALS", "FILES", "ENVIRONMENT", "EXAMPLES", "NOTES"):
            self.assertIn(name, manual_sections())

    def bash(self, *words):
        script = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _glimto_capture; printf "%s\\n" "${COMPREPLY[@]}"'
        done = subprocess.run(["bash", "-c", script, "bash", str(PACKAGING / "completions/glimto-capture.bash"),
                               "glimto-capture", *words], capture_output=True, text=True, check=True, timeout=60,
                              env=self.quiet_environment())
        self.assertEqual(done.stderr, "")
        return set(done.stdout.split("\n")) - {""}

    def fish(self, line):
        done = subprocess.run(["fish", "--no-config", "-c", f"source {PACKAGING}/completions/glimto-capture.fish; complete -C '{line}'"],
                              capture_output=True, text=True, check=True, timeout=60, env=self.quiet_environment())
        self.assertEqual(done.stderr, "")
        return {offer.split("\t")[0] for offer in done.stdout.splitlines()}

    def quiet_environment(self):
        """No display and no sound server: what is asked of the system fails."""
        folder = str(Path(BINARY).parent)
        return {"PATH": f"{folder}:/usr/bin:/bin", "HOME": "/nonexistent", "LC_ALL": "C", "PULSE_SERVER": "unix:/nonexistent"}

    def test_bash_offers_every_command_and_option(self):
        self.assertEqual(self.bash(""), set(self.commands) | {"help"})
        for command, options in self.commands.items():
            self.assertEqual(self.bash(command, "-"), options | {"--help"} if options else set(), command)

    def test_bash_is_quiet_where_the_system_cannot_be_asked(self):
        for option in ("--display", "--window-id", "--microphone"):
            self.assertEqual(self.bash("record", option, ""), set())

    def test_fish_offers_every_command_and_option(self):
        self.assertEqual(self.fish("glimto-capture "), set(self.commands) | {"help"})
        for command, options in self.commands.items():
            offered = self.fish(f"glimto-capture {command} --") | self.fish(f"glimto-capture {command} -")
            self.assertEqual(offered, options | {"--help"} if options else set(), command)

    def test_fish_is_quiet_where_the_system_cannot_be_asked(self):
        for option in ("--display", "--window-id", "--microphone"):
            self.assertEqual(self.fish(f"glimto-capture record {option} "), set())

    def test_zsh_knows_every_command_and_option(self):
        path = PACKAGING / "completions/_glimto-capture"
        subprocess.run(["zsh", "-n", str(path)], check=True, timeout=60)
        text = path.read_text()
        self.assertEqual(set(re.findall(r"^ {12}'([a-z-]+):", text, re.MULTILINE)), set(self.commands) | {"help"})
        cases = dict(re.findall(r"^ {8}([a-z-]+(?: \| [a-z-]+)*)\)\n(.*?)^ {12};;", text, re.MULTILINE | re.DOTALL))
        for names, body in cases.items():
            offered = set(re.findall(r"(?<=['{,])(-{1,2}[a-z][a-z-]*)(?=[\[,}])", body))
            for command in names.split(" | "):
                self.assertEqual(offered, self.commands[command] | {"--help"}, command)
        self.assertEqual({command for names in cases for command in names.split(" | ")},
                         {command for command, options in self.commands.items() if options})


class TakeUsageDocumentTests(unittest.TestCase):
    """The same of glimto-take, whose options stand in one list."""

    @classmethod
    def setUpClass(cls):
        cls.usage = subprocess.run([TAKE, "help"], capture_output=True, text=True, check=True, timeout=20).stdout
        cls.commands = set(re.findall(r"^  glimto-take ([a-z]+)", cls.usage, re.MULTILINE))
        described = re.findall(r"^  (-{1,2}[a-z][a-z-]*)(?:, (--[a-z-]+))?", cls.usage, re.MULTILINE)
        cls.options = {option for options in described for option in options if option}

    def test_usage_text_has_commands_and_options(self):
        self.assertEqual(self.commands, {"info", "verify", "repair", "export", "render", "help"})
        self.assertLessEqual({"-o", "--output", "--json", "--zoom"}, self.options)

    def test_manual_page_has_every_command_and_option(self):
        page = (PACKAGING / "glimto-take.1").read_text().replace("\\-", "-")
        named = set(re.findall(r"(?<![a-z-])--[a-z][a-z-]+|(?<![a-z-])-o\b", page))
        self.assertEqual(named - {"--record-events"}, self.options)  # which is the recorder's
        for command in self.commands - {"help"}:
            self.assertIn(f"\n.B {command}\n", page)

    def test_completions_have_every_command_and_option(self):
        for name in ("glimto-take.bash", "_glimto-take", "glimto-take.fish"):
            text = (PACKAGING / "completions" / name).read_text()
            if name.endswith(".fish"):
                text = re.sub(r" -l ([a-z-]+)", r" --\1", re.sub(r" -s ([a-z])\b", r" -\1", text))
            for word in self.commands | self.options:
                self.assertRegex(text, rf"(?<![a-z-]){word}(?![a-z-])", name)


if __name__ == "__main__":
    unittest.main()
