"""The manual pages: they are free of warnings, and their examples can be copied from a terminal of 80 columns."""

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
    """The source lines between .Bd -literal and .Ed."""
    blocks = re.findall(r"^\.Bd -literal[^\n]*\n(.*?)^\.Ed$", page.read_text(), re.M | re.S)
    return [line for block in blocks for line in block.splitlines()]


def plain(line):
    return line.replace("\\-", "-").replace("\\e", "\\")


class Manual(unittest.TestCase):
    def test_has_all_examples_in_literal_displays(self):
        self.assertEqual(2, len(PAGES))
        for page in PAGES:
            with self.subTest(page=page.name):
                self.assertTrue(examples(page))
                self.assertNotIn("\n.Dl", page.read_text())

    def test_has_examples_that_fit_80_columns(self):
        for page in PAGES:
            for line in examples(page):
                with self.subTest(page=page.name, line=line):
                    self.assertLessEqual(INDENT + len(plain(line)), COLUMNS - 2)

    def test_escapes_every_minus_in_examples(self):
        for page in PAGES:
            for line in examples(page):
                with self.subTest(page=page.name, line=line):
                    self.assertNotRegex(line, r"(?<!\\)-")

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_has_no_lint(self):
        for page in PAGES:
            with self.subTest(page=page.name):
                lint = subprocess.run(["mandoc", "-Tlint", page], stdout=subprocess.PIPE, text=True).stdout
                # The other page may not be installed on this system.
                self.assertEqual([], [line for line in lint.splitlines() if "referenced manual not found" not in line])

    @unittest.skipUnless(shutil.which("groff"), "groff is not installed")
    def test_shows_examples_unchanged(self):
        for page in PAGES:
            shown = subprocess.run(["groff", "-ww", "-mandoc", "-Tutf8", "-P-cbou", f"-rLL={COLUMNS - 2}n", page],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=True)
            self.assertEqual("", shown.stderr)
            lines = [line.strip() for line in shown.stdout.splitlines()]
            for line in examples(page):
                with self.subTest(page=page.name, line=line):
                    self.assertIn(plain(line).strip(), lines)

    def test_has_examples_with_valid_shell_syntax(self):
        for page in PAGES:
            text = "\n".join(plain(line) for line in examples(page))
            with self.subTest(page=page.name):
                subprocess.run(["sh", "-n", "-c", text], check=True)


if __name__ == "__main__":
    unittest.main()
