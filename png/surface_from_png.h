// The step from the bytes of a PNG file to a new surface.
#pragma once

#include <cstdint>

class DsSurface;

/// Decodes a PNG file of `size` bytes into a new surface, in the color mode that suits it, or,
/// with `alphaOnly`, a grayscale image into an A8 surface whose alpha is the gray value. Then calls
/// `rotate` with `rotation` degrees, of which only 90 turns the pixels.
/// @return the surface, which the caller deletes, or null if the file cannot be decoded or an
///         alpha-only surface was asked of an image that is not plain grayscale.
/// @throws std::bad_alloc if the surface's size is too large for 64 bits or for the memory there
/// is.
DsSurface* surface_from_png(const uint8_t* data, uint64_t size, bool alphaOnly, int32_t rotation);
