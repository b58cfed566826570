// The bytes per pixel of a mode, looked up at run time.
#include "src/ds_color_mode.h"

#include "src/internal/mode_traits.h"

uint32_t bytesPerPixel(DsColorMode mode) {
    const auto number = static_cast<uint32_t>(mode);
    return number < ds_detail::kColorModeCount ? ds_detail::kPixelBytes[number] : 0;
}
