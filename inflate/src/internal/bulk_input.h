// Input in words instead of bits, for the loops that read many symbols at once.
#pragma once

#include "inflate/src/streams.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace inflate_detail {

inline constexpr uint32_t kWordSize = 8;
/// A buffer of 64 bits is refilled with whole bytes: it has at least kBitsAfterRefill bits then. A refill reads a word
/// and advances by at most kMaxAdvance bytes.
inline constexpr uint32_t kBitsAfterRefill = 56;
inline constexpr uint32_t kMaxAdvance = 63 / 8;

/// Loads a little-endian word on any machine.
inline uint64_t load_word(const uint8_t* bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

inline void store_word(uint8_t* bytes, uint64_t word) {
    word = std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
    std::memcpy(bytes, &word, sizeof word);
}

/// Reverses the bits of each byte. The first bit of a code is the lowest one in its byte, so a code compares as a
/// number only in a reversed byte.
inline uint64_t reversed_in_bytes(uint64_t word) {
    constexpr uint64_t kNibbles = 0x0F0F0F0F0F0F0F0F;
    constexpr uint64_t kPairs = 0x3333333333333333;
    constexpr uint64_t kSingles = 0x5555555555555555;
    word = ((word >> 4) & kNibbles) | (word & kNibbles) << 4;
    word = ((word >> 2) & kPairs) | (word & kPairs) << 2;
    return ((word >> 1) & kSingles) | (word & kSingles) << 1;
}

/// The bits of a word in input order, the first one highest.
inline uint64_t in_code_order(uint64_t word) {
    return __builtin_bswap64(reversed_in_bytes(word));
}

/// Sets the reader to `count` bits before `in`. Whole bytes are returned to the input. Bytes from before `stream->data`
/// stay in the bit buffer, because their piece of input may have been freed: there are such bytes only if no byte of
/// this piece was used.
inline void set_reader(bitstream_t* stream, const uint8_t* in, uint32_t count) {
    while (count >= 8 && in > stream->data) {
        --in;
        count -= 8;
    }
    if (in > stream->data) {
        stream->bits = in[-1];
        stream->bitCount = 8;
    }
    // In 64 bits: all 32 bits of the reader may have been used.
    stream->bits = static_cast<uint32_t>(uint64_t{stream->bits} >> (stream->bitCount - count));
    stream->bitCount = count;
    stream->available -= static_cast<uint32_t>(in - stream->data);
    stream->data = in;
}

} // namespace inflate_detail
