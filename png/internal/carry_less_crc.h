// CRCs by carry-less multiplication, 64 bytes at once.
#pragma once

#include <cstdint>

namespace png_detail {

/// The polynomial without its highest power, bits reversed.
inline constexpr uint32_t kCrcPolynomial = 0xEDB88320;

/// Min length of a message, in bytes.
inline constexpr uint64_t kMinCarryLessBytes = 64;

/// Bytes of a message after shortening.
inline constexpr uint32_t kCarryLessRestBytes = 16;

/// Shortens a message of `length` bytes, at least kMinCarryLessBytes, to 16 bytes with the same
/// remainder, for a calculation that starts from 0. Requires a processor with PCLMULQDQ.
/// @param crc the remainder of the preceding bytes, not inverted
/// @return the number of bytes that `rest` replaces, a multiple of 16; the other bytes follow `rest`
uint64_t carry_less_crc(const uint8_t* bytes, uint64_t length, uint32_t crc,
                        uint8_t (&rest)[kCarryLessRestBytes]);

} // namespace png_detail
