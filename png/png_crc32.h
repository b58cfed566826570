// CRC-32 as the PNG standard uses it (ISO-HDLC: reflected polynomial, inverted before and after).
#pragma once

#include <cstdint>

/// CRC of `length` bytes, continuing from `previous` (the result for the bytes before them; 0 to
/// start). A zero length returns `previous`.
uint32_t png_crc32(const uint8_t* bytes, uint64_t length, uint32_t previous);
