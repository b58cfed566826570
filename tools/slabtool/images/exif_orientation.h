// The orientation in Exif data.
#pragma once

#include "tools/slabtool/rejection.h"

#include <cstdint>

/// Rows from top to bottom, columns from left to right.
inline constexpr uint32_t kUpright = 1;

/// The orientation, 1 to 8 as in the Exif standard. kUpright if the data have none or are invalid.
/// @param exif the content of an eXIf chunk: a TIFF header and the data after it
uint32_t exifOrientation(ByteView exif);
