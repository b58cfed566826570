"""The two example readers of surface files: both read every pixel of every mode correctly, and reject every invalid
header with the same message."""

import os
import struct
import tempfile
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file
from surface_readers import READERS, all_pixels, convert, read_with_both, run, surface_bytes

GRAY, RGB, INDEXED, GRAY_ALPHA, RGBA = 0, 2, 3, 4, 6
CHANNELS = {GRAY: 1, RGB: 3, INDEXED: 1, GRAY_ALPHA: 2, RGBA: 4}
ARGB8888, RGB888, RGB565, ARGB1555, ARGB4444, I8, AI88, A8 = 0, 1, 2, 3, 4, 5, 7, 9


def png(color_type, width, height, samples, *further):
    """A PNG file without compression, so that the converter accepts images of any size."""
    row_bytes = width * CHANNELS[color_type]
    rows = b"".join(b"\0" + samples[y * row_bytes:(y + 1) * row_bytes] for y in range(height))
    return png_file(width, height, color_type, *further, chunk(b"IDAT", zlib.compress(rows, 0)))


def rgb_text(samples):
    return "alpha 255 red %d green %d blue %d" % tuple(samples)


def rgba_text(samples):
    red, green, blue, alpha = samples
    return "alpha %d red %d green %d blue %d" % (alpha, red, green, blue)


def value_text(samples):
    return "value %d" % samples[0]


def value_alpha_text(samples):
    return "value %d alpha %d" % tuple(samples)


def alpha_text(samples):
    return "alpha %d" % samples[0]


class Reading(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, data):
        (self.folder / name).write_bytes(data)
        return self.folder / name


class Images(Reading):
    """Converted images: the readers print the samples of the image."""

    SIZES = ((1, 1), (1, 6), (6, 1), (7, 4))

    def convert_both_ways(self, image, *options):
        """Converts an image without rotation and with rotation 90."""
        file = self.write("image.png", image)
        upright, rotated = self.folder / "upright.surface", self.folder / "rotated.surface"
        convert(self, file, upright, *options)
        convert(self, file, rotated, "--rotation", 90, *options)
        return upright, rotated

    def expect_facts(self, path, width, height, mode, rotation):
        self.assertEqual(["size %d x %d" % (width, height), "mode " + mode, "rotation %d" % rotation],
                         read_with_both(self, path))

    def expect_image(self, mode, color_type, text, *further, options=()):
        for width, height in self.SIZES:
            with self.subTest(mode=mode, width=width, height=height):
                channels = CHANNELS[color_type]
                samples = bytes((i * 37 + 11) & 255 for i in range(width * height * channels))
                image = png(color_type, width, height, samples, *further)
                upright, rotated = self.convert_both_ways(image, *options)
                self.expect_facts(upright, width, height, mode, 0)
                self.expect_facts(rotated, width, height, mode, 90)
                expected = [text(samples[i:i + channels]) for i in range(0, len(samples), channels)]
                self.assertEqual(expected, all_pixels(self, upright, width, height))
                self.assertEqual(expected, all_pixels(self, rotated, width, height))

    def test_of_grayscale(self):
        self.expect_image("5 I8", GRAY, value_text)

    def test_of_grayscale_as_alpha(self):
        self.expect_image("9 A8", GRAY, alpha_text, options=["--alphaonly"])

    def test_of_indices(self):
        palette = chunk(b"PLTE", bytes(range(256)) * 3)
        self.expect_image("5 I8", INDEXED, value_text, palette)

    def test_of_grayscale_with_alpha(self):
        self.expect_image("7 AI88", GRAY_ALPHA, value_alpha_text)

    def test_of_truecolor(self):
        self.expect_image("1 RGB888", RGB, rgb_text)

    def test_of_truecolor_with_alpha(self):
        self.expect_image("0 ARGB8888", RGBA, rgba_text)

    def expect_key_image(self, mode, color_type, key, known):
        """Each row starts with the samples without alpha, so a pixel is made of samples of several pixels."""
        width, height = 8, 3
        row_bytes = width * CHANNELS[color_type]
        samples = bytes((i * 37 + 11) & 255 for i in range(row_bytes * height))
        image = png(color_type, width, height, samples, chunk(b"tRNS", key))
        upright, rotated = self.convert_both_ways(image)
        self.expect_facts(upright, width, height, mode, 0)
        self.expect_facts(rotated, width, height, mode, 90)
        pixels = all_pixels(self, upright, width, height)
        self.assertEqual(pixels, all_pixels(self, rotated, width, height))
        for y in range(height):
            expected = known(samples[y * row_bytes:(y + 1) * row_bytes])
            self.assertEqual(expected, pixels[y * width:y * width + len(expected)])

    def test_of_grayscale_with_a_key_color(self):
        self.expect_key_image("7 AI88", GRAY, b"\0\1", lambda row: [
            value_alpha_text(row[i:i + 2]) for i in range(0, len(row), 2)])

    def test_of_truecolor_with_a_key_color(self):
        def known(row):
            stored = b"".join(row[i:i + 3][::-1] for i in range(0, len(row), 3))
            return [rgba_text((stored[i + 2], stored[i + 1], stored[i], stored[i + 3]))
                    for i in range(0, len(stored), 4)]

        self.expect_key_image("0 ARGB8888", RGB, bytes(6), known)


def nearest(field, bits):
    """The nearest 8-bit value of a field."""
    max_field = (1 << bits) - 1
    return int(field * 255 / max_field + 0.5)


class Words(Reading):
    """Modes with 16-bit words, which the converter does not write. Some words are at odd addresses."""

    WIDTH, HEIGHT = 79, 65
    VALUES = [i * 13 & 0xFFFF for i in range(WIDTH * HEIGHT)]  # 5135 of 65,536, spread over all fields

    def expect(self, mode, fields):
        """`fields`: shift and bits of alpha, red, green and blue. A channel with 0 bits is always 255."""
        row_bytes = self.WIDTH * 2
        packed = struct.pack("<%dH" % len(self.VALUES), *self.VALUES)
        rows = [packed[i:i + row_bytes] + b"\xEE" for i in range(0, len(packed), row_bytes)]
        path = self.write("words.surface", surface_bytes(mode, self.WIDTH, rows))
        expected = ["alpha %d red %d green %d blue %d" % tuple(
            nearest(value >> shift & (1 << bits) - 1, bits) if bits else 255
            for shift, bits in fields) for value in self.VALUES]
        self.assertEqual(expected, all_pixels(self, path, self.WIDTH, self.HEIGHT))

    def test_of_rgb565(self):
        self.expect(RGB565, ((0, 0), (11, 5), (5, 6), (0, 5)))

    def test_of_argb1555(self):
        self.expect(ARGB1555, ((15, 1), (10, 5), (5, 5), (0, 5)))

    def test_of_argb4444(self):
        self.expect(ARGB4444, ((12, 4), (8, 4), (4, 4), (0, 4)))


class Rotations(Reading):
    ROWS = [b"\1\2\3\xEE\xEE", b"\4\5\6\xEE\xEE"]  # with two bytes of padding

    def test_map_every_pixel(self):
        images = {0: ["1 2 3", "4 5 6"], 90: ["4 1", "5 2", "6 3"], 180: ["6 5 4", "3 2 1"],
                  270: ["3 6", "2 5", "1 4"], 45: ["1 2 3", "4 5 6"], 450: ["1 2 3", "4 5 6"]}
        for rotation, image in images.items():
            with self.subTest(rotation=rotation):
                path = self.write("rotated.surface", surface_bytes(I8, 3, self.ROWS, rotation))
                expected = ["value " + value for row in image for value in row.split()]
                width = len(image[0].split())
                self.assertEqual(["size %d x %d" % (width, len(image)), "mode 5 I8",
                                  "rotation %d" % rotation], read_with_both(self, path))
                self.assertEqual(expected, all_pixels(self, path, width, len(image)))

    def test_work_for_pixels_of_every_size(self):
        for mode, size in ((ARGB8888, 4), (RGB888, 3), (ARGB4444, 2), (A8, 1)):
            rows = [bytes(range(1, 2 * size + 1)) + b"\xEE", bytes(range(101, 101 + 2 * size)) + b"\xEE"]
            upright = all_pixels(self, self.write("upright", surface_bytes(mode, 2, rows)), 2, 2)
            rotated = all_pixels(self, self.write("rotated", surface_bytes(mode, 2, rows, 180)), 2, 2)
            self.assertEqual(upright, rotated[::-1])
            self.assertEqual(4, len(set(upright)))


class Palettes(Reading):
    BGR = b"".join(bytes((i, 255 - i, i ^ 5)) for i in range(256))
    BGRA = b"".join(bytes((i, 255 - i, i ^ 5, 200 - i & 255)) for i in range(256))

    def expect(self, mode, pixels, palette, colors):
        surface = self.write("a.surface", surface_bytes(mode, 2, [pixels]))
        palette = self.write("a.palette", palette)
        self.assertEqual(["alpha %d red %d green %d blue %d" % color for color in colors],
                         read_with_both(self, "--palette", palette, surface, 0, 0, 1, 0))

    def test_give_indices_their_colors(self):
        self.expect(I8, b"\0\xff", self.BGR, [(255, 5, 255, 0), (255, 250, 0, 255)])
        self.expect(I8, b"\x02\xff", self.BGRA, [(198, 7, 253, 2), (201, 250, 0, 255)])

    def test_keep_the_alpha_beside_the_index(self):
        self.expect(AI88, b"\x02\x09\x03\xff", self.BGRA, [(9, 7, 253, 2), (255, 6, 252, 3)])

    def expect_rejection(self, named, reason, *words):
        for name, program in READERS.items():
            with self.subTest(reader=name):
                self.assertEqual((1, "", "read_surface: %s: %s\n" % (named, reason)),
                                 run(program, *words))

    def test_have_one_of_two_sizes(self):
        surface = self.write("a.surface", surface_bytes(I8, 1, [b"\0"]))
        for size in (0, 767, 769, 1023, 1025, 5000):
            palette = self.write("a.palette", bytes(size))
            self.expect_rejection(palette, "it is not a palette file of 768 or 1024 bytes",
                                "--palette", palette, surface)
        self.expect_rejection("none", "No such file or directory", "--palette", "none", surface)

    def test_are_for_indices_only(self):
        surface = self.write("a.surface", surface_bytes(A8, 1, [b"\0"]))
        palette = self.write("a.palette", self.BGR)
        self.expect_rejection(surface, "its color mode has no palette indices", "--palette", palette, surface)


class Sizes(Reading):
    def test_may_be_exact_or_more(self):
        file = surface_bytes(I8, 1, [b"\7"])
        for further in (b"", bytes(3), bytes(1000)):
            path = self.write("one.surface", file + further)
            self.assertEqual(["value 7"], read_with_both(self, path, 0, 0))

    def test_beyond_32_bits(self):
        width, height, stride = 1, 5 << 18, 4096
        path = self.write("large.surface", struct.pack("<5I", 0, I8, width, height, stride))
        with open(path, "r+b") as file:
            file.seek(20 + stride * (height - 1))
            file.write(b"\x2A")
            file.truncate(20 + stride * height)
        self.assertEqual(["value 42", "value 0"],
                         read_with_both(self, path, 0, height - 1, 0, height - 2))


class Rejections(Reading):
    GOOD = [0, RGB888, 3, 2, 9]
    MODE, WIDTH, HEIGHT, STRIDE = 1, 2, 3, 4

    def expect(self, path, reason):
        for name, program in READERS.items():
            with self.subTest(reader=name):
                self.assertEqual((1, "", "read_surface: %s: %s\n" % (path, reason)),
                                 run(program, path, 0, 0))

    def expect_header(self, reason, changes, size=20 + 18):
        header = list(self.GOOD)
        for field, value in changes.items():
            header[field] = value
        self.expect(self.write("broken.surface", struct.pack("<5I", *header).ljust(size, b"\0")), reason)

    def test_of_modes_without_pixels(self):
        for mode in (6, 8, 10, 11, 255, 256, 0x80000000, 0xFFFFFFFF):
            self.expect_header("its color mode has no pixels", {self.MODE: mode})

    def test_of_invalid_sizes(self):
        for pixels in (0, 0x80000000, 0xFFFFFFFF):
            self.expect_header("its width is not between 1 and 2147483647", {self.WIDTH: pixels})
            self.expect_header("its height is not between 1 and 2147483647", {self.HEIGHT: pixels})

    def test_of_strides_that_are_too_small(self):
        reason = "its stride is less than the pixels of a row"
        for stride in (0, 1, 8):
            self.expect_header(reason, {self.STRIDE: stride})
        self.expect_header(reason, {self.WIDTH: 4})
        self.expect_header(reason, {self.WIDTH: 0x7FFFFFFF, self.STRIDE: 0xFFFFFFFF})
        # 4 in 32 bits
        self.expect_header(reason, {self.MODE: ARGB8888, self.WIDTH: 0x40000001, self.STRIDE: 4})

    def test_of_missing_rows(self):
        reason = "it ends before the end of its last row"
        self.expect_header(reason, {}, size=20 + 17)
        self.expect_header(reason, {}, size=20)
        self.expect_header(reason, {self.HEIGHT: 3})
        self.expect_header(reason, {self.STRIDE: 10})
        self.expect_header(reason, {self.HEIGHT: 0x7FFFFFFF, self.STRIDE: 0xFFFFFFFF})
        self.expect_header(reason, {self.HEIGHT: 0x10000, self.STRIDE: 0x10000})  # 0 in 32 bits
        self.expect_header(reason, {self.HEIGHT: 0x40000000, self.STRIDE: 0xFFFFFFFC})

    def test_of_files_without_a_header(self):
        file = struct.pack("<5I", *self.GOOD)
        for size in range(20):
            self.expect(self.write("short.surface", file[:size]),
                        "it is shorter than the 20-byte header")

    def test_of_files_that_cannot_be_opened(self):
        self.expect(self.folder / "none", "No such file or directory")

    def test_of_other_files_than_regular_ones(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        # Opened for reading and writing, so that no reader waits for a writer.
        kept_open = os.open(pipe, os.O_RDWR)
        self.addCleanup(os.close, kept_open)
        for path in (self.folder, pipe, "/dev/null"):
            for name, program in READERS.items():
                with self.subTest(reader=name, path=path):
                    status, output, errors = run(program, path)
                    self.assertEqual((1, ""), (status, output))
                    self.assertEqual(1, errors.count("\n"), errors)

    def test_of_a_pipe_do_not_wait_for_a_writer(self):
        os.mkfifo(self.folder / "pipe")
        self.assertEqual((1, "", "read_surface: pipe: it is not a regular file\n"),
                         run(READERS["C"], "pipe", folder=self.folder))

    def test_are_the_same_for_every_changed_header_bit(self):
        """Both readers have the same outcome for each changed bit of a header."""
        file = struct.pack("<5I", *self.GOOD) + bytes(range(100, 118)) + bytes(2)
        for bit in range(20 * 8):
            changed = bytearray(file)
            changed[bit // 8] ^= 1 << bit % 8
            path = self.write("changed.surface", changed)
            with self.subTest(bit=bit):
                outcome, other = [run(program, path, 0, 0, 1, 1) for program in READERS.values()]
                self.assertEqual(outcome, other)
                self.assertIn(outcome[0], (0, 1, 2))


class UsageErrors(Reading):
    def expect(self, reason, *words):
        for name, program in READERS.items():
            with self.subTest(reader=name, words=words):
                self.assertEqual((2, "", "%s\n" % reason), run(program, *words))

    def test_include_a_single_coordinate_and_a_missing_file(self):
        usage = "usage: read_surface [--palette FILE] FILE [X Y]..."
        self.expect(usage, "--palette")
        self.expect(usage, "--palette", "file")
        self.expect(usage, "--palette", "file", "file", 1)
        self.expect(usage)
        self.expect(usage, "file", 1)
        self.expect(usage, "file", 1, 2, 3)

    def test_include_invalid_coordinates(self):
        path = self.write("rotated.surface", surface_bytes(I8, 2, [b"\1\2", b"\3\4", b"\5\6"], 90))
        for coordinates in (("3", "0"), ("0", "2"), ("-1", "0"), ("+1", "0"), ("1x", "0"), ("", "0"),
                      (" 1", "0"), ("0x1", "0"), ("1_0", "0"), ("0", "\u0661"), ("0", "4294967296"),
                      ("18446744073709551616", "0"), ("1" * 5000, "0")):
            self.expect("read_surface: no pixel of the image: %s %s" % coordinates, path, *coordinates)

    def test_are_reported_after_the_valid_pixels(self):
        path = self.write("one.surface", surface_bytes(I8, 1, [b"\7"]))
        for program in READERS.values():
            self.assertEqual((2, "value 7\n", "read_surface: no pixel of the image: 1 0\n"),
                             run(program, path, 0, 0, 1, 0))


if __name__ == "__main__":
    unittest.main()
