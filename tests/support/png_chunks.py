"""PNG files from chunks."""

import struct
import zlib


def chunk(name, data, checksum_error=0):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data) ^ checksum_error)


def png_file(width, height, color_type, *chunks, depth=8, interlace=0):
    """A PNG file with these chunks between its header and its end."""
    header = struct.pack(">2I5B", width, height, depth, color_type, 0, 0, interlace)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + b"".join(chunks) + chunk(b"IEND", b"")
