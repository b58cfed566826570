// The DEFLATE state machine, one function per step. A step either completes, or leaves the record so
// that the step can start again: that makes the decoder resumable at any byte.
#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/internal/inflate_fast.h"
#include "inflate/src/internal/inflate_header.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/streams.h"

#include <algorithm>
#include <array>

using namespace inflate_detail;

namespace {

// ---- The fixed codes of block type 1

uint16_t gFixedLitlenCounts[kMaxCodeLength + 1];
uint16_t gFixedLitlenSymbols[kFixedLitlenSymbols];
uint16_t gFixedDistCounts[kMaxCodeLength + 1];
uint16_t gFixedDistSymbols[kFixedDistSymbols];
huffman_t gFixedLitlen = {0, gFixedLitlenCounts, gFixedLitlenSymbols};
huffman_t gFixedDist = {0, gFixedDistCounts, gFixedDistSymbols};

// ---- Output

// The number of bytes from `position` to the end of the window, where copies wrap.
uint32_t to_window_end(const inflate_t* inflate, const uint8_t* position) {
    return inflate->windowSize - static_cast<uint32_t>(position - inflate->window);
}

// The offset in the window `count` bytes after `position`. At the window's end it wraps to 0.
uint32_t wrapped_offset(const inflate_t* inflate, const uint8_t* position, uint32_t count) {
    const uint32_t offset = static_cast<uint32_t>(position - inflate->window) + count;
    return offset == inflate->windowSize ? 0 : offset;
}

// Writes `count` bytes from `from`. They must fit the output and the rest of the window. Copies byte
// by byte, because an overlapping match repeats its own output.
void emit(inflate_t* inflate, const uint8_t* from, uint32_t count) {
    if (inflate->window != nullptr) {
        // A match may overlap the window's write position, but never the output buffer.
        for (uint32_t i = 0; i < count; ++i) {
            inflate->windowPos[i] = from[i];
            inflate->out[i] = inflate->windowPos[i];
        }
        inflate->windowPos = inflate->window + wrapped_offset(inflate, inflate->windowPos, count);
    } else {
        for (uint32_t i = 0; i < count; ++i) {
            inflate->out[i] = from[i];
        }
    }
    inflate->out += count;
    inflate->outAvailable -= count;
    inflate->totalOut += count;
}

// ---- Blocks and stored data

int32_t read_block_header(inflate_t* inflate, bitstream_t* stream) {
    if (inflate->finalBlock != 0) {
        return kInflateDone;
    }
    const uint32_t header = bitstream_extract(stream, 3);
    if (header == kBitsMissing) {
        return kInflateNeedsInput;
    }
    inflate->finalBlock = header & 1;
    switch (header >> 1) {
    case 0:
        bitstream_align(stream);
        inflate->state = kStoredLength;
        return kContinue;
    case 1:
        // Kept on purpose: these codes are built only by inflate_init_fixed. Without it the block's
        // first symbol is rejected.
        inflate->litlenTable = &gFixedLitlen;
        inflate->distTable = &gFixedDist;
        inflate->state = kLitlenSymbol;
        return kContinue;
    case 2:
        inflate->litlenTable = &inflate->dynLitlen;
        inflate->distTable = &inflate->dynDist;
        inflate->state = kDynamicHeader;
        return kContinue;
    default:
        return reject(fault_t::block_type);
    }
}

int32_t read_stored_length(inflate_t* inflate, bitstream_t* stream) {
    const uint32_t length = bitstream_extract(stream, 16);
    if (length == kBitsMissing) {
        return kInflateNeedsInput;
    }
    inflate->length = static_cast<uint16_t>(length);
    inflate->state = kStoredComplement;
    return kContinue;
}

int32_t check_stored_complement(inflate_t* inflate, bitstream_t* stream) {
    const uint32_t complement = bitstream_extract(stream, 16);
    if (complement == kBitsMissing) {
        return kInflateNeedsInput;
    }
    if ((inflate->length ^ complement) != 0xFFFF) {
        return reject(fault_t::stored_complement);
    }
    inflate->state = kStoredCopy;
    return kContinue;
}

// Copies directly from the input. The bit buffer is empty: after the alignment it had whole bytes, at
// most four, and the two 16-bit fields have used them.
int32_t copy_stored(inflate_t* inflate, bitstream_t* stream) {
    while (inflate->length > 0) {
        if (stream->available == 0) {
            return kInflateNeedsInput;
        }
        if (inflate->outAvailable == 0) {
            return kInflateNeedsOutput;
        }
        uint32_t count = std::min<uint32_t>(inflate->length, stream->available);
        count = std::min(count, inflate->outAvailable);
        if (inflate->window != nullptr) {
            count = std::min(count, to_window_end(inflate, inflate->windowPos));
        }
        emit(inflate, stream->data, count);
        stream->data += count;
        stream->available -= count;
        inflate->length = static_cast<uint16_t>(inflate->length - count);
    }
    inflate->state = kBlockHeader;
    return kContinue;
}

// ---- The header of a dynamic block

int32_t read_dynamic_header(inflate_t* inflate, bitstream_t* stream) {
    const uint32_t header = bitstream_extract(stream, 14);
    if (header == kBitsMissing) {
        return kInflateNeedsInput;
    }
    const uint32_t litlenField = header & 31;
    const uint32_t distField = (header >> 5) & 31;
    if (litlenField + kMinLitlens > kMaxLitlenSymbols || distField + 1 > kMaxDistSymbols) {
        return reject(fault_t::code_counts);
    }
    inflate->length = static_cast<uint16_t>(litlenField + kMinLitlens);
    inflate->distance = static_cast<uint16_t>(distField + 1);
    inflate->count = static_cast<uint16_t>(((header >> 10) & 15) + 4);
    inflate->symbol = 0;
    inflate->state = kCodeLengthLengths;
    return kContinue;
}

// Reads the whole header in words if possible, else its first 14 bits.
int32_t read_dynamic_header_in_words(inflate_t* inflate, bitstream_t* stream) {
    return read_header_in_words(inflate, stream) ? kContinue : read_dynamic_header(inflate, stream);
}

int32_t read_code_length_lengths(inflate_t* inflate, bitstream_t* stream) {
    for (; inflate->count > 0; --inflate->count, ++inflate->symbol) {
        const uint32_t length = bitstream_extract(stream, 3);
        if (length == kBitsMissing) {
            return kInflateNeedsInput;
        }
        inflate->lengths[kCodeLengthOrder[inflate->symbol]] = static_cast<uint16_t>(length);
    }
    for (auto rest = static_cast<uint32_t>(inflate->symbol); rest < kCodeLengthCodes; ++rest) {
        inflate->lengths[kCodeLengthOrder[rest]] = 0;
    }
    // Kept on purpose: an incomplete code is accepted here. Only an over-subscribed one is rejected.
    if (huffman_build(&inflate->dynLitlen, inflate->lengths, kCodeLengthCodes, kMaxCodeLength) <
        0) {
        return reject(fault_t::code_length_code);
    }
    inflate->count = static_cast<uint16_t>(inflate->length + inflate->distance);
    inflate->lengthCursor = inflate->lengths;
    inflate->state = kCodeLengthSymbol;
    return kContinue;
}

// Writes `repeats` equal code lengths and continues with the next symbol, or with the tables.
void write_code_lengths(inflate_t* inflate, uint16_t length, uint32_t repeats) {
    inflate->lengthCursor = std::fill_n(inflate->lengthCursor, repeats, length);
    inflate->count = static_cast<uint16_t>(inflate->count - repeats);
    inflate->state = inflate->count > 0 ? kCodeLengthSymbol : kBuildTables;
}

int32_t read_code_length_symbol(inflate_t* inflate, bitstream_t* stream) {
    const int32_t symbol = huffman_decode(&inflate->dynLitlen, stream);
    if (symbol < 0) {
        return symbol == kHuffmanNeedsInput ? kInflateNeedsInput
                                            : reject(fault_t::code_length_symbol);
    }
    inflate->symbol = static_cast<int16_t>(symbol);
    if (symbol < kFirstRepeatSymbol) {
        write_code_lengths(inflate, static_cast<uint16_t>(symbol), 1);
        return kContinue;
    }
    inflate->state = kCodeLengthRepeat;
    return kContinue;
}

int32_t repeat_code_length(inflate_t* inflate, bitstream_t* stream) {
    const int32_t kind = inflate->symbol - kFirstRepeatSymbol;
    if (kind < 0 || kind > 2) {
        return reject(fault_t::code_length_kind);
    }
    const repeat_t& repeat = kRepeats[kind];
    if (repeat.repeatsPrevious && inflate->lengthCursor == inflate->lengths) {
        return reject(fault_t::repeat_of_nothing);
    }
    const uint32_t extra = bitstream_extract(stream, repeat.extraBits);
    if (extra == kBitsMissing) {
        return kInflateNeedsInput;
    }
    const uint32_t repeats = repeat.base + extra;
    if (repeats > inflate->count) {
        return reject(fault_t::repeat_too_long);
    }
    write_code_lengths(inflate, repeat.repeatsPrevious ? inflate->lengthCursor[-1] : uint16_t{0},
                       repeats);
    return kContinue;
}

// Builds the code of `n` lengths. An incomplete code is accepted only if it is a single code of one
// bit.
bool build_block_code(huffman_t* huffman, const uint16_t* lengths, uint32_t n) {
    const int32_t left = huffman_build(huffman, lengths, n, kMaxCodeLength);
    const uint32_t lengthsUpToOne = uint32_t{huffman->counts[0]} + huffman->counts[1];
    return left == 0 || (left > 0 && n == lengthsUpToOne);
}

int32_t build_tables(inflate_t* inflate, bitstream_t* /*stream*/) {
    const uint16_t* const litlenLengths = inflate->lengths;
    const uint16_t* const distLengths = inflate->lengths + inflate->length;
    if (litlenLengths[kEndOfBlock] == 0) {
        return reject(fault_t::end_of_block_missing);
    }
    if (!build_block_code(&inflate->dynLitlen, litlenLengths, inflate->length)) {
        return reject(fault_t::litlen_code);
    }
    if (!build_block_code(&inflate->dynDist, distLengths, inflate->distance)) {
        return reject(fault_t::distance_code);
    }
    inflate->state = kLitlenSymbol;
    return kContinue;
}

// ---- Compressed data

int32_t read_litlen_symbol(inflate_t* inflate, bitstream_t* stream) {
    const int32_t symbol = huffman_decode(inflate->litlenTable, stream);
    if (symbol == kHuffmanNeedsInput) {
        return kInflateNeedsInput;
    }
    if (symbol < 0) {
        const bool isBuilt = inflate->litlenTable->maxBits != 0;
        return reject(isBuilt ? fault_t::litlen_symbol : fault_t::fixed_code_block);
    }
    inflate->symbol = static_cast<int16_t>(symbol);
    if (symbol < kEndOfBlock) {
        inflate->state = kLiteral;
    } else if (symbol == kEndOfBlock) {
        inflate->state = kBlockHeader;
    } else {
        inflate->symbol = static_cast<int16_t>(symbol - kFirstLengthSymbol);
        inflate->state = kLengthExtra;
    }
    return kContinue;
}

// The same after the fast loop, which decodes as many symbols as it can.
int32_t read_litlen_symbols(inflate_t* inflate, bitstream_t* stream) {
    inflate_fast(inflate, stream);
    return inflate->state == kLitlenSymbol ? read_litlen_symbol(inflate, stream) : kContinue;
}

int32_t read_length_extra(inflate_t* inflate, bitstream_t* stream) {
    const auto index = static_cast<uint32_t>(inflate->symbol);
    if (index >= kLengthCodes) {
        // Symbols 286 and 287 exist only in the fixed code and have no length.
        return reject(fault_t::length_symbol);
    }
    const uint32_t extra = bitstream_extract(stream, kLengthExtraBits[index]);
    if (extra == kBitsMissing) {
        return kInflateNeedsInput;
    }
    inflate->length = static_cast<uint16_t>(kLengthBase[index] + extra);
    inflate->state = kDistanceSymbol;
    return kContinue;
}

int32_t read_distance_symbol(inflate_t* inflate, bitstream_t* stream) {
    const int32_t symbol = huffman_decode(inflate->distTable, stream);
    if (symbol < 0) {
        return symbol == kHuffmanNeedsInput ? kInflateNeedsInput : reject(fault_t::distance_symbol);
    }
    inflate->symbol = static_cast<int16_t>(symbol);
    inflate->state = kDistanceExtra;
    return kContinue;
}

// Whether a match starts inside the output and, in window mode, inside the window.
bool reaches_back(const inflate_t* inflate, uint32_t distance) {
    return distance <= inflate->totalOut &&
           (inflate->window == nullptr || distance <= inflate->windowSize);
}

int32_t read_distance_extra(inflate_t* inflate, bitstream_t* stream) {
    const auto index = static_cast<uint32_t>(inflate->symbol);
    if (index >= kMaxDistSymbols) {
        return reject(fault_t::distance_without_base);
    }
    const uint32_t extra = bitstream_extract(stream, kDistanceExtraBits[index]);
    if (extra == kBitsMissing) {
        return kInflateNeedsInput;
    }
    inflate->distance = static_cast<uint16_t>(kDistanceBase[index] + extra);
    if (!reaches_back(inflate, inflate->distance)) {
        return reject(fault_t::distance_too_far);
    }
    inflate->state = kMatchCopy;
    return kContinue;
}

int32_t write_literal(inflate_t* inflate, bitstream_t* /*stream*/) {
    if (inflate->outAvailable == 0) {
        return kInflateNeedsOutput;
    }
    const auto literal = static_cast<uint8_t>(inflate->symbol);
    emit(inflate, &literal, 1);
    inflate->state = kLitlenSymbol;
    return kContinue;
}

int32_t copy_match_from_window(inflate_t* inflate) {
    const auto position = static_cast<uint32_t>(inflate->windowPos - inflate->window);
    const uint32_t wrap = position < inflate->distance ? inflate->windowSize : 0;
    inflate->copyFrom = inflate->window + (position + wrap - inflate->distance);
    while (inflate->length > 0) {
        if (inflate->outAvailable == 0) {
            return kInflateNeedsOutput;
        }
        uint32_t count = std::min<uint32_t>(inflate->length, inflate->outAvailable);
        count = std::min(count, to_window_end(inflate, inflate->copyFrom));
        count = std::min(count, to_window_end(inflate, inflate->windowPos));
        emit(inflate, inflate->copyFrom, count);
        inflate->copyFrom = inflate->window + wrapped_offset(inflate, inflate->copyFrom, count);
        inflate->length = static_cast<uint16_t>(inflate->length - count);
    }
    inflate->state = kLitlenSymbol;
    return kContinue;
}

int32_t copy_match(inflate_t* inflate, bitstream_t* /*stream*/) {
    if (inflate->window != nullptr) {
        return copy_match_from_window(inflate);
    }
    if (inflate->outAvailable == 0) {
        return kInflateNeedsOutput;
    }
    inflate->copyFrom = inflate->out - inflate->distance;
    const uint32_t count = std::min<uint32_t>(inflate->length, inflate->outAvailable);
    emit(inflate, inflate->copyFrom, count);
    inflate->length = static_cast<uint16_t>(inflate->length - count);
    // Kept on purpose: bytes that do not fit are dropped. The output is sized for the whole stream, so
    // callers reject a stream that needs space for one more byte.
    inflate->state = kLitlenSymbol;
    return kContinue;
}

using step_t = int32_t (*)(inflate_t* inflate, bitstream_t* stream);

using steps_t = std::array<step_t, kStateCount>;

// The state machine alone.
constexpr steps_t kStatesOnly = {
    read_block_header,
    read_stored_length,
    check_stored_complement,
    copy_stored,
    read_litlen_symbol,
    read_length_extra,
    read_distance_symbol,
    read_distance_extra,
    write_literal,
    copy_match,
    read_dynamic_header,
    read_code_length_lengths,
    read_code_length_symbol,
    repeat_code_length,
    build_tables,
};

// The state machine with the functions that read many symbols at once.
constexpr steps_t kSteps = [] {
    steps_t steps = kStatesOnly;
    steps[kLitlenSymbol] = read_litlen_symbols;
    steps[kDynamicHeader] = read_dynamic_header_in_words;
    return steps;
}();

int32_t reset(inflate_t* inflate) {
    huffman_attach(&inflate->dynLitlen, inflate->litlenCounts, inflate->litlenSymbols);
    huffman_attach(&inflate->dynDist, inflate->distCounts, inflate->distSymbols);
    inflate->state = kBlockHeader;
    inflate->finalBlock = 0;
    inflate->windowPos = inflate->window;
    inflate->totalOut = 0;
    return kInflateDone;
}

// Runs until a step stops the machine. @return the result of that step
template <const steps_t& steps>
int32_t run(inflate_t* inflate, bitstream_t* stream) {
    for (;;) {
        if (inflate->state >= kStateCount) {
            return reject(fault_t::state);
        }
        const int32_t outcome = steps[inflate->state](inflate, stream);
        if (outcome != kContinue) {
            return outcome;
        }
    }
}

} // namespace

namespace inflate_detail {

int32_t process(inflate_t* inflate, bitstream_t* stream, fault_t* fault) {
    const int32_t outcome = run<kSteps>(inflate, stream);
    *fault = fault_of(outcome);
    return result_of(outcome);
}

int32_t process_states_only(inflate_t* inflate, bitstream_t* stream) {
    return result_of(run<kStatesOnly>(inflate, stream));
}

int32_t step(inflate_t* inflate, bitstream_t* stream) {
    return inflate->state < kStateCount ? kSteps[inflate->state](inflate, stream)
                                        : reject(fault_t::state);
}

void build_fixed_codes(huffman_t* litlen, huffman_t* dist) {
    uint16_t lengths[kFixedLitlenSymbols];
    for (uint32_t symbol = 0; symbol < kFixedLitlenSymbols; ++symbol) {
        lengths[symbol] = symbol < 144 ? 8 : symbol < 256 ? 9 : symbol < 280 ? 7 : 8;
    }
    huffman_build(litlen, lengths, kFixedLitlenSymbols, kMaxCodeLength);
    // Two of the 32 five-bit patterns have no symbol and are invalid data.
    std::fill_n(lengths, kMaxDistSymbols, uint16_t{5});
    huffman_build(dist, lengths, kMaxDistSymbols, kMaxCodeLength);
}

} // namespace inflate_detail

void inflate_init_fixed() {
    build_fixed_codes(&gFixedLitlen, &gFixedDist);
}

int32_t inflate_process(inflate_t* inflate, bitstream_t* stream) {
    return stream == nullptr ? reset(inflate) : result_of(run<kSteps>(inflate, stream));
}
