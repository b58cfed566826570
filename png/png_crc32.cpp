// The CRC by one table lookup per byte, and two faster methods.
#include "png/png_crc32.h"

#include "png/internal/carry_less_crc.h"
#include "png/internal/crc_methods.h"
#include "src/simd/cpu.h"

#include <array>

using namespace png_detail;

namespace {

constexpr uint32_t kSlices = 8;

using table_t = std::array<uint32_t, 256>;

// The remainder of each byte value.
consteval table_t make_table() {
    table_t table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kCrcPolynomial : 0);
        }
        table[byte] = remainder;
    }
    return table;
}

constexpr table_t kTable = make_table();

// Table n has the remainder of each byte value followed by n zero bytes.
consteval std::array<table_t, kSlices> make_slices() {
    std::array<table_t, kSlices> slices{};
    slices[0] = kTable;
    for (uint32_t n = 1; n < kSlices; ++n) {
        for (uint32_t byte = 0; byte < 256; ++byte) {
            const uint32_t shorter = slices[n - 1][byte];
            slices[n][byte] = kTable[shorter & 255] ^ (shorter >> 8);
        }
    }
    return slices;
}

constexpr std::array<table_t, kSlices> kSlicesOfTable = make_slices();

uint32_t add_bytes(const uint8_t* bytes, uint64_t length, uint32_t crc) {
    for (uint64_t i = 0; i < length; ++i) {
        crc = kTable[(crc ^ bytes[i]) & 255] ^ (crc >> 8);
    }
    return crc;
}

// `length` is a multiple of kSlices.
uint32_t add_slices(const uint8_t* bytes, uint64_t length, uint32_t crc) {
    for (uint64_t i = 0; i < length; i += kSlices) {
        uint32_t next = 0;
        for (uint32_t n = 0; n < kSlices; ++n) {
            const uint32_t before = n < 4 ? crc >> (8 * n) : 0;
            next ^= kSlicesOfTable[kSlices - 1 - n][(before ^ bytes[i + n]) & 255];
        }
        crc = next;
    }
    return crc;
}

} // namespace

namespace png_detail {

uint32_t crc_by_bytes(const uint8_t* bytes, uint64_t length, uint32_t previous) {
    return ~add_bytes(bytes, length, ~previous);
}

uint32_t crc_by_slices(const uint8_t* bytes, uint64_t length, uint32_t previous) {
    const uint64_t done = length - length % kSlices;
    const uint32_t crc = add_slices(bytes, done, ~previous);
    return ~add_bytes(bytes + done, length - done, crc);
}

uint32_t crc_by_carry_less(const uint8_t* bytes, uint64_t length, uint32_t previous) {
    uint8_t rest[kCarryLessRestBytes];
    const uint64_t done = carry_less_crc(bytes, length, ~previous, rest);
    const uint32_t crc = add_bytes(rest, sizeof rest, 0);
    return ~add_bytes(bytes + done, length - done, crc);
}

} // namespace png_detail

uint32_t png_crc32(const uint8_t* bytes, uint64_t length, uint32_t previous) {
    if (length >= kMinCarryLessBytes && ds_detail::processorHasCarryLessMultiplication()) {
        return png_detail::crc_by_carry_less(bytes, length, previous);
    }
    return png_detail::crc_by_slices(bytes, length, previous);
}
