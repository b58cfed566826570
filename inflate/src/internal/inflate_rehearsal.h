// A run over a stream for its verdict alone: what inflate_process() would return in direct mode, with the
// memory of a window instead of the whole output, and the fixed-code blocks on the way.
#pragma once

#include "inflate/src/internal/inflate_fault.h"
#include "inflate/src/internal/inflate_steps.h"
#include "inflate/src/streams.h"

#include <cstdint>

namespace inflate_detail {

/// A fixed-code block by the bytes of the stream that it lies in, counted from 0.
struct fixed_block_t {
    uint64_t firstByte; ///< holds the first bit of the block header
    uint64_t lastByte;  ///< holds the last bit of the block, or is where the stream stops inside it
};

/// The run's whole state. It points into itself once begun, so it must not be copied or moved.
struct rehearsal_t {
    inflate_t inflate;
    bitstream_t input;
    uint64_t bytesGiven; ///< bytes of the stream so far, the current piece included
    uint64_t room;       ///< bytes of output that the record has not been given yet
    bool cutsMatch;      ///< the current match reaches beyond the last byte of output
    fault_t fault;       ///< why the last piece was rejected
    /// Blocks that the decoder rejects and this run passes. Without any, the verdict is the decoder's.
    uint64_t fixedBlocks;
    fixed_block_t firstFixedBlock; ///< meaningful if there is one
    huffman_t fixedLitlen, fixedDist;
    uint16_t fixedLitlenCounts[kMaxCodeLength + 1], fixedLitlenSymbols[kFixedLitlenSymbols];
    uint16_t fixedDistCounts[kMaxCodeLength + 1], fixedDistSymbols[kFixedDistSymbols];
    uint8_t window[32768]; // no match reaches back further
    uint8_t output[4096];
};

/// Begins a run with `room` bytes of output. The record's content before does not matter.
void rehearsal_begin(rehearsal_t* rehearsal, uint64_t room);

/// Runs over the next piece of the stream. A fixed-code block is noted and passed with codes that belong to
/// this record; those of the process stay as they are. @return kInflateDone, kInflateNeedsInput, and when the
/// stream is rejected kInflateNeedsOutput (the room is used up) or kInflateInvalid
int32_t rehearsal_take(rehearsal_t* rehearsal, const uint8_t* data, uint32_t size);

/// The byte of the stream where the run stands, counted from 0.
uint64_t rehearsal_position(const rehearsal_t& rehearsal);

} // namespace inflate_detail
