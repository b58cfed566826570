// The wide loops for the pairs of modes that drawing uses most, beside the plain loops of
// pixel_loops.h.
#pragma once

#include "src/ds_color_mode.h"
#include "src/pixel_loops.h"

#include <cstdint>

/// Converts or blends as many of `count` pixels as pay, from the first on, and returns how many that
/// were; the plain loop does the rest, less than a block of eight. A loop that blends leaves
/// fewer than kMinBlended pixels.
using WideLine = uint32_t (*)(uint8_t* target, const uint8_t* source, uint32_t count,
                              const SourceRule& rule);

/// From this many pixels on, a wide loop that blends leaves none to the plain one.
inline constexpr uint32_t kMinBlended = 3;

/// The wide loop for a pair of modes on this machine, or null if there is none.
WideLine wideConvertLine(DsColorMode target, DsColorMode source);
WideLine wideBlendLine(DsColorMode target, DsColorMode source);
