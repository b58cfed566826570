"""Mutation check: see mutate.sh. Works on copies; the tree stays as it is."""

import concurrent.futures
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import threading

# Test programs to run for a change in each folder, the nearest first.
TESTS = {
    "src": ["src_tests", "tools_tests"],
    "inflate": ["inflate_tests", "inflate_fixed_codes_tests", "png_tests"],
    "png": ["png_tests", "tools_tests"],
    "tools/surface_generator": ["tools_tests"],
    "tools/slabtool": ["slabtool_tests"],
}
BY_BACKEND = ("src_tests", "png_tests")  # run with the best backend, then with each of these alone
BACKENDS = ("scalar", "sse2", "neon")
SKIPPED = 77  # the exit status if the machine has no such backend
SECONDS_A_PROGRAM = 120  # a change may make a loop endless: that counts as noticed

# Binary operators stand between blanks in this tree's formatting, template brackets do not.
SWAPS = {
    " < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == ",
    " + ": " - ", " - ": " + ", " * ": " + ", " / ": " * ", " % ": " / ",
    " << ": " >> ", " >> ": " << ", " & ": " | ", " | ": " & ", " ^ ": " | ",
    " && ": " || ", " || ": " && ", " += ": " -= ", " -= ": " += ",
}
NUMBER = re.compile(r"(?<![\w.'\"])(0x[0-9A-Fa-f]+|\d+)(?=[UF]?\b)(?![\w.]*_t)")
SKIPPED_LINE = re.compile(r"^\s*(//|#|static_assert|\[\[|template|using|case '|\")")


def code_spans(text):
    """(offset, line) of every line of code, its comment cut off."""
    offset = 0
    for line in text.splitlines(keepends=True):
        if not SKIPPED_LINE.match(line):
            yield offset, line.split("//")[0]
        offset += len(line)


def changes_of(path):
    """Every small change of one file, as (offset, old text, new text)."""
    for offset, line in code_spans(path.read_text()):
        if "printf" in line or "assert" in line:
            continue
        for old, new in SWAPS.items():
            for match in re.finditer(re.escape(old), line):
                yield offset + match.start(), old, new
        for match in NUMBER.finditer(line):
            number = match.group(1)
            new = hex(int(number, 16) ^ 1) if number.startswith("0x") else str(int(number) + 1)
            yield offset + match.start(), number, new


def folder_of(path):
    """The folder of TESTS that a file belongs to."""
    return next(folder for folder in TESTS if path.is_relative_to(folder))


def sample(tree, count, seed, places):
    """The changes to try: the same for the same seed, every file in proportion to its code."""
    everything = []
    for folder in TESTS:
        for path in sorted((tree / folder).rglob("*")):
            is_wanted = str(path.relative_to(tree)).startswith(places)
            if is_wanted and path.suffix in (".cpp", ".h"):
                everything += [(path.relative_to(tree), *change) for change in changes_of(path)]
    return sorted(random.Random(seed).sample(everything, min(count, len(everything))),
                  key=lambda change: (str(change[0]), change[1]))


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)


class Workshop:
    """A copy of the tree with a build of its own."""

    def __init__(self, tree, folder):
        self.source = folder / "source"
        self.build = folder / "build"
        shutil.copytree(tree, self.source, ignore=shutil.ignore_patterns("build*", ".git"))
        run(["cmake", "-G", "Ninja", "-S", self.source, "-B", self.build, "-DPNGSLAB_TESTS=ON",
             "-DPNGSLAB_TOOL=ON", "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1"], check=True)
        run(["ninja", "-C", self.build], check=True)

    def make(self, folder):
        return run(["ninja", "-C", self.build, *TESTS[folder], "pngslab"]).returncode == 0

    def is_noticed(self, folder):
        for program in TESTS[folder]:
            options = [[]] + [[f"--backend={name}"] for name in BACKENDS if program in BY_BACKEND]
            for option in options:
                # timeout ends the programs that the tests run as well.
                result = run(["timeout", "--kill-after=5", str(SECONDS_A_PROGRAM), self.build / "bin" / program,
                              "--gtest_brief=1", "--gtest_fail_fast", *option], cwd=self.build)
                if result.returncode not in (0, SKIPPED):
                    return True
        return False

    def verdict(self, change):
        path, offset, old, new = change
        file = self.source / path
        original = file.read_text()
        assert original.startswith(old, offset)
        file.write_text(original[:offset] + new + original[offset + len(old):])
        try:
            if not self.make(folder_of(path)):
                return "does not compile"
            return "killed" if self.is_noticed(folder_of(path)) else "SURVIVED"
        finally:
            file.write_text(original)


def describe(tree, change):
    path, offset, old, new = change
    text = (tree / path).read_text()
    number = text.count("\n", 0, offset) + 1
    line = text.splitlines()[number - 1].strip()
    return f"{path}:{number}: '{old.strip()}' -> '{new.strip()}'   {line}"


def main():
    tree, count, seed = pathlib.Path(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3])
    changes = sample(tree, count, seed, tuple(sys.argv[4:]) or tuple(TESTS))
    verdicts = []
    with tempfile.TemporaryDirectory() as scratch:
        local = threading.local()
        lock = threading.Lock()

        def try_change(change):
            if not hasattr(local, "workshop"):
                folder = pathlib.Path(tempfile.mkdtemp(dir=scratch))
                local.workshop = Workshop(tree, folder)
            verdict = local.workshop.verdict(change)
            with lock:
                verdicts.append(verdict)
                if verdict != "killed":
                    print(f"{verdict}: {describe(tree, change)}", flush=True)

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(try_change, changes))
    tried = len(verdicts) - verdicts.count("does not compile")
    killed = verdicts.count("killed")
    print(f"{len(verdicts)} changes, {verdicts.count('does not compile')} did not compile; "
          f"{killed} of {tried} killed, {tried - killed} survived")


if __name__ == "__main__":
    main()
