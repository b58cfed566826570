// Two decoders with the same input: the fast functions and the state machine alone.
#pragma once

#include "inflate/src/streams.h"
#include "tests/support/decoder_snapshot.h"
#include "tests/support/test_bytes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// A decoder whose output buffer can be inspected, with bytes after it that must not change.
class inspected_decoder {
public:
    inspected_decoder(size_t room, bool states_only);
    inspected_decoder(const inspected_decoder&) = delete;
    inspected_decoder& operator=(const inspected_decoder&) = delete;

    /// Feeds a piece, of which up to `held` bytes are already loaded into the reader.
    decoder_snapshot_t feed(const byte_vector& piece, uint32_t held = 0);

private:
    bool m_states_only;
    byte_vector m_output;
    inflate_t m_state{};
    bitstream_t m_reader{};
};

/// Feeds both decoders the same pieces until one of them finishes. They must agree after every piece.
void expect_same_steps(const byte_vector& raw, size_t room, const std::vector<size_t>& sizes);
