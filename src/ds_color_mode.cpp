// Run-time lookup of a mode's pixel size; everything else about modes is compile-time.
#include "src/ds_color_mode.h"

uint32_t bytesPerPixel(DsColorMode mode) {
    const auto number = static_cast<uint32_t>(mode);
    return number < kColorModeCount ? kBytesPerPixel[number] : 0;
}
