"""A small file whose chunk declares gigabytes is rejected without memory of that size."""

import os
import resource
import struct
import subprocess
import tempfile
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file

SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
NAMES = [b"PLTE", b"tRNS", b"IDAT", b"bKGD", b"cHRM", b"eXIf", b"gAMA", b"hIST", b"iCCP", b"iTXt", b"oFFs", b"pCAL",
         b"prVt", b"sBIT", b"sCAL", b"sPLT", b"sRGB", b"sTER", b"tEXt", b"tIME", b"zTXt"]
COMMANDS = [["check", "in.png"], ["prepare", "in.png", "out.png"], ["convert", "in.png", "out.surface"],
            ["convert", "--mode", "RGB888", "in.png", "out.surface"]]
MAX_PEAK = 256 << 10  # KiB; the sanitizers need most of it


class ChunkMemory(unittest.TestCase):
    def test_is_not_that_of_the_declared_length(self):
        data = chunk(b"IDAT", zlib.compress(bytes(8), 0))
        for name in NAMES:
            endless = struct.pack(">I", 0x7fffffff) + name + b"Title\0text"
            for file in (png_file(1, 2, 2, endless, data), png_file(1, 2, 2, data, endless)):
                for command in COMMANDS:
                    with self.subTest(name=name, command=command):
                        self.assert_rejects(file, command)

    def assert_rejects(self, file, command):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "in.png").write_bytes(file)
            run = subprocess.run([SLABTOOL, *command], cwd=folder, check=False, capture_output=True, text=True,
                                 timeout=60)
        self.assertEqual(1, run.returncode, run.stdout + run.stderr)
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, MAX_PEAK)


if __name__ == "__main__":
    unittest.main()
