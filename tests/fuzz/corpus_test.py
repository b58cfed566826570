"""The seed archives of the fuzzers, and the script that packs them."""

import os
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])


def pack(archive, *folders):
    subprocess.run([sys.executable, TREE / "fuzz/pack_corpus.py", archive, *folders], check=True)
    return archive.read_bytes()


class SeedArchives(unittest.TestCase):
    def test_exist_for_each_fuzzer(self):
        fuzzers = {file.stem for file in (TREE / "fuzz").glob("fuzz_*.cpp")}
        archives = {file.name.removesuffix("_seed_corpus.zip"): file for file in (TREE / "fuzz/corpus").iterdir()}
        self.assertEqual(fuzzers, set(archives))
        for name, file in archives.items():
            with self.subTest(fuzzer=name), zipfile.ZipFile(file) as archive:
                self.assertIsNone(archive.testzip())
                self.assertTrue(archive.namelist())

    def test_hold_equal_inputs_once_whatever_their_order(self):
        with tempfile.TemporaryDirectory() as name:
            scratch = Path(name)
            for folder, inputs in {"a": [b"one", b"two"], "b": [b"two", b"three", b"one"]}.items():
                (scratch / folder).mkdir()
                for number, data in enumerate(inputs):
                    (scratch / folder / str(number)).write_bytes(data)
            first = pack(scratch / "1.zip", scratch / "a", scratch / "b")
            self.assertEqual(first, pack(scratch / "2.zip", scratch / "b", scratch / "a"))
            with zipfile.ZipFile(scratch / "1.zip") as archive:
                self.assertEqual([b"one", b"three", b"two"], sorted(map(archive.read, archive.namelist())))


if __name__ == "__main__":
    unittest.main()
