// Pictures for the screen: red, green, blue and alpha of every pixel.
#pragma once

#include "tools/slabtool/images/png_image.h"

struct PagePicture {
    uint32_t width, height;
    Bytes pixels; ///< four bytes a pixel, the alpha is not multiplied into the colors
};

/// A part of a picture, in pixels.
struct Section {
    uint32_t x, y, width, height;
};

/// A part of an image, cut at the image's edges.
/// @param image not indexed
PagePicture sectionOf(const PngImage& image, const Section& section);

/// An image whose sides are at most `maxSide`. A larger one is divided by the smallest whole number that fits; a pixel
/// is the mean of its square, in which colors count by their alpha.
/// @param image not indexed
PagePicture reduced(const PngImage& image, uint32_t maxSide);
