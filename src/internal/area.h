// Rectangles by their edges in 64 bits, for clipping: positions and sizes at the ends of the 32-bit
// range cannot wrap back into the surface.
#pragma once

#include "src/ds_region.h"
#include "src/internal/rotation_mapping.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace ds_detail {

/// The pixels from (left, top) up to but not including (right, bottom); empty unless both extents
/// are positive.
struct DsArea {
    int64_t left, top, right, bottom;
};

inline DsArea areaOf(const DsRect& rect) {
    return {rect.mX, rect.mY, int64_t{rect.mX} + rect.mWidth, int64_t{rect.mY} + rect.mHeight};
}

/// The stored area that a caller's rectangle covers on an array of `width` by `height`.
inline DsArea storedAreaOf(const DsRect& rect, uint32_t rotation, int32_t width, int32_t height) {
    int64_t x = rect.mX;
    int64_t y = rect.mY;
    int64_t sizeX = rect.mWidth;
    int64_t sizeY = rect.mHeight;
    mapRectangle<int64_t>(rotation, width, height, x, y, sizeX, sizeY);
    return {x, y, x + sizeX, y + sizeY};
}

inline DsArea intersect(const DsArea& a, const DsArea& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

/// The area as a rectangle. Negative extents become 0; other values are clamped to 32 bits.
inline DsRect rectOf(const DsArea& area) {
    const auto clamp = [](int64_t value, int64_t min) {
        return static_cast<int32_t>(
            std::clamp<int64_t>(value, min, std::numeric_limits<int32_t>::max()));
    };
    constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
    return {clamp(area.left, kMin), clamp(area.top, kMin), clamp(area.right - area.left, 0),
            clamp(area.bottom - area.top, 0)};
}

} // namespace ds_detail
