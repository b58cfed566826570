// The wide loops for the pairs of modes that drawing uses most, beside the plain loops of
// pixel_loops.h.
#pragma once

#include "src/ds_color_mode.h"
#include "src/internal/pixel_loops.h"

#include <cstdint>

/// Converts or blends as many of `count` pixels as pay, from the first on, and returns how many that
/// were; the scalar loop does the rest. A conversion leaves less than a block of four or eight pixels,
/// except within a mode other than ARGB8888: that is a copy, which leaves no pixel, or all of them if
/// the rule changes their alpha. A blend leaves fewer than kMinBlended pixels.
using WideLine = uint32_t (*)(uint8_t* target, const uint8_t* source, uint32_t count,
                              const ds_detail::SourceRule& rule);

/// From this many pixels on, a SIMD loop that blends leaves none to the scalar one.
inline constexpr uint32_t kMinBlended = 3;

/// The wide loop for a pair of modes on this machine, or null if there is none.
WideLine wideConvertLine(DsColorMode target, DsColorMode source);
WideLine wideBlendLine(DsColorMode target, DsColorMode source);
