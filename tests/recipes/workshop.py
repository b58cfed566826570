"""Helpers for the tests of docs/recipes.md: the code blocks of the document, and a scratch folder with images and a
pngslab that logs its calls."""

import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
PROGRAM = os.environ["PNGSLAB_PROGRAM"]
DOCUMENT = (TREE / "docs/recipes.md").read_text()
BLOCK = re.compile(r"^```\w+ ?(.*)\n((?:.*\n)*?)```$", re.MULTILINE)

ODD_NAMES = ["two  words.png", "-minus.png", "it's \"quoted\".png", "$HOME `x` & (é): *.png",
             "back\\slash;.png", "odd folder/-deep.png"]


def section(heading):
    """The code blocks below a heading: a dictionary of named files, and a list of commands."""
    text = DOCUMENT.split(f"\n## {heading}\n")[1].split("\n## ")[0]
    blocks = BLOCK.findall(text)
    return {name: body for name, body in blocks if name}, [body for name, body in blocks if not name]


def make_png(seed, width=7, height=5, **compression):
    """A truecolor image in stored blocks, which pngslab always accepts, or with the given compression."""
    rows = b"".join(b"\0" + bytes((seed * 31 + x * y) % 256 for x in range(width * 3))
                     for y in range(height))
    deflate = zlib.compressobj(**(compression or {"level": 0}))
    return png_file(width, height, 2, chunk(b"IDAT", deflate.compress(rows) + deflate.flush()))


REJECTED = make_png(1, strategy=zlib.Z_FIXED)


def surface_path(image):
    return f"surfaces/{image.removesuffix('.png')}.surface"


class Workshop(unittest.TestCase):
    """A folder with `images`, and with a pngslab in `bin` that comes first on the PATH."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="recipes-")
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name).resolve()
        self.environment = {**os.environ, "LC_ALL": "C.UTF-8", "HOME": f"{self.folder}/home",
                            "PATH": f"{self.folder}/bin:{os.environ['PATH']}:/usr/sbin"}
        # The environment must not change the options of a recipe.
        for variable in ("MAKEFLAGS", "MFLAGS", "MAKELEVEL", "NINJA_STATUS", "PARALLEL"):
            self.environment.pop(variable, None)
        for name in ("home", "bin", "images"):
            (self.folder / name).mkdir()
        self.write_script("bin/pngslab", f"""
            echo "$2" >>'{self.folder}/calls'
            if [ -e '{self.folder}/halt' ] && [ "$2" = images/halt.png ]; then
                : >"$4"
                echo >'{self.folder}/halted'
                exec sleep 600
            fi
            exec '{PROGRAM}' "$@"
            """)
        for name, body in section("Common scripts")[0].items():
            self.write_script(name, body)

    def write_script(self, name, body):
        path = self.folder / name
        path.write_text(body if body.startswith("#!") else f"#!/bin/sh\n{body}")
        path.chmod(0o755)

    def add_images(self, names):
        """Writes a different image under each name, the project's own samples among them."""
        samples = [path.read_bytes() for path in sorted((TREE / "samples").glob("*.png"))]
        for number, name in enumerate(names):
            self.add_image(name, samples.pop() if samples else make_png(number, width=number + 1))

    def add_image(self, name, data):
        path = self.folder / "images" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)

    def run_command(self, command, **options):
        return subprocess.run(["/bin/sh", "-c", command], cwd=self.folder, env=self.environment,
                              capture_output=True, text=True, **options)

    def assert_runs(self, command, status=0):
        done = self.run_command(command)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done

    def interrupt_at_halt(self, command, by=signal.SIGINT):
        """Runs a command until it converts images/halt.png, then sends a signal to its process group."""
        (self.folder / "halt").touch()
        with subprocess.Popen(["/bin/sh", "-c", command], cwd=self.folder, env=self.environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              start_new_session=True,
                              preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL)) as run:
            while not (self.folder / "halted").exists():
                self.assertIsNone(run.poll(), "the run ended by itself")
                time.sleep(0.02)
            os.killpg(run.pid, by)
            self.assertNotEqual(run.wait(), 0)
        (self.folder / "halt").unlink()

    def calls(self):
        """The images that pngslab was called with since the last call, sorted."""
        log = self.folder / "calls"
        images = sorted(log.read_text().splitlines()) if log.exists() else []
        log.unlink(missing_ok=True)
        return images

    def surface(self, image):
        return (self.folder / surface_path(image)).read_bytes()

    def age(self, path, days):
        """Moves a file's modification time into the past."""
        then = time.time() - days * 86400
        os.utime(self.folder / path, (then, then))

    def age_all(self):
        """Ages all files: the images are older than the surfaces, and the programs are the oldest."""
        for days, pattern in enumerate(("surfaces/**/*", "images/**/*", "bin/*"), start=1):
            for path in self.folder.glob(pattern):
                self.age(path, days)

    def assert_surfaces(self, images):
        """`surfaces` has exactly the files that pngslab makes of these images."""
        files = {str(path.relative_to(self.folder)) for path in self.folder.glob("surfaces/**/*")
                 if path.is_file()}
        self.assertEqual(files, {surface_path(image) for image in images})
        for image in images:
            self.assertEqual(self.surface(image), self.converted(image), image)

    def converted(self, image):
        plain, surface = self.folder / "plain.png", self.folder / "plain.surface"
        shutil.copyfile(self.folder / "images" / image, plain)
        subprocess.run([PROGRAM, "--image", plain, "--output", surface], check=True,
                       stdout=subprocess.DEVNULL)
        return surface.read_bytes()
