"""same_bytes.py with converters that make mistakes: each mistake is reported."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
PNGSLAB = os.environ["PNGSLAB_PROGRAM"]

# Calls pngslab and then changes one thing.
WRONG_CONVERTER = """
import subprocess, sys
words = sys.argv[1:]
ended = subprocess.run([{program!r}, *words])
output = words[-1]
{mistake}
sys.exit(ended.returncode)
"""
SAMPLE = TREE / "samples/seal.png"


class SameBytes(unittest.TestCase):
    def setUp(self):
        # A folder laid out like the tree, with one image.
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)
        self.images = self.folder / "libpng/contrib/suite"
        self.images.mkdir(parents=True)
        self.lists = self.folder / "tests/bytes"
        self.lists.mkdir(parents=True)
        (self.lists / "same_bytes.py").write_bytes((TREE / "tests/bytes/same_bytes.py").read_bytes())
        (self.images / "seal.png").write_bytes(SAMPLE.read_bytes())

    def run_script(self, *words):
        ended = subprocess.run([sys.executable, "-B", self.lists / "same_bytes.py", "--conformance",
                                self.folder / "libpng", *words], stdout=subprocess.PIPE, text=True)
        return ended.returncode, ended.stdout

    def record(self):
        self.assertEqual(0, self.run_script("--record", PNGSLAB)[0])
        return (self.lists / "conformance.txt").read_text()

    def wrong_converter(self, mistake):
        file = self.folder / "wrong.py"
        file.write_text(WRONG_CONVERTER.format(program=PNGSLAB, mistake=mistake))
        return sys.executable, str(file)

    def test_accepts_equal_bytes(self):
        self.record()
        self.assertEqual((0, "2 conversions of 1 images gave the listed bytes\n"), self.run_script(PNGSLAB))

    def test_names_image_and_options_and_the_first_wrong_byte(self):
        self.record()
        converter = self.wrong_converter("if '90' in words:\n"
                                         "    with open(output, 'r+b') as file:\n"
                                         "        file.seek(100)\n"
                                         "        byte = file.read(1)[0]\n"
                                         "        file.seek(100)\n"
                                         "        file.write(bytes([byte ^ 1]))")
        status, output = self.run_script("--reference", PNGSLAB, *converter)
        self.assertEqual(1, status)
        self.assertRegex(output, "^suite/seal.png --rotation 90: expected [0-9a-f]{16}, got [0-9a-f]{16}; byte 100 is ")
        self.assertIn("\n1 problems with 2 conversions of 1 images", output)

    def test_reports_a_rejection(self):
        self.record()
        status, output = self.run_script(*self.wrong_converter("open(output, 'wb').close()\n"
                                                               "print('ERROR: cannot decode PNG file')\n"
                                                               "sys.exit(1)"))
        self.assertEqual(1, status)
        self.assertEqual(2, output.count(", got rejected"))

    def test_takes_no_failure_of_an_emulator_for_a_rejection(self):
        (self.images / "seal.png").write_bytes(b"broken")
        self.record()
        status, output = self.run_script(sys.executable, "-c", "import sys; sys.exit('no emulator')")
        self.assertEqual(1, status)
        self.assertEqual(2, output.count(": expected rejected, got status 1 and 0 bytes"))

    def test_reports_an_abnormal_end(self):
        self.record()
        status, output = self.run_script(*self.wrong_converter("sys.exit(3)"))
        self.assertEqual(1, status)
        self.assertEqual(2, output.count(", got status 3 and "))

    def test_reports_a_rejection_that_leaves_bytes(self):
        self.record()
        status, output = self.run_script(*self.wrong_converter("sys.exit(1)"))
        self.assertEqual(1, status)
        self.assertEqual(2, output.count(", got status 1 and "))

    def test_reports_a_missing_and_a_changed_image(self):
        self.record()
        (self.images / "seal.png").write_bytes(b"other")
        self.assertIn("suite/seal.png: the image has changed", self.run_script(PNGSLAB)[1])
        (self.images / "seal.png").unlink()
        self.assertEqual(1, self.run_script(PNGSLAB)[0])
        self.assertIn("suite/seal.png: the list has this image, but it is missing", self.run_script(PNGSLAB)[1])

    def test_records_new_images_but_no_other_bytes(self):
        before = self.record()
        (self.images / "broken.png").write_bytes(b"broken")
        after = self.record()
        self.assertIn(before.splitlines()[-1], after)
        self.assertRegex(after, "suite/broken.png [0-9a-f]{16} rejected rejected\n")
        self.assertEqual(1, self.run_script("--record", *self.wrong_converter("open(output, 'wb').close()"))[0])
        self.assertEqual(after, (self.lists / "conformance.txt").read_text())

    def test_skips_a_backend_that_is_missing(self):
        self.record()
        self.assertEqual(77, self.run_script(*self.wrong_converter("sys.exit(77)"))[0])


if __name__ == "__main__":
    unittest.main()
