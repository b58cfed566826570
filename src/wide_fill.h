// Filling a line of memory with a pattern by whole registers, beside the plain loop of
// pixel_kernels.cpp.
#pragma once

#include <cstdint>

/// Writes `byteCount` bytes, a whole number of pixels. `pattern` is kFillPattern bytes of them.
using WideFill = void (*)(uint8_t* line, uint64_t byteCount, const uint8_t* pattern);

/// A pattern of three of the largest registers holds whole pixels of one to four bytes. Another
/// register's worth follows, so that the pattern may also be read from any byte of its first
/// register on.
inline constexpr uint32_t kFillPattern = 4 * 32;

/// The wide fill on this machine, or null if there is none.
WideFill wideFill();
