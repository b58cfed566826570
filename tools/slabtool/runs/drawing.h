// Draws the pixels of a surface as PNG samples.
#pragma once

#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/surfaces/surface_file.h"

/// 256 palette entries, so that every index of a surface has one.
struct Palette {
    Bytes entries; ///< blue, green, red and perhaps alpha
    size_t entryBytes;
};

/// The palette in a file NAME.palette. @throws Rejection
Palette paletteOf(Bytes file);

/// Draws a picture upright. Alpha values, and indices without a palette, are drawn as gray.
PngImage drawPicture(const SurfacePicture& picture);

/// Draws indices in the colors of a palette. @throws Rejection if the mode has no indices
PngImage drawWithPalette(const SurfacePicture& picture, const Palette& palette);
