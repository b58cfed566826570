// PNG files of every depth and interlacing, as libpng writes them.
#pragma once

#include "tests/support/test_bytes.h"

struct written_image_t {
    uint8_t color_type;
    uint8_t bit_depth;
    bool interlaced;
    uint32_t width, height;
    byte_vector rows;         ///< packed as the PNG standard has it, not interlaced
    byte_vector palette = {}; ///< red, green, blue an entry
    byte_vector trns = {};    ///< the data of that chunk
};

/// Bytes of a row of `image`.
size_t packed_row_bytes(const written_image_t& image);

/// An image of noise; a palette, if it needs one, has an entry for every index.
written_image_t noise_image(uint8_t color_type, uint8_t bit_depth, bool interlaced, uint32_t width,
                            uint32_t height);

/// The samples of an image, one a number, row by row.
std::vector<uint32_t> samples_of(const written_image_t& image);

byte_vector libpng_encode(const written_image_t& image);
