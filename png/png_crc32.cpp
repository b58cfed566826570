// CRC-32 by one table lookup a byte.
#include "png/png_crc32.h"

#include <array>

namespace {

// Remainder of each byte value; 0xEDB88320 is the polynomial of the PNG standard, bits reversed.
consteval std::array<uint32_t, 256> make_table() {
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? 0xEDB88320U : 0U);
        }
        table[byte] = remainder;
    }
    return table;
}

constexpr std::array<uint32_t, 256> kTable = make_table();

} // namespace

uint32_t png_crc32(const uint8_t* bytes, uint64_t length, uint32_t previous) {
    uint32_t crc = ~previous;
    for (uint64_t i = 0; i < length; ++i) {
        crc = kTable[(crc ^ bytes[i]) & 255] ^ (crc >> 8);
    }
    return ~crc;
}
