// The fast loop decodes the symbols of one block without the states of the state machine. Photographs take less than
// a quarter of the time of the state machine, graphics a fifth (docs/performance.md).
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
// output: kOutputMargin. Where less is left, the tail loop checks each symbol. It uses a symbol only if its bits end
// inside the input and its bytes fit the output.
//
// Rejection. Both loops consume a symbol only after all checks. They stop before an invalid code, a distance too far
// back, or a symbol without a length. The state machine then reads the same bits and reports the fault. The record, the
// reader and the output are exactly as the state machine would have left them.
//
// Tried and rejected: reversing the bits at each refill (5 to 14 % slower), and a second bit buffer with the bits in
// input order, in place of the load from the segment (docs/performance.md).
#include "inflate/src/internal/inflate_fast.h"

#include "inflate/src/internal/bulk_input.h"
#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/internal/fast_block.h"
#include "inflate/src/internal/fast_codes.h"
#include "inflate/src/internal/match_copy.h"
#include "inflate/src/internal/segment.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace inflate_detail {
namespace {

// An iteration refills at most twice: the second refill starts at most kMaxAdvance bytes on and reads a word.
constexpr uint32_t kInputMargin = 2 * kWordSize;
static_assert(kMaxAdvance + kWordSize <= kInputMargin && kInputMargin < kSegmentSize);
// With less input the state machine decodes alone, because tables are derived in every call. If 16 to 23 bytes of
// symbols are left, the loop takes three quarters of the instructions.
constexpr uint32_t kMinInput = 16;

constexpr uint32_t kLiteralsPerRefill = 3;
constexpr uint32_t kMaxMatch = 258;
constexpr uint32_t kCopyReadsBeyond = 7; // see copy_match
// An iteration writes either kLiteralsPerRefill literals, or fewer literals and one match.
constexpr int32_t kOutputMargin = kLiteralsPerRefill + kMaxMatch + kCopyReadsBeyond;
static_assert(kLiteralsPerRefill - 1 + kMaxMatch + kCopyReadsBeyond <= kOutputMargin);

// A byte of output takes at most 16 bits: a match of three bytes has at most 48. So where the output margin ends the
// loop, one segment has all input that the tail loop can use.
static_assert(2 * kOutputMargin + static_cast<int32_t>(kWordSize) <=
              static_cast<int32_t>(kSegmentSize));

constexpr uint32_t kMaxLengthBits = kMaxCodeLength + 5;
constexpr uint32_t kMaxDistanceBits = kMaxCodeLength + 13;
constexpr uint32_t kMaxMatchBits = kMaxLengthBits + kMaxDistanceBits;
static_assert(kLiteralsPerRefill * kMaxCodeLength <= kBitsAfterRefill);
static_assert(kMaxMatchBits <= kBitsAfterRefill);

struct match_t {
    uint32_t length, distance, distIndex;
};

// The position of the loop. The record's fields about the last match are computed only at the end.
struct position_t {
    uint32_t at; // in the segment
    uint8_t* out;
    bit_buffer_t buffer;
    uint8_t* lastMatch; // null if there was none
    match_t last;
    bool blockHasEnded;
    bool hasStopped; // at the end of the block or before a symbol that the loop does not decode
};

// A litlen code at the start of the bit buffer.
struct litlen_t {
    uint32_t length;
    uint32_t index;
    bool isLiteral; // known before the payload is loaded
};

template <uint32_t limitCount>
[[gnu::always_inline]] inline litlen_t find_litlen(const fast_block_t& block,
                                                   const bit_buffer_t& buffer) {
    const uint32_t length = fast_code_length<limitCount>(block.litlen, buffer.bits);
    const uint32_t index = block.litlen.base[length] + buffer.front(length);
    return {length, index, index < block.literalEnds[length]};
}

// Reads a match after its length code. `buffer` has at least the bits of a match without that code. Returns false if
// the distance is no code.
[[gnu::always_inline]] inline bool read_match(const fast_block_t& block, const segment_t& segment,
                                              uint32_t at, uint32_t payload, bit_buffer_t* buffer,
                                              match_t* match) {
    const uint64_t forward = buffer->forward(segment, at);
    const uint32_t lengthExtraBits = payload >> kPayloadExtraShift;
    match->length = value_of(payload, forward);
    buffer->drop(lengthExtraBits);
    if (buffer->bits > block.dist.last) {
        return false;
    }
    const uint32_t distLength = fast_code_length<kFewLimits>(block.dist, buffer->bits);
    match->distIndex = block.dist.base[distLength] + buffer->front(distLength);
    const uint32_t distPayload = block.distPayloads[match->distIndex];
    match->distance = value_of(distPayload, forward >> (lengthExtraBits + distLength));
    buffer->drop(distLength + (distPayload >> kPayloadExtraShift));
    return true;
}

bool is_too_far(const position_t& position, const match_t& match, const uint8_t* oldest) {
    return match.distance > static_cast<uint64_t>(position.out - oldest);
}

// Moves the position beyond a match that has been copied.
[[gnu::always_inline]] inline void advance(position_t* position, const match_t& match) {
    position->lastMatch = position->out;
    position->last = match;
    position->out += match.length;
}

template <uint32_t limitCount>
void decode_segment(const fast_block_t& block, const segment_t& segment, position_t* result,
                    const uint8_t* outLimit, const uint8_t* oldest) {
    position_t position = *result; // a local copy, so that it stays in registers
    const uint32_t limit = segment.size - kInputMargin;
    while (position.at <= limit && position.out <= outLimit) {
        bit_buffer_t& buffer = position.buffer;
        buffer.refill(segment, &position.at);
        uint32_t literals = 0;
        litlen_t code = find_litlen<limitCount>(block, buffer);
        while (code.isLiteral) {
            *position.out++ = static_cast<uint8_t>(block.litlenPayloads[code.index]);
            buffer.drop(code.length);
            if (++literals == kLiteralsPerRefill) {
                break;
            }
            code = find_litlen<limitCount>(block, buffer);
        }
        if (literals == kLiteralsPerRefill) {
            continue;
        }
        if (buffer.count < kMaxMatchBits) {
            buffer.refill(segment, &position.at);
        }
        const uint32_t payload = block.litlenPayloads[code.index];
        if (payload >= kPayloadIsEndOfBlock) {
            if (payload == kPayloadIsEndOfBlock) {
                buffer.drop(code.length);
                position.blockHasEnded = true;
            }
            position.hasStopped = true;
            break;
        }
        bit_buffer_t after = buffer;
        after.drop(code.length);
        match_t match;
        if (!read_match(block, segment, position.at, payload, &after, &match) ||
            is_too_far(position, match, oldest)) {
            position.hasStopped = true;
            break;
        }
        copy_match(position.out, match.distance, match.length);
        buffer = after;
        advance(&position, match);
    }
    *result = position;
}

// The same for the ends of input and output: one symbol in each iteration, which is used only if it is complete and its
// output fits. The padding of the segment reads as zeros.
template <uint32_t limitCount>
void decode_tail(const fast_block_t& block, const segment_t& segment, position_t* position,
                 const uint8_t* outEnd, const uint8_t* oldest) {
    while (!position->hasStopped) {
        bit_buffer_t buffer = position->buffer;
        uint32_t at = position->at;
        buffer.refill(segment, &at);
        const litlen_t code = find_litlen<limitCount>(block, buffer);
        buffer.drop(code.length);
        const uint32_t payload = block.litlenPayloads[code.index];
        match_t match = {};
        bool isValid = true;
        if (!code.isLiteral && payload < kPayloadIsEndOfBlock) {
            isValid = read_match(block, segment, at, payload, &buffer, &match) &&
                      !is_too_far(*position, match, oldest);
        }
        if (buffer.count + 8 * segment.size < 8 * at) {
            break; // the symbol needs more input
        }
        const auto room = static_cast<uint64_t>(outEnd - position->out);
        if (code.isLiteral && room > 0) {
            *position->out++ = static_cast<uint8_t>(payload);
        } else if (payload == kPayloadIsEndOfBlock) {
            position->blockHasEnded = position->hasStopped = true;
        } else if (isValid && match.length > 0 && match.length <= room) {
            if (match.length + kCopyReadsBeyond <= room) {
                copy_match(position->out, match.distance, match.length);
            } else {
                copy_bytes(position->out, match.distance, match.length);
            }
            advance(position, match);
        } else {
            position->hasStopped = true;
            break;
        }
        position->buffer = buffer;
        position->at = at;
    }
    if (position->at > segment.size) {
        position->buffer.count -= 8 * (position->at - segment.size);
        position->at = segment.size;
    }
}

// Decodes the reader's input. Returns the position after the used bytes.
template <uint32_t limitCount>
const uint8_t* decode(const fast_block_t& block, const bitstream_t& stream, position_t* position,
                      const uint8_t* outEnd, const uint8_t* oldest) {
    segment_t segment;
    const uint8_t* in = stream.data;
    size_t left = stream.available;
    // The reader's last bits.
    store_word(segment.forward, uint64_t{stream.bits} << 1 << (63 - stream.bitCount));
    const auto advance_input = [&] {
        in += position->at;
        left -= position->at;
        store_word(segment.forward, load_word(segment.forward + position->at));
        position->at = 0;
    };
    while (left >= kInputMargin && !position->hasStopped &&
           outEnd - position->out >= kOutputMargin) {
        segment.load(in, left);
        decode_segment<limitCount>(block, segment, position, outEnd - kOutputMargin, oldest);
        advance_input();
    }
    if (!position->hasStopped) {
        segment.load_padded(in, left);
        decode_tail<limitCount>(block, segment, position, outEnd, oldest);
        advance_input();
    }
    return in;
}

void store_record(inflate_t* inflate, const position_t& position) {
    const auto produced = static_cast<uint32_t>(position.out - inflate->out);
    if (position.lastMatch != nullptr) {
        inflate->length = 0;
        inflate->distance = static_cast<uint16_t>(position.last.distance);
        inflate->copyFrom = position.lastMatch - position.last.distance;
    }
    if (position.blockHasEnded) {
        inflate->symbol = kEndOfBlock;
        inflate->state = kBlockHeader;
    } else if (position.lastMatch != nullptr &&
               position.lastMatch + position.last.length == position.out) {
        inflate->symbol =
            static_cast<int16_t>(inflate->distTable->symbols[position.last.distIndex]);
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
        stream->available < kMinInput) {
        return;
    }
    fast_block_t block;
    block.derive(*inflate->litlenTable, *inflate->distTable);
    if (block.litlen.last != ~uint64_t{0}) {
        return;
    }
    position_t position = {.at = 0,
                           .out = inflate->out,
                           .buffer = {in_code_order(stream->bits), stream->bitCount},
                           .lastMatch = nullptr,
                           .last = {},
                           .blockHasEnded = false,
                           .hasStopped = false};
    const auto decode_block =
        block.litlen.needs_many_limits() ? decode<kManyLimits> : decode<kFewLimits>;
    const uint8_t* const in = decode_block(block, *stream, &position, inflate->out + room,
                                           inflate->out - inflate->totalOut);
    store_record(inflate, position);
    set_reader(stream, in, position.buffer.count);
}

} // namespace inflate_detail
