"""The manual pages as a terminal of 80 columns shows them: an example can be copied from there and run."""

import os
import re
import shutil
import subprocess
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
PAGES = sorted((TREE / "docs/man").glob("*.1"))
COLUMNS = 80
INDENT = 11  # of examples, in columns


def examples(page):
    """The lines between .Bd -literal and .Ed, as the page's source has them."""
    blocks = re.findall(r"^\.Bd -literal[^\n]*\n(.*?)^\.Ed$", page.read_text(), re.M | re.S)
    return [line for block in blocks for line in block.splitlines()]


def plain(line):
    return line.replace("\\-", "-").replace("\\e", "\\")


class Manual(unittest.TestCase):
    def test_has_all_its_examples_in_blocks(self):
        self.assertEqual(2, len(PAGES))
        for page in PAGES:
            with self.subTest(page=page.name):
                self.assertTrue(examples(page))
                self.assertNotIn("\n.Dl", page.read_text())

    def test_has_no_example_that_80_columns_break(self):
        for page in PAGES:
            for line in examples(page):
                with self.subTest(page=page.name, line=line):
                    self.assertLessEqual(INDENT + len(plain(line)), COLUMNS - 2)

    def test_has_no_minus_in_examples_that_may_become_a_hyphen(self):
        for page in PAGES:
            for line in examples(page):
                with self.subTest(page=page.name, line=line):
                    self.assertNotRegex(line, r"(?<!\\)-")

    @unittest.skipUnless(shutil.which("groff"), "groff is not installed")
    def test_shows_examples_as_they_are(self):
        for page in PAGES:
            shown = subprocess.run(["groff", "-mandoc", "-Tutf8", "-P-cbou", f"-rLL={COLUMNS - 2}n", page],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=True)
            self.assertEqual("", shown.stderr)
            lines = [line.strip() for line in shown.stdout.splitlines()]
            for line in examples(page):
                with self.subTest(page=page.name, line=line):
                    self.assertIn(plain(line).strip(), lines)

    def test_has_examples_that_a_shell_understands(self):
        for page in PAGES:
            text = "\n".join(plain(line) for line in examples(page))
            with self.subTest(page=page.name):
                subprocess.run(["sh", "-n", "-c", text], check=True)


if __name__ == "__main__":
    unittest.main()
