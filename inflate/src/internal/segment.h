// The input of the fast loop: a copy in two forms, and the bit buffer that is filled from it.
//
// DEFLATE packs bits from the lowest bit of each byte upwards. The first bit of a code is its highest, so its bits must
// be reversed before they compare as a number. The extra bits of a match are not reversed. A segment of the input is
// stored in both forms:
//
//     reader's last bits | segment: at most 1,024 bytes             | later input
//     forward   8 bytes  |  bytes as in the input: extra bits       |
//     reversed           |  bits of each byte reversed: codes       |
//
//     bit buffer:        | next bit ... `count` bits | bits that the next refill reads again |
//                        bit 63                                                         bit 0
//
// Reversing a byte once here costs a third of reversing it at every refill.
#pragma once

#include "inflate/src/internal/bulk_input.h"
#include "inflate/src/internal/fast_codes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace inflate_detail {

/// Max bytes of a segment. Both forms are on the stack.
inline constexpr uint32_t kSegmentSize = 1024;
/// Zeros after a padded segment. A symbol is used only if its bits are in the segment, so at most kMaxAdvance bytes of
/// zeros are in the buffer when a refill reads the next word.
inline constexpr uint32_t kPadding = 2 * kWordSize;
static_assert(kMaxAdvance + kWordSize <= kPadding);

struct segment_t {
    uint32_t size; ///< bytes of input
    uint8_t forward[kWordSize + kSegmentSize + kPadding];
    uint8_t reversed[kSegmentSize + kPadding];

    /// Loads as much as fits of the `left` bytes at `in`. `left` is at least kWordSize.
    void load(const uint8_t* in, size_t left) {
        size = left < kSegmentSize ? static_cast<uint32_t>(left) : kSegmentSize;
        for (uint32_t at = 0; at + kWordSize <= size; at += kWordSize) {
            load_both_forms(in, at);
        }
        load_both_forms(in, size - kWordSize); // overlaps the word before
    }

    /// The same for any number of bytes. Zeros follow.
    void load_padded(const uint8_t* in, size_t left) {
        uint8_t bytes[kSegmentSize + kPadding];
        size = left < kSegmentSize ? static_cast<uint32_t>(left) : kSegmentSize;
        std::memcpy(bytes, in, size);
        std::memset(bytes + size, 0, kPadding);
        for (uint32_t at = 0; at <= size + kPadding - kWordSize; at += kWordSize) {
            load_both_forms(bytes, at);
        }
        load_both_forms(bytes, size + kPadding - kWordSize);
    }

    void load_both_forms(const uint8_t* in, uint32_t at) {
        const uint64_t word = load_word(in + at);
        store_word(forward + kWordSize + at, word);
        store_word(reversed + at, reversed_in_bytes(word));
    }
};

/// The next bits, the first one highest, so that a code is left-justified and compares as a number.
struct bit_buffer_t {
    uint64_t bits;
    uint32_t count;

    void refill(const segment_t& segment, uint32_t* at) {
        bits |= __builtin_bswap64(load_word(segment.reversed + *at)) >> count;
        *at += (63 - count) / 8;
        // Only whole bytes count: the next refill reads the bits after them again.
        count |= kBitsAfterRefill;
    }
    void drop(uint32_t length) {
        bits <<= length;
        count -= length;
    }
    uint32_t front(uint32_t length) const {
        return static_cast<uint32_t>(bits >> (kCodeBits - length));
    }
    /// The same bits in input order, the first one lowest; at least 57 of them.
    uint64_t forward(const segment_t& segment, uint32_t at) const {
        const uint32_t bytes = (count + 7) / 8;
        return load_word(segment.forward + kWordSize + at - bytes) >> (8 * bytes - count);
    }
};

} // namespace inflate_detail
