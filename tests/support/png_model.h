// A simple model of the conversion of rows in place: one array has the decompressed rows at its end, and
// the pixels are written from its start, pixel by pixel. Pixels may overtake the rows.
#pragma once

#include "tests/support/test_bytes.h"

struct row_layout_t {
    uint8_t color_type;
    uint32_t width, height;
    uint64_t stride; ///< bytes from one row of the surface to the next
};

struct model_buffer_t {
    bool stays_inside; ///< false if a row would be read or written outside the buffer
    byte_vector bytes; ///< the pixel buffer afterwards, or at the first access outside
};

/// The result of converting the decompressed rows `filtered` in a pixel buffer with the content `buffer`.
model_buffer_t model_rows(const byte_vector& buffer, const row_layout_t& layout,
                          const byte_vector& filtered);
