#!/usr/bin/env python3
"""Make small PNG images for counts of instructions, the same in every run.

    bench/make_images.py FOLDER

The images are named by color type, content, filter and size. Photographs are random differences in filtered rows.
Drawings are areas without a change, between edges that mostly repeat from row to row. The rows of "wide" images have
more than 16 KiB, and those of the others less: the decoder handles them in different ways. The bytes depend on the
version of zlib.
"""

import pathlib
import random
import struct
import sys
import zlib

GRAY, RGB, INDEXED, RGBA = 0, 2, 3, 6
PIXEL_BYTES = {GRAY: 1, RGB: 3, INDEXED: 1, RGBA: 4}
NONE, SUB, UP, AVERAGE, PAETH = range(5)
ALL_FILTERS = (NONE, SUB, UP, AVERAGE, PAETH)

# How many of 128 samples have a difference of 0, of 1, and so on, in each direction.
DIFFERENCES = (22, 20, 18, 15, 12, 10, 8, 6, 5, 4, 3, 2, 1, 1, 1)


def photograph(width, height, pixel_bytes):
    """Return rows of filtered samples."""
    table = bytes(sign * size & 255 for size, count in enumerate(DIFFERENCES) for sign in (1, -1) for _ in range(count))
    generator = random.Random(1)
    return [generator.randbytes(width * pixel_bytes).translate(table) for _ in range(height)]


def drawing(width, height, pixel_bytes):
    """The same for a drawing."""
    generator = random.Random(2)
    row = bytearray(width * pixel_bytes)
    rows = []
    for _ in range(height):
        is_new = generator.getrandbits(2) == 0
        if is_new:
            row = bytearray(len(row))
        for _ in range(40 if is_new else 2):
            at = generator.getrandbits(20) % (len(row) - 8)
            row[at : at + 8] = generator.randbytes(8)
        rows.append(bytes(row))
    return rows


def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png(color_type, content, filters, width, height):
    """Return a file. The filters repeat from row to row."""
    rows = content(width, height, PIXEL_BYTES[color_type])
    filtered = b"".join(bytes([filters[y % len(filters)]]) + row for y, row in enumerate(rows))
    palette = chunk(b"PLTE", bytes(range(256)) * 3) if color_type == INDEXED else b""
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, color_type, 0, 0, 0)) +
            palette + chunk(b"IDAT", zlib.compress(filtered, 6)) + chunk(b"IEND", b""))


IMAGES = {
    "rgba-photograph-paeth": (RGBA, photograph, [PAETH], 512, 400),
    "rgba-photograph-paeth-wide": (RGBA, photograph, [PAETH], 5120, 40),
    "rgb-photograph-paeth": (RGB, photograph, [PAETH], 512, 400),
    "rgb-photograph-paeth-wide": (RGB, photograph, [PAETH], 6000, 36),
    "rgb-photograph-sub": (RGB, photograph, [SUB], 512, 400),
    "rgb-photograph-up": (RGB, photograph, [UP], 512, 400),
    "rgb-photograph-average": (RGB, photograph, [AVERAGE], 512, 400),
    "gray-photograph-mixed": (GRAY, photograph, ALL_FILTERS, 800, 600),
    "indexed-drawing-none": (INDEXED, drawing, [NONE], 800, 600),
    "rgba-drawing-mixed": (RGBA, drawing, ALL_FILTERS, 1000, 480),
    "rgba-icon-mixed": (RGBA, photograph, ALL_FILTERS, 32, 32),
}


def main():
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for name, image in IMAGES.items():
        (folder / f"{name}.png").write_bytes(png(*image))


if __name__ == "__main__":
    main()
