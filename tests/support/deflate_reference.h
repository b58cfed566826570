// A reference decoder of DEFLATE: RFC 1951 bit by bit, in one call, with the prefix codes as trees. It shares no code
// and no table with the decoder under test, and is fast enough for hundreds of millions of short streams.
//
// The decoder under test differs from the RFC on purpose. These differences are parts of the reference:
//
//   - Blocks of type 1 (fixed codes) are rejected after their three bits.
//   - The code-length code may be incomplete. The other two codes may not, unless they have a single code of one bit or,
//     for distances, no code.
//   - Bits that are no code are rejected after 15 bits, the max length of a code, whatever the longest code is.
//   - More than 30 distance codes are rejected by their number.
//   - If the output ends inside a match, the rest of the match is dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

struct reference_result_t {
    int32_t result;   ///< one of the kInflate results
    size_t written;   ///< bytes of output
    size_t bits_used; ///< up to the first unfinished field or code
    // Differences from the RFC that had a part in the result.
    bool has_fixed_block;
    bool has_incomplete_code_length_code;
};

reference_result_t reference_inflate(std::span<const uint8_t> raw, std::span<uint8_t> output);
