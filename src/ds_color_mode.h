// The ten pixel formats of a surface: their numbers, layouts and sizes.
#pragma once

#include <cstdint>

/// Pixel format of a surface. A pixel of 2 or 4 bytes is one little-endian word. Bit 0 is the least
/// significant bit.
///
/// | mode       | bytes | layout                                                                |
/// |------------|-------|-----------------------------------------------------------------------|
/// | ARGB8888   | 4     | alpha 31-24, red 23-16, green 15-8, blue 7-0 (in memory: B, G, R, A)   |
/// | RGB888     | 3     | in memory: blue, green, red                                           |
/// | RGB565     | 2     | red 15-11, green 10-5, blue 4-0                                       |
/// | ARGB1555   | 2     | alpha 15, red 14-10, green 9-5, blue 4-0                              |
/// | ARGB4444   | 2     | alpha 15-12, red 11-8, green 7-4, blue 3-0                            |
/// | I8         | 1     | palette index                                                         |
/// | Reserved6  | 0     | no pixels; every operation skips it                                   |
/// | AI88       | 2     | alpha 15-8, palette index 7-0                                         |
/// | Reserved8  | 0     | no pixels; every operation skips it                                   |
/// | A8         | 1     | alpha only                                                            |
enum class DsColorMode : uint32_t {
    ARGB8888,
    RGB888,
    RGB565,
    ARGB1555,
    ARGB4444,
    I8,
    Reserved6,
    AI88,
    Reserved8,
    A8
};

/// Bytes per pixel of `mode`: 0 for the reserved modes and for a mode above 9.
uint32_t bytesPerPixel(DsColorMode mode);
