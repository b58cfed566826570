"""Compiles the files that slabtool embed writes into programs in C and C++, which read or draw the surfaces."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

TREE = Path(os.environ["PNGSLAB_SOURCE_DIR"])
GRAPHICS = Path(os.environ["PNGSLAB_GRAPHICS"])
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror"]
C99 = ["gcc", "-std=c99", *WARNINGS]
CXX = ["g++", "-std=c++20", *WARNINGS, "-x", "c++"]

# Reads each surface of the index pixel by pixel, and prints a checksum of the colors.
C_PROGRAM = r"""
#include "icons.h"
#include "quillory_surface.h"
#include <inttypes.h>
#include <stdio.h>
int main(void) {
    int i;
    for (i = 0; i < icons_count; ++i) {
        const struct icons_entry* const entry = &icons_index[i];
        struct quillory_surface surface;
        uint32_t x, y, sum = 0;
        if (quillory_surface_open(&surface, entry->data, entry->size) != QUILLORY_ACCEPTED ||
            quillory_surface_width(&surface) != entry->width ||
            quillory_surface_height(&surface) != entry->height || quillory_surface_mode(&surface) != entry->mode) {
            return 1;
        }
        for (y = 0; y < entry->height; ++y) {
            for (x = 0; x < entry->width; ++x) {
                sum = sum * 31 + quillory_surface_pixel(&surface, x, y);
            }
        }
        printf("%s %" PRIu32 " %" PRIu32 "x%" PRIu32 " %08" PRIx32 "\n", entry->name, (uint32_t)((uintptr_t)entry->data % 4),
               entry->width, entry->height, sum);
    }
    return 0;
}
"""

# The same with the graphics core: blits each surface into a new one.
CXX_PROGRAM = r"""
#include "icons.h"
#include "src/ds_surface.h"
#include "src/pixel_kernels.h"
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
int main() {
    for (const icons_entry& entry : icons_index) {
        const DsSurface source(const_cast<uint8_t*>(entry.data)); // only read
        DsSurface canvas(static_cast<int32_t>(entry.width), static_cast<int32_t>(entry.height), source.getRotation(),
                         DsColorMode::ARGB8888, 0, 0, std::malloc, std::free, 0, 0);
        canvas.blit(0, 0, source, 0, 0);
        uint32_t sum = 0;
        for (int32_t y = 0; y < static_cast<int32_t>(entry.height); ++y) {
            for (int32_t x = 0; x < static_cast<int32_t>(entry.width); ++x) {
                int32_t column = x, row = y;
                canvas.mapPoint(column, row);
                const uint8_t* const pixel = canvas.getPixels() + static_cast<size_t>(row) * canvas.getStride() +
                                             static_cast<size_t>(column) * 4;
                sum = sum * 31 + (uint32_t{pixel[3]} << 24 | uint32_t{pixel[2]} << 16 | uint32_t{pixel[1]} << 8 | pixel[0]);
            }
        }
        std::printf("%s %u %" PRIu32 "x%" PRIu32 " %08" PRIx32 "\n", entry.name,
                    static_cast<unsigned>(reinterpret_cast<uintptr_t>(entry.data) % 4), entry.width, entry.height, sum);
    }
}
"""


class Build(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)
        for image, name, options in (("quill", "quill", ["--rotation", "90"]), ("seal", "seal \"2\"?", [])):
            self.run_here([os.environ["PNGSLAB_PROGRAM"], "--image", TREE / f"samples/{image}.png", "--output",
                           f"{name}.surface", *options])
        # 21 bytes, so that the next array needs padding for its alignment.
        (self.folder / "odd.surface").write_bytes(bytes([0] * 4 + [9] + [0] * 3 + [1, 0, 0, 0] * 3 + [7]))
        (self.folder / "program.c").write_text(C_PROGRAM)
        (self.folder / "program.cpp").write_text(CXX_PROGRAM)

    def run_here(self, command):
        ended = subprocess.run([str(word) for word in command], cwd=self.folder, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True)
        self.assertEqual(0, ended.returncode, ended.stdout)
        return ended.stdout

    def embed(self, *options):
        self.run_here([os.environ["PNGSLAB_SLABTOOL"], "embed", "-o", "icons", *options,
                       *sorted(path.name for path in self.folder.glob("*.surface"))])

    def pixel_sum(self, name):
        """Of the upright picture as read_surface prints it."""
        path = f"{name}.surface"
        width, height = map(int, self.run_here([os.environ["PNGSLAB_READER"], path]).split()[1:4:2])
        places = [number for y in range(height) for x in range(width) for number in (x, y)]
        total = 0
        for line in self.run_here([os.environ["PNGSLAB_READER"], path, *places]).splitlines():
            words = line.split()
            color = dict(zip(words[::2], map(int, words[1::2])))
            argb = (color["alpha"] << 24 | color.get("red", 0) << 16 | color.get("green", 0) << 8 |
                    color.get("blue", 0))
            total = (total * 31 + argb) % 2 ** 32
        return f"{name} 0 {width}x{height} {total:08x}\n"

    def expected(self):
        return "".join(map(self.pixel_sum, ("odd", "quill", "seal \"2\"?")))

    def test_of_c_draws_from_arrays(self):
        self.embed()
        self.run_here([*C99, "-I", TREE / "include", "program.c", "icons.c", "-o", "program"])
        self.assertEqual(self.expected(), self.run_here(["./program"]))

    def test_of_cpp_draws_from_arrays(self):
        self.embed()
        for source in ("icons.c", "program.cpp"):
            self.run_here([*CXX, "-I", TREE, "-c", source, "-o", f"{source}.o"])
        self.run_here(["g++", "program.cpp.o", "icons.c.o", GRAPHICS, "-o", "program"])
        self.assertEqual(self.expected(), self.run_here(["./program"]))

    def test_of_c_draws_from_arrays_in_assembly(self):
        self.embed("--format", "asm")
        self.run_here([*C99, "-I", TREE / "include", "program.c", "icons.c", "icons_data.s", "-o", "program"])
        self.assertEqual(self.expected(), self.run_here(["./program"]))

    def test_of_cpp_draws_from_arrays_in_assembly(self):
        self.embed("--format", "asm")
        for source in ("icons.c", "program.cpp"):
            self.run_here([*CXX, "-I", TREE, "-c", source, "-o", f"{source}.o"])
        self.run_here(["g++", "program.cpp.o", "icons.c.o", "icons_data.s", GRAPHICS, "-o", "program"])
        self.assertEqual(self.expected(), self.run_here(["./program"]))

    def test_in_assembly_stops_at_a_surface_of_another_size(self):
        self.embed("--format", "asm")
        surface = self.folder / "odd.surface"
        before = surface.read_bytes()
        for changed in (before + b"\0", before[:-1]):
            surface.write_bytes(changed)
            ended = subprocess.run(["gcc", "-c", "icons_data.s"], cwd=self.folder, stderr=subprocess.PIPE, text=True)
            self.assertEqual(1, ended.returncode)
            self.assertIn("the size of the surface file of icons_odd_surface has changed", ended.stderr)


if __name__ == "__main__":
    unittest.main()
