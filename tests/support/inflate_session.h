// One run of the DEFLATE decoder under test. Each piece of input has its own heap memory, which is freed
// before the next piece, so that a sanitizer detects every access to an old piece.
#pragma once

#include "inflate/src/streams.h"
#include "tests/support/test_bytes.h"

struct inflate_outcome_t {
    int32_t result;
    byte_vector content;
};

/// A decoder in direct mode with space for `room` bytes of output.
class inflate_session {
public:
    explicit inflate_session(size_t room);
    inflate_session(const inflate_session&) = delete;
    inflate_session& operator=(const inflate_session&) = delete;

    /// Resets the decoder and the reader, and empties the output.
    void reset();
    /// Feeds one piece. If the decoder requests more input, it must have used the whole piece.
    int32_t feed(const byte_vector& piece);
    byte_vector content() const;

    inflate_t state{};
    bitstream_t reader{};

private:
    byte_vector m_output;
};

/// All of `raw` at once.
inflate_outcome_t inflate_whole(const byte_vector& raw, size_t room);

/// `raw` in pieces of the given sizes, and a last piece with the rest, until a result other than
/// kInflateNeedsInput.
inflate_outcome_t inflate_pieces(const byte_vector& raw, size_t room,
                                 const std::vector<size_t>& piece_sizes);

/// Random sizes of pieces, some of them 0, that cover `total` bytes.
std::vector<size_t> random_pieces(test_rng& rng, size_t total);

/// `raw` in pieces, decoded with a window and output buffers of the given sizes, which repeat as often as
/// needed. Each buffer is allocated separately.
inflate_outcome_t inflate_windowed(const byte_vector& raw, const std::vector<size_t>& piece_sizes,
                                   uint32_t window_size, const std::vector<size_t>& output_sizes);
