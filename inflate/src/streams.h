// A self-contained, resumable DEFLATE decoder (RFC 1951) and its bit reader. All state is in records
// that the caller owns; nothing is allocated. Input may come in pieces of any size. A piece may be
// freed when the decoder has used it. The caller skips the header of a zlib wrapper. The decoder does
// not read its checksum.
#pragma once

#include <cstdint>

/// The bit reader. The caller refills `data` and `available` between calls and does not change the
/// other fields.
struct bitstream_t {
    const uint8_t* data; ///< next unread input byte
    uint32_t available;  ///< input bytes left at `data`
    uint32_t bits;       ///< loaded but unused bits; the next one is bit 0
    uint32_t bitCount;   ///< number of valid bits in `bits`, 0 to 32
};

/// One canonical Huffman code, as counts per length and symbols in code order.
struct huffman_t {
    uint16_t maxBits;  ///< max length of a code; 0: not built, every decode fails
    uint16_t* counts;  ///< 16 entries; entry n is the number of codes of length n
    uint16_t* symbols; ///< sorted by code length, then by symbol value
};

inline constexpr uint32_t kMaxCodeLength = 15;
inline constexpr uint32_t kMaxLitlenSymbols = 286;
inline constexpr uint32_t kMaxDistSymbols = 30;

/// The decoder's whole state, resumable at any byte. The caller fills it with zeros, may set
/// `window` and `windowSize`, resets it with `inflate_process(inflate, nullptr)`, and then sets
/// `out` and `outAvailable`. It points into itself once reset, so it must not be copied or moved.
///
/// Without a window (direct mode) matches are copied from the output itself: all output since the
/// reset must be in one buffer, and `out` must continue where it stopped. With a window (window mode)
/// each call may use another output buffer. `windowSize` must be at least 1. A match from before the
/// start of the window is invalid data.
struct inflate_t {
    uint16_t state;     ///< next step, 0 to 14
    uint8_t finalBlock; ///< BFINAL of the current block
    int16_t symbol;     ///< last decoded symbol, or the index of a code length or a length code
    uint16_t count;     ///< code lengths still to read
    uint16_t length;    ///< bytes left of a stored block or match; litlen codes of a dynamic block
    uint16_t distance;  ///< distance of a match; distance codes of a dynamic block
    huffman_t* litlenTable;
    huffman_t* distTable;
    uint16_t litlenCounts[kMaxCodeLength + 1];
    uint16_t litlenSymbols[kMaxLitlenSymbols];
    uint16_t distCounts[kMaxCodeLength + 1];
    uint16_t distSymbols[kMaxDistSymbols];
    uint16_t lengths[kMaxLitlenSymbols + kMaxDistSymbols];
    uint16_t* lengthCursor; ///< next entry of `lengths` to write
    huffman_t dynLitlen;    ///< while a dynamic header is read, the code-length code
    huffman_t dynDist;
    const uint8_t* copyFrom; ///< source of the match copy
    uint8_t* window;         ///< circular history, or null for direct mode
    uint32_t windowSize;     ///< bytes of the window
    uint8_t* windowPos;      ///< next write position in the window
    uint8_t* out;            ///< next output byte
    uint32_t outAvailable;   ///< output bytes still allowed
    uint32_t totalOut;       ///< bytes produced since the reset
};

// Results of inflate_process.
inline constexpr int32_t kInflateDone = 0;        ///< after the final block, and after a reset
inline constexpr int32_t kInflateNeedsInput = 1;  ///< refill `data` and `available`, call again
inline constexpr int32_t kInflateNeedsOutput = 2; ///< refill `out` and `outAvailable`, call again
inline constexpr int32_t kInflateInvalid = 3;     ///< not DEFLATE data; reset before further use

// Results of huffman_decode other than symbols.
inline constexpr int32_t kHuffmanInvalid = -1;
inline constexpr int32_t kHuffmanNeedsInput = -2;

/// Result of bitstream_extract if the input has too few bits.
inline constexpr uint32_t kBitsMissing = 0xFFFFFFFF;

/// Returns the next `count` bits (0 to 24, asserted), least significant first. If the input has too
/// few bits, returns kBitsMissing and keeps every bit for a later call.
uint32_t bitstream_extract(bitstream_t* stream, uint32_t count);

/// Skips to the next byte boundary.
void bitstream_align(bitstream_t* stream);

/// Steps back over the last `count` bits (at most 14). They are read from memory again, so their bytes
/// must still be in the current piece, before `data`.
void bitstream_unread(bitstream_t* stream, uint32_t count);

/// Number of unread bits in the reader and the current piece.
uint32_t bitstream_remaining(const bitstream_t* stream);

/// Attaches storage to a code: 16 counts, and room for all its symbols. The code does not own it.
void huffman_attach(huffman_t* huffman, uint16_t* counts, uint16_t* symbols);

/// Builds a canonical code from `n` code lengths of at most `maxBits` (at most 15) bits each.
/// @return 0 for a complete code or if all lengths are 0, the number of unused codes for an incomplete
///         code, a negative number for an over-subscribed one.
int32_t huffman_build(huffman_t* huffman, const uint16_t* lengths, uint32_t n, uint16_t maxBits);

/// Decodes one symbol. @return the symbol, kHuffmanInvalid for a bit pattern that is no code, or
/// kHuffmanNeedsInput if the input ends inside a code. Its bits are kept for the next call.
int32_t huffman_decode(const huffman_t* huffman, bitstream_t* stream);

/// Builds the two codes of fixed-code blocks (block type 1). Kept on purpose: this system never calls
/// it. Before it is called, every fixed-code block is rejected as invalid data. The tables are
/// process-wide: build them before any thread decodes.
void inflate_init_fixed();

/// Decodes until the stream ends, the input or the output is used up, or the data is invalid. With a
/// null stream, resets `inflate` and returns kInflateDone.
/// Kept on purpose: in direct mode a match longer than the output space is truncated, and decoding
/// continues after it. @return one of the kInflate results.
int32_t inflate_process(inflate_t* inflate, bitstream_t* stream);
