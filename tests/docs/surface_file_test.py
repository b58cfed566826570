"""docs/surface-file.md: its example bytes, its table of pixels and its commands are correct."""

import re
import struct
import tempfile
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file
from surface_readers import READERS, TREE, convert, read_with_both, run, surface_bytes

PAGE = (TREE / "docs/surface-file.md").read_text()
PIXELS = re.compile(r"^\| (\d) \| `?(\w+)`? \| (?:`([0-9a-f ]+)`)? ?\| (?:`0x([0-9a-f]+)`)? ?\| (.+) \|$",
                    re.MULTILINE)
COLOR = {"alpha": 204, "red": 240, "green": 136, "blue": 40, "value": 40}
# The max distance of the nearest value, for modes with fields of fewer than 8 bits.
MAX_DISTANCE = {"RGB565": {"red": 4, "green": 2, "blue": 4},
       "ARGB1555": {"alpha": 127, "red": 4, "green": 4, "blue": 4},
       "ARGB4444": {"alpha": 8, "red": 8, "green": 8, "blue": 8}}


def section(title):
    return re.split(r"^#", PAGE.split("## " + title + "\n", 1)[1], flags=re.MULTILINE)[0]


class InScratchFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)


class TableOfPixels(InScratchFolder):
    ROWS = PIXELS.findall(section("One pixel of every mode"))

    def test_has_every_mode(self):
        self.assertEqual([str(mode) for mode in range(10)], [row[0] for row in self.ROWS])

    def test_shows_bytes_that_the_readers_read_as_shown(self):
        path = self.folder / "one.surface"
        for mode, name, shown, _, text in self.ROWS:
            with self.subTest(mode=mode):
                pixel = bytes.fromhex(shown)
                path.write_bytes(surface_bytes(int(mode), 1, [pixel or bytes(8)]))
                if text == "no pixels":
                    self.assertEqual(b"", pixel)
                    for program in READERS.values():
                        self.assertEqual(1, run(program, path)[0])
                    continue
                self.assertEqual([text], read_with_both(self, path, 0, 0))
                self.assertEqual("mode %s %s" % (mode, name), read_with_both(self, path)[1])
                # Without its last byte the pixel is incomplete.
                path.write_bytes(surface_bytes(int(mode), 1, [pixel[:-1]]))
                self.assertEqual(1, run(READERS["C"], path)[0])

    def test_shows_words_that_match_the_bytes(self):
        words = {mode: word for mode, _, _, word, _ in self.ROWS if word}
        self.assertEqual(["0", "2", "3", "4", "7"], list(words))
        for mode, _, shown, word, _ in self.ROWS:
            if word:
                self.assertEqual(int.from_bytes(bytes.fromhex(shown), "little"), int(word, 16))

    def test_shows_the_nearest_color_of_each_mode(self):
        for _, name, _, _, text in self.ROWS:
            for channel, value in re.findall(r"(\w+) (\d+)", text):
                if channel == "alpha" and name in ("RGB888", "RGB565"):
                    self.assertEqual("255", value)
                else:
                    distance = MAX_DISTANCE.get(name, {}).get(channel, 0)
                    self.assertLessEqual(abs(int(value) - COLOR[channel]), distance, (name, channel))


class Example(InScratchFolder):
    def test_has_the_bytes_that_the_converter_writes(self):
        rows = b"\0" + bytes([255, 0, 0, 0, 255, 0, 0, 0, 255]) + \
            b"\0" + bytes([255, 255, 255, 0, 0, 0, 16, 32, 48])
        (self.folder / "image.png").write_bytes(png_file(3, 2, 2, chunk(b"IDAT", zlib.compress(rows, 0))))
        dumps = re.findall(r"```\n(0{8}: .*?)```", section("An example"), re.DOTALL)
        self.assertEqual(2, len(dumps))
        for dump, options in zip(dumps, ((), ("--rotation", 90))):
            shown = bytes.fromhex("".join(line.split(":")[1] for line in dump.splitlines()))
            surface = self.folder / "image.surface"
            convert(self, self.folder / "image.png", surface, *options)
            self.assertEqual(shown, surface.read_bytes())


class Commands(InScratchFolder):
    def test_print_the_output_on_the_page(self):
        for folder in ("examples", "include"):
            (self.folder / folder).symlink_to(TREE / folder)
        convert(self, TREE / "samples/quill.png", self.folder / "quill.surface")
        transcript = re.search(r"```\n(\$ .*?)```", section("Readers to start from"), re.DOTALL)[1]
        runs = [part.split("\n", 1) for part in re.split(r"^\$ ", transcript, flags=re.MULTILINE)[1:]]
        self.assertEqual(4, len(runs))
        for command, output in runs:
            with self.subTest(command=command):
                self.assertEqual((0, output, ""),
                                 run(["/bin/sh", "-c"], command, folder=self.folder))


if __name__ == "__main__":
    unittest.main()
