// The inner loops of all drawing, on raw memory: fill, convert and blend a rectangle. They do not
// know surfaces and do not clip.
#pragma once

#include "src/ds_color_mode.h"

#include <cstdint>

/// Writes `value`, a pixel encoded for `mode`, into `width` by `height` pixels. A pitch, here and
/// below, is the number of pixels from one row to the next. Nothing is written for a mode without
/// pixels.
void fillPixels(uint8_t* destination, uint32_t destinationPitch, uint32_t width, uint32_t height,
                DsColorMode mode, uint32_t value);

/// Copies `width` by `height` pixels from one mode to another. `color` is a color word: an A8 source
/// paints its color, and alpha modes 1 and 2 use its alpha. Alpha mode 0 uses the decoded alpha, 1
/// the word's alpha, 2 their product divided by 255 and rounded down. Any other mode uses alpha 0.
///
/// A source of a reserved or unknown mode reads as zeros. A destination of such a mode is not
/// written. Source and destination may be the same pixels in the same mode. Any other overlap is not
/// supported.
void convertPixels(uint8_t* destination, uint32_t destinationPitch, DsColorMode destinationMode,
                   const uint8_t* source, uint32_t sourcePitch, DsColorMode sourceMode,
                   uint32_t width, uint32_t height, uint32_t alphaMode, uint32_t color);

/// Composes `width` by `height` pixels of the source over the destination. Otherwise like
/// convertPixels. Let s be the source's alpha and ad the destination's (255 in modes without alpha, 0
/// in ARGB1555). A color channel becomes (cd * ad * (255 - s) + cs * s * 255) / 65025, and alpha
/// (ad * (255 - s) + 255 * s) / 255, both rounded down. The stored color is thus multiplied by its
/// alpha.
void blendPixels(uint8_t* destination, uint32_t destinationPitch, DsColorMode destinationMode,
                 const uint8_t* source, uint32_t sourcePitch, DsColorMode sourceMode,
                 uint32_t width, uint32_t height, uint32_t alphaMode, uint32_t color);

/// Writes `count` bytes of `value`.
void fillBytes(uint8_t* destination, uint8_t value, uint32_t count);
