#!/usr/bin/env python3
"""Turns a surface file of mode ARGB8888 into a PNG, to look at what a program has drawn.

    surface_to_png.py IN.surface OUT.png
"""

import struct
import sys
import zlib


def chunk(name, data):
    body = name + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def main():
    with open(sys.argv[1], "rb") as file:
        surface = file.read()
    rotation, mode, width, height, stride = struct.unpack_from("<IIIII", surface)
    if rotation != 0 or mode != 0:
        sys.exit("only unturned ARGB8888 surfaces")
    rows = []
    for y in range(height):
        line = surface[20 + y * stride:20 + y * stride + 4 * width]
        rows.append(b"\0" + bytes(v for x in range(0, 4 * width, 4)
                                  for v in (line[x + 2], line[x + 1], line[x], line[x + 3])))
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    with open(sys.argv[2], "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                   chunk(b"IDAT", zlib.compress(b"".join(rows), 9)) + chunk(b"IEND", b""))


if __name__ == "__main__":
    main()
