#!/usr/bin/env python3
"""Make hostile PNG files, convert each, and print time, peak memory and verdict.

    bench/hostile_inputs.py PNGSLAB [KiB of address space]

Needs time(1), Debian's package `time`. The optional limit applies to the program (like ulimit -v). The column
"x/byte" is the time per input byte without the start of the program, as a multiple of that of an ordinary image.
"""

import pathlib
import random
import resource
import struct
import subprocess
import sys
import tempfile
import time
import zlib

REPEATS = 9


def chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png(width, height, color_type, *chunks):
    header = struct.pack(">IIBBBBB", width, height, 8, color_type, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + b"".join(chunks) + chunk(b"IEND", b"")


def stored(data, final=True):
    blocks = [data[i:i + 65535] for i in range(0, len(data), 65535)] or [b""]
    return b"".join(struct.pack("<BHH", final and i == len(blocks) - 1, len(b), len(b) ^ 65535) + b
                    for i, b in enumerate(blocks))


def idat(deflated):
    return chunk(b"IDAT", b"\x78\x01" + deflated)


def split(deflated, size):
    data = b"\x78\x01" + deflated
    return b"".join(chunk(b"IDAT", data[i:i + size]) for i in range(0, len(data) - 1, size))


def dynamic_empty_block(literals):
    """A dynamic block with only an end-of-block symbol, and codes for it and 0 or 1 literals."""
    bits = []

    def put(value, count):
        bits.extend((value >> i) & 1 for i in range(count))

    put(0, 1)
    put(2, 2)
    put(0, 5), put(0, 5), put(14, 4)  # 257 lengths, 1 distance, 18 code lengths
    lengths = {18: 1, 1: 2, 0: 2}
    for symbol in (16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1):
        put(lengths.get(symbol, 0), 3)
    put(0, 1), put(127, 7)  # 138 zeros
    put(0, 1), put(107 - literals, 7)  # 118 zeros or one less
    bits.extend((1, 1) * (literals + 1))  # length 1
    bits.extend((1, 0))  # no distance
    bits.append(literals)  # end of block
    return bits


def packed(bits):
    bits = bits + [0] * (-len(bits) % 8)
    return bytes(sum(bit << i for i, bit in enumerate(bits[at:at + 8]))
                 for at in range(0, len(bits), 8))


def inputs():
    rng = random.Random(1)
    rows = b"".join(b"\1" + bytes((x * y // 64 + rng.randrange(8)) & 255 for x in range(2000))
                    for y in range(1000))
    yield "ordinary image, 2 MPix gray", png(2000, 1000, 0, idat(zlib.compress(rows, 6)[2:]))

    for name, width, height, kind in (("raw bytes wrap at 32 bits", 65536, 65536, 0),
                                      ("raw bytes wrap to 0", 65535, 65536, 0),
                                      ("wider than int", 0x80000001, 1, 0),
                                      ("largest of all", 0xFFFFFFFF, 0xFFFFFFFF, 6),
                                      ("64 GiB of pixels", 131072, 131072, 6),
                                      ("as wide as int allows", 0x7FFFFFFF, 3, 6)):
        yield name, png(width, height, kind, idat(stored(bytes(600))))
    yield "1 GiB declared, no data", png(32768, 32768, 0, idat(stored(b"")))
    yield "100 MiB declared, no data", png(10240, 10240, 0, idat(stored(b"")))
    bomb = zlib.compressobj(9, zlib.DEFLATED, -15)
    deflated = bomb.compress(bytes(10241 * 10240)) + bomb.flush()
    yield "bomb that fills 100 MiB", png(10240, 10240, 0, idat(deflated))
    yield "bomb after a small image", png(16, 16, 0, idat(deflated))

    small = zlib.compress(bytes(65 * 64), 0)[2:]
    yield "100,000 image chunks of 2 bytes", \
        png(447, 446, 0, split(stored(bytes(448 * 446)), 2))
    yield "1,000,000 ancillary chunks", png(64, 64, 0, chunk(b"aaAa", b"") * 1000000, idat(small))
    yield "1 MiB of empty stored blocks", \
        png(64, 64, 0, idat(stored(b"", False) * 209715 + small))
    for literals, name in ((0, "1 MiB of empty dynamic blocks"), (1, "the same with complete codes")):
        one = dynamic_empty_block(literals)
        many = one * (8 * 1048576 // len(one))
        yield name, png(64, 64, 0, idat(packed(many)))
    yield "16 MiB ancillary chunk", png(64, 64, 0, chunk(b"aaAa", bytes(1 << 24)), idat(small))


def run(program, source, target, limit):
    """Return the seconds of processor time, the peak memory in KiB, and the verdict."""
    usage = target + ".usage"

    def set_limits():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if limit:
            resource.setrlimit(resource.RLIMIT_AS, (limit * 1024, limit * 1024))

    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    # time(1) starts the program and reads its peak. In a direct child of this script, the peak would start
    # at the interpreter's.
    child = subprocess.run(["/usr/bin/time", "-q", "-o", usage, "-f", "%M", program, "--image",
                            source, "--output", target], stdout=subprocess.PIPE,
                           preexec_fn=set_limits, check=False)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    seconds = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    peak = int(pathlib.Path(usage).read_text().split()[-1])
    if child.returncode > 128:
        return seconds, peak, "ended abnormally, signal %d" % (child.returncode - 128)
    return seconds, peak, child.stdout.decode().strip().splitlines()[-1].split(" for ")[0]


def main():
    program = sys.argv[1]
    limit = int(sys.argv[2]) if len(sys.argv) > 2 else 0
    ordinary = None
    with tempfile.TemporaryDirectory() as folder:
        target = str(pathlib.Path(folder) / "out.surface")
        empty = pathlib.Path(folder) / "empty.png"
        empty.write_bytes(b"x")
        start = sorted(run(program, str(empty), target, limit)[0] for _ in range(REPEATS))[REPEATS // 2]
        print(f"start-up alone {start * 1000:.1f} ms")
        print(f"{'input':34} {'bytes':>9} {'ms':>8} {'peak MiB':>9} {'x/byte':>7}  verdict")
        for name, data in inputs():
            source = pathlib.Path(folder) / "in.png"
            source.write_bytes(data)
            before = time.monotonic()
            runs = []
            while len(runs) < REPEATS and time.monotonic() - before < 3:
                runs.append(run(program, str(source), target, limit))
            seconds, peak, verdict = sorted(runs)[len(runs) // 2]
            per_byte = max(seconds - start, 0) / len(data)
            ordinary = ordinary or per_byte
            print(f"{name:34} {len(data):9} {seconds * 1000:8.1f} {peak / 1024:9.1f} "
                  f"{per_byte / ordinary:7.1f}  {verdict}")


if __name__ == "__main__":
    main()
