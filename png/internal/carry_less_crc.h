// Checksums by carry-less multiplication, 64 bytes at once.
#pragma once

#include <cstdint>

namespace png_detail {

/// The polynomial, its highest power aside, bits reversed.
inline constexpr uint32_t kCrcPolynomial = 0xEDB88320;

/// The min length, in bytes.
inline constexpr uint64_t kMinCarryLessBytes = 64;

/// Bytes of what a message is shortened to.
inline constexpr uint32_t kCarryLessRestBytes = 16;

/// Shortens the message of `length` bytes, at least kMinCarryLessBytes, to 16 bytes that have the
/// same remainder when they start from 0. To be called where the processor has PCLMULQDQ.
/// @param crc the remainder of what came before, not inverted
/// @return how many bytes were taken, a multiple of 16; the others follow `rest`
uint64_t carry_less_crc(const uint8_t* bytes, uint64_t length, uint32_t crc,
                        uint8_t (&rest)[kCarryLessRestBytes]);

} // namespace png_detail
