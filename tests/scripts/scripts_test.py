"""The scripts as a stranger meets them: help, missing packages, missing rights, old compilers. Fake programs
that are found first stand for another machine; each notes that it was called."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
SCRIPTS = sorted(path.name for path in (TREE / "scripts").glob("*.sh") if path.name != "common.sh")


class Scripts(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="scripts-")
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)
        self.calls = self.folder / "calls"
        self.bin = self.folder / "bin"
        self.bin.mkdir()
        self.path = f"{self.bin}:{os.environ['PATH']}"

    def fake(self, name, body):
        program = self.bin / name
        program.write_text(f'#!/bin/sh\necho "{name} $*" >>"{self.calls}"\n{body}\n')
        program.chmod(0o755)

    def leave_out(self, *names):
        """From now on only programs of this machine are found whose names do not begin like these."""
        for folder in ("/usr/sbin", "/usr/bin", "/sbin", "/bin"):
            for program in Path(folder).iterdir():
                link = self.bin / program.name
                if not program.name.startswith(names) and not link.exists() and not link.is_symlink():
                    link.symlink_to(program)
        self.path = str(self.bin)

    def run_script(self, *words, **variables):
        return subprocess.run(words, cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              check=False, env={**os.environ, "PATH": self.path, **variables})

    def common(self, commands, **variables):
        """Runs commands with what the scripts share."""
        return self.run_script("bash", "-c", f"set -eu; source '{TREE}/scripts/common.sh'; {commands}", "script",
                               **variables)

    def called(self):
        return self.calls.read_text() if self.calls.exists() else ""

    def test_help_explains_and_does_nothing(self):
        for name in ("apt-get", "sudo", "cmake", "ctest", "debootstrap", "g++", "python3"):
            self.fake(name, "exit 1")
        for script in SCRIPTS:
            for option in ("--help", "-h"):
                with self.subTest(script=script, option=option):
                    result = self.run_script(TREE / "scripts" / script, option)
                    self.assertEqual((0, ""), (result.returncode, result.stderr))
                    comment = (TREE / "scripts" / script).read_text().splitlines()[1]
                    self.assertEqual(comment, "# " + result.stdout.splitlines()[0])
                    self.assertNotIn("set -euo", result.stdout)
        self.assertEqual("", self.called())

    def test_unknown_arguments_are_rejected_before_anything_happens(self):
        self.fake("apt-get", "exit 1")
        self.fake("cmake", "exit 1")
        for script in ("lint", "package", "test", "test-fuzz-service", "test-package", "test-reproducible",
                       "test-valgrind", "test-worlds"):
            with self.subTest(script=script):
                result = self.run_script(TREE / f"scripts/{script}.sh", "--frobnicate")
                self.assertEqual((1, ""), (result.returncode, result.stdout))
                self.assertEqual(f"{script}.sh: unknown argument '--frobnicate'; --help explains the script\n",
                                 result.stderr)
        self.assertEqual("", self.called())

    def test_programs_count_wherever_they_came_from(self):
        self.fake("frobnicate", "")
        self.leave_out("apt", "dpkg")
        result = self.common("install_missing g++ cmake frobnicate libgtest-dev zlib1g-dev libchafa-dev")
        self.assertEqual((0, "", ""), (result.returncode, result.stdout, result.stderr))

    def test_other_distributions_are_told_what_is_missing(self):
        self.leave_out("apt", "dpkg")
        result = self.common("install_missing g++ frobnicate libfrobnicate-dev; echo not reached")
        self.assertEqual((1, ""), (result.returncode, result.stdout))
        self.assertEqual("script: what these Debian packages bring is missing here: frobnicate libfrobnicate-dev. "
                         "Install it with this system's package manager, then run the script again.\n",
                         result.stderr)

    def test_without_root_the_administrator_is_asked(self):
        self.fake("id", "echo 1000")
        self.fake("apt-get", "exit 1")
        self.leave_out("sudo")
        result = self.common("install_missing g++ frobnicate; echo not reached")
        self.assertEqual((1, ""), (result.returncode, result.stdout))
        self.assertEqual("script: packages are missing. Ask the administrator to run: "
                         "apt-get install --no-install-recommends frobnicate\n", result.stderr)
        self.assertNotIn("apt-get", self.called())

    def test_what_is_installed_and_its_size_are_named(self):
        self.fake("id", "echo 0")
        self.fake("apt-get", "echo Need to get 1,234 kB of archives.; echo After this operation, 5 MB are used.")
        result = self.common("install_missing frobnicate")
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertEqual("Installing frobnicate\n    Need to get 1,234 kB of archives.\n"
                         "    After this operation, 5 MB are used.\n", result.stdout)
        self.assertIn("apt-get install --no-install-recommends -y frobnicate", self.called())

    def test_no_script_names_a_package_registry(self):
        for script in [*(TREE / "scripts").iterdir(), TREE / ".ci/run"]:
            if script.is_file():
                with self.subTest(script=script.name):
                    self.assertNotRegex(script.read_text(), r"https?://|\w+\.(org|com|net)\b")

    def test_source_packages_come_from_the_machines_own_mirrors(self):
        parts = self.folder / "parts"
        parts.mkdir()
        (self.folder / "list").write_text("# deb none\ndeb [signed-by=/k.gpg] http://m/debian stable main\n"
                                          "deb cdrom:[x]/ stable main\ndeb-src http://m/debian stable main\n")
        (parts / "a.sources").write_text("Types: deb\nURIs: http://m/debian\nSuites: stable\nSigned-By: /k.gpg\n")
        (self.folder / "apt.conf").write_text(f'Dir::Etc::sourcelist "{self.folder}/list";\n'
                                              f'Dir::Etc::sourceparts "{parts}";\n')
        result = self.common("write_source_entries out", APT_CONFIG=str(self.folder / "apt.conf"))
        self.assertEqual(0, result.returncode, result.stderr)
        self.assertEqual("deb-src [signed-by=/k.gpg] http://m/debian stable main\n"
                         "deb-src http://m/debian stable main\n",
                         (self.folder / "out/one-line-list").read_text())
        self.assertEqual("Types: deb-src\nURIs: http://m/debian\nSuites: stable\nSigned-By: /k.gpg\n",
                         (self.folder / "out/a.sources").read_text())

    def test_another_parallel_is_no_gnu_parallel(self):
        self.fake("parallel", "echo parallel of other tools")
        self.leave_out("dpkg")
        self.assertEqual(1, self.common("is_there parallel").returncode)
        self.fake("parallel", "echo GNU parallel 20221122")
        self.assertEqual(0, self.common("is_there parallel").returncode)

    def test_an_older_cmake_is_named_in_one_sentence(self):
        self.fake("apt-get", "exit 1")
        self.fake("make", "")
        self.fake("cmake", "echo cmake version 3.18.4")
        result = self.run_script(TREE / "scripts/convert.sh", "a.png", "a.surface")
        self.assertEqual(1, result.returncode)
        self.assertEqual("convert.sh: pngslab needs CMake 3.21 or newer; this is CMake 3.18.4.\n", result.stderr)

    def test_an_older_compiler_is_named_in_one_sentence(self):
        for version, words, name in (("11", "c++ (Debian 11.3.0)", "g++ 11"),
                                     ("12.0.1", "Debian clang version 12.0.1", "clang 12.0.1")):
            with self.subTest(name=name):
                self.fake("apt-get", "exit 1")
                self.fake("make", "")
                self.fake("old", f'[ "$1" = -dumpversion ] && echo {version} || echo "{words}"')
                result = self.run_script(TREE / "scripts/convert.sh", "a.png", "a.surface", CXX="old")
                self.assertEqual(1, result.returncode)
                self.assertEqual(f"convert.sh: pngslab needs g++ 12 or clang 13, or newer; this is {name}. "
                                 "CXX=... chooses another one.\n", result.stderr)

    def test_the_compiler_may_have_options(self):
        result = self.common("check_compiler && is_there g++ && is_there libgtest-dev", CXX="g++ -m64")
        self.assertEqual((0, ""), (result.returncode, result.stderr))

    def bench_tree(self):
        """Returns a copy of what a count of instructions needs, without programs. Each count is that in a file."""
        tree = self.folder / "tree"
        for path in ("scripts/bench.sh", "scripts/common.sh", "bench/make_images.py", "samples/quill.png"):
            (tree / path).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(TREE / path, tree / path)
        pixel_jobs = tree / "build/bench/bin/pixel_jobs"
        pixel_jobs.parent.mkdir(parents=True)
        pixel_jobs.write_text("#!/bin/sh\necho fill\n")
        pixel_jobs.chmod(0o755)
        self.fake("id", "echo 0")
        self.fake("apt-get", "")
        self.fake("cmake", "echo cmake version 3.21.0")
        self.fake("valgrind", f"echo Collected : $(cat '{self.folder}/count')")
        return tree

    def count_instructions(self, tree, count, *options, **variables):
        (self.folder / "count").write_text(count)
        return self.run_script(tree / "scripts/bench.sh", "--instructions", *options, **variables)

    def test_over_2_percent_more_instructions_than_recorded_are_an_error(self):
        tree = self.bench_tree()
        result = self.count_instructions(tree, "1000000", "--record")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        result = self.count_instructions(tree, "1019000")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertRegex(result.stdout, r"(?m)^decode/quill +1\.0190 +\+1\.90 %$")
        self.assertRegex(result.stdout, r"(?m)^pixels/fill +1\.0190 +\+1\.90 %$")
        result = self.count_instructions(tree, "1021000")
        self.assertEqual(1, result.returncode)
        self.assertRegex(result.stdout, r"(?m)^deflate/rgba-icon-mixed +1\.0210 +\+2\.10 %  more than 2 %$")
        self.assertEqual("bench.sh: the jobs or their instructions differ from bench/instructions.txt. If that is "
                         "intended, run scripts/bench.sh --instructions --record\n", result.stderr)

    def test_a_job_without_a_record_is_an_error(self):
        tree = self.bench_tree()
        self.count_instructions(tree, "1000000", "--record")
        record = tree / "bench/instructions.txt"
        record.write_text(record.read_text().replace("decode/quill", "decode/quilt"))
        result = self.count_instructions(tree, "1000000")
        self.assertEqual(1, result.returncode)
        self.assertRegex(result.stdout, r"(?m)^decode/quill +is not in the record$")
        self.assertRegex(result.stdout, r"(?m)^decode/quilt +is only in the record$")

    def test_a_program_without_instructions_is_an_error(self):
        result = self.count_instructions(self.bench_tree(), "0", "--record")
        self.assertEqual((1, "bench.sh: callgrind counts no instructions of decode/quill\n"),
                         (result.returncode, result.stderr))

    def test_instructions_of_other_compilers_are_not_checked(self):
        tree = self.bench_tree()
        (tree / "bench/instructions.txt").write_text("# Millions of instructions with frobnicator 1\n")
        result = self.count_instructions(tree, "1000000")
        self.assertEqual((0, ""), (result.returncode, result.stderr))
        self.assertIn("Nothing is checked: the versions differ from those of the record.\n"
                      "# Millions of instructions with frobnicator 1\n# Millions of instructions with ", result.stdout)
        self.assertNotIn("valgrind", self.called())

    def test_documents_name_the_same_minima(self):
        readme = " ".join((TREE / "README.md").read_text().split())
        self.assertIn("The oldest that work are g++ 12, clang 13 and CMake 3.21.", readme)
        self.assertIn("cmake_minimum_required(VERSION 3.21)", (TREE / "CMakeLists.txt").read_text())
        sentence = "pngslab needs g++ 12 or clang 13, or newer; this is "
        for file in ("CMakeLists.txt", "scripts/common.sh", "docs/troubleshooting.md"):
            self.assertIn(sentence, (TREE / file).read_text(), file)

    def test_presets_with_tests_build_them(self):
        presets = json.loads((TREE / "CMakePresets.json").read_text())
        configure = {each["name"]: each for each in presets["configurePresets"]}

        def variables(name):
            result = {}
            for parent in configure[name].get("inherits", []):
                result.update(variables(parent))
            return {**result, **configure[name].get("cacheVariables", {})}

        visible = {name for name, each in configure.items() if not each.get("hidden")}
        self.assertEqual(visible, {each["name"] for each in presets["buildPresets"]})
        tested = {each["name"] for each in presets["testPresets"] if not each.get("hidden")}
        options = ("PNGSLAB_TESTS", "PNGSLAB_FUZZERS", "PNGSLAB_BENCH")
        self.assertEqual(tested, {name for name in visible
                                  if any(variables(name).get(option) == "ON" for option in options)})

    def test_cmake_names_an_older_compiler_too(self):
        self.fake("old", 'exec g++ -U__GNUC__ -D__GNUC__=11 "$@"')
        result = self.run_script("cmake", "-S", TREE, "-B", self.folder / "build",
                                 f"-DCMAKE_CXX_COMPILER={self.bin}/old")
        self.assertNotEqual(0, result.returncode)
        self.assertIn("pngslab needs g++ 12 or clang 13, or newer; this is GNU 11.", result.stderr)

    def test_a_test_run_off_a_terminal_prints_failures_and_a_summary(self):
        self.fake("ctest", "printf '%s\\n' '      Start 1: A.B' '1/2 Test #1: A.B ....   Passed    0.01 sec' "
                  "'2/2 Test #2: A.C ....***Failed    0.01 sec' 'what went wrong' "
                  "'50% tests passed, 1 tests failed out of 2'; exit 8")
        result = self.common("run_tests --preset none")
        self.assertEqual(8, result.returncode)
        self.assertEqual("2/2 Test #2: A.C ....***Failed    0.01 sec\nwhat went wrong\n"
                         "50% tests passed, 1 tests failed out of 2\n", result.stdout)


if __name__ == "__main__":
    unittest.main()
