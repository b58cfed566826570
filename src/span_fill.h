// Painting a solid color through coverage bytes (0 not covered, 255 fully covered), one a pixel, as
// an anti-aliased rasteriser makes them for a row or a column of a region.
//
// The color is process-wide and unsynchronised: one thread at a time may set it and paint.
// Painting from several threads is safe only with the same color and disjoint destinations.
#pragma once

#include "src/ds_color_mode.h"

#include <cstdint>

// The fill state, set together by setBlendColor. At first all zero: a span painted then writes the
// first pixel again and again.
extern DsColorMode gBlendColorMode;  ///< mode of the pixels to be painted
extern uint32_t gBlendColor;         ///< color word: alpha in bits 0-7, then red, green, blue
extern uint32_t gBlendBytesPerPixel; ///< bytes a pixel of that mode, 0 above 9

/// Sets the mode and the color word of the spans to come. @return the bytes per pixel of the mode.
uint32_t setBlendColor(DsColorMode mode, uint32_t color);

/// Composes the color, its alpha scaled by coverage, over `count` adjacent pixels, by the formula
/// of blendPixels. Coverage 0 runs the formula too: it multiplies the color of translucent pixels
/// by their alpha. Kept on purpose: an ARGB1555 pixel's own value takes no part. A coverage byte is
/// read when its pixel's turn comes, wherever the coverage lies.
void blendSpan(uint8_t* destination, const uint8_t* coverage, uint32_t count);

/// The same for pixels that lie `step` pixels apart, forwards: `step` * gBlendBytesPerPixel bytes,
/// a product that wraps at 32 bits.
void blendSpanStrided(uint8_t* destination, uint32_t step, const uint8_t* coverage, uint32_t count);
