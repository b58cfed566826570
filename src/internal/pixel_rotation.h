// Turning an array of pixels by 90 degrees, counter-clockwise.
#pragma once

#include <cstdint>

namespace ds_detail {

/// One array of pixels, and where it goes: target row i is the source column width - 1 - i, read from top to
/// bottom. Strides count bytes; the two arrays do not overlap.
struct RotatedCopy {
    const uint8_t* source;
    uint64_t sourceStride;
    // Wider than a surface's sizes, so that stepping by tiles cannot wrap.
    int64_t sourceWidth, sourceHeight;
    uint8_t* target;
    uint64_t targetStride;
};

/// Where the pixel at a row and column of the target comes from.
template <uint32_t pixelSize>
inline const uint8_t* sourceOf(const RotatedCopy& copy, int64_t row, int64_t column) {
    return copy.source + static_cast<uint64_t>(copy.sourceWidth - 1 - row) * pixelSize +
           static_cast<uint64_t>(column) * copy.sourceStride;
}

/// The pixel at a row and column of the target.
template <uint32_t pixelSize>
inline uint8_t* targetOf(const RotatedCopy& copy, int64_t row, int64_t column) {
    return copy.target + static_cast<uint64_t>(row) * copy.targetStride +
           static_cast<uint64_t>(column) * pixelSize;
}

/// Copies pixels of `pixelSize` bytes, 1 to 4; of any other size none.
void rotatePixels(const RotatedCopy& copy, uint64_t pixelSize);

} // namespace ds_detail
