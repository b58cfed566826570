// The samples of a PNG image.
#pragma once

#include <cstdint>

// Color types of the PNG standard.
inline constexpr uint8_t kGrayType = 0, kRgbType = 2, kIndexedType = 3, kGrayAlphaType = 4,
                         kRgbaType = 6;

/// Bytes per pixel, at 8 bits per sample.
uint32_t channelsOf(uint8_t colorType);

/// A sample of `depth` bits, scaled to 8 bits as libpng does.
uint8_t asEightBits(uint32_t sample, uint32_t depth);
