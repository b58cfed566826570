// libpng as the other party of the tests.
#pragma once

#include "tests/support/test_bytes.h"

#include <optional>

struct oracle_image {
    uint32_t width, height;
    byte_vector pixels;  ///< packed rows: grey or index; blue, green, red; grey, alpha; B, G, R, A
    byte_vector palette; ///< blue, green, red an entry; empty without a PLTE chunk
};

/// What libpng reads from a file of 8-bit samples, without any conversion but the order of the
/// channels; nothing if it refuses the file.
std::optional<oracle_image> oracle_decode_png(const byte_vector& file);
