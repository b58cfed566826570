// Decodes a stream only for its verdict: the result of inflate_process() in direct mode, and the fixed-code blocks.
// Needs memory for a window, not for the whole output.
#pragma once

#include "inflate/src/internal/inflate_fault.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/streams.h"

#include <cstdint>

namespace inflate_detail {

/// The bytes of the stream that contain a fixed-code block, counted from 0.
struct fixed_block_t {
    uint64_t firstByte; ///< contains the first bit of the block header
    uint64_t lastByte;  ///< contains the last bit that was read of the block
};

/// The whole state. It points into itself after rehearsal_begin(), so it must not be copied or moved.
struct rehearsal_t {
    inflate_t inflate;
    bitstream_t input;
    uint64_t bytesGiven; ///< bytes of the stream so far, with the current piece
    uint64_t room;       ///< remaining output space in bytes, not yet given to `inflate`
    bool truncatesMatch; ///< the current match extends beyond the last byte of output
    fault_t fault;       ///< why the last piece was rejected
    /// Number of fixed-code blocks. The decoder rejects them, the rehearsal accepts them. If there are none, both give
    /// the same verdict.
    uint64_t fixedBlocks;
    fixed_block_t firstFixedBlock; ///< valid if fixedBlocks > 0
    huffman_t fixedLitlen, fixedDist;
    uint16_t fixedLitlenCounts[kMaxCodeLength + 1], fixedLitlenSymbols[kFixedLitlenSymbols];
    uint16_t fixedDistCounts[kMaxCodeLength + 1], fixedDistSymbols[kFixedDistSymbols];
    uint8_t window[32768]; // the max distance of a match
    uint8_t output[4096];
};

/// Starts a rehearsal with `room` bytes of output space. The previous content of the record does not matter.
void rehearsal_begin(rehearsal_t* rehearsal, uint64_t room);

/// Decodes the next piece of the stream. Records fixed-code blocks and decodes them with the codes of this record; the
/// process-wide codes do not change. @return kInflateDone, kInflateNeedsInput, or for a rejected stream
/// kInflateNeedsOutput (the output space is used up) or kInflateInvalid
int32_t rehearsal_feed(rehearsal_t* rehearsal, const uint8_t* data, uint32_t size);

/// The current byte of the stream, counted from 0.
uint64_t rehearsal_position(const rehearsal_t& rehearsal);

} // namespace inflate_detail
