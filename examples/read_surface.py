#!/usr/bin/env python3
"""Reads a surface file from anywhere: checks it, and prints what it holds or some of its pixels. Made to be
copied: it needs nothing but struct. Its words are those of read_surface.c.

    read_surface.py FILE             prints the image's size, the color mode and the rotation
    read_surface.py FILE X Y ...     prints the pixels at these places of the image, a line each

--palette NAME.palette in front of FILE gives palette indices their colors.

Exit status: 0, or 1 if the file cannot be used, or 2 if the command line is wrong.
"""

import struct
import sys

FINE, REFUSED, WRONG_USE = 0, 1, 2
ARGB8888, RGB888, RGB565, ARGB1555, ARGB4444, I8, AI88, A8 = 0, 1, 2, 3, 4, 5, 7, 9
NAMES = {ARGB8888: "ARGB8888", RGB888: "RGB888", RGB565: "RGB565", ARGB1555: "ARGB1555",
         ARGB4444: "ARGB4444", I8: "I8", AI88: "AI88", A8: "A8"}
PIXEL_BYTES = {ARGB8888: 4, RGB888: 3, RGB565: 2, ARGB1555: 2, ARGB4444: 2, I8: 1, AI88: 2, A8: 1}
HEADER = struct.Struct("<IIIII")
MOST_PIXELS = 2**31 - 1  # each way


class Refusal(Exception):
    """What is wrong with a file."""


class Surface:
    """A surface in an open file, of which nothing is read but the header and the pixels asked for."""

    def __init__(self, file):
        self.file = file
        size = file.seek(0, 2)
        if size < HEADER.size:
            raise Refusal("it is shorter than the header of 20 bytes")
        # Width and height are those of the stored array, which may be turned.
        self.rotation, self.mode, self.width, self.height, self.stride = HEADER.unpack(
            self.bytes_at(0, HEADER.size))
        self.check(size)

    def bytes_at(self, offset, count):
        self.file.seek(offset)
        result = self.file.read(count)
        if len(result) < count:  # somebody has made the file shorter meanwhile
            raise Refusal("it has fewer bytes than it said")
        return result

    def check(self, size):
        if self.mode not in PIXEL_BYTES:
            raise Refusal("its color mode has no pixels")
        if not 1 <= self.width <= MOST_PIXELS:
            raise Refusal("its width is not between 1 and 2147483647")
        if not 1 <= self.height <= MOST_PIXELS:
            raise Refusal("its height is not between 1 and 2147483647")
        if self.stride < self.width * PIXEL_BYTES[self.mode]:
            raise Refusal("its stride is less than the pixels of a line")
        if self.height * self.stride > size - HEADER.size:
            raise Refusal("it ends before its last line does")

    def image_size(self):
        """Width and height of the image, which is upright whatever the rotation of the stored array."""
        if self.rotation in (90, 270):
            return self.height, self.width
        return self.width, self.height

    def pixel(self, x, y):
        """The stored bytes of the image's pixel (x, y), which must be inside."""
        column, line = {
            90: (y, self.height - 1 - x),
            180: (self.width - 1 - x, self.height - 1 - y),
            270: (self.width - 1 - y, x),
        }.get(self.rotation, (x, y))  # 0, and any other value means the same
        pixel_bytes = PIXEL_BYTES[self.mode]
        return self.bytes_at(HEADER.size + line * self.stride + column * pixel_bytes, pixel_bytes)


def open_surface(path):
    """The surface in the file at `path`, which stays open with it."""
    try:
        return Surface(open(path, "rb"))
    except OSError as fault:
        raise Refusal(fault.strerror or fault) from fault


# Fields of fewer bits become 8 bits wide, to the nearest value: all zeros become 0, all ones 255.
def widen_4(field):
    return field * 17


def widen_5(field):
    return (field * 527 + 23) >> 6


def widen_6(field):
    return (field * 259 + 33) >> 6


def color_of(mode, pixel):
    """Alpha, red, green and blue of a pixel in a mode that has them."""
    if mode == ARGB8888:
        blue, green, red, alpha = pixel
        return alpha, red, green, blue
    if mode == RGB888:
        blue, green, red = pixel
        return 255, red, green, blue
    word, = struct.unpack("<H", pixel)
    if mode == RGB565:
        return 255, widen_5(word >> 11), widen_6(word >> 5 & 63), widen_5(word & 31)
    if mode == ARGB1555:
        return ((word >> 15) * 255, widen_5(word >> 10 & 31), widen_5(word >> 5 & 31),
                widen_5(word & 31))
    return (widen_4(word >> 12), widen_4(word >> 8 & 15), widen_4(word >> 4 & 15),
            widen_4(word & 15))


def read_palette(path):
    """The 256 entries of a palette file as blue, green, red and alpha."""
    try:
        with open(path, "rb") as file:
            content = file.read(256 * 4 + 1)
    except OSError as fault:
        raise Refusal(fault.strerror or fault) from fault
    if len(content) not in (256 * 3, 256 * 4):
        raise Refusal("it is no palette file, which has 768 or 1024 bytes")
    size = len(content) // 256
    return [(content[i * size:(i + 1) * size] + b"\xff")[:4] for i in range(256)]


def pixel_words(mode, pixel, palette):
    if palette:
        blue, green, red, alpha = palette[pixel[0]]
        if mode == AI88:  # keeps the alpha beside the index
            alpha = pixel[1]
        return "alpha %d red %d green %d blue %d" % (alpha, red, green, blue)
    if mode == I8:  # gray or an index: the file does not say which, and has no palette
        return "value %d" % pixel[0]
    if mode == AI88:
        return "value %d alpha %d" % (pixel[0], pixel[1])
    if mode == A8:
        return "alpha %d" % pixel[0]
    return "alpha %d red %d green %d blue %d" % color_of(mode, pixel)


def print_facts(surface):
    print("size %d x %d" % surface.image_size())
    print("mode %d %s" % (surface.mode, NAMES[surface.mode]))
    print("rotation %d" % surface.rotation)


def number_in(word):
    """A number of up to ten digits, or one that no image is as large as."""
    return int(word) if word.isascii() and word.isdigit() and len(word) <= 10 else 2**64


def print_pixels(surface, palette, words):
    width, height = surface.image_size()
    for x, y in zip(words[::2], words[1::2]):
        if number_in(x) >= width or number_in(y) >= height:
            print("read_surface: no pixel of the image: %s %s" % (x, y), file=sys.stderr)
            return WRONG_USE
        print(pixel_words(surface.mode, surface.pixel(number_in(x), number_in(y)), palette))
    return FINE


def read_surface(palette, words):
    """Looks at the surface in the file words[0]; places follow it."""
    surface = open_surface(words[0])
    if palette and surface.mode not in (I8, AI88):
        raise Refusal("its color mode has no palette indices")
    if len(words) > 1:
        return print_pixels(surface, palette, words[1:])
    print_facts(surface)
    return FINE


def main(words):
    first = 2 if words[:1] == ["--palette"] else 0  # the surface file
    if (len(words) - first) % 2 != 1 or len(words) <= first:
        print("usage: read_surface [--palette FILE] FILE [X Y]...", file=sys.stderr)
        return WRONG_USE
    path = words[1 if first else 0]
    try:
        palette = read_palette(path) if first else None
        path = words[first]
        return read_surface(palette, words[first:])
    except Refusal as reason:
        print("read_surface: %s: %s" % (path, reason), file=sys.stderr)
        return REFUSED


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
