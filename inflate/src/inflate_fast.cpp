// Decoding without going through the states: the input in two 64-bit buffers, codes told apart by
// limits, matches copied in words.
//
// A symbol is taken only once all of it is known to be good. Before anything doubtful (an invalid
// code, a distance too far back, a symbol without meaning) the loop stops, and the state machine
// meets the same bits and says what is wrong with them.
#include "inflate/src/inflate_fast.h"

#include "inflate/src/deflate_tables.h"
#include "inflate/src/fast_codes.h"
#include "inflate/src/match_copy.h"

#include <bit>
#include <cstring>

namespace {

bool gLeftOut = false;

constexpr uint32_t kWordSize = 8;

// A turn refills at most twice, and each refill reads a whole word.
constexpr uint32_t kInputMargin = 2 * kWordSize;
// Deriving the tables has to be earned by some decoding.
constexpr uint32_t kWorthwhileInput = 64;
static_assert(kWorthwhileInput >= kInputMargin);

constexpr uint32_t kLiteralsPerRefill = 3;
constexpr uint32_t kMaxMatch = 258;
constexpr uint32_t kCopyReadsBeyond = 7; // see copy_match
// A turn writes a few literals and one match.
constexpr uint32_t kOutputMargin = kLiteralsPerRefill + kMaxMatch + kCopyReadsBeyond;

// After a refill the buffers hold at least this many bits.
constexpr uint32_t kBitsAfterRefill = 56;
constexpr uint32_t kMaxLengthBits = kMaxCodeLength + 5;
constexpr uint32_t kMaxDistanceBits = kMaxCodeLength + 13;
constexpr uint32_t kMaxMatchBits = kMaxLengthBits + kMaxDistanceBits;
static_assert(kLiteralsPerRefill * kMaxCodeLength <= kBitsAfterRefill);
static_assert(kMaxMatchBits <= kBitsAfterRefill);

uint64_t little_endian_word(const uint8_t* bytes) {
    constexpr bool kIsNative = std::endian::native == std::endian::little;
    return kIsNative ? load_word(bytes) : __builtin_bswap64(load_word(bytes));
}

uint64_t reversed(uint64_t word) {
    constexpr uint64_t kNibbles = 0x0F0F0F0F0F0F0F0F;
    constexpr uint64_t kPairs = 0x3333333333333333;
    constexpr uint64_t kSingles = 0x5555555555555555;
    word = __builtin_bswap64(word);
    word = ((word >> 4) & kNibbles) | (word & kNibbles) << 4;
    word = ((word >> 2) & kPairs) | (word & kPairs) << 2;
    return ((word >> 1) & kSingles) | (word & kSingles) << 1;
}

// The same bits twice: as they come, with the next one lowest, for extra bits; and reversed, with
// the next one highest, so that a code stands left-justified and compares as a number.
struct bit_buffers_t {
    uint64_t forward;
    uint64_t backward;
    uint32_t count;

    void refill(const uint8_t*& in) {
        const uint64_t word = little_endian_word(in);
        forward |= word << count;
        backward |= reversed(word) >> count;
        in += (63 - count) / 8;
        count |= kBitsAfterRefill; // whole bytes only, so the bits above are read again next time
    }
    uint32_t top() const { return static_cast<uint32_t>(backward >> 48); }
    uint32_t front(uint32_t length) const {
        return static_cast<uint32_t>(backward >> (64 - length));
    }
    void drop(uint32_t length) {
        forward >>= length;
        backward <<= length;
        count -= length;
    }
    // The base of a payload and its extra bits, which are taken.
    uint32_t value_of(uint32_t payload) {
        const uint32_t extraBits = payload >> kPayloadExtraShift;
        const uint64_t mask = (uint64_t{1} << extraBits) - 1;
        const uint32_t value = (payload & kPayloadBaseMask) + static_cast<uint32_t>(forward & mask);
        drop(extraBits);
        return value;
    }
};

// What a block's codes come to.
struct fast_block_t {
    fast_code_t litlen;
    fast_code_t dist;
    uint32_t literalEnds[kMaxCodeLength + 1];       // by length: where its codes for literals end
    uint32_t litlenPayloads[kMaxLitlenSymbols + 2]; // the fixed code has two more symbols
    uint32_t distPayloads[kMaxDistSymbols];
};

uint32_t litlen_payload(uint32_t symbol) {
    if (symbol <= kEndOfBlock) {
        return symbol < kEndOfBlock ? symbol : kPayloadIsEndOfBlock;
    }
    const uint32_t index = symbol - kFirstLengthSymbol;
    return index < kLengthCodes ? payload_of(kLengthBase[index], kLengthExtraBits[index])
                                : kPayloadIsInvalid;
}

// Within one length symbols ascend, so the literals come first.
void derive_litlen(fast_block_t* block, const huffman_t& huffman) {
    fast_code_derive(&block->litlen, huffman);
    uint32_t index = 0;
    uint32_t start = 0;
    for (uint32_t length = 1; length <= kMaxCodeLength; ++length) {
        uint32_t literals = 0;
        for (uint32_t i = 0; i < huffman.counts[length]; ++i, ++index) {
            const uint32_t symbol = huffman.symbols[index];
            block->litlenPayloads[index] = litlen_payload(symbol);
            literals += symbol < kEndOfBlock ? 1 : 0;
        }
        block->literalEnds[length] = start + (literals << (16 - length));
        start += static_cast<uint32_t>(huffman.counts[length]) << (16 - length);
    }
}

void derive_dist(fast_block_t* block, const huffman_t& huffman) {
    fast_code_derive(&block->dist, huffman);
    uint32_t index = 0;
    for (uint32_t length = 1; length <= kMaxCodeLength; ++length) {
        for (uint32_t i = 0; i < huffman.counts[length]; ++i, ++index) {
            const uint32_t symbol = huffman.symbols[index];
            block->distPayloads[index] =
                payload_of(kDistanceBase[symbol], kDistanceExtraBits[symbol]);
        }
    }
}

// Where the loop stands. What the record shows of the last match is only worked out at the end.
struct position_t {
    const uint8_t* in;
    uint8_t* out;
    bit_buffers_t bits;
    uint8_t* lastMatch; // null if there was none
    uint32_t lastLength, lastDistance, lastDistIndex;
    bool blockHasEnded;
};

// Takes a match whose length symbol is known to come next. False, with nothing taken, if it is not
// a plain one.
[[gnu::always_inline]] inline bool take_match(const fast_block_t& block, position_t* position,
                                              uint32_t payload, uint32_t codeLength,
                                              const uint8_t* oldest) {
    bit_buffers_t bits = position->bits;
    bits.drop(codeLength);
    const uint32_t length = bits.value_of(payload);
    const uint32_t top = bits.top();
    if (top >= block.dist.end) {
        return false;
    }
    const uint32_t distLength = fast_code_length(block.dist, top);
    const uint32_t index = block.dist.base[distLength] + bits.front(distLength);
    bits.drop(distLength);
    const uint32_t distance = bits.value_of(block.distPayloads[index]);
    if (distance > static_cast<uint64_t>(position->out - oldest)) {
        return false;
    }
    copy_match(position->out, distance, length);
    position->bits = bits;
    position->lastMatch = position->out;
    position->lastLength = length;
    position->lastDistance = distance;
    position->lastDistIndex = index;
    position->out += length;
    return true;
}

void decode(const fast_block_t& block, position_t* result, const uint8_t* inLimit,
            const uint8_t* outLimit, const uint8_t* oldest) {
    position_t position = *result; // a local of its own, so that it can live in registers
    while (position.in <= inLimit && position.out <= outLimit) {
        bit_buffers_t& bits = position.bits;
        bits.refill(position.in);
        uint32_t literals = 0;
        uint32_t top = bits.top();
        uint32_t length = fast_code_length(block.litlen, top);
        // Whether the code is a literal's is known before its payload has been loaded.
        while (top < block.literalEnds[length]) {
            const uint32_t index = block.litlen.base[length] + bits.front(length);
            *position.out++ = static_cast<uint8_t>(block.litlenPayloads[index]);
            bits.drop(length);
            if (++literals == kLiteralsPerRefill) {
                break;
            }
            top = bits.top();
            length = fast_code_length(block.litlen, top);
        }
        if (literals == kLiteralsPerRefill) {
            continue;
        }
        if (bits.count < kMaxMatchBits) {
            bits.refill(position.in);
        }
        const uint32_t payload =
            block.litlenPayloads[block.litlen.base[length] + bits.front(length)];
        if (payload >= kPayloadIsEndOfBlock) {
            if (payload == kPayloadIsEndOfBlock) {
                bits.drop(length);
                position.blockHasEnded = true;
            }
            break;
        }
        if (!take_match(block, &position, payload, length, oldest)) {
            break;
        }
    }
    *result = position;
}

// Gives back the whole bytes that were not used, but none from before this call: those may be gone, and
// there are such where the very first symbol was left to the state machine.
void hand_back_input(bitstream_t* stream, const position_t& position) {
    const uint8_t* in = position.in;
    uint32_t count = position.bits.count;
    while (count >= 8 && in > stream->data) {
        --in;
        count -= 8;
    }
    stream->available -= static_cast<uint32_t>(in - stream->data);
    stream->data = in;
    stream->bitCount = count;
    stream->bits = static_cast<uint32_t>(position.bits.forward & ((uint64_t{1} << count) - 1));
}

void hand_back_record(inflate_t* inflate, const position_t& position) {
    const auto produced = static_cast<uint32_t>(position.out - inflate->out);
    if (position.lastMatch != nullptr) {
        inflate->length = 0;
        inflate->distance = static_cast<uint16_t>(position.lastDistance);
        inflate->copyFrom = position.lastMatch - position.lastDistance;
    }
    if (position.blockHasEnded) {
        inflate->symbol = kEndOfBlock;
        inflate->state = kBlockHeader;
    } else if (position.lastMatch != nullptr &&
               position.lastMatch + position.lastLength == position.out) {
        inflate->symbol = static_cast<int16_t>(inflate->distTable->symbols[position.lastDistIndex]);
    } else if (produced > 0) {
        inflate->symbol = position.out[-1];
    }
    inflate->out = position.out;
    inflate->outAvailable -= produced;
    inflate->totalOut += produced;
}

} // namespace

void inflate_leave_out_fast(bool leftOut) {
    gLeftOut = leftOut;
}

void inflate_fast(inflate_t* inflate, bitstream_t* stream) {
    if (gLeftOut || inflate->window != nullptr || inflate->litlenTable->maxBits == 0 ||
        stream->available < kWorthwhileInput || inflate->outAvailable < kOutputMargin) {
        return;
    }
    fast_block_t block;
    derive_litlen(&block, *inflate->litlenTable);
    derive_dist(&block, *inflate->distTable);
    if (block.litlen.end != kCodeSpace) {
        return;
    }
    position_t position = {.in = stream->data,
                           .out = inflate->out,
                           .bits = {stream->bits, reversed(stream->bits), stream->bitCount},
                           .lastMatch = nullptr,
                           .lastLength = 0,
                           .lastDistance = 0,
                           .lastDistIndex = 0,
                           .blockHasEnded = false};
    decode(block, &position, stream->data + (stream->available - kInputMargin),
           inflate->out + (inflate->outAvailable - kOutputMargin),
           inflate->out - inflate->totalOut);
    hand_back_record(inflate, position);
    hand_back_input(stream, position);
}
