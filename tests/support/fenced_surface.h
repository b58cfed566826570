// Surfaces whose buffers have fences around them: bytes that must not change. They are checked when the
// buffer is released, and poisoned for AddressSanitizer.
#pragma once

#include "png/png_decode.h"
#include "src/ds_surface.h"
#include "tests/support/test_bytes.h"

/// The initial content of a fenced buffer.
inline constexpr uint8_t kFreshByte = 0xC3;

/// Allocation callbacks of fenced buffers. Releasing one with a changed fence fails the test.
void* fenced_alloc(size_t byte_count);
void fenced_free(void* buffer);

/// The properties of a surface that matter to the decoder.
struct surface_shape_t {
    int32_t width, height;
    DsColorMode mode = DsColorMode::I8;
    uint8_t palette_has_alpha = 0;
    uint64_t palette_size = 256;
    uint64_t extra_bytes = 0;
    uint32_t alignment = 1;
};

DsSurface fenced_surface(const surface_shape_t& shape);

/// A surface that fits the result of a header pass.
DsSurface fenced_surface_for(const png_info_t& info);

/// A surface that fits every image of up to 64 rows and 60 pixels per row.
DsSurface roomy_surface();

byte_vector pixel_buffer(const DsSurface& surface);
byte_vector palette_buffer(const DsSurface& surface);
