#!/usr/bin/env python3
"""Compares the surfaces that a converter writes with the checksums in this folder.

    tests/bytes/same_bytes.py [--conformance FOLDER] [--reference PROGRAM] [--record] COMMAND ...

COMMAND runs the converter, on this machine or in an emulator: `qemu-arm build/portable-arm/bin/pngslab`. The images are
those of the tree and of images.zip. With --conformance they are the images of libpng's source package, which
scripts/check-corpus.sh fetches, below FOLDER.

If bytes differ, --reference PROGRAM gives the correct surface, and the first byte that differs is printed.

--record adds new and changed images to the list and removes old ones. It never changes the checksums of an image that
is the same: if these differ, the converter has a defect.
"""

import argparse
import concurrent.futures
import hashlib
import os
import pathlib
import subprocess
import sys
import tempfile
import zipfile

FOLDER = pathlib.Path(__file__).resolve().parent
TREE = FOLDER.parents[1]
HEAD = """\
# Made by same_bytes.py --record. On each line: an image, its checksum, and the checksums of the surfaces with no
# option, with --rotation 90 and, for a gray image, with --alphaonly: the first 16 digits of SHA-256.
"""

OPTIONS = ((), ("--rotation", "90"), ("--alphaonly",))
COLOR_TYPE_AT = 25
GRAY = 0

REJECTED = "rejected"
REJECTION = b"ERROR: cannot " # decode or read the file; an emulator that fails has the same status
SKIPPED = 77 # SKIP_RETURN_CODE of ctest
TIME_LIMIT = 300 # seconds for one image
MAX_PRINTED = 20 # problems


def checksum(data):
    return hashlib.sha256(data).hexdigest()[:16]


def options_for(image):
    return OPTIONS if image[COLOR_TYPE_AT:COLOR_TYPE_AT + 1] == bytes([GRAY]) else OPTIONS[:2]


# ---- Images by name

def images_of_tree():
    files = (file for folder in ("docs", "examples", "samples") for file in (TREE / folder).rglob("*.png"))
    images = {file.relative_to(TREE).as_posix(): file.read_bytes() for file in files}
    with zipfile.ZipFile(FOLDER / "images.zip") as archive:
        return images | {name: archive.read(name) for name in archive.namelist()}


def images_of_conformance(folder):
    """Without the version of the package in their names."""
    return {file.as_posix().rpartition("/contrib/")[2]: file.read_bytes()
            for file in pathlib.Path(folder).rglob("*.png")}


# ---- The converter

def convert(command, image, options):
    """The checksum of the surface, or REJECTED, or the status of a run that failed otherwise; and the surface."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "in.png").write_bytes(image)
        ended = subprocess.run([*command, "--image", "in.png", *options, "--output", "out.surface"], cwd=folder,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=TIME_LIMIT)
        output = folder / "out.surface"
        surface = output.read_bytes() if output.exists() else b""
    if ended.returncode == 0:
        return checksum(surface), surface
    if ended.returncode == 1 and REJECTION in ended.stdout and not surface:
        return REJECTED, surface
    return f"status {ended.returncode} and {len(surface)} bytes", surface


def convert_all(command, images):
    """For each image its results, in the order of its options."""
    jobs = [(name, options) for name, image in images.items() for options in options_for(image)]
    results = {name: [] for name in images}
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        outcomes = pool.map(lambda job: convert(command, images[job[0]], job[1])[0], jobs)
        for (name, _), outcome in zip(jobs, outcomes):
            results[name].append(outcome)
    return results


# ---- The list: for each image its checksum and its results

def read_list(file):
    lines = file.read_text().splitlines() if file.exists() else []
    entries = (line.split() for line in lines if not line.startswith("#"))
    return {name: (of_image, results) for name, of_image, *results in entries}


def write_list(file, entries):
    lines = (" ".join((name, of_image, *results)) for name, (of_image, results) in sorted(entries.items()))
    file.write_text(HEAD + "".join(line + "\n" for line in lines))


def first_difference(actual, expected):
    for at, (a, b) in enumerate(zip(actual, expected)):
        if a != b:
            return f"byte {at} is the first that differs: {a} instead of {b}"
    return f"{len(actual)} bytes instead of {len(expected)}"


def differences(images, entries, results, command, reference):
    """A line for each result that differs from the list."""
    for name, (of_image, expected) in sorted(entries.items()):
        if checksum(images.get(name, b"")) != of_image:
            continue
        for options, wanted, got in zip(options_for(images[name]), expected, results[name]):
            if wanted == got:
                continue
            line = f"{' '.join((name, *options))}: expected {wanted}, got {got}"
            if reference:
                surfaces = (convert(words, images[name], options)[1] for words in (command, reference))
                line += f"; {first_difference(*surfaces)}"
            yield line


def unlisted(images, entries):
    """A line for each image that the list does not describe."""
    for name in sorted({*images, *entries}):
        if name not in images:
            yield f"{name}: the list has this image, but it is missing"
        elif name not in entries:
            yield f"{name}: the image is not in the list"
        elif checksum(images[name]) != entries[name][0]:
            yield f"{name}: the image has changed since it was listed"


def as_words(command):
    """Paths become absolute: the converter runs in another folder."""
    return [os.path.abspath(word) if os.path.exists(word) else word for word in command]


def parse_arguments():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--conformance", metavar="FOLDER")
    parser.add_argument("--reference", metavar="PROGRAM")
    parser.add_argument("--record", action="store_true")
    parser.add_argument("command", nargs=argparse.REMAINDER)
    arguments = parser.parse_args()
    if not arguments.command:
        parser.error("the command is missing")
    return arguments


def main():
    arguments = parse_arguments()
    command = as_words(arguments.command)
    if subprocess.run([*command, "--help"], stdout=subprocess.DEVNULL).returncode == SKIPPED:
        return SKIPPED
    file = FOLDER / ("conformance.txt" if arguments.conformance else "tree.txt")
    entries = read_list(file)
    images = images_of_conformance(arguments.conformance) if arguments.conformance else images_of_tree()
    if arguments.conformance and not arguments.record:
        # Other versions of the package have more images.
        images = {name: image for name, image in images.items() if name in entries}

    results = convert_all(command, images)
    reference = arguments.reference and as_words([arguments.reference])
    problems = list(differences(images, entries, results, command, reference))
    if not arguments.record:
        problems += unlisted(images, entries)
    problems += [f"{name}: {outcome}" for name, outcomes in results.items() for outcome in outcomes
                 if outcome.startswith("status") and arguments.record]
    for problem in problems[:MAX_PRINTED]:
        print(problem)
    count = sum(map(len, results.values()))
    if problems:
        print(f"{len(problems)} problems with {count} conversions of {len(images)} images. If images are new or have "
              "changed: same_bytes.py --record")
        return 1
    if arguments.record:
        write_list(file, {name: (checksum(images[name]), outcomes) for name, outcomes in results.items()})
    print(f"{count} conversions of {len(images)} images gave the listed bytes")
    return 0


if __name__ == "__main__":
    sys.exit(main())
