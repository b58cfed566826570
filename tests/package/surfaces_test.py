"""quillory_add_surfaces(): the example project, and images that change, that are rejected, or that have awkward names."""

import os
import shutil
import subprocess
import tempfile
import time
import unittest
import zlib
from pathlib import Path

from png_chunks import chunk, png_file

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
BUILD = Path(os.environ["PNGSLAB_BUILD_DIR"])
PROGRAM = os.environ["PNGSLAB_PROGRAM"]
SLABTOOL = os.environ["PNGSLAB_SLABTOOL"]
QUILL, SEAL = TREE / "samples/quill.png", TREE / "samples/seal.png"
POSTMARK = TREE / "examples/postcard/postmark.png"
PROGRAM_IN_C = """#include "icons.h"
#include <stdio.h>
int main(void) {
    for (int i = 0; i < icons_count; ++i) {
        printf("%s %u x %u mode %u\\n", icons_index[i].name, icons_index[i].width, icons_index[i].height,
               icons_index[i].mode);
    }
    return 0;
}
"""
PROJECT = """cmake_minimum_required(VERSION 3.21)
project(assets LANGUAGES NONE)
find_package(Quillory REQUIRED)
"""


def indexed_image(red, green, blue):
    """One pixel, and a palette of one entry."""
    return png_file(1, 1, 3, chunk(b"PLTE", bytes([red, green, blue])), chunk(b"IDAT", zlib.compress(bytes(2), 0)))


def run(*command):
    return subprocess.run([str(word) for word in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)


class SurfaceBuilds(unittest.TestCase):
    """Builds with the installed files."""

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

    def configure(self, call, *options, source=None, project=PROJECT):
        if call:
            (self.source / "CMakeLists.txt").write_text(project + f"quillory_add_surfaces({call})\n")
        return run("cmake", "-S", source or self.source, "-B", self.built,
                   f"-DCMAKE_PREFIX_PATH={self.installed}", *options)

    def touch(self, name):
        """Makes a source newer than all files of the build."""
        later = time.time() + 10
        os.utime(self.source / name, (later, later))

    def make(self, *options):
        return run("cmake", "--build", self.built, *options)

    def expect_made(self, call, *options, **project):
        configured = self.configure(call, *options, **project)
        self.assertEqual(0, configured.returncode, configured.stdout)
        made = self.make()
        self.assertEqual(0, made.returncode, made.stdout)
        return made.stdout

    def expect_rejected_call(self, call, message):
        configured = self.configure(call)
        self.assertNotEqual(0, configured.returncode)
        self.assertIn(message, " ".join(configured.stdout.split()))

    def expect_converted(self, name, image, *options):
        """The build's surface is the one that slabtool makes of the image."""
        direct = self.built / "direct.surface"
        run(SLABTOOL, "convert", *options, image, direct).check_returncode()
        self.assertEqual(direct.read_bytes(), (self.built / name).read_bytes())

    def expect_surface(self, name, image, *options):
        """The build's surface is the one that pngslab makes of the image."""
        direct = self.built / "direct.surface"
        run(PROGRAM, "--image", image, "--output", direct, *options).check_returncode()
        self.assertEqual(direct.read_bytes(), (self.built / name).read_bytes())


class Surfaces(SurfaceBuilds):
    def test_are_made_and_drawn_on_by_the_example(self):
        configured = self.configure(None, source=TREE / "examples/postcard")
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
        # The documents contain this picture.
        self.expect_surface("postcard.surface", TREE / "docs/postcard.png", "--rotation", "90")
        # The second display.
        self.expect_converted("pictures/rgb565/quill.surface", QUILL, "--rotation", "90", "--mode", "RGB565",
                              "--dither", "ordered", "--background", "#F4ECD8")
        drawn = run(self.built / "postcard", self.built / "pictures", self.built / "small.surface", "rgb565/quill")
        self.assertEqual(0, drawn.returncode, drawn.stdout)
        self.expect_converted("small.surface", TREE / "docs/postcard-rgb565.png", "--rotation", "90",
                              "--mode", "RGB565")

    def test_keep_subfolders_of_the_source(self):
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
        self.touch("picture.png")
        self.assertIn("Making", self.make().stdout)
        self.expect_surface("picture.surface", QUILL)

    def test_are_made_again_if_the_options_change(self):
        self.expect_made(f"TARGET icons IMAGES {SEAL}")
        self.assertIn("Making", self.expect_made(f"TARGET icons IMAGES {SEAL} ROTATION 90"))
        self.expect_surface("seal.surface", SEAL, "--rotation", "90")

    def test_of_rejected_images_are_not_made(self):
        (self.source / "broken.png").write_bytes(SEAL.read_bytes()[:200])
        shutil.copy(SEAL, self.source / "good.png")
        self.assertEqual(0, self.configure("TARGET icons IMAGES broken.png good.png").returncode)
        made = self.make("--", "-k")
        self.assertNotEqual(0, made.returncode)
        self.assertIn("cannot decode PNG file", made.stdout)
        self.assertEqual(["good.surface"], sorted(p.name for p in self.built.glob("*.surface*")))

    def test_survive_an_image_that_becomes_invalid(self):
        shutil.copy(SEAL, self.source / "picture.png")
        self.expect_made("TARGET icons IMAGES picture.png")
        before = (self.built / "picture.surface").read_bytes()
        (self.source / "picture.png").write_bytes(b"no image")
        self.touch("picture.png")
        self.assertNotEqual(0, self.make().returncode)
        self.assertEqual(before, (self.built / "picture.surface").read_bytes())

    def test_are_made_by_another_converter_on_request(self):
        converter = self.source / "converter"
        converter.write_text(f'#!/bin/sh\necho "$@" >"{self.source}/words"\nexec "{PROGRAM}" "$@"\n')
        converter.chmod(0o755)
        shutil.copy(SEAL, self.source / "picture.png")
        self.configure("TARGET icons IMAGES picture.png ROTATION 90")
        run("cmake", f"-DQUILLORY_PNGSLAB={converter}", self.built).check_returncode()
        self.assertEqual(0, self.make().returncode)
        self.assertIn("--rotation 90", (self.source / "words").read_text())

    def test_are_not_made_on_a_full_disk(self):
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
        self.expect_rejected_call("IMAGES picture.png", usage)
        self.expect_rejected_call("TARGET icons", usage)
        self.expect_rejected_call("TARGET icons IMAGES", usage)
        self.expect_rejected_call("TARGET icons IMAGES picture.png ROTATION", usage)
        self.expect_rejected_call("other TARGET icons IMAGES picture.png", usage)

    def test_need_different_names(self):
        self.expect_rejected_call(f"TARGET icons IMAGES {SEAL} elsewhere/../seal.png", "would be made twice")

    def test_are_made_by_one_call(self):
        self.expect_rejected_call(f"TARGET icons IMAGES {SEAL})\n"
                                 f"quillory_add_surfaces(TARGET others IMAGES {SEAL}",
                                 "seal.surface would be made twice")

    def test_may_be_made_of_images_that_the_build_makes(self):
        made = self.built / "made.png"
        self.expect_made(f"TARGET icons IMAGES {made})\n"
                         f"add_custom_command(OUTPUT {made} COMMAND cmake -E copy {SEAL} {made}")
        self.expect_surface("made.surface", SEAL)

    def test_may_be_made_by_a_project_without_a_min_version_of_cmake(self):
        shutil.copy(SEAL, self.source / "picture.png")
        without = "".join(PROJECT.splitlines(keepends=True)[1:])
        configured = self.configure("TARGET icons IMAGES picture.png", project=without)
        self.assertEqual(0, configured.returncode, configured.stdout)
        self.assertNotIn("Policy", configured.stdout)

    def test_need_images_whose_names_end_in_png(self):
        self.expect_rejected_call("TARGET icons IMAGES picture.jpg", "does not end in .png")


class SurfacesBySlabtool(SurfaceBuilds):
    """Surfaces with options that pngslab does not have."""

    def test_have_the_requested_mode_dithering_and_background(self):
        for generator in ("Unix Makefiles", "Ninja"):
            with self.subTest(generator=generator):
                shutil.rmtree(self.built, ignore_errors=True)
                self.expect_made(f"TARGET icons IMAGES {QUILL} {SEAL} MODE RGB565 DITHER ordered "
                                 'BACKGROUND "#112233" ROTATION 90 OUTPUT_DIRECTORY out', "-G", generator)
                for name, image in (("quill", QUILL), ("seal", SEAL)):
                    self.expect_converted(f"out/{name}.surface", image, "--mode", "RGB565", "--dither", "ordered",
                                          "--background", "#112233", "--rotation", "90")

    def test_of_grayscale_may_be_alpha_only(self):
        self.expect_made(f"TARGET masks IMAGES {POSTMARK} ALPHA_ONLY MODE A8")
        self.expect_converted("postmark.surface", POSTMARK, "--mode", "A8", "--alphaonly")

    def test_may_have_palettes_that_are_cleaned_with_them(self):
        (self.source / "picture.png").write_bytes(indexed_image(red=1, green=2, blue=3))
        self.expect_made("TARGET icons IMAGES picture.png PALETTE")
        palette = self.built / "picture.palette"
        self.assertEqual(bytes([3, 2, 1]) + bytes(255 * 3), palette.read_bytes())
        self.assertEqual(0, self.make("--target", "clean").returncode)
        self.assertFalse(palette.exists() or (self.built / "picture.surface").exists())

    def test_are_made_again_separately(self):
        shutil.copy(SEAL, self.source / "one.png")
        shutil.copy(SEAL, self.source / "two.png")
        self.expect_made("TARGET icons IMAGES one.png two.png MODE RGB565")
        self.assertNotIn("Making", self.make().stdout)
        shutil.copy(QUILL, self.source / "two.png")
        self.touch("two.png")
        made = self.make().stdout
        self.assertIn("two.surface", made)
        self.assertNotIn("one.surface", made)
        self.expect_converted("two.surface", QUILL, "--mode", "RGB565")

    def test_are_made_again_in_a_folder_that_was_removed(self):
        self.expect_made(f"TARGET icons IMAGES {SEAL} MODE RGB565 OUTPUT_DIRECTORY out")
        shutil.rmtree(self.built / "out")
        self.assertEqual(0, self.make().returncode)
        self.expect_converted("out/seal.surface", SEAL, "--mode", "RGB565")

    def test_survive_an_image_that_becomes_invalid(self):
        shutil.copy(SEAL, self.source / "picture.png")
        self.expect_made("TARGET icons IMAGES picture.png MODE RGB565")
        before = (self.built / "picture.surface").read_bytes()
        (self.source / "picture.png").write_bytes(b"no image")
        self.touch("picture.png")
        made = self.make()
        self.assertNotEqual(0, made.returncode)
        self.assertIn("picture.png: rejected: ", made.stdout)
        self.assertEqual(before, (self.built / "picture.surface").read_bytes())

    def test_are_made_by_another_program_on_request(self):
        program = self.source / "program"
        program.write_text(f'#!/bin/sh\necho "$@" >"{self.source}/words"\nexec "{SLABTOOL}" "$@"\n')
        program.chmod(0o755)
        self.configure(f"TARGET icons IMAGES {SEAL} MODE RGB565")
        run("cmake", f"-DQUILLORY_SLABTOOL={program}", self.built).check_returncode()
        self.assertEqual(0, self.make().returncode)
        self.assertIn("--mode RGB565", (self.source / "words").read_text())

    def test_need_slabtool(self):
        installed = self.source / "installed"
        for component in ("pngslab", "development"):
            run("cmake", "--install", BUILD, "--prefix", installed, "--component", component).check_returncode()
        options = (f"-DCMAKE_PREFIX_PATH={installed}",)
        for option in ("MODE RGB565", "DITHER none", 'BACKGROUND "#000000"', "PALETTE", "EMBED"):
            with self.subTest(option=option):
                configured = self.configure(f"TARGET icons IMAGES {SEAL} {option}", *options)
                self.assertNotEqual(0, configured.returncode)
                self.assertIn("EMBED need slabtool", " ".join(configured.stdout.split()))
        configured = self.configure(f"TARGET icons IMAGES {SEAL}", *options)
        self.assertEqual(0, configured.returncode, configured.stdout)

    def test_need_values_of_options(self):
        for option in ("MODE", "DITHER", "BACKGROUND"):
            self.expect_rejected_call(f"TARGET icons IMAGES {SEAL} {option}", "quillory_add_surfaces(TARGET name")


class EmbeddedSurfaces(SurfaceBuilds):
    def expect_program(self, languages, source, call):
        (self.source / source).write_text(PROGRAM_IN_C)
        self.expect_made(f"{call})\nadd_executable(program {source})\n"
                         "target_link_libraries(program PRIVATE icons",
                         project=PROJECT.replace("NONE", languages))
        return run(self.built / "program").stdout

    def test_are_linked_by_programs_in_c_and_in_cpp(self):
        call = f"TARGET icons IMAGES {QUILL} {SEAL} MODE RGB565 DITHER ordered ROTATION 90 EMBED"
        for languages, source in (("C", "main.c"), ("CXX", "main.cpp"), ("C CXX", "main.cpp")):
            with self.subTest(languages=languages):
                shutil.rmtree(self.built, ignore_errors=True)
                self.assertEqual("quill 176 x 132 mode 2\nseal 44 x 44 mode 2\n",
                                 self.expect_program(languages, source, call))

    def test_are_converted_again_only_if_their_image_changes(self):
        for name in ("one.png", "two.png"):
            shutil.copy(SEAL, self.source / name)
        self.expect_program("C", "main.c", "TARGET icons IMAGES one.png two.png EMBED")
        self.assertNotIn("Making", self.make().stdout)
        shutil.copy(QUILL, self.source / "two.png")
        self.touch("two.png")
        made = self.make().stdout
        self.assertNotIn("one.surface", made)
        self.assertIn("Embedding", made)
        self.assertEqual("one 44 x 44 mode 0\ntwo 176 x 132 mode 0\n", run(self.built / "program").stdout)

    def test_are_a_part_of_the_default_build(self):
        self.expect_made(f"TARGET icons IMAGES {SEAL} EMBED", project=PROJECT.replace("NONE", "C"))
        self.assertTrue((self.built / "libicons.a").exists())

    def test_need_a_compiler(self):
        self.expect_rejected_call(f"TARGET icons IMAGES {SEAL} EMBED", "EMBED needs the language C or CXX")


if __name__ == "__main__":
    unittest.main()
