#!/usr/bin/env python3
"""Compare one run of slabtool convert with one pngslab per file and with Pillow in a pool of processes.

    bench/compare_batch.py [--rounds N] [--max-icons N] BIN ICONS.txt PHOTOGRAPHS.txt

BIN is the folder of slabtool, pngslab and peak_memory. Both lists have one PNG file per line. All files are in memory
(/dev/shm) if that is writable. The programs run in turns, round after round. Processor time is the user and system time
of a program and of its child processes. Peak memory is that of the largest process, from a run of its own. Python needs
Pillow (Debian's package python3-pil).
"""

import argparse
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

UP_TO_DATE_IMAGES = 100_000
IMAGES_PER_FOLDER = 1000

# Writes the same bytes as pngslab with a library: a header, then the pixels with a surface's order of channels.
PILLOW = """
import multiprocessing, os, struct, sys
from PIL import Image

MODES = {"RGBA": ("BGRA", 0), "RGB": ("BGR", 1), "LA": ("LA", 7)}

def convert(path):
    with Image.open(path) as image:
        order, mode = MODES.get(image.mode, (image.mode, 5))
        pixels = image.tobytes("raw", order)
        width, height = image.size
    with open(os.path.join(sys.argv[2], os.path.basename(path) + ".surface"), "wb") as file:
        file.write(struct.pack("<5I", 0, mode, width, height, len(pixels) // height) + pixels)

if __name__ == "__main__":
    paths = [entry.path for entry in os.scandir(sys.argv[1])]
    with multiprocessing.Pool() as pool:
        pool.map(convert, paths, chunksize=16)
"""


class Usage:
    """Run a program and measure its seconds, with its child processes."""

    def __init__(self, command):
        begin = time.monotonic()
        child = subprocess.Popen(command, stdout=subprocess.DEVNULL)
        _, status, used = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode != 0:
            sys.exit(f"{command[0]} failed")
        self.wall = time.monotonic() - begin
        self.processor = used.ru_utime + used.ru_stime


def sample(path, max_count):
    """Return at most max_count of a list's files, evenly spread."""
    lines = pathlib.Path(path).read_text().split("\n")[:-1]
    count = min(max_count, len(lines))
    return [lines[i * len(lines) // count] for i in range(count)]


class Bench:
    def __init__(self, options, folder):
        self.slabtool, self.pngslab, self.peak_memory = (
            str(options.bin / name) for name in ("slabtool", "pngslab", "peak_memory"))
        self.rounds = options.rounds
        self.folder = folder
        self.output = str(folder / "output")

    def fill(self, name, files):
        """Make a folder with copies of the files."""
        images = self.folder / name
        images.mkdir()
        for number, file in enumerate(files):
            shutil.copy(file, images / f"{number:06}.png")
        return images

    # The contenders: lists of commands that write into the folder of the output.

    def batch(self, images, *options):
        return [[self.slabtool, "convert", "--quiet", *options, str(images), self.output]]

    def singles(self, images):
        return [[self.pngslab, "--image", str(image), "--output", f"{self.output}/{image.name}.surface"]
                for image in images.iterdir()]

    def pool(self, images):
        return [[sys.executable, "-c", PILLOW, str(images), self.output]]

    def clear(self):
        shutil.rmtree(self.output, ignore_errors=True)
        os.mkdir(self.output)

    def seconds(self, commands, kind):
        self.clear()
        return sum(getattr(Usage(command), kind) for command in commands)

    def peak(self, commands):
        """Return the mebibytes of the largest process."""
        self.clear()
        return max(int(subprocess.run([self.peak_memory, *command], stdout=subprocess.PIPE, check=True).stdout)
                   for command in commands) / 1024

    def compare(self, name, kind, ours, theirs):
        """Print a row of the table. The kind of time is "processor" or "wall"."""
        samples = [], []
        for number in range(self.rounds):
            turns = list(zip(samples, (ours, theirs)))
            for times, commands in turns if number % 2 == 0 else reversed(turns):
                times.append(self.seconds(commands, kind))
        seconds = [statistics.median(times) for times in samples]
        print(f"| {name:<58} | {seconds[0]:9.3f} | {seconds[1]:9.3f} | {seconds[1] / seconds[0]:6.2f} "
              f"| {self.peak(ours):8.1f} | {self.peak(theirs):9.1f} |")


def compare(bench, icons, photographs):
    print("\n| batch                                                      |    ours s |   other s |  ratio "
          "| peak MiB | other MiB |\n|---|---|---|---|---|---|")
    # Two threads on one physical core slow each other down. A single process is compared with one thread.
    count = len(list(icons.iterdir()))
    one_thread, two_threads = ("--jobs", "1"), ("--jobs", "2")
    bench.compare(f"{count} icons, one run / a pngslab each, CPU", "processor", bench.batch(icons, *one_thread),
                  bench.singles(icons))
    bench.compare(f"{count} icons, one run / Pillow in a pool, CPU", "processor", bench.batch(icons),
                  bench.pool(icons))
    bench.compare("photographs, one run / a pngslab each, CPU", "processor", bench.batch(photographs, *one_thread),
                  bench.singles(photographs))
    bench.compare("photographs, two threads / one, wall", "wall", bench.batch(photographs, *two_threads),
                  bench.batch(photographs, *one_thread))
    bench.compare(f"{count} icons, two threads / one, wall", "wall", bench.batch(icons, *two_threads),
                  bench.batch(icons, *one_thread))


def update(bench, icon):
    """Measure a run that has nothing to do. Hard links replace copies of an image."""
    images = bench.folder / "many"
    for number in range(UP_TO_DATE_IMAGES):
        if number % IMAGES_PER_FOLDER == 0:
            (images / str(number)).mkdir(parents=True)
            first = images / str(number) / "0.png"
            shutil.copy(icon, first)
            os.utime(first, (0, 0)) # an old date, because slabtool reads recent files again
        else:
            os.link(first, first.with_name(f"{number}.png"))
    bench.clear()
    [command] = bench.batch(images, "--update")
    Usage(command)
    runs = [Usage(command) for _ in range(bench.rounds)]
    print(f"\n{UP_TO_DATE_IMAGES} images that are up to date: {statistics.median(run.wall for run in runs):.2f} s, "
          f"of processor time {statistics.median(run.processor for run in runs):.2f} s")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--max-icons", type=int, default=2000, help="number of icons")
    parser.add_argument("bin", type=pathlib.Path)
    for name in ("icons", "photographs"):
        parser.add_argument(name)
    options = parser.parse_args()
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with tempfile.TemporaryDirectory(dir=memory) as name:
        bench = Bench(options, pathlib.Path(name))
        icons = sample(options.icons, options.max_icons)
        compare(bench, bench.fill("icons", icons), bench.fill("photographs", sample(options.photographs, 5)))
        update(bench, icons[0])


if __name__ == "__main__":
    main()
