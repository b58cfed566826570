// Surfaces whose blocks lie between fences: bytes that nobody may touch, checked when the block is
// released, and poisoned for AddressSanitizer.
#pragma once

#include "png/png_decode.h"
#include "src/ds_surface.h"
#include "tests/support/test_bytes.h"

/// What a fenced block holds at first.
inline constexpr uint8_t kFreshByte = 0xC3;

/// Allocation callbacks of fenced blocks. Releasing one with a touched fence fails the test.
void* fenced_alloc(size_t byte_count);
void fenced_free(void* block);

/// The facts of a surface that matter to the decoder.
struct surface_shape_t {
    int32_t width, height;
    DsColorMode mode = DsColorMode::I8;
    uint8_t palette_has_alpha = 0;
    uint64_t palette_size = 256;
    uint64_t extra_bytes = 0;
    uint32_t alignment = 1;
};

DsSurface fenced_surface(const surface_shape_t& shape);

/// A surface as the findings of a header pass ask for it.
DsSurface fenced_surface_for(const png_info_t& info);

/// One that takes every image of up to 64 rows and 60 pixels a row.
DsSurface roomy_surface();

byte_vector pixel_block(const DsSurface& surface);
byte_vector palette_block(const DsSurface& surface);
