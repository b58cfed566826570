// What stands in a PNG file beside its pixels.
#pragma once

#include "tools/slabtool/refusal.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

/// What the chunks of a file say. Fields of missing chunks keep these values.
struct PngFacts {
    uint32_t width = 0, height = 0;
    uint8_t bitDepth = 0, colorType = 0;
    bool hasTransparency = false, hasProfile = false, isSrgb = false, isAnimated = false;
    std::optional<uint32_t> gamma;                    ///< times 100,000
    uint32_t orientation = 1;                         ///< of Exif data, 1 to 8
    std::vector<std::array<uint8_t, 3>> palette = {}; ///< red, green, blue
    Bytes transparency = {}; ///< of an indexed image: alpha, entry by entry

    uint64_t pixels() const { return uint64_t{width} * height; }
};

/// Reads the chunks one after the other as far as their frames hold together, whatever stands in them.
PngFacts factsOf(ByteView file);
