// The operations that the converter applies to a decoded surface: rotation of its pixels by 90
// degrees, and replacement of its alpha channel by that of an alpha-only surface.
#include "src/ds_surface.h"
#include "src/internal/mode_traits.h"
#include "src/internal/pixel_rotation.h"

#include <cassert>
#include <utility>

using namespace ds_detail;

namespace {

// The pixel with its alpha replaced. Narrowing undoes widening, so the colors stay the same. Kept
// on purpose: ARGB1555 is the exception. Its colors are widened by decoding and again by encoding,
// so that every non-zero channel spills into its neighbors.
template <DsColorMode mode>
uint32_t withAlpha(uint32_t stored, uint32_t alpha) {
    DsColor color = ModeTraits<mode>::decode(stored, {});
    color.alpha = alpha;
    return ModeTraits<mode>::encode(color);
}

template <DsColorMode mode>
void replaceAlphaOfRow(uint8_t* pixel, const uint8_t* alpha, int32_t count) {
    constexpr uint32_t pixelSize = ModeTraits<mode>::kBytes;
    for (int32_t i = 0; i < count; ++i, pixel += pixelSize, ++alpha) {
        storePixel<mode>(pixel, withAlpha<mode>(loadPixel<mode>(pixel), *alpha));
    }
}

using ReplaceAlphaRow = void (*)(uint8_t* pixel, const uint8_t* alpha, int32_t count);

// The row operation of each mode; null where there is no alpha to replace.
constexpr auto kReplaceAlphaRow =
    makePixelModeTable<ReplaceAlphaRow>([]<DsColorMode mode>() -> ReplaceAlphaRow {
        if constexpr (ModeTraits<mode>::kHasAlpha) {
            return replaceAlphaOfRow<mode>;
        } else {
            return nullptr;
        }
    });

} // namespace

void DsSurface::rotate(int32_t degrees) {
    if (allocFn == nullptr || freeFn == nullptr || degrees != 90) {
        return;
    }
    const uint64_t newStride = computeStride(height);
    uint8_t* const rotated = allocatePixels(width, height, newStride, 0);
    if (rotated == nullptr && width != 0 && height != 0) {
        return;
    }
    rotatePixels({pixels, stride, width, height, rotated, newStride}, bytesPerPixel);
    freeFn(pixels);
    pixels = rotated;
    stride = newStride;
    extraBytes = 0;
    rotation = 90;
    std::swap(width, height);
    resetClip();
    pitch = wholePixelsIn(stride);
}

void DsSurface::replaceAlpha(const DsSurface& alpha_only_src) {
    const auto mode = static_cast<uint32_t>(mColorMode);
    assert(alpha_only_src.mColorMode == DsColorMode::A8);
    if (mode >= kColorModeCount || kReplaceAlphaRow[mode] == nullptr || isEmpty()) {
        return;
    }
    for (int32_t y = 0; y < height; ++y) {
        kReplaceAlphaRow[mode](pixelAt(0, y), alpha_only_src.pixelAt(0, y), width);
    }
}
