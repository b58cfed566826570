// Painting of a solid color through coverage bytes, one per pixel (0 not covered, 255 fully covered).
// An anti-aliasing rasterizer makes them for a row or a column of a region.
//
// The color is process-wide and unsynchronized: only one thread at a time may set it and paint.
// Several threads may paint at a time only with the same color and disjoint destinations.
#pragma once

#include "src/ds_color_mode.h"

#include <cstdint>

// The fill state, set by setBlendColor. Before the first call it is all zero: then every pixel of a
// span is written to the first position.
extern DsColorMode gBlendColorMode;  ///< mode of the pixels to be painted
extern uint32_t gBlendColor;         ///< color word: alpha in bits 0-7, then red, green, blue
extern uint32_t gBlendBytesPerPixel; ///< bytes per pixel of that mode, 0 above 9

/// Sets the mode and the color word of the following spans. @return the bytes per pixel of the mode.
uint32_t setBlendColor(DsColorMode mode, uint32_t color);

/// Composes the color, its alpha scaled by coverage, over `count` adjacent pixels, by the formula of
/// blendPixels. The formula also applies to coverage 0: it multiplies the color of a translucent
/// pixel by its alpha. Kept on purpose: the old value of an ARGB1555 pixel has no effect. If the
/// coverage overlaps the pixels, each coverage byte is read just before its pixel is written.
void blendSpan(uint8_t* destination, const uint8_t* coverage, uint32_t count);

/// The same for every `step`-th pixel, forwards. The distance of `step` * gBlendBytesPerPixel bytes
/// wraps at 32 bits.
void blendSpanStrided(uint8_t* destination, uint32_t step, const uint8_t* coverage, uint32_t count);
