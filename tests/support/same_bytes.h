// Comparison of buffers, with the position of the first difference in the message.
#pragma once

#include "src/ds_surface.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

/// Whether two buffers are equal; if not, the first byte that differs.
testing::AssertionResult same_bytes(const byte_vector& expected, const byte_vector& got);

/// Rows of pixels in a buffer.
struct pixel_layout_t {
    uint64_t width, height;
    uint64_t stride; ///< bytes from one row to the next
    uint64_t pixel_bytes;
    uint64_t start = 0; ///< offset of the first row
};

/// The stored rows of a surface in its pixel buffer.
pixel_layout_t layout_of(const DsSurface& surface);

/// Whether two buffers are equal, with the bytes around the pixels. If not, the row and the column of the first
/// pixel that differs.
testing::AssertionResult same_pixels(const byte_vector& expected, const byte_vector& got,
                                     const pixel_layout_t& layout);
