// The state after a run of the DEFLATE decoder, to compare the fast loop with the state machine.
#pragma once

#include "inflate/src/streams.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

#include <array>

/// The comparable state of a decoder. Pointers are stored as offsets, and pointers to tables as which table.
struct decoder_snapshot_t {
    int32_t result;
    std::array<int64_t, 12> record;
    std::array<int64_t, 4> reader;
    byte_vector tables; ///< counts, symbols and code lengths
    byte_vector output;
};

/// @param input the start of the reader's input
/// @param output the output buffer and the bytes after it, `size` bytes together
decoder_snapshot_t snapshot_of(int32_t result, const inflate_t& inflate, const bitstream_t& reader,
                               const uint8_t* input, const uint8_t* output, size_t size);

/// Whether two snapshots are equal; if not, the first field or byte of output that differs.
testing::AssertionResult same_snapshot(const decoder_snapshot_t& expected,
                                       const decoder_snapshot_t& got);
