// Four filtered lines at once, beside the loops that take one line after the other.
#pragma once

#include <cstdint>

namespace png_detail {

/// How many lines a wavefront takes.
inline constexpr uint32_t kWavefrontRows = 4;

/// The most bytes a line may have: bounds the copy of the group's source in the call's own frame.
inline constexpr uint64_t kWavefrontRowBytes = uint64_t{16} * 1024;

/// Converts `kWavefrontRows` lines.
/// @param target the first pixel line; the one before it, `stride` bytes in front, is finished
/// @param source the first line's filter byte; the lines follow each other, their filters being
///        known ones. No line's pixels lie behind its own source.
/// @param stride not less than `rowBytes`
/// @param rowBytes whole pixels, at most kWavefrontRowBytes
/// @param channels bytes a pixel, 1 to 4; red and blue are exchanged from 3 on
void png_convert_wavefront(uint8_t* target, const uint8_t* source, uint64_t stride,
                           uint64_t rowBytes, uint32_t channels);

} // namespace png_detail
