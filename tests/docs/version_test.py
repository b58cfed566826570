"""The version stands in one header; programs, pages, packages and the list of changes all name it."""

import os
import re
import subprocess
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
BUILD = Path(os.environ["PNGSLAB_BUILD_DIR"])
NUMBERS = [int(number) for number in
           re.findall(r"kVersion(?:Major|Minor|Patch) = (\d+);", (TREE / "tools/version.h").read_text())]
VERSION = ".".join(map(str, NUMBERS))


def printed(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False).stdout


class Version(unittest.TestCase):
    def test_has_three_numbers(self):
        self.assertEqual(3, len(NUMBERS))

    def test_is_printed_by_the_companion(self):
        self.assertEqual(f"slabtool {VERSION}\n", printed(os.environ["PNGSLAB_SLABTOOL"], "--version"))

    def test_begins_the_banner_of_the_converter(self):
        self.assertIn(f" v{NUMBERS[0]:X}.{NUMBERS[1]:02X}. ", printed(os.environ["PNGSLAB_PROGRAM"], "--help"))

    def test_stands_in_the_manual_pages(self):
        for page in sorted((TREE / "docs/man").glob("*.1")):
            with self.subTest(page=page.name):
                self.assertIn(f"\nThis page describes version {VERSION}.\n", page.read_text())

    def test_heads_the_list_of_changes(self):
        self.assertEqual(VERSION, re.search(r"^## ([\d.]+)", (TREE / "CHANGELOG.md").read_text(), re.M)[1])

    def test_is_that_of_the_packages(self):
        for file, line in (("CPackConfig.cmake", f'set(CPACK_PACKAGE_VERSION "{VERSION}")'),
                           ("QuilloryConfigVersion.cmake", f'set(PACKAGE_VERSION "{VERSION}")'),
                           ("quillory-png.pc", f"Version: {VERSION}")):
            with self.subTest(file=file):
                self.assertIn(line + "\n", (BUILD / file).read_text())


if __name__ == "__main__":
    unittest.main()
