// The fast loop beside the state machine: decodes literals and matches in bulk while there is
// plenty of input and output.
#pragma once

#include "inflate/src/streams.h"

namespace inflate_detail {

/// Goes on from the state that reads a literal/length symbol, in direct mode, as far as it may: to
/// the end of the block, to the margins of input or output, or to the first symbol that is not
/// plain sailing. The record and the reader are left exactly as the state machine would have left
/// them. Does nothing where it would not pay.
void inflate_fast(inflate_t* inflate, bitstream_t* stream);

} // namespace inflate_detail
