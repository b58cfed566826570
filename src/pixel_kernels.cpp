// The kernels: they choose a row function once for the pair of modes and call it row by row.
#include "src/pixel_kernels.h"

#include "src/internal/pixel_backend.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace ds_detail;

namespace {

// One side of a copy.
template <typename Byte>
struct Side {
    Byte* pixels;
    uint32_t pitch;
    DsColorMode mode;
};

// Treats rows without padding as one row, if its pixel count fits 32 bits.
template <typename... Pitches>
void combineRows(uint32_t& width, uint32_t& height, Pitches... pitches) {
    if (((pitches == width) && ...) &&
        uint64_t{width} * height <= std::numeric_limits<uint32_t>::max()) {
        width *= height;
        height = std::min(height, 1U);
    }
}

// Copies a rectangle by the row function of its pair of modes. The function is null if the target has no pixels:
// then nothing is done.
void copyPixels(Side<uint8_t> target, Side<const uint8_t> source, uint32_t width, uint32_t height,
                const SourceRule& rule, PixelRow row) {
    if (row == nullptr || width == 0) {
        return;
    }
    const uint64_t targetStride = uint64_t{target.pitch} * bytesPerPixel(target.mode);
    const uint64_t sourceStride = uint64_t{source.pitch} * bytesPerPixel(source.mode);
    combineRows(width, height, target.pitch, source.pitch);
    for (uint32_t y = 0; y < height; ++y) {
        row(target.pixels + y * targetStride, source.pixels + y * sourceStride, width, rule);
    }
}

void makePattern(uint8_t (&pattern)[kFillPatternBytes], uint32_t pixelSize, uint32_t value) {
    for (uint32_t i = 0; i < kFillPatternBytes; ++i) {
        pattern[i] = static_cast<uint8_t>(value >> (8 * (i % pixelSize)));
    }
}

} // namespace

void fillPixels(uint8_t* destination, uint32_t destinationPitch, uint32_t width, uint32_t height,
                DsColorMode mode, uint32_t value) {
    const uint64_t pixelSize = bytesPerPixel(mode);
    if (pixelSize == 0 || width == 0) {
        return;
    }
    combineRows(width, height, destinationPitch);
    uint8_t pattern[kFillPatternBytes];
    makePattern(pattern, static_cast<uint32_t>(pixelSize), value);
    const bool isOneByte = std::memcmp(pattern, pattern + 1, static_cast<size_t>(pixelSize)) == 0;
    const FillRow fillRow = activeFillRow();
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* const row = destination + y * (destinationPitch * pixelSize);
        const uint64_t byteCount = width * pixelSize;
        if (isOneByte) {
            std::memset(row, pattern[0], static_cast<size_t>(byteCount));
        } else {
            fillRow(row, byteCount, pattern);
        }
    }
}

void convertPixels(uint8_t* destination, uint32_t destinationPitch, DsColorMode destinationMode,
                   const uint8_t* source, uint32_t sourcePitch, DsColorMode sourceMode,
                   uint32_t width, uint32_t height, uint32_t alphaMode, uint32_t color) {
    copyPixels({destination, destinationPitch, destinationMode}, {source, sourcePitch, sourceMode},
               width, height, sourceRule(alphaMode, color),
               activeConvertRow(destinationMode, sourceMode));
}

void blendPixels(uint8_t* destination, uint32_t destinationPitch, DsColorMode destinationMode,
                 const uint8_t* source, uint32_t sourcePitch, DsColorMode sourceMode,
                 uint32_t width, uint32_t height, uint32_t alphaMode, uint32_t color) {
    copyPixels({destination, destinationPitch, destinationMode}, {source, sourcePitch, sourceMode},
               width, height, sourceRule(alphaMode, color),
               activeBlendRow(destinationMode, sourceMode));
}

void fillBytes(uint8_t* destination, uint8_t value, uint32_t count) {
    std::fill_n(destination, count, value);
}
