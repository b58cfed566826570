"""The pictures in the documents have the pixels that the programs make."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])


def surface_of(image):
    with tempfile.TemporaryDirectory() as folder:
        surface = Path(folder) / "surface"
        subprocess.run([os.environ["PNGSLAB_PROGRAM"], "--image", TREE / image, "--output", surface],
                       stdout=subprocess.DEVNULL, check=True)
        return surface.read_bytes()


class Pictures(unittest.TestCase):
    def test_of_the_surface_has_the_pixels_of_the_image(self):
        self.assertTrue(surface_of("samples/quill.png") == surface_of("docs/quill-surface.png"))


if __name__ == "__main__":
    unittest.main()
