// Applies the orientation of Exif data.
#pragma once

#include "tools/slabtool/images/png_image.h"

/// Rotates and mirrors the pixels of an image, so that the picture is upright.
/// @param orientation 1 to 8; 1 changes nothing
void applyOrientation(PngImage& image, uint32_t orientation);
