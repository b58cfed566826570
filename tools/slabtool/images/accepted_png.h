// Images as files that pngslab accepts.
#pragma once

#include "tools/slabtool/images/png_image.h"

/// The first file by kEfforts that pngslab accepts; stored blocks if there is none.
Bytes encodeAccepted(const PngImage& image);
