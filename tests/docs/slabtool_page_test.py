"""The transcripts in docs/slabtool.md show the output of the program."""

import os
import random
import re
import subprocess
import tempfile
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
PAGE = (TREE / "docs/slabtool.md").read_text()
BLOCKS = re.findall(r"^```\w*\n(.*?)^```$", PAGE, re.M | re.S)
TRANSCRIPTS = [block for block in BLOCKS if block.startswith("$ ")]
STORED = 0  # zlib's level for stored blocks
GRAY, RGB = 0, 2


def image(width, height, depth, color_type, image_data):
    return png_file(width, height, color_type, chunk(b"IDAT", image_data), depth=depth)


def fixed(rows):
    encoder = zlib.compressobj(9, zlib.DEFLATED, 15, 9, zlib.Z_FIXED)
    return encoder.compress(rows) + encoder.flush()


def icon(block_end):
    """A gray image of one row. Its only fixed-code block ends in the given byte of the image data."""
    noise = bytes(random.Random(1).choices(range(144), k=1000))  # values with fixed codes of 8 bits
    for width in range(1, 1000):
        image_data = fixed(bytes([0]) + noise[:width])
        if len(image_data) == block_end + 1 + 4:  # the checksum of zlib follows
            return image(width, 1, 8, GRAY, image_data)
    raise AssertionError("no such image")


def commands_in(transcript):
    """Each command with its output."""
    return [part.split("\n", 1) for part in re.split(r"^\$ ", transcript, flags=re.M)[1:]]


class Transcripts(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)
        sample = TREE / "samples/quill.png"
        (self.folder / "quill.png").write_bytes(sample.read_bytes())
        for name, options in (("quill", []), ("rotated", ["--rotation", "90"])):
            subprocess.run([os.environ["PNGSLAB_PROGRAM"], "--image", sample, "--output",
                            self.folder / f"{name}.surface", *options], stdout=subprocess.DEVNULL, check=True)
        changed = bytearray((self.folder / "quill.surface").read_bytes())
        changed[20 + 113 * 704 + 174 * 4] = 255
        (self.folder / "changed.surface").write_bytes(changed)
        (self.folder / "deep.png").write_bytes(
            image(32, 32, 16, RGB, zlib.compress(bytes(32 * (1 + 32 * 6)), STORED)))
        (self.folder / "icon.png").write_bytes(icon(317))
        (self.folder / "huge.png").write_bytes(
            image(65536, 65536, 8, GRAY, zlib.compress(bytes([5]) * 65536, STORED)))

    def test_show_the_output_of_the_program(self):
        self.assertEqual(7, len(TRANSCRIPTS))
        function = f"slabtool() {{ '{os.environ['PNGSLAB_SLABTOOL']}' \"$@\"; }}\n"
        for transcript in TRANSCRIPTS:
            for command, output in commands_in(transcript):
                with self.subTest(command=command):
                    ended = subprocess.run(["sh", "-c", function + command], cwd=self.folder,
                                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
                    self.assertEqual(output, ended.stdout)


if __name__ == "__main__":
    unittest.main()
