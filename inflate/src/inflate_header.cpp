// The header of a dynamic block, read in words instead of bits. That saves a sixth of the instructions of a small icon.
//
// The reader has the next bits twice: `forward` with the first bit lowest, for numbers, and `codes` with the first bit
// highest, for codes. A refill reads a word, so it needs 8 bytes of input, and leaves at least 56 bits. A code length
// needs at most 14: a code of 7 bits and 7 extra bits.
//
// Nothing is stored in the record before the last code length is known. An invalid header is left to the state machine,
// which reads the same bits again and reports the fault.
#include "inflate/src/internal/inflate_header.h"

#include "inflate/src/internal/bulk_input.h"
#include "inflate/src/internal/deflate_tables.h"
#include "inflate/src/internal/fast_codes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace inflate_detail {
namespace {

constexpr uint32_t kMaxLengths = kMaxLitlenSymbols + kMaxDistSymbols;
constexpr repeat_t kLongestRepeat = kRepeats[2];
constexpr uint32_t kMaxRepeats = kLongestRepeat.base + (1U << kLongestRepeat.extraBits) - 1;
static_assert(kMaxRepeats == 138);
// The lengths of the code-length code have 3 bits.
constexpr uint32_t kMaxSymbolBits = 7 + kLongestRepeat.extraBits;
static_assert(kMaxSymbolBits <= kBitsAfterRefill);

struct header_bits_t {
    uint64_t forward;
    uint64_t codes;
    uint32_t count;
    const uint8_t* in;
    const uint8_t* end;

    explicit header_bits_t(const bitstream_t& stream)
        : forward(stream.bits)
        , codes(in_code_order(stream.bits))
        , count(stream.bitCount)
        , in(stream.data)
        , end(stream.data + stream.available) {}

    // Makes sure that there are `needed` bits, at most kBitsAfterRefill.
    bool has(uint32_t needed) {
        if (count >= needed) {
            return true;
        }
        if (end - in < static_cast<ptrdiff_t>(kWordSize)) {
            return false;
        }
        const uint64_t word = load_word(in);
        forward |= word << count;
        codes |= in_code_order(word) >> count;
        in += (63 - count) / 8;
        count |= kBitsAfterRefill;
        return true;
    }
    void drop(uint32_t bits) {
        forward >>= bits;
        codes <<= bits;
        count -= bits;
    }
    uint32_t take(uint32_t bits) {
        const uint64_t mask = (uint64_t{1} << bits) - 1;
        const auto value = static_cast<uint32_t>(forward & mask);
        drop(bits);
        return value;
    }
};

// The header's numbers and lengths.
struct header_t {
    uint32_t litlens, dists;
    uint16_t codeCounts[kMaxCodeLength + 1], codeSymbols[kCodeLengthCodes];
    uint16_t lastSymbol;
    uint16_t
        lengths[kMaxLengths + kMaxRepeats]; // a repetition may be written beyond the last length

    uint32_t total() const { return litlens + dists; }
};

// Reads the lengths of the code-length code and builds it.
bool read_code_length_code(header_t* header, header_bits_t* bits, uint32_t count) {
    uint16_t lengths[kCodeLengthCodes] = {};
    for (uint32_t i = 0; i < count; ++i) {
        if (!bits->has(3)) {
            return false;
        }
        lengths[kCodeLengthOrder[i]] = static_cast<uint16_t>(bits->take(3));
    }
    huffman_t code;
    huffman_attach(&code, header->codeCounts, header->codeSymbols);
    return huffman_build(&code, lengths, kCodeLengthCodes, kMaxCodeLength) >= 0 &&
           header->codeCounts[0] < kCodeLengthCodes;
}

// Reads the code lengths of both codes.
bool read_lengths(header_t* header, header_bits_t* bits) {
    const huffman_t huffman = {kMaxCodeLength, header->codeCounts, header->codeSymbols};
    fast_code_t code;
    fast_code_derive(&code, huffman);
    uint16_t* const lengths = header->lengths;
    uint32_t at = 0;
    while (at < header->total()) {
        if (!bits->has(kMaxSymbolBits) || bits->codes > code.last) {
            return false;
        }
        const uint32_t length = fast_code_length<kFewLimits>(code, bits->codes);
        const auto bitsOfCode = static_cast<uint32_t>(bits->codes >> (kCodeBits - length));
        const uint16_t symbol = header->codeSymbols[code.base[length] + bitsOfCode];
        bits->drop(length);
        header->lastSymbol = symbol;
        if (symbol < kFirstRepeatSymbol) {
            lengths[at++] = symbol;
            continue;
        }
        const repeat_t& repeat = kRepeats[symbol - kFirstRepeatSymbol];
        if (repeat.repeatsPrevious && at == 0) {
            return false;
        }
        const uint32_t repeats = repeat.base + bits->take(repeat.extraBits);
        std::fill_n(lengths + at, repeats, repeat.repeatsPrevious ? lengths[at - 1] : uint16_t{0});
        at += repeats;
    }
    return at == header->total();
}

void store_record(inflate_t* inflate, const header_t& header) {
    inflate->length = static_cast<uint16_t>(header.litlens);
    inflate->distance = static_cast<uint16_t>(header.dists);
    inflate->count = 0;
    inflate->symbol = static_cast<int16_t>(header.lastSymbol);
    inflate->lengthCursor = std::copy_n(header.lengths, header.total(), inflate->lengths);
    inflate->dynLitlen.maxBits = kMaxCodeLength;
    std::memcpy(inflate->litlenCounts, header.codeCounts, sizeof header.codeCounts);
    std::copy_n(header.codeSymbols, kCodeLengthCodes - header.codeCounts[0],
                inflate->litlenSymbols);
    inflate->state = kBuildTables;
}

} // namespace

bool read_header_in_words(inflate_t* inflate, bitstream_t* stream) {
    header_bits_t bits(*stream);
    header_t header;
    if (!bits.has(14)) {
        return false;
    }
    header.litlens = bits.take(5) + kMinLitlens;
    header.dists = bits.take(5) + 1;
    const uint32_t codeLengths = bits.take(4) + 4;
    if (header.litlens > kMaxLitlenSymbols || header.dists > kMaxDistSymbols ||
        !read_code_length_code(&header, &bits, codeLengths) || !read_lengths(&header, &bits)) {
        return false;
    }
    store_record(inflate, header);
    set_reader(stream, bits.in, bits.count);
    return true;
}

} // namespace inflate_detail
