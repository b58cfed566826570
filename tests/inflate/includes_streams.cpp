// The header below is included first and alone: it must bring everything that it needs.
#include "inflate/src/streams.h"

static_assert(sizeof(inflate_t) > sizeof(huffman_t) && sizeof(bitstream_t) > 0);
