"""check_corpus with folders of single images: each rejection of an image that libpng reads has a reason."""

import os
import subprocess
import tempfile
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file

STORED = 0  # the level of zlib that makes stored blocks


def image(*chunks, depth=8, interlace=0):
    """A PNG of 2 x 2 gray pixels with these chunks between the header and the end."""
    return png_file(2, 2, 0, *chunks, depth=depth, interlace=interlace)


PIXELS = zlib.compress(bytes(6), STORED)


class CheckCorpus(unittest.TestCase):
    def expect(self, status, words, contents):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "a.png").write_bytes(contents)
            ended = subprocess.run([os.environ["PNGSLAB_CHECK_CORPUS"], folder], stdout=subprocess.PIPE,
                                   text=True)
        self.assertEqual(f"     1  {words}", ended.stdout.splitlines()[-1])
        self.assertEqual(status, ended.returncode)

    def test_accepts_an_image_with_equal_pixels(self):
        self.expect(0, "accepted, equal", image(chunk(b"IDAT", PIXELS)))

    def test_explains_a_wrong_crc_of_an_ancillary_chunk(self):
        for name in (b"iCCP", b"tEXt", b"prVt"):
            with self.subTest(name=name):
                self.expect(0, "rejected: a chunk with a wrong CRC",
                            image(chunk(name, b"words", checksum_error=1), chunk(b"IDAT", PIXELS)))

    def test_explains_image_data_shorter_than_2_bytes(self):
        for cut in (0, 1):
            with self.subTest(cut=cut):
                self.expect(0, "rejected: an IDAT chunk shorter than 2 bytes",
                            image(chunk(b"IDAT", PIXELS[:-cut or None]), chunk(b"IDAT", PIXELS[-cut:] * cut)))

    def test_explains_other_rejections(self):
        fixed = zlib.compressobj(9, zlib.DEFLATED, 15, 9, zlib.Z_FIXED)
        for words, contents in (
                ("fixed-code block", image(chunk(b"IDAT", fixed.compress(bytes(6)) + fixed.flush()))),
                ("not 8 bits per sample",
                 image(chunk(b"IDAT", zlib.compress(bytes(10), STORED)), depth=16)),
                ("rejected by libpng too", image())):
            with self.subTest(words=words):
                self.expect(0, f"rejected: {words}", contents)

    def test_looks_at_nothing_behind_the_end_chunk(self):
        self.expect(0, "rejected: an IDAT chunk shorter than 2 bytes",
                    image(chunk(b"IDAT", PIXELS), chunk(b"IDAT", b"")) + bytes([255]) * 20)


if __name__ == "__main__":
    unittest.main()
