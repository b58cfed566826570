// The fast loop beside the state machine: decodes literals and matches in bulk, up to the ends of input and output.
#pragma once

#include "inflate/src/streams.h"

namespace inflate_detail {

/// Decodes from the state that reads a literal/length symbol, in direct mode. Stops at the end of the block, or before
/// a symbol that is incomplete, does not fit the output, or is invalid. Leaves the record and the reader exactly as the
/// state machine would. Does nothing if the input is too short to gain from it.
void inflate_fast(inflate_t* inflate, bitstream_t* stream);

} // namespace inflate_detail
