// Writes PNG files that pngslab accepts.
#pragma once

#include "tools/slabtool/images/png_image.h"

/// Tries the settings of kEfforts in order. @return the first file that pngslab accepts, or one with stored blocks
Bytes encodeAccepted(const PngImage& image);
