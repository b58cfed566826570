"""Runs the two example readers, which are to say the same, and makes files for them."""

import os
import struct
import subprocess
import sys
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
READERS = {"C": [os.environ["PNGSLAB_READER"]],
           "Python": [sys.executable, "-B", str(TREE / "examples/read_surface.py")]}
# A sanitizer's report ends the C program by a signal, so that it differs from a rejection.
SURROUNDINGS = dict(os.environ, ASAN_OPTIONS="abort_on_error=1", UBSAN_OPTIONS="abort_on_error=1")


def run(program, *words, folder=None):
    """Exit status, standard output and standard error."""
    done = subprocess.run([*program, *map(str, words)], stdin=subprocess.DEVNULL, capture_output=True,
                          cwd=folder, env=SURROUNDINGS, timeout=60)
    return done.returncode, done.stdout.decode(), done.stderr.decode()


def read_with_both(test, *words):
    """Return the output of both readers, which must be equal to the byte, as lines of text."""
    outcomes = {name: run(program, *words) for name, program in READERS.items()}
    test.assertEqual(outcomes["C"], outcomes["Python"])
    status, output, errors = outcomes["C"]
    test.assertEqual((0, ""), (status, errors))
    return output.splitlines()


def all_pixels(test, path, width, height):
    """Return the words for every pixel of the image in a surface file, row by row."""
    places = [number for y in range(height) for x in range(width) for number in (x, y)]
    return read_with_both(test, path, *places)


def convert(test, image, surface, *options):
    status, output, _ = run([os.environ["PNGSLAB_PROGRAM"]], "--image", image, "--output", surface,
                            *options)
    test.assertEqual(0, status, output)


def surface_bytes(mode, width, rows, rotation=0):
    """Return a surface file of rows of equal length, each with its padding."""
    return struct.pack("<5I", rotation, mode, width, len(rows), len(rows[0])) + b"".join(rows)
