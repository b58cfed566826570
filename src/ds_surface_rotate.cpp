// The operations that the converter applies to a decoded surface: turning its pixels by 90 degrees,
// and taking its alpha channel from an alpha-only surface.
#include "src/ds_surface.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

namespace {

struct RotatedCopy {
    const uint8_t* source;
    uint64_t sourceStride;
    // Wider than a surface's sizes, so that stepping by tiles cannot wrap.
    int64_t sourceWidth, sourceHeight;
    uint8_t* target;
    uint64_t targetStride;
};

// Pixels of one side of a tile. Reading runs down source columns, so a tile's lines must stay in
// the first-level cache until all their columns are read: 32 lines of at most three 64-byte cache
// lines.
constexpr int64_t kTileSide = 32;

// Target line i is the source column width - 1 - i, read from top to bottom.
template <uint32_t pixelSize>
void rotateTile(const RotatedCopy& copy, int64_t firstLine, int64_t firstColumn) {
    const int64_t endLine = std::min(firstLine + kTileSide, copy.sourceWidth);
    const int64_t endColumn = std::min(firstColumn + kTileSide, copy.sourceHeight);
    for (int64_t line = firstLine; line < endLine; ++line) {
        const auto sourceColumn = static_cast<uint64_t>(copy.sourceWidth - 1 - line);
        const uint8_t* from = copy.source + sourceColumn * pixelSize +
                              static_cast<uint64_t>(firstColumn) * copy.sourceStride;
        uint8_t* to = copy.target + static_cast<uint64_t>(line) * copy.targetStride +
                      static_cast<uint64_t>(firstColumn) * pixelSize;
        for (int64_t column = firstColumn; column < endColumn; ++column) {
            std::memcpy(to, from, pixelSize);
            from += copy.sourceStride;
            to += pixelSize;
        }
    }
}

template <uint32_t pixelSize>
void rotatePixels(const RotatedCopy& copy) {
    for (int64_t line = 0; line < copy.sourceWidth; line += kTileSide) {
        for (int64_t column = 0; column < copy.sourceHeight; column += kTileSide) {
            rotateTile<pixelSize>(copy, line, column);
        }
    }
}

void rotatePixels(const RotatedCopy& copy, uint64_t pixelSize) {
    switch (pixelSize) {
    case 4:
        return rotatePixels<4>(copy);
    case 3:
        return rotatePixels<3>(copy);
    case 2:
        return rotatePixels<2>(copy);
    case 1:
        return rotatePixels<1>(copy);
    default:
        return;
    }
}

// The pixel with its alpha replaced. Modes without alpha come back as they were, since narrowing
// undoes widening. Kept on purpose: ARGB1555 colours, already widened by decoding, are widened
// again by that mode's encoding, so that every non-zero channel spills into its neighbours.
template <DsColorMode mode>
uint32_t withAlpha(uint32_t stored, uint32_t alpha) {
    DsColor color = decodePixel<mode>(stored);
    color.alpha = alpha;
    return encodePixel<mode>(color);
}

template <DsColorMode mode>
void replaceAlphaOfLine(uint8_t* pixel, const uint8_t* alpha, int32_t count) {
    constexpr uint32_t pixelSize = kBytesPerPixel[static_cast<uint32_t>(mode)];
    for (int32_t i = 0; i < count; ++i, pixel += pixelSize, ++alpha) {
        storePixel<mode>(pixel, withAlpha<mode>(loadPixel<mode>(pixel), *alpha));
    }
}

using ReplaceAlphaLine = void (*)(uint8_t* pixel, const uint8_t* alpha, int32_t count);

// The line operation of each mode; null where there is no alpha to replace.
constexpr ReplaceAlphaLine kReplaceAlphaLine[kColorModeCount] = {
    replaceAlphaOfLine<DsColorMode::ARGB8888>,
    nullptr,
    nullptr,
    replaceAlphaOfLine<DsColorMode::ARGB1555>,
    replaceAlphaOfLine<DsColorMode::ARGB4444>,
    nullptr,
    nullptr,
    replaceAlphaOfLine<DsColorMode::AI88>,
    nullptr,
    replaceAlphaOfLine<DsColorMode::A8>,
};

} // namespace

void DsSurface::rotate(int32_t degrees) {
    if (allocFn == nullptr || freeFn == nullptr || degrees != 90) {
        return;
    }
    const uint64_t newStride = computeStride(height);
    uint8_t* const turned = allocatePixels(width, height, newStride, 0);
    if (turned == nullptr && width != 0 && height != 0) {
        return;
    }
    rotatePixels({pixels, stride, width, height, turned, newStride}, bytesPerPixel);
    freeFn(pixels);
    pixels = turned;
    stride = newStride;
    extraBytes = 0;
    rotation = 90;
    std::swap(width, height);
    resetClip();
    pitch = pixelsPer(stride);
}

void DsSurface::replaceAlpha(const DsSurface& alpha_only_src) {
    const auto mode = static_cast<uint32_t>(mColorMode);
    assert(alpha_only_src.mColorMode == DsColorMode::A8);
    if (mode >= kColorModeCount || kReplaceAlphaLine[mode] == nullptr || isEmpty()) {
        return;
    }
    uint8_t* line = pixels;
    const uint8_t* alphaLine = alpha_only_src.pixels;
    for (int32_t y = 0; y < height; ++y) {
        kReplaceAlphaLine[mode](line, alphaLine, width);
        line += stride;
        alphaLine += alpha_only_src.stride;
    }
}
