// The PNG decoder: inspects a whole file in memory, and decodes it into a surface made to fit.
#pragma once

#include "src/ds_color_mode.h"

#include <cstdint>

class DsSurface;

/// What a PNG file's header and chunks ask of a surface; filled in the order in which the file is
/// read, so that the fields read so far hold even if a later check fails.
struct png_info_t {
    uint32_t width, height;    ///< pixels
    uint8_t bitDepth;          ///< bits a sample
    uint8_t colorType;         ///< 0 gray, 2 RGB, 3 indexed, 4 gray + alpha, 6 RGBA
    uint8_t compressionMethod; ///< always 0
    uint8_t filterMethod;      ///< always 0
    uint8_t interlaceMethod;   ///< 0 none, 1 Adam7
    uint8_t paletteHasAlpha;   ///< 1 if a tRNS chunk gives palette entries their alpha
    DsColorMode colorMode;     ///< mode that the surface must have
    uint16_t paletteSize;      ///< palette entries that the surface must have, at most 256
};

// Results of png_decode.
inline constexpr int32_t kPngOk = 0;
inline constexpr int32_t kPngMalformed = 1; ///< corrupt, incomplete, or against the format's rules
/// Valid, but not of 8 bits a sample, interlaced, or with an unknown critical chunk.
inline constexpr int32_t kPngUnsupported = 2;
inline constexpr int32_t kPngDoesNotFit = 3; ///< the surface cannot take the image

/// Checks the PNG file at `data` (`size` bytes, every chunk with its CRC) and fills `info`. With a
/// null `surface` that is all (header pass: no pixel is decoded). Otherwise (full pass) decodes the
/// pixels and the palette into `surface`, whose pixel block must hold one byte a row more than the
/// pixels take, since the compressed rows are inflated into its tail and unfiltered in place; a
/// failure can leave its blocks partly written; a sub-surface will not do. Nothing is allocated; the
/// caller owns everything.
///
/// Pixels are the file's samples unchanged, in the byte order of the color mode: gray or index;
/// blue, green, red; gray, alpha; or blue, green, red, alpha. Kept on purpose: the key color of a
/// tRNS chunk in an image of type 0 or 2 changes the color mode but no pixel, and rows are still
/// written in the narrower layout of the color type, from the start of each surface row.
int32_t png_decode(const uint8_t* data, uint64_t size, png_info_t* info, DsSurface* surface);
