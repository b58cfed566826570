// The PNG decoder: checks a whole file in memory, and decodes it into a fitting surface of the caller.
#pragma once

#include "src/ds_color_mode.h"

#include <cstdint>

class DsSurface;

/// The properties of a PNG file, and those that its surface must have. The fields are filled in the
/// order of the file, so that earlier fields are valid even if a later check fails.
struct png_info_t {
    uint32_t width, height;    ///< pixels
    uint8_t bitDepth;          ///< bits per sample
    uint8_t colorType;         ///< 0 gray, 2 RGB, 3 indexed, 4 gray + alpha, 6 RGBA
    uint8_t compressionMethod; ///< always 0
    uint8_t filterMethod;      ///< always 0
    uint8_t interlaceMethod;   ///< 0 none, 1 Adam7
    uint8_t paletteHasAlpha;   ///< 1 if a tRNS chunk gives palette entries an alpha
    DsColorMode colorMode;     ///< mode that the surface must have
    uint16_t paletteSize;      ///< palette entries that the surface must have, at most 256
};

// Results of png_decode.
inline constexpr int32_t kPngOk = 0;
inline constexpr int32_t kPngMalformed = 1; ///< damaged, incomplete, or not according to the format
/// Valid, but not 8 bits per sample, or interlaced, or with an unknown critical chunk.
inline constexpr int32_t kPngUnsupported = 2;
inline constexpr int32_t kPngDoesNotFit = 3; ///< the surface does not fit the image

/// Checks the PNG file of `size` bytes at `data`, with every CRC, and fills `info`. With a null
/// `surface` it does no more (header pass: no pixel is decoded). With a surface (full pass) it also
/// decodes the pixels and the palette. The pixel buffer of `surface` must have one byte per row
/// more than the pixels need, because the rows are inflated into its tail and unfiltered in place.
/// A sub-surface cannot be used. After a failure the buffers may be partly written. Nothing is
/// allocated; the caller owns everything.
///
/// Pixels are the file's samples unchanged, in the byte order of the color mode: gray or index;
/// blue, green, red; gray, alpha; or blue, green, red, alpha. Kept on purpose: the key color of a
/// tRNS chunk in an image of type 0 or 2 changes the color mode but no pixel. The rows are still
/// written in the narrower layout of the color type, from the start of each surface row.
int32_t png_decode(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface);
