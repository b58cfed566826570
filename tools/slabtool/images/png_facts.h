// The properties of a PNG file, without its pixels.
#pragma once

#include "tools/slabtool/rejection.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

/// The content of the chunks. Fields of missing chunks keep these values.
struct PngFacts {
    uint32_t width = 0, height = 0;
    uint8_t bitDepth = 0, colorType = 0;
    bool hasTransparency = false, hasProfile = false, isSrgb = false, isAnimated = false;
    std::optional<uint32_t> gamma;                    ///< times 100,000
    uint32_t orientation = 1;                         ///< from Exif data, 1 to 8
    std::vector<std::array<uint8_t, 3>> palette = {}; ///< red, green, blue
    Bytes transparency = {}; ///< alpha of the palette entries of an indexed image

    uint64_t pixels() const { return uint64_t{width} * height; }
};

/// Reads all chunks up to the first one that does not fit the file. Checks neither their content nor their checksums.
PngFacts factsOf(ByteView file);
