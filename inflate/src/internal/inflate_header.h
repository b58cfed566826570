// The header of a dynamic block, read in words.
#pragma once

#include "inflate/src/streams.h"

namespace inflate_detail {

/// Reads the header after its three bits, up to the last code length. The record and the reader are then as the state
/// machine leaves them in the state that builds the tables.
/// @return false, and nothing changed, if the header does not end well before the input does, or may be invalid. Then
///         the state machine reads it.
bool read_header_in_words(inflate_t* inflate, bitstream_t* stream);

} // namespace inflate_detail
