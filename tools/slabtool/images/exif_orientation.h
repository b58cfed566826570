// How Exif data say that a picture is to be turned.
#pragma once

#include "tools/slabtool/refusal.h"

#include <cstdint>

/// Rows from top to bottom, columns from left to right.
inline constexpr uint32_t kUpright = 1;

/// The orientation, 1 to 8 as the Exif standard numbers them; kUpright where the data state none or make no sense.
/// @param exif a TIFF header and what follows it, as an eXIf chunk holds them
uint32_t exifOrientation(ByteView exif);
