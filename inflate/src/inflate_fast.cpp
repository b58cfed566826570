// The fast loop decodes the symbols of one block without the states of the state machine. Photographs take less than
// a quarter of the time of the state machine, graphics a fifth (docs/performance.md).
//
// Input. DEFLATE packs bits from the lowest bit of each byte upwards. The first bit of a code is its highest, so its
// bits must be reversed before they compare as a number. The extra bits of a match are not reversed. A segment of the
// input is stored in both forms:
//
//     reader's last bits | segment: at most 1,024 bytes             | later input
//                        | an iteration may start here   | margin   |
//     forward   8 bytes  |  bytes as in the input: extra bits       |
//     reversed           |  bits of each byte reversed: codes       |
//
//     bit buffer:        | next bit ... `count` bits | bits that the next refill reads again |
//                        bit 63                                                         bit 0
//
// An iteration:
//
//     refill           at least 56 bits are in the buffer
//     literals         up to 3 codes of at most 15 bits: 45 <= 56. After three the iteration ends.
//     refill           if fewer than 48 bits are left
//     match            length code 15 + 5 extra bits, distance code 15 + 13 extra bits: 48 <= 56
//
// Bounds. A refill advances at most 7 bytes and reads 8, so two refills stay within 15 bytes: kInputMargin. An
// iteration writes at most two literals and a match of 258 bytes, and copy_match() reads up to 7 bytes beyond the
// output: kOutputMargin. If less is left, the state machine continues.
//
// Rejection. The loop consumes a symbol only after all checks. It stops before an invalid code, a distance too far
// back, or a symbol without a length. The state machine then reads the same bits and reports the fault. The record, the
// reader and the output are exactly as the state machine would have left them.
//
// Tried and rejected: reversing the bits at each refill (5 to 14 % slower), and a second bit buffer with the bits in
// input order, in place of the load from `forward` (docs/performance.md).
#include "inflate/src/internal/inflate_fast.h"

#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/internal/fast_codes.h"
#include "inflate/src/internal/match_copy.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace inflate_detail {
namespace {

constexpr uint32_t kWordSize = 8;

// An iteration refills at most twice: the second refill starts at most kMaxAdvance bytes on and reads a word.
constexpr uint32_t kMaxAdvance = 63 / 8;
constexpr uint32_t kInputMargin = 2 * kWordSize;
static_assert(kMaxAdvance + kWordSize <= kInputMargin);
// Bytes of a segment, with the margin. Both forms are on the stack.
constexpr uint32_t kSegmentSize = 1024;
static_assert(kSegmentSize > kInputMargin);
// With less input, deriving the tables takes longer than the loop saves.
constexpr uint32_t kMinInput = 64;
static_assert(kMinInput >= kInputMargin);

constexpr uint32_t kLiteralsPerRefill = 3;
constexpr uint32_t kMaxMatch = 258;
constexpr uint32_t kCopyReadsBeyond = 7; // see copy_match
// An iteration writes either kLiteralsPerRefill literals, or fewer literals and one match.
constexpr uint32_t kOutputMargin = kLiteralsPerRefill + kMaxMatch + kCopyReadsBeyond;
static_assert(kLiteralsPerRefill - 1 + kMaxMatch + kCopyReadsBeyond <= kOutputMargin);

// The min number of bits in the buffer after a refill.
constexpr uint32_t kBitsAfterRefill = 56;
constexpr uint32_t kMaxLengthBits = kMaxCodeLength + 5;
constexpr uint32_t kMaxDistanceBits = kMaxCodeLength + 13;
constexpr uint32_t kMaxMatchBits = kMaxLengthBits + kMaxDistanceBits;
static_assert(kLiteralsPerRefill * kMaxCodeLength <= kBitsAfterRefill);
static_assert(kMaxMatchBits <= kBitsAfterRefill);

// Reverses the bits of each byte.
uint64_t reversed_in_bytes(uint64_t word) {
    constexpr uint64_t kNibbles = 0x0F0F0F0F0F0F0F0F;
    constexpr uint64_t kPairs = 0x3333333333333333;
    constexpr uint64_t kSingles = 0x5555555555555555;
    word = ((word >> 4) & kNibbles) | (word & kNibbles) << 4;
    word = ((word >> 2) & kPairs) | (word & kPairs) << 2;
    return ((word >> 1) & kSingles) | (word & kSingles) << 1;
}

// A segment of input in two forms. `forward` is for extra bits: the word before the segment, then the unchanged bytes.
// `reversed` is for codes. Reversing a byte once here costs a third of reversing it at every refill.
struct segment_t {
    uint32_t size; // with the margin, which the next segment reads again
    uint8_t forward[kWordSize + kSegmentSize];
    uint8_t reversed[kSegmentSize];

    // Loads as much as fits of the `left` bytes at `in`. `left` is at least kInputMargin.
    void load(const uint8_t* in, size_t left) {
        size = left < kSegmentSize ? static_cast<uint32_t>(left) : kSegmentSize;
        for (uint32_t at = 0; at + kWordSize <= size; at += kWordSize) {
            load_both_forms(in, at);
        }
        load_both_forms(in, size - kWordSize); // overlaps the word before
    }
    void load_both_forms(const uint8_t* in, uint32_t at) {
        const uint64_t word = load_word(in + at);
        store_word(forward + kWordSize + at, word);
        store_word(reversed + at, reversed_in_bytes(word));
    }
};

// The next bits, the first one highest, so that a code is left-justified and compares as a number.
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
    // The same bits in input order, the first one lowest; at least 57 of them.
    uint64_t forward(const segment_t& segment, uint32_t at) const {
        const uint32_t bytes = (count + 7) / 8;
        return load_word(segment.forward + kWordSize + at - bytes) >> (8 * bytes - count);
    }
};

// The value of a payload and the extra bits after its code.
uint32_t value_of(uint32_t payload, uint64_t forward) {
    const uint64_t mask = (uint64_t{1} << (payload >> kPayloadExtraShift)) - 1;
    return (payload & kPayloadBaseMask) + static_cast<uint32_t>(forward & mask);
}

// The tables of a block's codes.
struct fast_block_t {
    fast_code_t litlen;
    fast_code_t dist;
    uint32_t literalEnds[kMaxCodeLength + 1];       // by length: the index after its last literal
    uint32_t litlenPayloads[kMaxLitlenSymbols + 2]; // the fixed code has two more symbols
    uint32_t distPayloads[kMaxDistSymbols];
};

uint32_t litlen_payload(uint32_t symbol, bool hasDistances) {
    if (symbol <= kEndOfBlock) {
        return symbol < kEndOfBlock ? symbol : kPayloadIsEndOfBlock;
    }
    const uint32_t index = symbol - kFirstLengthSymbol;
    return hasDistances && index < kLengthCodes
               ? payload_of(kLengthBase[index], kLengthExtraBits[index])
               : kPayloadIsInvalid;
}

// The symbols of one code length ascend, so the literals come first. Without distance codes the loop decodes no match:
// the limits cannot represent a code without symbols.
void derive_litlen(fast_block_t* block, const huffman_t& huffman, bool hasDistances) {
    fast_code_derive(&block->litlen, huffman);
    uint32_t index = 0;
    for (uint32_t length = 1; length <= kMaxCodeLength; ++length) {
        block->literalEnds[length] = index;
        for (uint32_t i = 0; i < huffman.counts[length]; ++i, ++index) {
            const uint32_t symbol = huffman.symbols[index];
            block->litlenPayloads[index] = litlen_payload(symbol, hasDistances);
            block->literalEnds[length] += symbol < kEndOfBlock ? 1 : 0;
        }
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

// The position of the loop. The record's fields about the last match are computed only at the end.
struct position_t {
    uint32_t at; // in the segment
    uint8_t* out;
    bit_buffer_t buffer;
    uint8_t* lastMatch; // null if there was none
    uint32_t lastLength, lastDistance, lastDistIndex;
    bool blockHasEnded;
    bool hasStopped; // at the end of the block or before a symbol that the loop does not decode
};

// Decodes and copies a match whose length code is next. Returns false, and changes nothing, if the distance is invalid.
[[gnu::always_inline]] inline bool decode_match(const fast_block_t& block, const segment_t& segment,
                                                position_t* position, uint32_t payload,
                                                uint32_t codeLength, const uint8_t* oldest) {
    bit_buffer_t buffer = position->buffer;
    buffer.drop(codeLength);
    const uint64_t forward = buffer.forward(segment, position->at);
    const uint32_t lengthExtraBits = payload >> kPayloadExtraShift;
    const uint32_t length = value_of(payload, forward);
    buffer.drop(lengthExtraBits);
    if (buffer.bits > block.dist.last) {
        return false;
    }
    const uint32_t distLength = fast_code_length(block.dist, buffer.bits);
    const uint32_t index = block.dist.base[distLength] + buffer.front(distLength);
    const uint32_t distPayload = block.distPayloads[index];
    const uint32_t distance = value_of(distPayload, forward >> (lengthExtraBits + distLength));
    buffer.drop(distLength + (distPayload >> kPayloadExtraShift));
    if (distance > static_cast<uint64_t>(position->out - oldest)) {
        return false;
    }
    copy_match(position->out, distance, length);
    position->buffer = buffer;
    position->lastMatch = position->out;
    position->lastLength = length;
    position->lastDistance = distance;
    position->lastDistIndex = index;
    position->out += length;
    return true;
}

void decode_segment(const fast_block_t& block, const segment_t& segment, position_t* result,
                    const uint8_t* outLimit, const uint8_t* oldest) {
    position_t position = *result; // a local copy, so that it stays in registers
    const uint32_t limit = segment.size - kInputMargin;
    while (position.at <= limit && position.out <= outLimit) {
        bit_buffer_t& buffer = position.buffer;
        buffer.refill(segment, &position.at);
        uint32_t literals = 0;
        uint32_t length = fast_code_length(block.litlen, buffer.bits);
        uint32_t index = block.litlen.base[length] + buffer.front(length);
        // The index identifies a literal before the payload is loaded.
        while (index < block.literalEnds[length]) {
            *position.out++ = static_cast<uint8_t>(block.litlenPayloads[index]);
            buffer.drop(length);
            if (++literals == kLiteralsPerRefill) {
                break;
            }
            length = fast_code_length(block.litlen, buffer.bits);
            index = block.litlen.base[length] + buffer.front(length);
        }
        if (literals == kLiteralsPerRefill) {
            continue;
        }
        if (buffer.count < kMaxMatchBits) {
            buffer.refill(segment, &position.at);
        }
        const uint32_t payload = block.litlenPayloads[index];
        if (payload >= kPayloadIsEndOfBlock) {
            if (payload == kPayloadIsEndOfBlock) {
                buffer.drop(length);
                position.blockHasEnded = true;
            }
            position.hasStopped = true;
            break;
        }
        if (!decode_match(block, segment, &position, payload, length, oldest)) {
            position.hasStopped = true;
            break;
        }
    }
    *result = position;
}

// Decodes the reader's input up to its margin. Returns the position after the used bytes.
const uint8_t* decode(const fast_block_t& block, const bitstream_t& stream, position_t* position,
                      const uint8_t* outLimit, const uint8_t* oldest) {
    segment_t segment;
    const uint8_t* in = stream.data;
    size_t left = stream.available;
    // The reader's last bits.
    uint64_t before = uint64_t{stream.bits} << 1 << (63 - stream.bitCount);
    while (left >= kInputMargin && !position->hasStopped && position->out <= outLimit) {
        store_word(segment.forward, before);
        segment.load(in, left);
        position->at = 0;
        decode_segment(block, segment, position, outLimit, oldest);
        in += position->at;
        left -= position->at;
        before = load_word(segment.forward + position->at);
    }
    return in;
}

// Returns the unused whole bytes of the bit buffer to the reader. Bytes from before this call stay in the bit buffer,
// because their piece of input may have been freed. This happens only if the loop has decoded no symbol.
void return_input(bitstream_t* stream, const uint8_t* in, uint32_t count) {
    while (count >= 8 && in > stream->data) {
        --in;
        count -= 8;
    }
    if (in > stream->data) {
        stream->bits = in[-1];
        stream->bitCount = 8;
    }
    stream->bits >>= stream->bitCount - count;
    stream->bitCount = count;
    stream->available -= static_cast<uint32_t>(in - stream->data);
    stream->data = in;
}

void store_record(inflate_t* inflate, const position_t& position) {
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

void inflate_fast(inflate_t* inflate, bitstream_t* stream) {
    // Distances are limited by `totalOut`, which wraps at 2^32. The loop stops before that, so that its own limit, the
    // distance to the first byte of output, equals `totalOut` at every symbol.
    const uint32_t room =
        std::min(inflate->outAvailable, std::numeric_limits<uint32_t>::max() - inflate->totalOut);
    if (inflate->window != nullptr || inflate->litlenTable->maxBits == 0 ||
        stream->available < kMinInput || room < kOutputMargin) {
        return;
    }
    fast_block_t block;
    derive_dist(&block, *inflate->distTable);
    derive_litlen(&block, *inflate->litlenTable, block.dist.maxLength != 0);
    if (block.litlen.last != ~uint64_t{0}) {
        return;
    }
    position_t position = {
        .at = 0,
        .out = inflate->out,
        .buffer = {__builtin_bswap64(reversed_in_bytes(stream->bits)), stream->bitCount},
        .lastMatch = nullptr,
        .lastLength = 0,
        .lastDistance = 0,
        .lastDistIndex = 0,
        .blockHasEnded = false,
        .hasStopped = false};
    const uint8_t* const in =
        decode(block, *stream, &position, inflate->out + (room - kOutputMargin),
               inflate->out - inflate->totalOut);
    store_record(inflate, position);
    return_input(stream, in, position.buffer.count);
}

} // namespace inflate_detail
