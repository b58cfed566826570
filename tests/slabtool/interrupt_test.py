"""Runs of slabtool convert that a signal ends, two runs into one folder, and a full disk."""
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import time
import unittest
import zlib

from png_chunks import chunk, png_file

SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
IMAGES = 150
SIDE = 800


def png(side, level=9):
    """A grayscale image with a pattern."""
    rows = b"".join(b"\0" + bytes((x * y >> 4) & 255 for x in range(side)) for y in range(side))
    return png_file(side, side, 0, chunk(b"IDAT", zlib.compress(rows, level)))


def wait_until(condition):
    end = time.monotonic() + 60
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError
        time.sleep(0.001)


class FolderTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        (self.folder / "images").mkdir()
        (self.folder / "images/0.png").write_bytes(png(SIDE))

    def start(self, *arguments):
        run = subprocess.Popen([SLABTOOL, "convert", *arguments], cwd=self.folder, text=True,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(run.wait)
        self.addCleanup(run.kill)
        self.addCleanup(run.stdout.close)
        self.addCleanup(run.stderr.close)
        return run

    def files(self, folder):
        return sorted(path.name for path in (self.folder / folder).iterdir())

    def start_blocked(self):
        """Starts a run that waits for an image in a pipe."""
        os.mkfifo(self.folder / "pipe.png")
        run = self.start("images/0.png", "pipe.png", "out/")
        wait_until((self.folder / "out/0.surface").exists)
        return run


class Interrupt(FolderTest):
    def end(self, run, number):
        """The output of the run after the signal, and the seconds until it ends."""
        begin = time.monotonic()
        run.send_signal(number)
        output, errors = run.communicate(timeout=60)
        elapsed = time.monotonic() - begin
        self.assertEqual("", errors)
        self.assertEqual(128 + number, run.returncode, output)
        return output, elapsed

    def test_ends_a_long_run_with_a_summary_and_another_one_completes_it(self):
        for i in range(1, IMAGES):
            os.link(self.folder / "images/0.png", self.folder / f"images/{i}.png")
        options = ["--mode", "RGB565", "--dither", "floyd-steinberg", "images", "out"]
        self.start(*options[:-2], "images/0.png", "expected.surface").communicate()
        expected = (self.folder / "expected.surface").read_bytes()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            run = self.start(*options)
            count = len(list(self.folder.glob("out/*.surface")))
            wait_until(lambda: len(list(self.folder.glob("out/*.partial"))) > 0)
            output, elapsed = self.end(run, number)
            self.assertLess(elapsed, 1)
            summary = re.search(r"^converted (\d+), .*, not started (\d+)$", output, re.MULTILINE)
            self.assertEqual(IMAGES, int(summary[1]) + int(summary[2]), output)
            surfaces = set(self.files("out")) - {"surfaces.json"}
            self.assertGreaterEqual(len(surfaces), max(count, int(summary[1])))
            for name in surfaces:
                self.assertTrue((self.folder / "out" / name).read_bytes() == expected, name)
        last = self.start("--update", *options)
        output, errors = last.communicate()
        self.assertEqual((0, ""), (last.returncode, errors))
        self.assertRegex(output, r"up to date [1-9]")
        self.assertEqual(sorted(f"{i}.surface" for i in range(IMAGES)) + ["surfaces.json"], self.files("out"))

    def test_abandons_an_image_that_takes_long(self):
        run = self.start_blocked()
        output, elapsed = self.end(run, signal.SIGTERM)
        self.assertLess(elapsed, 1)
        self.assertRegex(output, "^converted 1, .*, not started 1\n$")
        self.assertEqual(["0.surface", "surfaces.json"], self.files("out"))

    def test_ends_immediately_at_a_second_signal(self):
        run = self.start_blocked()
        run.send_signal(signal.SIGINT)
        time.sleep(0.05)
        run.send_signal(signal.SIGINT)
        self.assertEqual(-signal.SIGINT, run.wait())

    def test_ends_a_single_conversion_at_the_first_signal(self):
        os.mkfifo(self.folder / "pipe.png")
        run = self.start("pipe.png", "out.surface")
        with open(self.folder / "pipe.png", "wb"):
            run.send_signal(signal.SIGTERM)
            self.assertEqual(-signal.SIGTERM, run.wait())
        self.assertEqual(["images", "pipe.png"], self.files("."))


class TwoRuns(FolderTest):
    def test_do_not_write_into_one_folder(self):
        first = self.start_blocked()
        second = self.start("images", "out")
        self.assertEqual(("", f"slabtool: {self.folder.resolve()}/out: another run is writing into this folder\n"),
                         second.communicate())
        self.assertEqual(1, second.returncode)
        (self.folder / "pipe.png").write_bytes((self.folder / "images/0.png").read_bytes())
        first.communicate()
        self.assertEqual(0, first.returncode)
        self.assertEqual(["0.surface", "pipe.surface", "surfaces.json"], self.files("out"))


class FullDisk(FolderTest):
    def test_keeps_old_surfaces(self):
        out = self.folder / "out"
        out.mkdir()
        if os.geteuid() != 0 or subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "none", out],
                                               stderr=subprocess.DEVNULL).returncode != 0:
            self.skipTest("only root can mount a small file system")
        self.addCleanup(subprocess.run, ["umount", out], check=True)
        self.start("images", "out").communicate()
        old = (out / "0.surface").read_bytes()
        (self.folder / "images/0.png").write_bytes(png(SIDE + 1))
        (self.folder / "images/1.png").write_bytes(png(8, level=0))
        # One at a time: while the first image fills the disk, the second one would not fit either.
        run = self.start("images", "out", "--jobs", "1")
        self.assertEqual(("images/0.png: rejected: cannot be written: No space left on device [file]\n"
                          "converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 1\n", ""),
                         run.communicate())
        self.assertEqual(1, run.returncode)
        self.assertTrue(old == (out / "0.surface").read_bytes())
        self.assertEqual(["0.surface", "1.surface", "surfaces.json"], self.files("out"))


if __name__ == "__main__":
    unittest.main()
