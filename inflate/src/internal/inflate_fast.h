// The fast loop beside the state machine: decodes literals and matches in bulk while input and output
// are far from their ends.
#pragma once

#include "inflate/src/streams.h"

namespace inflate_detail {

/// Decodes from the state that reads a literal/length symbol, in direct mode. Stops at the end of the
/// block, at the margins of input or output, or before a symbol that the loop does not decode. Leaves
/// the record and the reader exactly as the state machine would. Does nothing if the input is too
/// short to gain from it.
void inflate_fast(inflate_t* inflate, bitstream_t* stream);

} // namespace inflate_detail
