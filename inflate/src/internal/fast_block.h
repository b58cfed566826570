// The tables of a block's codes for the fast loop: a payload for each symbol, in the order of the sorted symbols.
#pragma once

#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/internal/fast_codes.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/streams.h"

#include <array>
#include <cstdint>

namespace inflate_detail {

/// A payload is a base value and, above it, the number of extra bits to add to it. For literals the base is the byte.
inline constexpr uint32_t kPayloadExtraShift = 16;
inline constexpr uint32_t kPayloadBaseMask = (1 << kPayloadExtraShift) - 1;
/// Flags of payloads that the fast loop does not decode.
inline constexpr uint32_t kPayloadIsEndOfBlock = 1 << 30;
inline constexpr uint32_t kPayloadIsInvalid = 1U << 31;

/// The fixed code has two symbols more than a dynamic one. They are invalid.
inline constexpr uint32_t kMaxPayloads = kFixedLitlenSymbols;
static_assert(kMaxPayloads == kMaxLitlenSymbols + 2);

inline constexpr uint32_t payload_of(uint16_t base, uint16_t extraBits) {
    return base | uint32_t{extraBits} << kPayloadExtraShift;
}

inline constexpr std::array<uint32_t, kMaxPayloads> kLitlenPayloads = [] {
    std::array<uint32_t, kMaxPayloads> payloads = {};
    payloads.fill(kPayloadIsInvalid);
    for (uint16_t literal = 0; literal < kEndOfBlock; ++literal) {
        payloads[literal] = literal;
    }
    payloads[kEndOfBlock] = kPayloadIsEndOfBlock;
    for (uint32_t i = 0; i < kLengthCodes; ++i) {
        payloads[kFirstLengthSymbol + i] = payload_of(kLengthBase[i], kLengthExtraBits[i]);
    }
    return payloads;
}();

inline constexpr std::array<uint32_t, kMaxDistSymbols> kDistPayloads = [] {
    std::array<uint32_t, kMaxDistSymbols> payloads = {};
    for (uint32_t i = 0; i < kMaxDistSymbols; ++i) {
        payloads[i] = payload_of(kDistanceBase[i], kDistanceExtraBits[i]);
    }
    return payloads;
}();

/// The value of a payload with the extra bits after its code.
inline uint32_t value_of(uint32_t payload, uint64_t forward) {
    const uint64_t mask = (uint64_t{1} << (payload >> kPayloadExtraShift)) - 1;
    return (payload & kPayloadBaseMask) + static_cast<uint32_t>(forward & mask);
}

struct fast_block_t {
    fast_code_t litlen;
    fast_code_t dist;
    uint32_t literalEnds[kMaxCodeLength + 1]; ///< by length: the index after its last literal
    uint32_t litlenPayloads[kMaxPayloads];
    uint32_t distPayloads[kMaxDistSymbols];

    /// Without a distance code every match is invalid: the limits cannot represent a code without symbols.
    void derive(const huffman_t& litlenCode, const huffman_t& distCode) {
        const uint32_t dists = fast_code_derive(&dist, distCode);
        for (uint32_t i = 0; i < dists; ++i) {
            distPayloads[i] = kDistPayloads[distCode.symbols[i]];
        }
        const uint32_t litlens = fast_code_derive(&litlen, litlenCode);
        for (uint32_t i = 0; i < litlens; ++i) {
            const uint16_t symbol = litlenCode.symbols[i];
            const bool isInvalid = dists == 0 && symbol > kEndOfBlock;
            litlenPayloads[i] = isInvalid ? kPayloadIsInvalid : kLitlenPayloads[symbol];
        }
        find_literal_ends(litlenCode);
    }

private:
    // The symbols of one code length ascend, so the literals come first.
    void find_literal_ends(const huffman_t& code) {
        uint32_t index = 0;
        for (uint32_t length = 1; length <= kMaxCodeLength; ++length) {
            const uint32_t first = index;
            index += code.counts[length];
            uint32_t end = index;
            while (end > first && code.symbols[end - 1] >= kEndOfBlock) {
                --end;
            }
            literalEnds[length] = end;
        }
    }
};

} // namespace inflate_detail
