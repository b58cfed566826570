// Reads and writes PNG files as images of 8 bits per sample. Only png_image.cpp includes libpng.
#pragma once

#include "tools/slabtool/images/png_samples.h"
#include "tools/slabtool/rejection.h"

#include <array>
#include <cstdint>
#include <optional>

/// The library that reads and writes the files, for messages.
extern const char* const kPngLibrary;

/// The max ratio of image size to file size: two bits of DEFLATE data decode to at most 258 bytes.
inline constexpr uint64_t kMaxExpansion = uint64_t{258} * 4;

/// An image without padding between its rows.
struct PngImage {
    uint32_t width, height;
    uint8_t colorType;
    Bytes samples;
    std::vector<std::array<uint8_t, 3>> palette; ///< red, green, blue; indexed images only
    Bytes paletteAlpha;                          ///< at most one for each palette entry
    /// The color that means "transparent": red, green, blue; the gray value three times in a gray image.
    std::optional<std::array<uint8_t, 3>> keyColor;

    size_t rowBytes() const { return size_t{width} * channelsOf(colorType); }
};

/// Conversions while reading.
struct PngChanges {
    /// Replace a color that means "transparent" by an alpha channel.
    bool keyToAlpha = false;
    /// Replace indices by their colors, with alpha if the palette has it.
    bool expandPalette = false;
};

/// Reads any PNG file as 8 bits per sample: lower bit depths are widened, 16 bits are narrowed. Indices are kept, a
/// suggested palette is dropped. @throws Rejection with libpng's reason; std::bad_alloc
PngImage decodePng(ByteView file, const PngChanges& changes = {});

/// Decodes a file like decodePng, with the memory of one row. @throws like decodePng
void testPng(ByteView file);

/// Encoder settings.
struct PngEffort {
    int level, strategy; ///< of zlib
    int filters;         ///< the PNG filters that libpng may choose from
};

/// The fastest setting first. Each of the others makes smaller files of some images.
extern const std::array<PngEffort, 4> kEfforts;

/// No compression.
extern const PngEffort kStored;

/// Writes an image as a PNG file without optional chunks. @throws Rejection with libpng's reason; std::bad_alloc
Bytes encodePng(const PngImage& image, const PngEffort& effort);
