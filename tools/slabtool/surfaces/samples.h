// The samples of an image, and its rows as colors.
#pragma once

#include "tools/slabtool/rejection.h"

#include <cstdint>
#include <span>

/// An image of 8 bits per sample in the order of a PNG, without padding between rows.
struct Samples {
    enum class Kind { Gray, GrayAlpha, Rgb, Rgba, Indexed };

    uint32_t width, height; ///< 1 to 2^31 - 1
    Kind kind;
    ByteView bytes;
    ByteView paletteAlpha = {}; ///< of indexed images; further palette entries are opaque

    bool isGray() const { return kind == Kind::Gray || kind == Kind::GrayAlpha; }
    bool isIndexed() const { return kind == Kind::Indexed; }
    uint32_t channels() const;
    bool hasTranslucentPixels() const;
};

/// The alpha of a palette entry.
inline uint8_t entryAlpha(ByteView paletteAlpha, size_t index) {
    return index < paletteAlpha.size() ? paletteAlpha[index] : 255;
}

/// A color in the byte order of a PNG.
struct Rgba {
    uint8_t red, green, blue, alpha;
};

/// floor(n / 255) for n up to 65534. Needs only 16 bits and no division, so that compilers vectorize loops with it.
constexpr uint32_t dividedBy255(uint32_t n) {
    return (n + 1 + (n >> 8)) >> 8;
}

/// Reads the colors of row `y`. Gray values and indices become gray colors.
void readRow(const Samples& samples, uint32_t y, std::span<Rgba> colors);

/// Blends the colors over the background 0xRRGGBB. Channel v over background b becomes
/// floor((v * alpha + b * (255 - alpha) + 127) / 255), the nearest integer. Alpha becomes 255.
void flatten(std::span<Rgba> colors, uint32_t background);
