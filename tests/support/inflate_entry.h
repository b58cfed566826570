// The decoder that the tests of inflate run: inflate_process(), or the state machine alone.
#pragma once

#include "inflate/src/streams.h"

/// Decodes; the stream is not null.
using inflate_entry_t = int32_t (*)(inflate_t* inflate, bitstream_t* stream);

/// Chosen by the option --states-only of a test program.
extern inflate_entry_t inflate_entry;
