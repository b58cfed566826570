// Rows of colors packed into the pixels of a mode, with or without dithering.
#pragma once

#include "src/ds_color_mode.h"
#include "tools/slabtool/surfaces/samples.h"

#include <cstdint>
#include <memory>
#include <span>

/// How colors become fewer levels, in the modes of fewer than 8 bits a channel: RGB565, ARGB1555 and
/// ARGB4444. The other modes keep colors as they are, and ignore this. Alpha is never dithered.
enum class Dither {
    /// Each channel becomes the nearest level.
    None,
    /// 8x8 Bayer. With 2^bits - 1 = max, channel value v of pixel (x, y) becomes level
    /// floor(v * max / 255 + (bayer(x mod 8, y mod 8) + 1/2) / 64), computed exactly.
    Ordered,
    /// Floyd-Steinberg. Rows 0, 2, 4, ... run from left to right, the others from right to left. All numbers
    /// are integers in units of 1/4080 level:
    ///
    ///     want  = v * max * 16 + shares received
    ///     level = floor((want + 2040) / 4080), at most max
    ///     error = want - level * 4080
    ///
    /// The next pixel of the row receives error * 7 / 16. In the row below, the pixel behind receives
    /// error * 3 / 16, the one underneath error * 5 / 16, and the one ahead the rest, about 1/16. Divisions
    /// round toward 0. Shares that leave the picture are dropped.
    FloydSteinberg
};

/// Packs the rows of a picture, one call a row, from top to bottom.
class RowPacker {
public:
    virtual ~RowPacker() = default;
    virtual void pack(std::span<const Rgba> colors, uint8_t* pixels) = 0;
};

/// The packer of a mode with pixels.
///
/// Without dithering, convertPixels does the work, except for ARGB1555: drawing lets the fields of that mode
/// spill into each other on purpose, and pictures would be garbled. Here color channels are rounded to 5 bits,
/// and the alpha bit is set from alpha 128 on, with dithering and without.
///
/// @param width pixels of every row
std::unique_ptr<RowPacker> makeRowPacker(DsColorMode mode, Dither dither, uint32_t width);
