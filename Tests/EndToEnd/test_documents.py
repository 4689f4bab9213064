"""The documents: their links lead somewhere, and what they tell to type is known to the program."""

import re
import subprocess
import unittest

from support.windows import BINARY, REPOSITORY
from test_usage_documents import UNLISTED, usage

LINK = re.compile(r"\]\(([^)\s]+)\)")
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


if __name__ == "__main__":
    unittest.main()
