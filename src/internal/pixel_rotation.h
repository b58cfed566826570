// Rotation of an array of pixels by 90 degrees, counter-clockwise.
#pragma once

#include <cstdint>

namespace ds_detail {

/// A source array and a target array. Target row i is source column sourceWidth - 1 - i, read from top to bottom.
/// Strides are in bytes. The arrays do not overlap.
struct RotatedCopy {
    const uint8_t* source;
    uint64_t sourceStride;
    // 64 bits, although a surface's sizes have 32, so that adding the size of a tile cannot wrap.
    int64_t sourceWidth, sourceHeight;
    uint8_t* target;
    uint64_t targetStride;
};

/// The source pixel of a row and column of the target.
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

/// Copies pixels of `pixelSize` bytes, 1 to 4. Does nothing for any other size.
void rotatePixels(const RotatedCopy& copy, uint64_t pixelSize);

} // namespace ds_detail
