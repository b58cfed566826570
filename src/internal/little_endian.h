// Unaligned little-endian words in memory: stored pixels and the header of a surface file.
#pragma once

#include <cstdint>

namespace ds_detail {

/// Reads a word of `size` bytes (0 to 4), least significant byte first.
template <uint32_t size>
inline uint32_t loadLittleEndian(const uint8_t* bytes) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < size; ++i) {
        value |= static_cast<uint32_t>(bytes[i]) << (8 * i);
    }
    return value;
}

/// Writes the low `size` bytes (0 to 4) of `value`, least significant byte first.
template <uint32_t size>
inline void storeLittleEndian(uint8_t* bytes, uint32_t value) {
    for (uint32_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

} // namespace ds_detail
