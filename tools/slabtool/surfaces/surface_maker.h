// Surface files of any mode with pixels, made from the samples of an image.
#pragma once

#include "src/ds_color_mode.h"
#include "tools/slabtool/refusal.h"
#include "tools/slabtool/surfaces/dither.h"
#include "tools/slabtool/surfaces/samples.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

/// What becomes of an image:
///
/// | image          | I8    | AI88                   | A8           | other modes         |
/// |----------------|-------|------------------------|--------------|---------------------|
/// | gray           | gray  | gray, 255              | 255          | gray as color       |
/// | gray and alpha | gray  | gray, alpha            | alpha        | gray as color, alpha |
/// | color          | -     | -                      | alpha or 255 | color, alpha or 255 |
/// | indexed        | index | index, alpha of entry  | -            | -                   |
///
/// Color images are rejected for I8 and AI88. Callers expand indexed images for all modes but these.
struct SurfaceRequest {
    DsColorMode mode; ///< one with pixels

    /// 0xRRGGBB, under the pixels of modes without alpha (RGB888, RGB565, I8, and A8 from gray values); other
    /// modes ignore it. See `flatten`, which comes before dithering. Opaque pixels stay as they are.
    std::optional<uint32_t> background = {};

    Dither dither = Dither::None; ///< works on the upright picture
    bool alphaOnly = false;       ///< A8 takes gray values instead of alpha; other modes ignore it

    /// As pngslab: 90 turns the picture counter-clockwise, any other value changes nothing.
    uint32_t rotation = 0;

    /// Bytes that every stride is a multiple of; 0 counts as 1. A stride is whole pixels too, so that it
    /// may become a larger multiple.
    uint32_t rowAlignment = 1;
};

struct MadeSurface {
    Bytes file; ///< the header of 20 bytes and the rows, zeros between and behind them
    uint64_t stride;
    /// Some pixel is translucent, the surface has no alpha and no background was given: the alpha is dropped.
    /// Indices remain, so that a palette with alpha may hold what is missing in I8.
    bool lostAlpha;
};

/// Makes the surface file of an image. It depends on nothing but its arguments.
///
/// @throws Refusal for a color image into I8 or AI88; for A8 from the gray values of any but a grayscale
///         image; if a background of another color than gray would lie under gray values, or any under
///         palette indices, where a pixel is translucent; for a stride beyond 32 bits
MadeSurface makeSurface(const Samples& samples, const SurfaceRequest& request);

/// Entries of a palette block: one for each value of an index, so that no index leads out of it.
inline constexpr size_t kPaletteEntries = 256;

/// The palette block of a surface: blue, green, red of every entry, and its alpha if `alpha` is not empty.
/// Entries beyond `colors` are black, entries beyond `alpha` are opaque.
Bytes paletteBlock(std::span<const std::array<uint8_t, 3>> colors, ByteView alpha);
