// The ten pixel formats of a surface: their numbers and sizes, and the one set of integer rules by
// which every operation widens a stored channel to 8 bits, narrows it again, and encodes or decodes
// a whole pixel.
#pragma once

#include "src/ds_little_endian.h"

#include <cstdint>

/// Pixel format of a surface. A pixel of 2 or 4 bytes is one little-endian word; bits count from
/// the least significant.
///
/// | mode       | bytes | layout                                                                |
/// |------------|-------|-----------------------------------------------------------------------|
/// | ARGB8888   | 4     | alpha 31-24, red 23-16, green 15-8, blue 7-0 (in memory: B, G, R, A)   |
/// | RGB888     | 3     | in memory: blue, green, red                                           |
/// | RGB565     | 2     | red 15-11, green 10-5, blue 4-0                                       |
/// | ARGB1555   | 2     | alpha 15, red 14-10, green 9-5, blue 4-0                              |
/// | ARGB4444   | 2     | alpha 15-12, red 11-8, green 7-4, blue 3-0                            |
/// | I8         | 1     | palette index                                                         |
/// | Reserved6  | 0     | no pixels; every operation skips it                                   |
/// | AI88       | 2     | alpha 15-8, palette index 7-0                                         |
/// | Reserved8  | 0     | no pixels; every operation skips it                                   |
/// | A8         | 1     | alpha only                                                            |
enum class DsColorMode : uint32_t {
    ARGB8888,
    RGB888,
    RGB565,
    ARGB1555,
    ARGB4444,
    I8,
    Reserved6,
    AI88,
    Reserved8,
    A8
};

/// Number of colour modes; modes from here up are unknown.
inline constexpr uint32_t kColorModeCount = 10;

/// Bytes that one pixel of each mode takes.
inline constexpr uint32_t kBytesPerPixel[kColorModeCount] = {4, 3, 2, 2, 2, 1, 0, 2, 0, 1};

/// Bytes that one pixel of `mode` takes: 0 for the reserved modes and for a mode above 9.
uint32_t bytesPerPixel(DsColorMode mode);

/// A colour as four channels of 8 bits (0 to 255) each. In the palette modes the index travels in
/// blue when encoding and comes back as grey (all three channels) when decoding: drawing never
/// looks colours up in a palette.
struct DsColor {
    uint32_t alpha, red, green, blue;
};

/// Channels of a colour word, the 32-bit colour argument of the drawing operations: alpha in bits
/// 0-7, red in 8-15, green in 16-23, blue (or the palette index) in 24-31.
constexpr DsColor colorFromWord(uint32_t word) {
    return {word & 255, (word >> 8) & 255, (word >> 16) & 255, word >> 24};
}

// Widening of a stored field to 8 bits. Both ends of the range map onto 0 and 255.
constexpr uint32_t widen5(uint32_t field) {
    return (field * 527 + 23) >> 6;
}
constexpr uint32_t widen6(uint32_t field) {
    return (field * 259 + 33) >> 6;
}
constexpr uint32_t widen4(uint32_t field) {
    return field * 17;
}

// Narrowing of 8 bits to a stored field; each undoes its widening for every field value.
constexpr uint32_t narrowTo5(uint32_t value) {
    return (value * 249 + 1014) >> 11;
}
constexpr uint32_t narrowTo6(uint32_t value) {
    return (value * 253 + 505) >> 10;
}
constexpr uint32_t narrowTo4(uint32_t value) {
    return (value * 15 + 135) >> 8;
}

/// Encodes a colour into the stored pixel value of `mode`; 0 for a mode without pixels.
template <DsColorMode mode>
constexpr uint32_t encodePixel(const DsColor& /*color*/) {
    return 0;
}

template <>
constexpr uint32_t encodePixel<DsColorMode::ARGB8888>(const DsColor& color) {
    return color.alpha << 24 | color.red << 16 | color.green << 8 | color.blue;
}

template <>
constexpr uint32_t encodePixel<DsColorMode::RGB888>(const DsColor& color) {
    return color.red << 16 | color.green << 8 | color.blue;
}

template <>
constexpr uint32_t encodePixel<DsColorMode::RGB565>(const DsColor& color) {
    return narrowTo5(color.red) << 11 | narrowTo6(color.green) << 5 | narrowTo5(color.blue);
}

/// Kept on purpose: the colour channels go through the widening rule (results 0 to 2100) and are added at
/// their places, not masked, so that any channel above 3 spills into its neighbours; the sum is cut to 16
/// bits.
template <>
constexpr uint32_t encodePixel<DsColorMode::ARGB1555>(const DsColor& color) {
    const uint32_t alphaBit = (color.alpha >> 7) << 15;
    return (alphaBit + (widen5(color.red) << 10) + (widen5(color.green) << 5) +
            widen5(color.blue)) &
           0xFFFF;
}

template <>
constexpr uint32_t encodePixel<DsColorMode::ARGB4444>(const DsColor& color) {
    return narrowTo4(color.alpha) << 12 | narrowTo4(color.red) << 8 | narrowTo4(color.green) << 4 |
           narrowTo4(color.blue);
}

template <>
constexpr uint32_t encodePixel<DsColorMode::I8>(const DsColor& color) {
    return color.blue;
}

template <>
constexpr uint32_t encodePixel<DsColorMode::AI88>(const DsColor& color) {
    return color.alpha << 8 | color.blue;
}

template <>
constexpr uint32_t encodePixel<DsColorMode::A8>(const DsColor& color) {
    return color.alpha;
}

/// Decodes a stored pixel value of `mode`. An A8 pixel takes its colour from `constant` (black where the
/// operation has no colour of its own). A mode without pixels decodes to all zeros.
template <DsColorMode mode>
constexpr DsColor decodePixel(uint32_t /*stored*/, const DsColor& /*constant*/ = {0, 0, 0, 0}) {
    return {0, 0, 0, 0};
}

template <>
constexpr DsColor decodePixel<DsColorMode::ARGB8888>(uint32_t stored, const DsColor& /*constant*/) {
    return {stored >> 24, (stored >> 16) & 255, (stored >> 8) & 255, stored & 255};
}

template <>
constexpr DsColor decodePixel<DsColorMode::RGB888>(uint32_t stored, const DsColor& /*constant*/) {
    return {255, (stored >> 16) & 255, (stored >> 8) & 255, stored & 255};
}

template <>
constexpr DsColor decodePixel<DsColorMode::RGB565>(uint32_t stored, const DsColor& /*constant*/) {
    return {255, widen5(stored >> 11), widen6((stored >> 5) & 63), widen5(stored & 31)};
}

/// Kept on purpose: the alpha bit is not read, such a pixel always has alpha 0.
template <>
constexpr DsColor decodePixel<DsColorMode::ARGB1555>(uint32_t stored, const DsColor& /*constant*/) {
    return {0, widen5((stored >> 10) & 31), widen5((stored >> 5) & 31), widen5(stored & 31)};
}

template <>
constexpr DsColor decodePixel<DsColorMode::ARGB4444>(uint32_t stored, const DsColor& /*constant*/) {
    return {widen4(stored >> 12), widen4((stored >> 8) & 15), widen4((stored >> 4) & 15),
            widen4(stored & 15)};
}

template <>
constexpr DsColor decodePixel<DsColorMode::I8>(uint32_t stored, const DsColor& /*constant*/) {
    return {255, stored, stored, stored};
}

template <>
constexpr DsColor decodePixel<DsColorMode::AI88>(uint32_t stored, const DsColor& /*constant*/) {
    return {stored >> 8, stored & 255, stored & 255, stored & 255};
}

template <>
constexpr DsColor decodePixel<DsColorMode::A8>(uint32_t stored, const DsColor& constant) {
    return {stored, constant.red, constant.green, constant.blue};
}

/// Reads the stored value of one pixel of `mode` at `pixel`, which need not be aligned.
template <DsColorMode mode>
inline uint32_t loadPixel(const uint8_t* pixel) {
    return loadLittleEndian<kBytesPerPixel[static_cast<uint32_t>(mode)]>(pixel);
}

/// Writes the stored value of one pixel of `mode` at `pixel`, which need not be aligned.
template <DsColorMode mode>
inline void storePixel(uint8_t* pixel, uint32_t value) {
    storeLittleEndian<kBytesPerPixel[static_cast<uint32_t>(mode)]>(pixel, value);
}
