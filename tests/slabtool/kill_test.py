"""Kills slabtool convert at random moments: every surface file is complete, and the next run cleans up."""
import os
import pathlib
import random
import subprocess
import tempfile
import time
import unittest
import zlib

from png_chunks import chunk, png_file

SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
ROUNDS = 200
IMAGES = 40
SIDE = 150


def png(seed):
    """An RGB image of noise."""
    noise = random.Random(seed)
    rows = b"".join(b"\0" + noise.randbytes(3 * SIDE) for _ in range(SIDE))
    return png_file(SIDE, SIDE, 2, chunk(b"IDAT", zlib.compress(rows, 0)))


class Kill(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        (self.folder / "images").mkdir()
        for i in range(IMAGES):
            (self.folder / f"images/{i}.png").write_bytes(png(i))

    def command(self, output, *options):
        return [SLABTOOL, "convert", "--quiet", *options, str(self.folder / "images"), str(self.folder / output)]

    def surfaces(self, output):
        return {path.name: path.read_bytes() for path in (self.folder / output).glob("*.surface")}

    def test_leaves_complete_files_and_nothing_else_after_the_next_run(self):
        begin = time.monotonic()
        subprocess.run(self.command("expected"), check=True)
        usual = time.monotonic() - begin
        expected = self.surfaces("expected")
        self.assertEqual(IMAGES, len(expected))
        moments = random.Random(1)
        killed = 0
        for _ in range(ROUNDS):
            run = subprocess.Popen(self.command("out"))
            time.sleep(moments.uniform(0, usual))
            run.kill()
            killed += run.wait() != 0
            for name, content in self.surfaces("out").items():
                self.assertTrue(content == expected[name], name)
        self.assertGreater(killed, 0)
        subprocess.run(self.command("out", "--update"), check=True)
        self.assertTrue(self.surfaces("out") == expected)
        self.assertEqual([], [path.name for path in (self.folder / "out").iterdir() if "partial" in path.name])


if __name__ == "__main__":
    unittest.main()
