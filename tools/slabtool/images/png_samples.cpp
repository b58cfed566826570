#include "tools/slabtool/images/png_samples.h"

uint32_t channelsOf(uint8_t colorType) {
    switch (colorType) {
    case kRgbType:
        return 3;
    case kGrayAlphaType:
        return 2;
    case kRgbaType:
        return 4;
    default:
        return 1;
    }
}

uint8_t asEightBits(uint32_t sample, uint32_t depth) {
    if (depth == 16) {
        return static_cast<uint8_t>((sample * 255 + 32895) >>
                                    16); // as png_set_scale_16 computes it
    }
    return static_cast<uint8_t>(sample * 255 / ((1U << depth) - 1));
}
