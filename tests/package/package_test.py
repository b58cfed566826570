"""The installed files: moved to another folder, found by CMake and pkg-config, as part of another tree, and as Debian
packages."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zlib
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
BUILD = Path(os.environ["PNGSLAB_BUILD_DIR"])
CONSUMER = TREE / "tests/package/consumer"
SAMPLE = TREE / "samples/quill.png"
HEADERS = [
    "inflate/src/streams.h", "png/png_crc32.h", "png/png_decode.h", "png/surface_from_png.h", "quillory_surface.h",
    "src/ds_color_mode.h", "src/ds_ellipse.h", "src/ds_region.h", "src/ds_surface.h",
    "src/pixel_kernels.h", "src/span_fill.h",
]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror"]
# The public names that the libraries define: functions, variables, classes, and a constant that only builds without
# optimization define.
PUBLIC_NAMES = {
    "DsEllipse", "DsFRect", "DsRect", "DsRegion", "DsSurface", "bytesPerPixel", "roundPoint", "unitArcExtents",
    "blendPixels", "convertPixels", "fillBytes", "fillPixels", "blendSpan", "blendSpanStrided",
    "gBlendBytesPerPixel", "gBlendColor", "gBlendColorMode", "setBlendColor",
    "bitstream_align", "bitstream_extract", "bitstream_remaining", "bitstream_unread", "huffman_attach",
    "huffman_build", "huffman_decode", "inflate_init_fixed", "inflate_process",
    "png_crc32", "png_decode", "surface_from_png", "kEmptySpan",
}
INTERNAL_NAMESPACES = {"ds_detail", "inflate_detail", "png_detail"}
# Inline functions and templates of the standard library, and names that compilers add.
NAMES_OF_OTHERS = re.compile(r"_Z(T[VIS]|GV|Z)*N?K?S[a-z]|__gnu_cxx$|_Z(nw|dl)|DW\.ref\.|__clang_call_terminate$")
LINK = re.compile(r"\]\((?!https?:)([^)#]+)(?:#[^)]*)?\)")


def run(*command, **surroundings):
    """Runs a command, which must succeed, and returns its output."""
    ended = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT, text=True, **surroundings)
    if ended.returncode != 0:
        raise AssertionError(f"{command} ended with {ended.returncode}:\n{ended.stdout}")
    return ended.stdout


def outermost_name(symbol):
    """The outermost name in a mangled one: DsRect for DsRect::bounds() and for its virtual table. Other names are kept."""
    found = re.match(r"_Z(?:T[VIS]|GV|Z)*N?K?([0-9]+)(.+)", symbol)
    return found[2][:int(found[1])] if found else symbol


def consumer_output():
    image = SAMPLE.read_bytes()
    return f"176 x 132, checksum {zlib.crc32(image):08x}, first bits {image[0] & 15}, radius 2\n"


class Package(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)

    def install(self):
        """Installs into a folder, moves it, and returns the new path."""
        run("cmake", "--install", BUILD, "--prefix", self.folder / "first")
        return (self.folder / "first").rename(self.folder / "moved")

    def build(self, project, *options):
        folder = self.folder / "build"
        run("cmake", "-S", project, "-B", folder, *options)
        run("cmake", "--build", folder)
        return folder

    def expect_consumer(self, *options, surface_bytes=92948):
        built = self.build(CONSUMER, f"-DIMAGES={SAMPLE}", *options)
        self.assertEqual(consumer_output(), run(built / "consumer", SAMPLE))
        self.assertEqual(surface_bytes, (built / "quill.surface").stat().st_size)
        self.assertEqual("176 x 132\n", run(built / "c_consumer", built / "quill.surface"))


class Installation(Package):
    def test_is_found_by_cmake_after_it_was_moved(self):
        self.expect_consumer(f"-DCMAKE_PREFIX_PATH={self.install()}")

    def test_is_found_by_pkg_config_after_it_was_moved(self):
        files = next(self.install().rglob("pkgconfig"))
        flags = run("pkg-config", "--cflags", "--libs", "quillory-png",
                    env={**os.environ, "PKG_CONFIG_PATH": str(files)}).split()
        run("g++", "-std=c++20", CONSUMER / "consumer.cpp", "-o", self.folder / "consumer", *flags)
        self.assertEqual(consumer_output(), run(self.folder / "consumer", SAMPLE))

    def test_has_a_pkg_config_file_of_every_module(self):
        files = next(self.install().rglob("pkgconfig"))
        for module, library in [("graphics", "ds_graphics"), ("inflate", "inflate"), ("png", "png_surface")]:
            with self.subTest(module=module):
                flags = run("pkg-config", "--libs", f"quillory-{module} >= 1.0",
                            env={**os.environ, "PKG_CONFIG_PATH": str(files)})
                self.assertIn(f"-l{library}", flags.split())

    def test_is_found_by_pkg_config_in_every_library_folder(self):
        for library_folder in ("lib64", "lib/x86_64-linux-gnu", self.folder / "elsewhere"):
            with self.subTest(library_folder=str(library_folder)):
                built = self.folder / "configured"
                run("cmake", "-S", TREE, "-B", built, f"-DCMAKE_INSTALL_PREFIX={self.folder}/prefix",
                    f"-DCMAKE_INSTALL_LIBDIR={library_folder}")
                libraries = self.folder / "prefix" / library_folder
                files = libraries / "pkgconfig"
                files.mkdir(parents=True)
                for file in built.glob("*.pc"):
                    shutil.copy(file, files)
                for variable, folder in (("libdir", libraries / "quillory"),
                                         ("includedir", self.folder / "prefix/include/quillory")):
                    found = run("pkg-config", f"--variable={variable}", "quillory-png",
                                env={**os.environ, "PKG_CONFIG_PATH": str(files)})
                    self.assertEqual(str(folder), os.path.normpath(found.strip()))

    def test_has_public_headers_that_compile_alone(self):
        includes = self.install() / "include/quillory"
        self.assertEqual(HEADERS, sorted(str(path.relative_to(includes)) for path in includes.rglob("*.*")))
        for header in HEADERS:
            with self.subTest(header=header):
                run("g++", "-std=c++20", "-fsyntax-only", "-x", "c++", "-I", includes,
                    includes / header)
        run("gcc", "-std=c99", "-fsyntax-only", *WARNINGS, includes / "quillory_surface.h")

    def test_has_libraries_that_define_only_public_names(self):
        libraries = sorted(self.install().rglob("*.a"))
        self.assertEqual(["libds_graphics.a", "libinflate.a", "libpng_surface.a"],
                         [library.name for library in libraries])
        symbols = run("nm", "--defined-only", "--extern-only", *libraries)
        names = {outermost_name(symbol) for symbol in re.findall("^[0-9a-f]+ . (.+)$", symbols, re.MULTILINE)}
        names -= INTERNAL_NAMESPACES
        self.assertEqual(PUBLIC_NAMES, {name for name in names if not NAMES_OF_OTHERS.match(name)} | {"kEmptySpan"})

    def test_has_a_manual_page_and_completions_of_each_program(self):
        share = self.install() / "share"
        for program in ("pngslab", "slabtool"):
            for file in (f"man/man1/{program}.1", f"bash-completion/completions/{program}",
                         f"zsh/site-functions/_{program}", f"fish/vendor_completions.d/{program}.fish"):
                with self.subTest(file=file):
                    self.assertIn(program, (share / file).read_text())

    def test_has_pages_without_broken_links(self):
        pages = self.install() / "share/doc/quillory"
        documents = {str(page.relative_to(pages)): page for page in pages.rglob("*.md")}
        self.assertLessEqual({"README.md", "SECURITY.md", "docs/surface-file.md"}, set(documents))
        for name, page in documents.items():
            for link in LINK.findall(page.read_text()):
                with self.subTest(page=name, link=link):
                    target = (page.parent / link).resolve()
                    self.assertTrue(target.is_relative_to(pages.resolve()) and target.exists())

    def test_has_readers_and_examples_that_work(self):
        prefix = self.install()
        pages = prefix / "share/doc/quillory"
        surface = self.folder / "quill.surface"
        run(prefix / "bin/pngslab", "--image", pages / "samples/quill.png", "--output", surface)
        reader = self.folder / "read_surface"
        flags = run("pkg-config", "--cflags", "quillory-graphics",
                    env={**os.environ, "PKG_CONFIG_PATH": str(next(prefix.rglob("pkgconfig")))}).split()
        run("gcc", "-std=c99", pages / "examples/read_surface.c", "-o", reader, *flags)
        for command in ([reader], [sys.executable, "-B", pages / "examples/read_surface.py"]):
            self.assertIn("size 176 x 132\n", run(*command, surface))
        flags = run("pkg-config", "--cflags", "--libs", "quillory-graphics",
                    env={**os.environ, "PKG_CONFIG_PATH": str(next(prefix.rglob("pkgconfig")))}).split()
        drawing = self.folder / "draw_on_surface"
        run("g++", "-std=c++20", pages / "examples/draw_on_surface.cpp", "-o", drawing, *flags)
        run(drawing, surface, surface)
        built = self.build(pages / "examples/postcard", f"-DCMAKE_PREFIX_PATH={prefix}")
        run(built / "postcard", built / "pictures", self.folder / "postcard.surface")

    def test_has_no_empty_folders(self):
        empty = [path for path in self.install().rglob("*") if path.is_dir() and not any(path.iterdir())]
        self.assertEqual([], empty)

    def test_has_no_absolute_paths(self):
        installed = self.install()
        # A developer build may contain paths in its debug information.
        run("strip", "--strip-debug", *installed.glob("bin/*"), *installed.rglob("*.a"))
        for path in installed.rglob("*"):
            if path.is_file():
                with self.subTest(file=path.name):
                    contents = path.read_bytes()
                    for folder in (TREE, BUILD, self.folder):
                        self.assertFalse(str(folder).encode() in contents, folder)


class Tree(Package):
    def test_can_be_part_of_another_project(self):
        self.expect_consumer(f"-DQUILLORY_TREE={TREE}")
        # The installation of the other project has no files of this one.
        run("cmake", "--install", self.folder / "build", "--prefix", self.folder / "installed")
        self.assertFalse((self.folder / "installed").exists())

    def test_provides_slabtool_to_another_project(self):
        run("cmake", "-S", CONSUMER, "-B", self.folder / "build", f"-DQUILLORY_TREE={TREE}", f"-DIMAGES={SAMPLE}",
            "-DPNGSLAB_TOOL=ON", "-DSURFACE_OPTIONS=MODE;RGB565")


class DebianPackages(Package):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", scratch.name, cwd=scratch.name,
            umask=0o077)
        cls.files = sorted(Path(scratch.name).glob("*.deb"))

    def field(self, package, name):
        file = next(file for file in self.files if file.name.startswith(package + "_"))
        return run("dpkg-deb", "--field", file, name).strip()

    def test_are_three(self):
        self.assertEqual(["libquillory-dev", "pngslab", "slabtool"],
                         [file.name.split("_")[0] for file in self.files])

    def test_depend_only_on_packages_that_they_need(self):
        self.assertEqual("", self.field("pngslab", "Depends"))
        self.assertIn("libpng16-16", self.field("slabtool", "Depends"))
        self.assertEqual(f"pngslab (= {self.field('pngslab', 'Version')})", self.field("libquillory-dev", "Depends"))
        self.assertEqual("slabtool", self.field("libquillory-dev", "Suggests"))

    def test_have_descriptions(self):
        for package, words in [("pngslab", "Turns PNG images"), ("slabtool", "Converts folders of PNG images"),
                               ("libquillory-dev", "Surfaces, PNG and DEFLATE decoders")]:
            with self.subTest(package=package):
                self.assertTrue(self.field(package, "Description").startswith(words))

    def test_are_readable_for_all_users(self):
        for file in self.files:
            for line in run("dpkg-deb", "--contents", file).splitlines():
                with self.subTest(file=file.name, line=line):
                    self.assertRegex(line, "^(d.*/|-.*/bin/.*|-rw-r--r-- .*)$")
                    self.assertRegex(line, "^(drwxr-xr-x|-rwxr-xr-x|-rw-r--r--) root/root ")

    def test_have_programs_that_run(self):
        for file in self.files:
            run("dpkg-deb", "--extract", file, self.folder)
        programs = self.folder / "usr/bin"
        surface = self.folder / "quill.surface"
        run(programs / "pngslab", "--image", SAMPLE, "--output", surface, env={})
        self.assertIn("consistent", run(programs / "slabtool", "info", surface, env={}))

    def test_have_the_cmake_package(self):
        for file in self.files:
            run("dpkg-deb", "--extract", file, self.folder)
        self.expect_consumer(f"-DCMAKE_PREFIX_PATH={self.folder}/usr", "-DSURFACE_OPTIONS=MODE;RGB565",
                             surface_bytes=46484)

    def test_have_a_cmake_package_that_works_without_slabtool(self):
        for file in self.files:
            if not file.name.startswith("slabtool_"):
                run("dpkg-deb", "--extract", file, self.folder)
        self.expect_consumer(f"-DCMAKE_PREFIX_PATH={self.folder}/usr")


if __name__ == "__main__":
    unittest.main()
