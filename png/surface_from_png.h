// Makes a new surface from the bytes of a PNG file.
#pragma once

#include <cstdint>

class DsSurface;

/// Decodes a PNG file of `size` bytes into a new surface, in the color mode of the image. With
/// `alphaOnly`, decodes a grayscale image into an A8 surface whose alpha is the gray value. Then calls
/// `rotate` with `rotation` degrees; only 90 rotates the pixels.
/// @return the surface, which the caller deletes, or null if the file is rejected, or if `alphaOnly`
///         is set and the color type is not grayscale (type 0).
/// @throws std::bad_alloc if the surface's size does not fit 64 bits or the available memory.
DsSurface* surface_from_png(const uint8_t* data, uint64_t size, bool alphaOnly, int32_t rotation);
