// A plain model of how rows are laid into a surface: one array that holds the decompressed rows at
// its end and takes the pixels from its start, pixel by pixel, whatever overtakes what.
#pragma once

#include "tests/support/test_bytes.h"

struct row_layout_t {
    uint8_t color_type;
    uint32_t width, height;
    uint64_t stride; ///< bytes from one row of the surface to the next
};

struct model_block_t {
    bool stays_inside; ///< false: some row would be read or written outside the block
    byte_vector bytes; ///< the pixel block afterwards, up to there
};

/// What becomes of a pixel block with the contents `block` when rows that decompress to `filtered`
/// are laid into it.
model_block_t model_rows(const byte_vector& block, const row_layout_t& layout,
                         const byte_vector& filtered);
