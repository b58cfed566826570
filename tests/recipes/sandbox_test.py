"""The recipe of docs/recipes.md for files from strangers: the sandboxes hide everything besides input and output, and
files that exhaust memory or time end with a failure, without a change of the old surface."""
import os
import shutil
import signal
import socket
import subprocess
import sys
import unittest
import zlib

from png_chunks import chunk, png_file
from workshop import PROGRAM, REJECTED, TREE, Workshop, make_png, section

sys.path.append(str(TREE / "bench"))
from hostile_inputs import dynamic_empty_block, packed

SLOW = 100_000_000  # bytes; they take several times the limit of a second
PROBE = """#!/usr/bin/bash
# Stands for slabtool: reports what it can see.
ls -A / /images >/surfaces/seen
(exec 3<>/dev/tcp/127.0.0.1/{port}) 2>/surfaces/error && echo connected >>/surfaces/seen
(echo x >/images/new) 2>>/surfaces/error && echo written >>/surfaces/seen
echo "variables: $SECRET" >>/surfaces/seen
true
"""


def image(width, height, data):
    """A gray image with any compressed data."""
    return png_file(width, height, 0, chunk(b"IDAT", data))


def empty_blocks(size):
    """A stream of dynamic blocks without bytes: the decoder makes tables and never gets a pixel."""
    eight_blocks = packed(dynamic_empty_block(1) * 8)
    return b"\x78\x01" + eight_blocks * (size // len(eight_blocks))


def can_make_sandboxes():
    try:
        command = ["bwrap", "--unshare-all", "--ro-bind", "/", "/", "true"]
        return subprocess.run(command, check=False, capture_output=True).returncode == 0
    except FileNotFoundError:
        return False


class Sandbox(Workshop):
    def setUp(self):
        super().setUp()
        for name, body in section("Files from strangers")[0].items():
            self.write_script(name, body)
        for name, program in (("pngslab", PROGRAM), ("slabtool", os.environ["PNGSLAB_SLABTOOL"])):
            (self.folder / "bin" / name).unlink(missing_ok=True)
            shutil.copy(program, self.folder / "bin" / name)

    def limit(self, script, old, new):
        """Changes a limit of a script, so that a test reaches it in less time."""
        text = (self.folder / script).read_text()
        self.assertIn(old, text)
        self.write_script(script, text.replace(old, new))

    def assert_keeps_old_surface(self, reason):
        (self.folder / "a.surface").write_bytes(b"old")
        done = self.run_command("./sandbox-one.sh images/a.png a.surface")
        self.assertEqual(1, done.returncode, done.stderr)
        self.assertEqual(f"images/a.png: no surface: {reason}\n", done.stderr)
        self.assertEqual(b"old", (self.folder / "a.surface").read_bytes())
        self.assertEqual([], list(self.folder.glob("a.surface.*")))

    def test_of_one_image_writes_the_same_surface(self):
        self.add_images(["a.png", "odd 'name'.png"])
        for name in ("a.png", "odd 'name'.png"):
            self.assert_runs(f'./sandbox-one.sh "images/{name}" "{name}.surface"')
            self.assertEqual(self.converted(name), (self.folder / f"{name}.surface").read_bytes())
        self.assert_runs("./sandbox-one.sh images/a.png turned.surface --rotation 90")
        self.assertEqual(90, (self.folder / "turned.surface").read_bytes()[0])

    def test_of_one_image_reports_a_rejection(self):
        self.add_image("a.png", REJECTED)
        self.assert_keeps_old_surface("cannot decode PNG file")

    def test_of_one_image_ends_when_memory_is_exhausted(self):
        self.add_image("a.png", image(30000, 60000, empty_blocks(1000))) # 1.8 GB of pixels
        self.assert_keeps_old_surface("stopped at a limit")

    def test_of_one_image_ends_when_time_is_exhausted(self):
        self.limit("sandbox-one.sh", "ulimit -t 10 ", "ulimit -t 1 ")
        self.add_image("a.png", image(9, 9, empty_blocks(SLOW)))
        self.assert_keeps_old_surface("stopped at a limit")

    def test_of_one_image_ends_when_the_surface_is_too_large(self):
        self.limit("sandbox-one.sh", "ulimit -f 524288", "ulimit -f 1")
        self.add_image("a.png", make_png(1, width=40, height=40))
        self.assert_keeps_old_surface("stopped at a limit")

    def test_of_folders_converts_good_images_beside_hostile_ones(self):
        self.add_images(["a.png"])
        self.add_image("many-pixels.png", image(30000, 60000, empty_blocks(1000)))
        self.add_image("bomb.png", image(4000, 4001, zlib.compress(bytes(300_000_000), 9)))
        done = self.run_command("./sandbox-folder.sh images surfaces")
        self.assertEqual(1, done.returncode, done.stderr)
        self.assertIn("many-pixels.png: rejected", done.stdout)
        self.assertEqual(self.converted("a.png"), (self.folder / "surfaces/a.surface").read_bytes())

    def test_of_folders_ends_when_time_is_exhausted(self):
        self.limit("sandbox-folder.sh", "ulimit -t 60 ", "ulimit -t 1 ")
        self.add_image("slow.png", image(9, 9, empty_blocks(SLOW)))
        done = self.run_command("./sandbox-folder.sh images surfaces")
        self.assertIn(done.returncode, (128 + signal.SIGKILL, 128 + signal.SIGXCPU))
        self.assertEqual([], list(self.folder.glob("surfaces/*.surface")))

    def test_of_folders_hides_the_network_other_files_and_variables(self):
        self.add_images(["a.png"])
        self.environment["SECRET"] = "secret"
        with socket.create_server(("127.0.0.1", 0)) as server:
            self.write_script("bin/slabtool", PROBE.format(port=server.getsockname()[1]))
            self.assert_runs("./sandbox-folder.sh images surfaces")
        seen = (self.folder / "surfaces/seen").read_text().split()
        self.assertLessEqual(set(seen), {"/:", "images", "lib", "lib64", "slabtool", "surfaces", "usr", "/images:",
                                         "a.png", "variables:"})


if __name__ == "__main__":
    if not can_make_sandboxes():
        print("bwrap is missing, or this system lets it create no sandboxes")
        sys.exit(77)
    unittest.main()
