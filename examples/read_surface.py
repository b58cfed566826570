#!/usr/bin/env python3
"""Reads an untrusted surface file: checks it, and prints its properties or some of its pixels. You may copy this
program. It needs only Python's standard library. Its output is that of read_surface.c.

    read_surface.py FILE             prints the image's size, the color mode and the rotation
    read_surface.py FILE X Y ...     prints the pixels at these coordinates of the image, one on each line

With --palette NAME.palette before FILE, prints the colors of palette indices.

Exit status: 0, or 1 if the file cannot be used, or 2 if the command line is wrong.
"""

import struct
import sys

SUCCESS, REJECTED, USAGE_ERROR = 0, 1, 2
ARGB8888, RGB888, RGB565, ARGB1555, ARGB4444, I8, AI88, A8 = 0, 1, 2, 3, 4, 5, 7, 9
NAMES = {ARGB8888: "ARGB8888", RGB888: "RGB888", RGB565: "RGB565", ARGB1555: "ARGB1555",
         ARGB4444: "ARGB4444", I8: "I8", AI88: "AI88", A8: "A8"}
PIXEL_BYTES = {ARGB8888: 4, RGB888: 3, RGB565: 2, ARGB1555: 2, ARGB4444: 2, I8: 1, AI88: 2, A8: 1}
HEADER = struct.Struct("<IIIII")
MAX_SIDE = 2**31 - 1  # pixels


class Rejection(Exception):
    """The reason why a file cannot be used."""


class Surface:
    """A surface in an open file. Reads only the header and the requested pixels."""

    def __init__(self, file):
        self.file = file
        size = file.seek(0, 2)
        if size < HEADER.size:
            raise Rejection("it is shorter than the 20-byte header")
        # Width and height are those of the stored array, which may be rotated.
        self.rotation, self.mode, self.width, self.height, self.stride = HEADER.unpack(
            self.bytes_at(0, HEADER.size))
        self.check(size)

    def bytes_at(self, offset, count):
        self.file.seek(offset)
        result = self.file.read(count)
        if len(result) < count:  # another program has truncated the file in the meantime
            raise Rejection("it became shorter while it was read")
        return result

    def check(self, size):
        if self.mode not in PIXEL_BYTES:
            raise Rejection("its color mode has no pixels")
        if not 1 <= self.width <= MAX_SIDE:
            raise Rejection("its width is not between 1 and 2147483647")
        if not 1 <= self.height <= MAX_SIDE:
            raise Rejection("its height is not between 1 and 2147483647")
        if self.stride < self.width * PIXEL_BYTES[self.mode]:
            raise Rejection("its stride is less than the pixels of a row")
        if self.height * self.stride > size - HEADER.size:
            raise Rejection("it ends before the end of its last row")

    def image_size(self):
        """Width and height of the upright image."""
        if self.rotation in (90, 270):
            return self.height, self.width
        return self.width, self.height

    def pixel(self, x, y):
        """The stored bytes of pixel (x, y) of the upright image. The coordinates must be inside."""
        column, row = {
            90: (y, self.height - 1 - x),
            180: (self.width - 1 - x, self.height - 1 - y),
            270: (self.width - 1 - y, x),
        }.get(self.rotation, (x, y))  # 0; any other value means the same
        pixel_bytes = PIXEL_BYTES[self.mode]
        return self.bytes_at(HEADER.size + row * self.stride + column * pixel_bytes, pixel_bytes)


def open_surface(path):
    """Opens the surface file at `path`. The file stays open."""
    try:
        return Surface(open(path, "rb"))
    except OSError as fault:
        raise Rejection(fault.strerror or fault) from fault


# These functions widen a field to 8 bits, to the nearest value: all zeros become 0, all ones become 255.
def widen_4(field):
    return field * 17


def widen_5(field):
    return (field * 527 + 23) >> 6


def widen_6(field):
    return (field * 259 + 33) >> 6


def color_of(mode, pixel):
    """Alpha, red, green and blue of a pixel in a mode with colors."""
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
        raise Rejection(fault.strerror or fault) from fault
    if len(content) not in (256 * 3, 256 * 4):
        raise Rejection("it is not a palette file of 768 or 1024 bytes")
    size = len(content) // 256
    return [(content[i * size:(i + 1) * size] + b"\xff")[:4] for i in range(256)]


def pixel_text(mode, pixel, palette):
    if palette:
        blue, green, red, alpha = palette[pixel[0]]
        if mode == AI88:  # has its own alpha beside the index
            alpha = pixel[1]
        return "alpha %d red %d green %d blue %d" % (alpha, red, green, blue)
    if mode == I8:  # a gray value or an index: the file does not distinguish them
        return "value %d" % pixel[0]
    if mode == AI88:
        return "value %d alpha %d" % (pixel[0], pixel[1])
    if mode == A8:
        return "alpha %d" % pixel[0]
    return "alpha %d red %d green %d blue %d" % color_of(mode, pixel)


def print_properties(surface):
    print("size %d x %d" % surface.image_size())
    print("mode %d %s" % (surface.mode, NAMES[surface.mode]))
    print("rotation %d" % surface.rotation)


def parse_number(word):
    """The number in a word of up to ten digits. For other words, a number larger than every image."""
    return int(word) if word.isascii() and word.isdigit() and len(word) <= 10 else 2**64


def print_pixels(surface, palette, words):
    width, height = surface.image_size()
    for x, y in zip(words[::2], words[1::2]):
        if parse_number(x) >= width or parse_number(y) >= height:
            print("read_surface: no pixel of the image: %s %s" % (x, y), file=sys.stderr)
            return USAGE_ERROR
        print(pixel_text(surface.mode, surface.pixel(parse_number(x), parse_number(y)), palette))
    return SUCCESS


def read_surface(palette, words):
    """Reads the surface file words[0]. Coordinates follow it."""
    surface = open_surface(words[0])
    if palette and surface.mode not in (I8, AI88):
        raise Rejection("its color mode has no palette indices")
    if len(words) > 1:
        return print_pixels(surface, palette, words[1:])
    print_properties(surface)
    return SUCCESS


def main(words):
    first = 2 if words[:1] == ["--palette"] else 0  # the surface file
    if (len(words) - first) % 2 != 1 or len(words) <= first:
        print("usage: read_surface [--palette FILE] FILE [X Y]...", file=sys.stderr)
        return USAGE_ERROR
    path = words[1 if first else 0]
    try:
        palette = read_palette(path) if first else None
        path = words[first]
        return read_surface(palette, words[first:])
    except Rejection as reason:
        print("read_surface: %s: %s" % (path, reason), file=sys.stderr)
        return REJECTED


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
