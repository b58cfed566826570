// PNG files of every bit depth and interlacing, written by libpng.
#pragma once

#include "tests/support/test_bytes.h"

struct written_image_t {
    uint8_t color_type;
    uint8_t bit_depth;
    bool interlaced;
    uint32_t width, height;
    byte_vector rows;         ///< packed as in the PNG standard, not interlaced
    byte_vector palette = {}; ///< red, green, blue per entry
    byte_vector trns = {};    ///< the data of that chunk
};

/// Bytes per row of `image`.
size_t packed_row_bytes(const written_image_t& image);

/// An image of noise. An indexed image has a palette entry for every index.
written_image_t noise_image(uint8_t color_type, uint8_t bit_depth, bool interlaced, uint32_t width,
                            uint32_t height);

/// The samples of an image as numbers, row by row.
std::vector<uint32_t> samples_of(const written_image_t& image);

byte_vector libpng_encode(const written_image_t& image);
