// The bit reader and canonical Huffman codes. No function removes bits from the reader that a later
// call needs: the bits of an incomplete value stay in the bit buffer.
#include "inflate/src/streams.h"

#include <algorithm>
#include <cassert>

// ---- The bit reader

namespace {

constexpr uint32_t kMaxExtract = 24; // with more, loading bytes could overflow the 32-bit buffer

// Adds the next input byte above the bits in the buffer. The caller makes sure that there is a byte
// and space for it.
void load_byte(bitstream_t* stream) {
    stream->bits |= static_cast<uint32_t>(*stream->data++) << stream->bitCount;
    stream->bitCount += 8;
    --stream->available;
}

// bitstream_extract of one bit, inline because codes are read bit by bit.
inline uint32_t extract_bit(bitstream_t* stream) {
    if (stream->bitCount == 0) {
        if (stream->available == 0) {
            return kBitsMissing;
        }
        load_byte(stream);
    }
    const uint32_t bit = stream->bits & 1;
    stream->bits >>= 1;
    --stream->bitCount;
    return bit;
}

} // namespace

uint32_t bitstream_extract(bitstream_t* stream, uint32_t count) {
    assert(count <= 24);
    while (stream->bitCount < count) {
        if (stream->available == 0) {
            return kBitsMissing;
        }
        load_byte(stream);
    }
    const uint32_t value = stream->bits & ((uint32_t{1} << count) - 1);
    stream->bits >>= count;
    stream->bitCount -= count;
    return value;
}

void bitstream_align(bitstream_t* stream) {
    const uint32_t skipped = stream->bitCount % 8;
    stream->bits >>= skipped;
    stream->bitCount -= skipped;
}

void bitstream_unread(bitstream_t* stream, uint32_t count) {
    if (count == 0) {
        return;
    }
    const uint32_t last = count + stream->bitCount - 1;
    const uint32_t steppedBack = last / 8 + 1;
    const uint32_t topBits = last % 8 + 1;
    stream->data -= steppedBack;
    stream->available += steppedBack;
    stream->bits = 0;
    stream->bitCount = 0;
    load_byte(stream);
    stream->bits >>= 8 - topBits;
    stream->bitCount = topBits;
    for (int more = 0; more < 3 && stream->available > 0; ++more) {
        load_byte(stream);
    }
}

uint32_t bitstream_remaining(const bitstream_t* stream) {
    return stream->bitCount + 8 * stream->available;
}

// ---- Canonical Huffman codes

void huffman_attach(huffman_t* huffman, uint16_t* counts, uint16_t* symbols) {
    huffman->counts = counts;
    huffman->symbols = symbols;
}

int32_t huffman_build(huffman_t* huffman, const uint16_t* lengths, uint32_t n, uint16_t maxBits) {
    huffman->maxBits = maxBits;
    uint16_t* const counts = huffman->counts;
    std::fill_n(counts, maxBits + 1U, uint16_t{0});
    for (uint32_t symbol = 0; symbol < n; ++symbol) {
        ++counts[lengths[symbol]];
    }
    if (counts[0] == n) {
        return 0;
    }

    int32_t left = 2 - counts[1];
    for (uint32_t length = 2; length <= maxBits; ++length) {
        left = 2 * left - counts[length];
        if (left < 0) {
            return left;
        }
    }

    uint32_t offsets[kMaxCodeLength + 2] = {};
    for (uint32_t length = 1; length <= maxBits; ++length) {
        offsets[length + 1] = offsets[length] + counts[length];
    }
    // Symbols without a code are stored outside the list: a branch would be mispredicted at every change.
    uint16_t unused = 0;
    for (uint32_t symbol = 0; symbol < n; ++symbol) {
        const uint16_t length = lengths[symbol];
        uint16_t* const place = length == 0 ? &unused : huffman->symbols + offsets[length];
        *place = static_cast<uint16_t>(symbol);
        ++offsets[length];
    }
    return left;
}

int32_t huffman_decode(const huffman_t* huffman, bitstream_t* stream) {
    if (huffman->maxBits == 0) {
        return kHuffmanInvalid;
    }
    // The code is read from a copy of the reader. If the input ends inside the code, its bits stay in
    // the reader's own buffer. The remaining input bytes are loaded there too, because the caller may
    // free the piece before the next call.
    bitstream_t ahead = *stream;
    int32_t code = 0;
    int32_t first = 0;
    int32_t index = 0;
    for (uint32_t length = 1; length <= huffman->maxBits; ++length) {
        const uint32_t bit = extract_bit(&ahead);
        if (bit == kBitsMissing) {
            bitstream_extract(stream, kMaxExtract);
            return kHuffmanNeedsInput;
        }
        code += static_cast<int32_t>(bit);
        const int32_t count = huffman->counts[length];
        if (code - first < count) {
            *stream = ahead;
            return huffman->symbols[index + code - first];
        }
        index += count;
        first = 2 * (first + count);
        code *= 2;
    }
    *stream = ahead;
    return kHuffmanInvalid;
}
