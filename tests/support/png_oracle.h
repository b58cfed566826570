// libpng as the reference of the tests.
#pragma once

#include "tests/support/same_bytes.h"
#include "tests/support/test_bytes.h"

#include <optional>

struct oracle_image_t {
    uint32_t width, height;
    byte_vector pixels;  ///< packed rows: gray or index; blue, green, red; gray, alpha; B, G, R, A
    byte_vector palette; ///< blue, green, red per entry; empty without a PLTE chunk
};

pixel_layout_t layout_of(const oracle_image_t& image);

/// The conversion of samples of other bit depths than 8, and of key colors.
enum class oracle_reading {
    as_stored,      ///< no conversion except for the order of the channels
    as_8_bits,      ///< widened or narrowed, indices unpacked
    with_key_alpha, ///< as 8 bits, and key colors as alpha
};

/// The image that libpng reads from a file; nothing if libpng rejects the file.
std::optional<oracle_image_t> oracle_decode_png(const byte_vector& file,
                                                oracle_reading reading = oracle_reading::as_stored);
