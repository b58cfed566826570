// Canonical codes for the fast loop and the header: limits that give a short code's length without a search
// or a branch.
//
// Canonical codes of one length are consecutive numbers, and each length continues where the shorter one ended. Take
// the input as a number whose highest bit is the first bit. Then the inputs that begin with a code of one length are
// a range of numbers, and the ranges ascend with the length. For codes of 2, 3, 3, 4 and 4 bits:
//
//     input  0                                                                     2^64 - 1
//            |------ 00 ------|- 010 --|- 011 --|1000|1001|-------- no code --------|
//                             ^                 ^         ^
//                      last of 2 bits    last of 3 bits   last of 4 bits
//
//     length(input) = minLength + (input > limits[0]) + (input > limits[1]) + ...
//     index(input)  = base[length] + the first `length` bits of the input
//
// where base[length] is the number of shorter codes minus the first code of the length. The index is that of the
// symbol among the sorted symbols. The first four or eight comparisons have no branch. Longer codes take a branch. They
// are rare, so the branch is mostly predicted; correctness does not depend on that.
//
// Tried and rejected: six comparisons for every code (1 to 4 % slower), two (up to 15 % slower), a window of lengths
// that moves to the most frequent ones, and SIMD comparisons (docs/performance.md).
#pragma once

#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/streams.h"

#include <cstdint>

namespace inflate_detail {

/// Codes are left-justified in words of this size: the first bit of the input is the highest.
inline constexpr uint32_t kCodeBits = 64;

/// The numbers of limits that are compared without a branch: four for most codes, eight for codes with many long ones.
inline constexpr uint32_t kFewLimits = 4;
inline constexpr uint32_t kManyLimits = 8;

/// One code, derived from its counts per length.
struct fast_code_t {
    uint32_t minLength; ///< bits of the shortest code
    uint32_t maxLength; ///< bits of the longest code
    uint64_t last;      ///< the highest input that begins with a code
    /// The highest input that begins with a code of at most minLength + i bits. From maxLength on, the
    /// limits are all ones, which no input exceeds.
    uint64_t limits[kMaxCodeLength + kManyLimits];
    /// By length: the number to add to a code to get the index of its symbol (wrapping).
    uint32_t base[kMaxCodeLength + 1];

    /// Whether at least an eighth of all inputs begins with codes longer than minLength + kFewLimits. In a good code
    /// each symbol is about as frequent as its part of all inputs, so the branch to these codes would often be
    /// mispredicted. Icons mostly have such codes: the codes of literals are 4 to 8 bits longer than that of the most
    /// frequent match.
    bool needs_many_limits() const {
        constexpr uint64_t kMinPart = uint64_t{1} << (kCodeBits - 3);
        return last - limits[kFewLimits] >= kMinPart;
    }
};

/// The highest input below those that begin with the `length` bits of `code`.
inline constexpr uint64_t last_before(uint32_t code, uint32_t length) {
    return (uint64_t{code} << (kCodeBits - length)) - 1;
}

/// Derives the limits and bases of a built code. @return the number of its symbols; with 0 the code must not be used
inline uint32_t fast_code_derive(fast_code_t* fast, const huffman_t& huffman) {
    uint64_t limits[kMaxCodeLength + 1] = {};
    uint32_t code = 0;
    uint32_t index = 0;
    fast->maxLength = 0;
    fast->minLength = 0;
    for (uint32_t length = 1; length <= kMaxCodeLength; ++length) {
        const uint32_t count = huffman.counts[length];
        if (count != 0) {
            fast->maxLength = length;
            fast->minLength = fast->minLength == 0 ? length : fast->minLength;
        }
        code <<= 1;
        fast->base[length] = index - code;
        code += count;
        limits[length] = last_before(code, length);
        index += count;
    }
    fast->last = limits[fast->maxLength];
    for (uint32_t i = 0; i < kMaxCodeLength + kManyLimits; ++i) {
        const uint32_t length = fast->minLength + i;
        fast->limits[i] = length < fast->maxLength ? limits[length] : ~uint64_t{0};
    }
    return index;
}

/// The length of the code at the start of `input`. Each limit that the input exceeds adds one bit.
template <uint32_t limitCount>
[[gnu::always_inline]] inline uint32_t fast_code_length(const fast_code_t& code, uint64_t input) {
    // Two independent sums run in parallel. The asm keeps the compiler from combining them.
    uint32_t length = code.minLength;
    uint32_t more = 0;
#pragma GCC unroll 4
    for (uint32_t i = 0; i < limitCount; i += 2) {
        length += input > code.limits[i];
        more += input > code.limits[i + 1];
        asm("" : "+r"(length), "+r"(more));
    }
    length += more;
    if (input > code.limits[limitCount]) [[unlikely]] {
        ++length;
        for (uint32_t i = limitCount + 1; input > code.limits[i]; ++i) {
            ++length;
        }
    }
    return length;
}

} // namespace inflate_detail
