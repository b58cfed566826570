// One run of the DEFLATE decoder under test, fed in pieces that each live in their own heap memory
// and are gone when the next one comes, so that a sanitizer sees every look back.
#pragma once

#include "inflate/src/streams.h"
#include "tests/support/test_bytes.h"

struct inflate_outcome_t {
    int32_t result;
    byte_vector plain;
};

/// A decoder in direct mode with room for `room` bytes of output.
class inflate_session {
public:
    explicit inflate_session(size_t room);
    inflate_session(const inflate_session&) = delete;
    inflate_session& operator=(const inflate_session&) = delete;

    /// Resets the decoder and the reader, and empties the output.
    void reset();
    /// Hands over one piece, which must be used up when more input is asked for.
    int32_t feed(const byte_vector& piece);
    byte_vector plain() const;

    inflate_t state{};
    bitstream_t reader{};

private:
    byte_vector m_output;
};

/// All of `raw` at once.
inflate_outcome_t inflate_whole(const byte_vector& raw, size_t room);

/// `raw` cut into pieces of the given sizes (the last one takes the rest), until a result other
/// than the wish for more input.
inflate_outcome_t inflate_pieces(const byte_vector& raw, size_t room,
                                 const std::vector<size_t>& piece_sizes);

/// Sizes of random pieces, empty ones among them, that cover `total` bytes.
std::vector<size_t> random_pieces(test_rng& rng, size_t total);

/// `raw` in pieces, decoded with a window and output blocks of the given sizes, which are repeated
/// as long as need be, each in its own memory.
inflate_outcome_t inflate_windowed(const byte_vector& raw, const std::vector<size_t>& piece_sizes,
                                   uint32_t window_size, const std::vector<size_t>& output_sizes);
