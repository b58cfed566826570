// Images of 8 bits a sample, and libpng's way from PNG files to them and back. The only place that knows
// libpng.
#pragma once

#include "tools/slabtool/refusal.h"

#include <array>
#include <cstdint>
#include <optional>

// Color types as the PNG standard numbers them.
inline constexpr uint8_t kGrayType = 0, kRgbType = 2, kIndexedType = 3, kGrayAlphaType = 4,
                         kRgbaType = 6;

/// DEFLATE gives 258 bytes for two bits at the best, so no image is larger than this many times its file.
inline constexpr uint64_t kMaxExpansion = uint64_t{258} * 4;

/// Bytes of a pixel of 8 bits a sample.
uint32_t channelsOf(uint8_t colorType);

/// An image without gaps between its lines.
struct PngImage {
    uint32_t width, height;
    uint8_t colorType;
    Bytes samples;
    std::vector<std::array<uint8_t, 3>> palette; ///< red, green, blue; indexed images only
    Bytes paletteAlpha;                          ///< at most one an entry
    /// The color that stands for "transparent": the gray value three times, or red, green, blue.
    std::optional<std::array<uint8_t, 3>> keyColor;

    size_t lineBytes() const { return size_t{width} * channelsOf(colorType); }
};

/// What is read otherwise than the file has it.
struct PngChanges {
    bool keyToAlpha = false;    ///< a color that stands for "transparent" becomes an alpha channel
    bool expandPalette = false; ///< indices become their colors, with alpha if the palette has any
};

/// Reads a PNG file of any kind as 8 bits a sample: fewer bits widened, more narrowed, indices as they
/// are, a suggested palette left out. @throws Refusal with libpng's reason
PngImage decodePng(ByteView file, const PngChanges& changes = {});

/// Whether decodePng would take a file, found out with the memory of one line. @throws Refusal if not
void testPng(ByteView file);

/// How libpng and zlib are to go about writing.
struct PngEffort {
    int level, strategy; ///< zlib's
    int filters;         ///< libpng's choice of them
};

/// The quickest for files of a good size, first, and others that images may be smaller with.
extern const std::array<PngEffort, 4> kEfforts;

/// Nothing is compressed.
extern const PngEffort kStored;

/// The file of an image, with no chunk that it does not need. @throws Refusal with libpng's reason
Bytes encodePng(const PngImage& image, const PngEffort& effort);
