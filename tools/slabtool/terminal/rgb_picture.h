// Enlarges and reduces images for a terminal.
#pragma once

#include "tools/slabtool/images/png_image.h"

#include <cstdint>

/// Pixels of three bytes: red, green, blue.
struct RgbPicture {
    uint32_t width, height;
    Bytes bytes;

    const uint8_t* pixel(uint32_t x, uint32_t y) const {
        return bytes.data() + (size_t{y} * width + x) * 3;
    }
};

/// An image in another size, on a checkerboard. Each pixel is the mean of the image's pixels in its place. So if the
/// size is a multiple of the image's size, a number of equal pixels stands for each pixel of the image.
/// @param image not indexed
/// @param checkSide pixels of a square of the checkerboard
RgbPicture rgbPicture(const PngImage& image, uint32_t width, uint32_t height, uint32_t checkSide);
