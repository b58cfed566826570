// Pictures that Exif data want turned or mirrored.
#pragma once

#include "tools/slabtool/images/png_image.h"

/// Turns and mirrors the pixels of an image as an Exif orientation says, so that the picture is upright.
/// @param orientation 1 to 8; 1 changes nothing
void applyOrientation(PngImage& image, uint32_t orientation);
