"""Every sub-command of slabtool, and pngslab, with fault number n: an allocation, a write, a close and so on fails. The
run must not crash. It either does everything, or says what failed. Every file is the complete old one or the complete
new one.

PNGSLAB_FAULT_STRIDE is the distance of the numbers of allocations. 1 tests every n, in three minutes on a quiet machine.
PNGSLAB_FAULT_TABLE=1 prints the number of faults in each command.

Faults before main() are left out: there GLib and CLI11 end the process by a signal."""

import json
import os
import re
import shutil
import signal
import struct
import subprocess
import tempfile
import time
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file
from pseudo_terminal import PseudoTerminal

SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
PNGSLAB = os.environ["PNGSLAB_PROGRAM"]
PNGSLAB_DYNAMIC = os.environ["PNGSLAB_DYNAMIC"]
FAIL_ALLOCATION = os.environ["PNGSLAB_FAIL_ALLOCATION"]
FAIL_SYSTEM_CALL = os.environ["PNGSLAB_FAIL_SYSTEM_CALL"]
STRIDE = int(os.environ.get("PNGSLAB_FAULT_STRIDE", "23"))
IS_VERBOSE = "PNGSLAB_FAULT_TABLE" in os.environ
NEVER = 2**63
COUNT = struct.Struct("4Q")  # fault_count.h
SYSTEM_CALLS = ("write", "close", "rename", "mmap", "open", "read")
# "from": the allocation fails, and all later ones. Other kinds are single faults.
ALLOCATIONS = ("allocation", "from")
OLD_TIME = 1_600_000_000


# ---- Inputs

def png(color_type, side=5, depth=8, seed=1, extra=b""):
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[color_type]
    length = (side * channels * depth + 7) // 8
    rows = b"".join(b"\0" + bytes((seed + 7 * y + 3 * x) % 4 for x in range(length)) for y in range(side))
    return png_file(side, side, color_type, extra, chunk(b"IDAT", zlib.compress(rows, 0)), depth=depth)


def palette(transparent=True):
    return chunk(b"PLTE", bytes(range(12))) + (chunk(b"tRNS", b"\0\x80") if transparent else b"")


KEY_COLOR = chunk(b"tRNS", struct.pack(">3H", 1, 2, 3))
IMAGES = {
    "gray.png": png(0),
    "icons/key.png": png(2, extra=KEY_COLOR),
    "icons/indexed.png": png(3, extra=palette()),
    "icons/deep.png": png(6, depth=16),
    "broken.png": png(2)[:60],
}
OLD_IMAGES = {"gray.png": png(0, 4), "icons/key.png": png(2, 6), "icons/indexed.png": png(3, 4, extra=palette()),
              "gone.png": png(4)}


def write(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
    os.utime(path, (OLD_TIME, OLD_TIME))


def write_images(folder, images):
    for name, content in images.items():
        write(folder / name, content)


def run_quietly(folder, *words):
    subprocess.run([SLABTOOL, *words], cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)


def make_inputs(folder):
    """Images, surfaces of older images, and an older file at each output."""
    write_images(folder / "images", OLD_IMAGES)
    run_quietly(folder, "convert", "--palette", "images", "surfaces")
    run_quietly(folder, "convert", "--mode", "RGB565", "--no-manifest", "images", "others")
    for part in ("one", "two"):
        run_quietly(folder, "convert", "images/icons", f"parts/{part}/")
    shutil.rmtree(folder / "images")
    write_images(folder / "images", IMAGES)
    for name in ("a.surface", "target.surface", "a.png", "page.html", "icons.h", "icons.c", "icons_data.s",
                 "parts/surfaces.json", "prepared/gray.png", "prepared/icons/deep.png"):
        write(folder / name, b"old")
    (folder / "link.surface").symlink_to("target.surface")


def snapshot(folder):
    """The content of every file, and the target of every link."""
    files = {}
    for root, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(root, name)
            with open(path, "rb") as file:
                files[os.path.relpath(path, folder)] = file.read()
            if os.path.islink(path):
                files[os.path.relpath(path, folder) + " ->"] = os.readlink(path).encode()
    return files


# ---- Runs

class Run:
    """The result of a run, and the faults that it has had."""

    def __init__(self, status, output, errors, calls, calls_before_main):
        self.status, self.output, self.errors = status, output, errors
        self.calls, self.calls_before_main = calls, calls_before_main

    def __str__(self):
        return f"status {self.status}\n{self.output.decode(errors='replace')}\n{self.errors.decode(errors='replace')}"


class Program:
    """A command line with a fault."""

    def __init__(self, words, folder, count_path, terminal=None):
        self.words, self.folder, self.count_path, self.terminal = words, folder, count_path, terminal

    def run(self, kind, number):
        self.count_path.write_bytes(bytes(COUNT.size))
        environment = {"PATH": "/usr/bin:/bin", "LC_ALL": "C", "LD_PRELOAD": FAIL_ALLOCATION,
                       "PNGSLAB_FAIL_COUNT": str(self.count_path), **(self.terminal or {})}
        words = self.words
        if kind in ALLOCATIONS:
            environment.update(PNGSLAB_FAIL_FIRST=str(number),
                               PNGSLAB_FAIL_LAST=str(NEVER if kind == "from" else number))
        else:
            words = [FAIL_SYSTEM_CALL, kind, str(number), str(self.count_path), *words]
        if self.terminal is None:
            run = subprocess.run(words, cwd=self.folder, env=environment, stdin=subprocess.DEVNULL,
                                 capture_output=True, timeout=60, check=False)
            status, output, errors = run.returncode, run.stdout, run.stderr
        else:
            status, output, errors = PseudoTerminal().run(words, cwd=self.folder, env=environment)
        if status == 125:
            raise RuntimeError(errors)  # of fail_system_call
        counts = COUNT.unpack(self.count_path.read_bytes())
        return Run(status, output, errors, *(counts[:2] if kind in ALLOCATIONS else counts[2:]))


class Faults(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = Path(scratch.name)
        make_inputs(self.scratch / "inputs")
        self.folder = self.scratch / "run"
        self.old = snapshot(self.scratch / "inputs")
        self.reset()

    def reset(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(self.scratch / "inputs", self.folder, symlinks=True)

    def for_each_fault(self, program, kinds, check, skips_declarations=True):
        for kind in kinds:
            self.reset()
            self.usual = program.run(kind, NEVER)
            self.new = snapshot(self.folder)
            self.reset()
            begin = time.monotonic()
            first = self.usual.calls_before_main + 1
            if kind in ALLOCATIONS and skips_declarations:
                first = self.end_of_declarations()
            numbers = range(first, self.usual.calls + 1, STRIDE if kind in ALLOCATIONS else 1)
            if kind in (*ALLOCATIONS, "open"):
                self.assertGreater(self.usual.calls, 0, f"no {kind} was counted")  # every command has them
            for number in numbers:
                run = program.run(kind, number)
                files = snapshot(self.folder)
                try:
                    check(run, files)
                except AssertionError as failure:
                    raise AssertionError(f"{' '.join(program.words)}: {kind} {number}: {failure}\n{run}") from None
                if files != self.old:
                    self.reset()
            if IS_VERBOSE:
                print(f"{kind:10} {len(numbers):6} of {self.usual.calls - first + 1:6} "
                      f"{time.monotonic() - begin:6.1f} s  {' '.join(program.words[1:])}", flush=True)

    def end_of_declarations(self):
        """The declaration of the command line has the same allocations in every command."""
        overlap = 50  # the message has some, too
        return self.program(SLABTOOL, "unknown").run("allocation", NEVER).calls - overlap

    # ---- slabtool

    def check_tool(self, run, files):
        self.check_files(files)
        self.assertGreaterEqual(run.status, 0, "ended by a signal")
        if self.is_usual(run):
            changed = {name for name in {*self.new, *files} if self.new.get(name) != files.get(name)}
            self.assertLessEqual(changed, {"page.html"})  # the page may show a reason instead of a picture
            return
        self.assertTrue(run.status != 0 or b"page.html" in run.output, "status 0, but another result")
        self.assertTrue(self.is_explained(run), "no message")

    def is_usual(self, run):
        """Whether the output is that of a run without faults. Threads may finish files in another order."""
        return (run.status, sorted(run.output.split(b"\n")), run.errors) == (
            self.usual.status, sorted(self.usual.output.split(b"\n")), self.usual.errors)

    def is_explained(self, run):
        new_rows = set(run.output.split(b"\n")) - set(self.usual.output.split(b"\n"))
        return (run.errors not in (b"", self.usual.errors) or b"page.html" in run.output or
                any(re.search(rb"memory|cannot be", row) for row in new_rows))

    def check_files(self, files):
        for name, content in files.items():
            if name.endswith("surfaces.json"):
                self.check_manifest(name, files)
            elif name == "page.html" and content not in (self.old[name], self.new[name]):
                self.assertTrue(content.endswith(b"</html>\n"), "incomplete page")
                self.assertRegex(content, rb"not enough memory|cannot be (read|opened)")
            else:
                self.assertTrue(content in (self.old.get(name), self.new.get(name)), f"{name} is neither old nor new")
        for name in self.old:
            self.assertTrue(name in files or name not in self.new, f"{name} was removed")

    def check_manifest(self, name, files):
        """Each entry is old or new. If it is new, its surface and its palette are new, too."""
        if files[name] == self.old.get(name):
            return
        old, new = entries(self.old.get(name)), entries(self.new[name])
        for file, entry in entries(files[name]).items():
            self.assertIn(entry, (old.get(file), new.get(file)))
            if entry == new.get(file):
                path = os.path.join(os.path.dirname(name), file)
                self.assertEqual(self.new[path], files[path], path)

    def check_slabtool(self, *words, kinds=(*ALLOCATIONS, *SYSTEM_CALLS), terminal=None):
        self.for_each_fault(self.program(SLABTOOL, *words, terminal=terminal), kinds, self.check_tool)

    def program(self, *words, terminal=None):
        return Program(words, self.folder, self.scratch / "count", terminal)

    def test_declarations(self):
        self.for_each_fault(self.program(SLABTOOL, "convert", "images/gray.png", "a.surface"), ALLOCATIONS,
                            self.check_tool, skips_declarations=False)

    def test_convert_one(self):
        self.check_slabtool("convert", "images/gray.png", "link.surface")
        self.check_slabtool("convert", "--palette", "--json", "images/icons/indexed.png", "a.surface")

    def test_convert_colors(self):
        self.check_slabtool("convert", "--mode", "RGB565", "--keep-colors", "--dither", "floyd-steinberg",
                            "--rotation", "90", "--row-alignment", "16", "images/icons/indexed.png", "a.surface")
        self.check_slabtool("convert", "--keep-colors", "images/icons/key.png", "a.surface")

    def test_convert_folder(self):
        self.check_slabtool("convert", "--jobs", "1", "--palette", "images", "surfaces")

    def test_convert_update(self):
        self.check_slabtool("convert", "--jobs", "2", "--update", "--prune", "--json", "images", "surfaces")

    def test_check(self):
        self.check_slabtool("check", "--jobs", "1", "images")
        self.check_slabtool("check", "--jobs", "1", "--json", "images/icons", "images/broken.png")

    def test_prepare(self):
        self.check_slabtool("prepare", "images/icons/deep.png", "a.png")
        self.check_slabtool("prepare", "--small", "--key-to-alpha", "images/icons/key.png", "a.png")
        self.check_slabtool("prepare", "images/icons/indexed.png", "a.png")

    def test_prepare_folder(self):
        self.check_slabtool("prepare", "--jobs", "1", "--expand-palette", "images", "--output-dir", "prepared")

    def test_info(self):
        self.check_slabtool("info", "--jobs", "1", "surfaces")
        self.check_slabtool("info", "--jobs", "1", "--json", "surfaces/gray.surface", "a.surface")

    def test_view(self):
        self.check_slabtool("view", "surfaces/icons/key.surface", "a.png")
        self.check_slabtool("view", "--palette", "surfaces/icons/indexed.palette", "surfaces/icons/indexed.surface",
                            "a.png")

    def test_view_in_terminal(self):
        """libchafa and GLib end the process by a signal if there is not enough memory. No file is written."""
        def check(run, files):
            self.assertEqual(self.old, files)
            if run.status >= 0:
                self.check_tool(run, files)

        for term in ("xterm-256color", "foot", "xterm-kitty"):
            program = self.program(SLABTOOL, "view", "surfaces/icons/key.surface", terminal={"TERM": term})
            self.for_each_fault(program, ALLOCATIONS[:1], check)
            self.for_each_fault(program, SYSTEM_CALLS, self.check_tool)

    def test_compare(self):
        self.check_slabtool("compare", "surfaces/gray.surface", "surfaces/gray.surface")
        self.check_slabtool("compare", "--jobs", "1", "surfaces", "others")
        self.check_slabtool("compare", "--jobs", "1", "--json", "surfaces", "surfaces")

    def test_embed(self):
        surfaces = ("surfaces/gray.surface", "surfaces/icons/key.surface")
        self.check_slabtool("embed", "-o", "icons", *surfaces)
        self.check_slabtool("embed", "--format", "asm", "-o", "icons", *surfaces)

    def test_gallery(self):
        self.check_slabtool("gallery", "--jobs", "1", "--images", "surfaces", "images", "-o", "page.html")

    def test_manifest(self):
        self.check_slabtool("manifest", "--merge", "parts/one/surfaces.json", "parts/two/surfaces.json", "-o",
                            "parts/surfaces.json")

    def test_command_line(self):
        """The help screen is the work of CLI11, whose string streams lose text if there is not enough memory."""
        self.check_slabtool("--help", kinds=SYSTEM_CALLS)
        self.check_slabtool("convrt")
        self.check_slabtool("convert", "--mode", "none", "a", "b")


    # ---- pngslab

    def check_pngslab(self, run, files):
        """It truncates the output early, ignores the results of writes, and ends by SIGABRT if there is not enough
        memory. All three are kept on purpose."""
        others = {name: content for name, content in files.items() if name != "a.surface"}
        self.assertEqual({name: content for name, content in self.old.items() if name != "a.surface"}, others)
        self.assertIn(run.status, (0, 1, -signal.SIGABRT))
        if run.status == 0:
            self.assertTrue(self.new["a.surface"].startswith(files["a.surface"]), "another surface")
            self.assertTrue(self.usual.output.startswith(run.output), "another message")
        else:
            self.assertIn(files["a.surface"], (b"old", b""))
        if run.status == 1:
            self.assertIn(b"ERROR: ", run.output)

    def check_pngslab_with(self, *options):
        words = ("--image", "images/gray.png", "--output", "a.surface", *options)
        self.for_each_fault(self.program(PNGSLAB_DYNAMIC, *words), ALLOCATIONS, self.check_pngslab,
                            skips_declarations=False)
        self.for_each_fault(self.program(PNGSLAB, *words), SYSTEM_CALLS, self.check_pngslab,
                            skips_declarations=False)

    def test_pngslab(self):
        self.check_pngslab_with()
        self.check_pngslab_with("--rotation", "90")
        self.check_pngslab_with("--alphaonly")


def entries(manifest):
    if manifest in (None, b"old"):
        return {}
    return {entry["file"]: entry for entry in json.loads(manifest)["surfaces"]}


if __name__ == "__main__":
    unittest.main()
