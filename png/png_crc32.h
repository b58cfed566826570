// The CRC-32 of the PNG standard (ISO-HDLC: reflected polynomial, inverted before and after).
#pragma once

#include <cstdint>

/// The CRC of `length` bytes. `previous` is the result for the bytes before them, or 0 at the start.
/// With length 0 returns `previous`.
uint32_t png_crc32(const uint8_t* bytes, uint64_t length, uint32_t previous);
