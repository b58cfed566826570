// The filters of the PNG standard sample by sample: the definition, and the tails of the SIMD rows.
#pragma once

#include "png/internal/row_backend.h"

#include <cstdint>
#include <cstdlib>

namespace png_detail {

// The prediction of each filter, which is added to a sample. The arguments are its neighbors.
struct no_filter_t {
    static uint32_t predict(uint32_t, uint32_t, uint32_t) { return 0; }
};

struct sub_filter_t {
    static uint32_t predict(uint32_t left, uint32_t, uint32_t) { return left; }
};

struct up_filter_t {
    static uint32_t predict(uint32_t, uint32_t up, uint32_t) { return up; }
};

struct average_filter_t {
    static uint32_t predict(uint32_t left, uint32_t up, uint32_t) { return (left + up) / 2; }
};

struct paeth_filter_t {
    static uint32_t predict(uint32_t left, uint32_t up, uint32_t upLeft) {
        const auto toUp = static_cast<int32_t>(up) - static_cast<int32_t>(upLeft);
        const auto toLeft = static_cast<int32_t>(left) - static_cast<int32_t>(upLeft);
        const int32_t distanceLeft = std::abs(toUp);
        const int32_t distanceUp = std::abs(toLeft);
        const int32_t distanceUpLeft = std::abs(toUp + toLeft);
        if (distanceLeft <= distanceUp && distanceLeft <= distanceUpLeft) {
            return left;
        }
        return distanceUp <= distanceUpLeft ? up : upLeft;
    }
};

/// The position of a PNG sample in the pixel of the surface.
template <uint32_t pixelBytes>
constexpr uint32_t target_sample(uint32_t sample) {
    return kExchangesRedAndBlue<pixelBytes> && sample < 3 ? 2 - sample : sample;
}

/// Converts a row from byte `done` on, where a pixel starts. The pixels before it are finished.
/// @param above not read if `hasAbove` is false
template <uint32_t pixelBytes, typename filter_t, bool hasAbove>
void convert_rest_of_row(uint8_t* target, const uint8_t* source, const uint8_t* above,
                         uint64_t done, uint64_t rowBytes) {
    uint32_t left[pixelBytes] = {};
    uint32_t upLeft[pixelBytes] = {};
    for (uint32_t i = 0; done != 0 && i < pixelBytes; ++i) {
        const uint64_t before = done - pixelBytes + target_sample<pixelBytes>(i);
        left[i] = target[before];
        upLeft[i] = hasAbove ? above[before] : 0;
    }
    for (uint64_t x = done; x < rowBytes; x += pixelBytes) {
        for (uint32_t i = 0; i < pixelBytes; ++i) {
            const uint32_t up = hasAbove ? above[x + target_sample<pixelBytes>(i)] : 0;
            left[i] = (source[x + i] + filter_t::predict(left[i], up, upLeft[i])) & 255;
            upLeft[i] = up;
        }
        for (uint32_t i = 0; i < pixelBytes; ++i) {
            target[x + target_sample<pixelBytes>(i)] = static_cast<uint8_t>(left[i]);
        }
    }
}

} // namespace png_detail
