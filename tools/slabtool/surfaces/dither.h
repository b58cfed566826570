// Packs rows of colors into the pixels of a mode, with or without dithering.
#pragma once

#include "src/ds_color_mode.h"
#include "tools/slabtool/surfaces/samples.h"

#include <cstdint>
#include <memory>
#include <span>

/// How modes with fewer than 8 bits per channel (RGB565, ARGB1555 and ARGB4444) reduce colors. Other modes ignore it.
/// Alpha is never dithered.
enum class Dither {
    /// The nearest level of each channel.
    None,
    /// 8x8 Bayer matrix. With max = 2^bits - 1, the channel value v of pixel (x, y) becomes the level
    /// floor(v * max / 255 + (bayer(x mod 8, y mod 8) + 1/2) / 64), computed exactly.
    Ordered,
    /// Floyd-Steinberg. Rows 0, 2, 4, ... are processed from left to right, the others from right to left. All numbers
    /// are integers in units of 1/4080 level:
    ///
    ///     want  = v * max * 16 + shares received
    ///     level = floor((want + 2040) / 4080), at most max
    ///     error = want - level * 4080
    ///
    /// The next pixel of the row receives error * 7 / 16. In the row below, the pixel under the previous one receives
    /// error * 3 / 16, the pixel under the current one error * 5 / 16, and the pixel under the next one the rest, about
    /// 1/16. Divisions round toward 0. Shares that leave the picture are dropped.
    FloydSteinberg
};

/// Packs the rows of a picture from top to bottom, one row for each call.
class RowPacker {
public:
    virtual ~RowPacker() = default;
    virtual void pack(std::span<const Rgba> colors, uint8_t* pixels) = 0;
};

/// Makes the packer of a mode with pixels.
///
/// Without dithering the packer calls convertPixels, except for ARGB1555: convertPixels lets the fields of that mode
/// overflow into each other on purpose, which would garble pictures. Here, color channels are rounded to 5 bits, and
/// the alpha bit is set for alpha 128 and above, with and without dithering.
///
/// @param width pixels in a row
std::unique_ptr<RowPacker> makeRowPacker(DsColorMode mode, Dither dither, uint32_t width);
