// Makes surface files of any mode with pixels from the samples of an image.
#pragma once

#include "src/ds_color_mode.h"
#include "tools/slabtool/rejection.h"
#include "tools/slabtool/surfaces/dither.h"
#include "tools/slabtool/surfaces/samples.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

/// A surface to make. The stored channels for each kind of image and mode:
///
/// | image          | I8    | AI88                   | A8           | other modes         |
/// |----------------|-------|------------------------|--------------|---------------------|
/// | gray           | gray  | gray, 255              | 255          | gray as color       |
/// | gray and alpha | gray  | gray, alpha            | alpha        | gray as color, alpha |
/// | color          | -     | -                      | alpha or 255 | color, alpha or 255 |
/// | indexed        | index | index, alpha of entry  | -            | -                   |
///
/// "-" means that the image is rejected, or that the caller must expand the palette first (indexed images).
struct SurfaceRequest {
    DsColorMode mode; ///< one with pixels

    /// 0xRRGGBB. Modes without alpha (RGB888, RGB565, I8, and A8 from gray values) blend translucent pixels over it
    /// before dithering (see `flatten`). Other modes ignore it.
    std::optional<uint32_t> background = {};

    Dither dither = Dither::None; ///< applied to the upright picture
    bool alphaOnly = false;       ///< A8 stores gray values instead of alpha; other modes ignore it

    /// As in pngslab: 90 rotates the stored array counter-clockwise, any other value changes nothing.
    uint32_t rotation = 0;

    /// Every stride is a multiple of this many bytes; 0 means 1. A stride is also a multiple of the pixel size.
    uint32_t rowAlignment = 1;
};

struct MadeSurface {
    Bytes file; ///< header and rows; all padding is zero
    uint64_t stride;
    /// A pixel is translucent, the surface has no alpha, and there is no background. An I8 surface of an indexed image
    /// keeps its indices, so a palette file with alpha can still contain the alpha.
    bool lostAlpha;
};

/// Makes the surface file of an image. The result depends on the arguments only.
///
/// @throws Rejection for
///         - a color image and I8 or AI88
///         - A8 from gray values (`alphaOnly`) and an image that is not grayscale
///         - translucent gray pixels and a background that is not gray
///         - translucent palette entries and a background
///         - a stride above 32 bits
MadeSurface makeSurface(const Samples& samples, const SurfaceRequest& request);

/// Entries of a palette file: one for each 8-bit index.
inline constexpr size_t kPaletteEntries = 256;

/// The content of a palette file: blue, green, red of every entry, and its alpha if `alpha` is not empty. Entries
/// beyond `colors` are black, entries beyond `alpha` are opaque.
Bytes paletteBytes(std::span<const std::array<uint8_t, 3>> colors, ByteView alpha);
