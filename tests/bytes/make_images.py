#!/usr/bin/env python3
"""Makes images.zip: small images of every color type, size and filter type, accepted and rejected ones, and images that
the fuzzers found.

    tests/bytes/make_images.py SEEDS.zip

SEEDS.zip is the seed archive of a fuzzer. The compressed bytes depend on the version of zlib, so the tree has the
archive. After a change of it, same_bytes.py --record adds the new images to the list.
"""

import pathlib
import random
import struct
import sys
import zipfile
import zlib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from png_chunks import chunk, png_file

TYPES = {"gray": (0, 1), "rgb": (2, 3), "palette": (3, 1), "gray-alpha": (4, 2), "rgba": (6, 4)}
SIZES = ((1, 1), (2, 3), (5, 7), (16, 16), (19, 12), (45, 21), (1, 130), (131, 3))
ANY_FILTER = (0, 1, 2, 3, 4)
SIGNATURE = b"\x89PNG\r\n\x1a\n"
# Damaged headers may declare any size. Larger surfaces need memory that some machines lack.
MAX_PIXELS = 1 << 20


def samples(kind, width, height):
    """Steps with a little noise: small codes and short matches."""
    rng = random.Random(f"{kind} {width} {height}")
    channels = TYPES[kind][1]
    return [bytes(((x // channels // 4 + y // 3) * 18 + x % channels * 60 + rng.choice((0, 0, 0, 0, 1, 7))) & 255
                  for x in range(width * channels)) for y in range(height)]


def stream(rows, filters, level=9, strategy=zlib.Z_DEFAULT_STRATEGY):
    """The rows as they are, behind filter types: the values that they stand for do not matter."""
    compressor = zlib.compressobj(level, zlib.DEFLATED, 15, 9, strategy)
    filtered = b"".join(bytes([filters[y % len(filters)]]) + row for y, row in enumerate(rows))
    return compressor.compress(filtered) + compressor.flush()


def png(kind, width, height, compressed, before=b"", pieces=1, depth=8, interlace=0, checksum_error=0):
    colors = chunk(b"PLTE", random.Random("palette").randbytes(768)) if kind == "palette" else b""
    cuts = [len(compressed) * i // pieces for i in range(pieces + 1)]
    data = [chunk(b"IDAT", compressed[a:b], checksum_error) for a, b in zip(cuts, cuts[1:])]
    return png_file(width, height, TYPES[kind][0], colors, before, *data, depth=depth, interlace=interlace)


def images_of(kind):
    for width, height in SIZES:
        rows = samples(kind, width, height)
        yield f"{kind}-{width}x{height}-stored", png(kind, width, height, stream(rows, ANY_FILTER, 0))
        yield f"{kind}-{width}x{height}", png(kind, width, height, stream(rows, ANY_FILTER))
    width, height = 45, 21
    rows = samples(kind, width, height)
    for filter_type in (*ANY_FILTER, 5, 255):
        yield f"{kind}-filter-{filter_type}", png(kind, width, height, stream(rows, [filter_type]))
    for name, strategy in (("huffman", zlib.Z_HUFFMAN_ONLY), ("rle", zlib.Z_RLE), ("fixed", zlib.Z_FIXED)):
        yield f"{kind}-{name}", png(kind, width, height, stream(rows, ANY_FILTER, 9, strategy))
    compressed = stream(rows, ANY_FILTER)
    yield f"{kind}-pieces", png(kind, width, height, compressed, pieces=7)
    yield f"{kind}-truncated", png(kind, width, height, compressed[:len(compressed) // 2])
    yield f"{kind}-flat", png(kind, 200, 150, stream([bytes([70] * 200 * TYPES[kind][1])] * 150, ANY_FILTER))


def special_images():
    compressed = {kind: stream(samples(kind, 19, 12), ANY_FILTER, 0) for kind in TYPES}
    for kind, transparency in (("gray", b"\0\7"), ("rgb", b"\0\1\0\2\0\3"), ("palette", bytes(range(40)))):
        yield f"{kind}-transparency", png(kind, 19, 12, compressed[kind], before=chunk(b"tRNS", transparency))
    yield "text", png("rgb", 19, 12, compressed["rgb"], before=chunk(b"tEXt", b"Title\0image"))
    yield "depth-16", png("gray", 19, 12, compressed["gray"], depth=16)
    yield "interlaced", png("gray", 19, 12, compressed["gray"], interlace=1)
    yield "wrong-crc", png("gray", 19, 12, compressed["gray"], checksum_error=1)
    yield "empty", b""
    yield "no-header", SIGNATURE


def images_of_fuzzer(file):
    with zipfile.ZipFile(file) as archive:
        for name in archive.namelist():
            data = archive.read(name)
            width, height = struct.unpack(">2I", data[16:24].ljust(8, b"\0"))
            if data.startswith(SIGNATURE) and width * height <= MAX_PIXELS:
                yield f"fuzz-{name[:8]}", data


def main(seeds):
    with zipfile.ZipFile(pathlib.Path(__file__).with_name("images.zip"), "w") as archive:
        made = [image for kind in TYPES for image in images_of(kind)]
        for name, data in (*made, *special_images(), *images_of_fuzzer(seeds)):
            entry = zipfile.ZipInfo(name) # with the earliest date that there is
            archive.writestr(entry, data, zipfile.ZIP_DEFLATED, 9)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
