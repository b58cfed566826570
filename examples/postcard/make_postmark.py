#!/usr/bin/env python3
"""Draws postmark.png: a round postmark with waves, 8-bit grayscale; ink is white.

Run it in this folder to make the picture again. It needs only Python's standard library.
"""

import math
import struct
import zlib

WIDTH, HEIGHT = 72, 40
OVERSAMPLING = 8
CENTER, RADII = (20.0, 20.0), (17.5, 12.0)  # of the two rings
BARS = [(-4.5, 9.0), (0.0, 10.5), (4.5, 9.0)]  # vertical position and half width of the bars instead of a date
WAVES = [8.0, 16.0, 24.0, 32.0]


def has_ink(x, y):
    dx, dy = x - CENTER[0], y - CENTER[1]
    distance = math.hypot(dx, dy)
    on_ring = any(abs(distance - radius) < 0.9 for radius in RADII)
    on_bar = any(abs(dy - height) < 1.1 and abs(dx) < half for height, half in BARS)
    on_wave = distance > RADII[0] + 1.5 and 22 < x < 70 and any(
        abs(y - wave - 2.0 * math.sin(x / 3.2)) < 0.8 for wave in WAVES)
    return on_ring or on_bar or on_wave


def coverage(column, row):
    inked = sum(has_ink(column + (i + 0.5) / OVERSAMPLING, row + (j + 0.5) / OVERSAMPLING)
                for i in range(OVERSAMPLING) for j in range(OVERSAMPLING))
    return round(255 * inked / OVERSAMPLING ** 2)


def chunk(name, data):
    body = name + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


rows = b"".join(b"\0" + bytes(coverage(x, y) for x in range(WIDTH)) for y in range(HEIGHT))
with open("postmark.png", "wb") as file:
    file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 0, 0, 0, 0)) +
               chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))
