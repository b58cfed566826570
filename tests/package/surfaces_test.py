"""Surfaces that are made by somebody's build: the example project, and what the CMake function does with
images that change, that are refused, or whose names are awkward."""

import os
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
BUILD = Path(os.environ["PNGSLAB_BUILD_DIR"])
PROGRAM = os.environ["PNGSLAB_PROGRAM"]
QUILL, SEAL = TREE / "samples/quill.png", TREE / "samples/seal.png"
POSTMARK = TREE / "examples/postcard/postmark.png"
PROJECT = """cmake_minimum_required(VERSION 3.21)
project(assets LANGUAGES NONE)
find_package(Quillory REQUIRED)
"""


def run(*command):
    return subprocess.run([str(word) for word in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)


class Surfaces(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.installed = Path(scratch.name)
        run("cmake", "--install", BUILD, "--prefix", cls.installed).check_returncode()

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.source, self.built = Path(scratch.name) / "source", Path(scratch.name) / "built"
        self.source.mkdir()

    def configure(self, call, source=None, project=PROJECT):
        if call:
            (self.source / "CMakeLists.txt").write_text(project + f"quillory_add_surfaces({call})\n")
        return run("cmake", "-S", source or self.source, "-B", self.built,
                   f"-DCMAKE_PREFIX_PATH={self.installed}")

    def make(self, *options):
        return run("cmake", "--build", self.built, *options)

    def expect_made(self, call):
        configured = self.configure(call)
        self.assertEqual(0, configured.returncode, configured.stdout)
        made = self.make()
        self.assertEqual(0, made.returncode, made.stdout)
        return made.stdout

    def expect_refused_call(self, call, words):
        configured = self.configure(call)
        self.assertNotEqual(0, configured.returncode)
        self.assertIn(words, " ".join(configured.stdout.split()))

    def expect_surface(self, name, image, *options):
        """The build's surface is what the converter makes of the image."""
        direct = self.built / "direct.surface"
        run(PROGRAM, "--image", image, "--output", direct, *options).check_returncode()
        self.assertEqual(direct.read_bytes(), (self.built / name).read_bytes())

    def test_are_made_and_drawn_on_by_the_example(self):
        configured = self.configure(None, TREE / "examples/postcard")
        self.assertEqual(0, configured.returncode, configured.stdout)
        made = self.make()
        self.assertEqual(0, made.returncode, made.stdout)
        self.expect_surface("pictures/quill.surface", QUILL, "--rotation", "90")
        self.expect_surface("pictures/seal.surface", SEAL, "--rotation", "90")
        self.expect_surface("pictures/postmark.surface", POSTMARK, "--rotation", "90", "--alphaonly")
        postcard = self.built / "postcard.surface"
        drawn = run(self.built / "postcard", self.built / "pictures", postcard)
        self.assertEqual(0, drawn.returncode, drawn.stdout)
        before = (self.built / "pictures/quill.surface").read_bytes()
        after = postcard.read_bytes()
        self.assertEqual(before[:20], after[:20])
        self.assertNotEqual(before[20:], after[20:])
        # The picture of it in the documents is this one.
        self.expect_surface("postcard.surface", TREE / "docs/postcard.png", "--rotation", "90")

    def test_keep_the_folders_of_images_in_the_source(self):
        (self.source / "icons/small").mkdir(parents=True)
        shutil.copy(SEAL, self.source / "icons/small/seal.png")
        self.expect_made(f"TARGET icons IMAGES icons/small/seal.png {QUILL} OUTPUT_DIRECTORY out")
        self.expect_surface("out/icons/small/seal.surface", SEAL)
        self.expect_surface("out/quill.surface", QUILL)

    def test_may_have_awkward_names(self):
        name = "a 'b' $c d & (e)"
        shutil.copy(SEAL, self.source / f"{name}.png")
        self.expect_made(f'TARGET icons IMAGES "{name.replace("$", chr(92) + "$")}.png"')
        self.expect_surface(f"{name}.surface", SEAL)

    def test_are_made_again_only_if_the_image_changes(self):
        shutil.copy(SEAL, self.source / "picture.png")
        self.assertIn("Making", self.expect_made("TARGET icons IMAGES picture.png"))
        self.assertNotIn("Making", self.make().stdout)
        shutil.copy(QUILL, self.source / "picture.png")
        later = time.time() + 10
        os.utime(self.source / "picture.png", (later, later))
        self.assertIn("Making", self.make().stdout)
        self.expect_surface("picture.surface", QUILL)

    def test_of_refused_images_do_not_come_to_be(self):
        (self.source / "broken.png").write_bytes(SEAL.read_bytes()[:200])
        shutil.copy(SEAL, self.source / "good.png")
        self.assertEqual(0, self.configure("TARGET icons IMAGES broken.png good.png").returncode)
        made = self.make("--", "-k")
        self.assertNotEqual(0, made.returncode)
        self.assertIn("cannot decode PNG file", made.stdout)
        self.assertEqual(["good.surface"], sorted(p.name for p in self.built.glob("*.surface*")))

    def test_that_are_good_outlive_an_image_that_became_bad(self):
        shutil.copy(SEAL, self.source / "picture.png")
        self.expect_made("TARGET icons IMAGES picture.png")
        before = (self.built / "picture.surface").read_bytes()
        (self.source / "picture.png").write_bytes(b"no image")
        later = time.time() + 10
        os.utime(self.source / "picture.png", (later, later))
        self.assertNotEqual(0, self.make().returncode)
        self.assertEqual(before, (self.built / "picture.surface").read_bytes())

    def test_are_made_by_another_converter_where_one_is_named(self):
        converter = self.source / "converter"
        converter.write_text(f'#!/bin/sh\necho "$@" >"{self.source}/words"\nexec "{PROGRAM}" "$@"\n')
        converter.chmod(0o755)
        shutil.copy(SEAL, self.source / "picture.png")
        self.configure("TARGET icons IMAGES picture.png ROTATION 90")
        run("cmake", f"-DQUILLORY_PNGSLAB={converter}", self.built).check_returncode()
        self.assertEqual(0, self.make().returncode)
        self.assertIn("--rotation 90", (self.source / "words").read_text())

    def test_that_the_disk_has_no_room_for_do_not_come_to_be(self):
        converter = self.source / "converter"
        converter.write_text("#!/bin/sh\n: >\"$4\"\necho \"Generated surface for '$2', size 100 bytes\"\n")
        converter.chmod(0o755)
        shutil.copy(SEAL, self.source / "picture.png")
        self.configure("TARGET icons IMAGES picture.png")
        run("cmake", f"-DQUILLORY_PNGSLAB={converter}", self.built).check_returncode()
        self.assertNotEqual(0, self.make().returncode)
        self.assertEqual([], list(self.built.glob("*.surface*")))

    def test_are_listed_by_their_target(self):
        shutil.copy(SEAL, self.source / "picture.png")
        configured = self.configure("TARGET icons IMAGES picture.png)\n"
                                    "get_target_property(files icons QUILLORY_SURFACES)\n"
                                    "message(STATUS \"<${files}>\"")
        self.assertIn(f"<{self.built}/picture.surface>", configured.stdout)

    def test_need_a_target_images_and_known_words(self):
        usage = "quillory_add_surfaces(TARGET name IMAGES image.png"
        self.expect_refused_call("IMAGES picture.png", usage)
        self.expect_refused_call("TARGET icons", usage)
        self.expect_refused_call("TARGET icons IMAGES", usage)
        self.expect_refused_call("TARGET icons IMAGES picture.png ROTATION", usage)
        self.expect_refused_call("other TARGET icons IMAGES picture.png", usage)

    def test_need_names_that_tell_them_apart(self):
        self.expect_refused_call(f"TARGET icons IMAGES {SEAL} elsewhere/../seal.png", "would be made twice")

    def test_are_made_by_one_call_only(self):
        self.expect_refused_call(f"TARGET icons IMAGES {SEAL})\n"
                                 f"quillory_add_surfaces(TARGET others IMAGES {SEAL}",
                                 "seal.surface would be made twice")

    def test_may_be_made_of_images_that_the_build_makes(self):
        made = self.built / "made.png"
        self.expect_made(f"TARGET icons IMAGES {made})\n"
                         f"add_custom_command(OUTPUT {made} COMMAND cmake -E copy {SEAL} {made}")
        self.expect_surface("made.surface", SEAL)

    def test_may_be_made_by_a_project_that_asks_for_no_version_of_cmake(self):
        shutil.copy(SEAL, self.source / "picture.png")
        without = "".join(PROJECT.splitlines(keepends=True)[1:])
        configured = self.configure("TARGET icons IMAGES picture.png", project=without)
        self.assertEqual(0, configured.returncode, configured.stdout)
        self.assertNotIn("Policy", configured.stdout)

    def test_need_images_whose_names_end_in_png(self):
        self.expect_refused_call("TARGET icons IMAGES picture.jpg", "does not end in .png")


if __name__ == "__main__":
    unittest.main()
