#!/usr/bin/env python3
"""Write small seeds for every fuzzer into corpus/<fuzzer>/, with only Python's standard library.

The archives in the tree hold these seeds and what the fuzzers found from there, minimized.
"""

import itertools
import pathlib
import random
import struct
import sys
import zlib

CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}


def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png(color_type, width, height, level, pieces=1, before=b"", filters=(0, 1, 2, 3, 4),
        colors=bytes(range(192)), noise=4):
    rng = random.Random(color_type * 1000 + width)
    rows = b"".join(
        bytes([filters[y % len(filters)]]) +
        bytes((x * 3 + y * 5 + rng.randrange(noise)) & 255 for x in range(width * CHANNELS[color_type]))
        for y in range(height))
    stream = zlib.compress(rows, level)
    cuts = [len(stream) * i // pieces for i in range(pieces + 1)]
    palette = chunk(b"PLTE", colors) if color_type == 3 else b""
    return (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, color_type, 0, 0, 0)) +
            palette + before +
            b"".join(chunk(b"IDAT", stream[a:b]) for a, b in zip(cuts, cuts[1:])) +
            chunk(b"IEND", b""))


def pngs():
    for color_type in CHANNELS:
        yield png(color_type, 5, 7, 0)
        yield png(color_type, 24, 9, 9, pieces=3)
        yield png(color_type, 3, 8, 0, filters=(5, 1, 9, 4))
    yield png(0, 4, 4, 0, before=chunk(b"tRNS", b"\0\7"))
    yield png(2, 4, 4, 0, before=chunk(b"tRNS", b"\0\1\0\2\0\3"))
    yield png(3, 4, 4, 0, before=chunk(b"tRNS", bytes(range(40))))
    yield png(2, 4, 4, 0, before=chunk(b"PLTE", bytes(9)))
    yield png(3, 4, 4, 0, colors=bytes(257 * 3))
    yield png(6, 6, 3, 0, before=chunk(b"tEXt", b"Title\0seed"))


def large_pngs():
    """Many short rows and a few long ones: several wavefronts, and wavefronts in strips."""
    for color_type in CHANNELS:
        yield png(color_type, 200, 40, 9, pieces=2, filters=(1, 2, 3, 4, 4, 4, 4, 4, 3), noise=1)
        yield png(color_type, 5000, 9, 9, filters=(4,), noise=1)


def surfaces():
    """In every mode: with padding, exact, one byte too short, and with a stride below the row size."""
    sizes = {0: 4, 1: 3, 2: 2, 3: 2, 4: 2, 5: 1, 7: 2, 9: 1}
    for number, (mode, size) in enumerate(sizes.items()):
        for stride, missing in ((3 * size + 1, 0), (3 * size, 0), (3 * size, 1), (3 * size - 1, 0)):
            header = struct.pack("<5I", number % 4 * 90, mode, 3, 2, stride)
            yield header + bytes(2 * stride - missing)


def requests():
    """Images to convert, after the decisions: flags, mode, dither, rotation, background, alignment, max pixels."""
    for number, image in enumerate(pngs()):
        yield struct.pack("<5BIHH", 8, number * 11 % 64, number, number, number % 2, 0xFFFFFF, 4, 1000) + image


def samples():
    """In each mode of two bytes per pixel, with each kind of dithering."""
    rng = random.Random(3)
    for mode in range(3):
        for dither in range(3):
            yield struct.pack("<B3I", 16, mode, dither, 6) + bytes(rng.randrange(256) for _ in range(200))


def streams():
    rng = random.Random(7)
    data_sets = [b"", b"a" * 300, bytes(rng.randrange(256) for _ in range(400)),
             b"the quick brown fox jumps over the lazy dog " * 12,
             bytes((x * x // 7) & 255 for x in range(900))]
    for data in data_sets:
        for level, strategy in ((0, 0), (9, 0), (6, 2), (6, 3)):
            packer = zlib.compressobj(level, zlib.DEFLATED, -15, 9, strategy)
            yield packer.compress(data[:200]) + packer.flush(zlib.Z_FULL_FLUSH) + \
                packer.compress(data[200:]) + packer.flush()


def large_streams():
    """Several dynamic blocks, long and short matches, and literals: the fast loop runs several times."""
    rng = random.Random(11)
    words = [bytes(rng.randrange(97, 123) for _ in range(rng.randrange(2, 9))) for _ in range(300)]
    text = b" ".join(rng.choice(words) for _ in range(6000))
    noise = bytes(rng.randrange(200) for _ in range(6000))
    for data in (text, noise + text[:9000] + noise[:3000], text[:20000] + bytes(30000)):
        packer = zlib.compressobj(9, zlib.DEFLATED, -15, 2)
        yield packer.compress(data) + packer.flush()


def main():
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "corpus")
    rng = random.Random(1)
    noise = [bytes(rng.randrange(256) for _ in range(length)) for length in (30, 90, 300, 600)]
    seeds = {
        "fuzz_inflate": [struct.pack("<I", i * 77777) + s for i, s in enumerate(streams())] +
                        [struct.pack("<I", 1) + s for s in large_streams()],
        "fuzz_inflate_against_zlib": list(streams()) + list(large_streams()),
        "fuzz_png_decode": [bytes((i + 5, 9, 5, 1, 255, 0, 1, 40, 0, 0, 0, 0, 0, 0, 0, 0)) + p
                            for i, p in enumerate(itertools.chain(pngs(), large_pngs()))],
        "fuzz_png_against_libpng": list(pngs()) + list(large_pngs()),
        "fuzz_surface_from_png": [bytes((i & 1, i)) + p
                                  for i, p in enumerate(itertools.chain(pngs(), large_pngs()))],
        "fuzz_slabtool": [bytes((i % 4 * 2,)) + p for i, p in enumerate(pngs())] +
                         [b"\1" + s for s in surfaces()] + list(requests()) + list(samples()),
        "fuzz_draw": noise,
        "fuzz_command_line": noise[:2],
    }
    for name, files in seeds.items():
        target = folder / name
        target.mkdir(parents=True, exist_ok=True)
        for number, data in enumerate(files):
            (target / f"seed-{number:02}").write_bytes(data)


if __name__ == "__main__":
    main()
