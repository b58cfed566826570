// Feeds the DEFLATE decoder with pieces in short-lived memory.
#include "tests/support/inflate_session.h"

#include "tests/support/inflate_entry.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

namespace {

using heap_buffer = std::unique_ptr<uint8_t[]>;

heap_buffer heap_copy(const byte_vector& bytes) {
    heap_buffer copy(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

} // namespace

inflate_session::inflate_session(size_t room)
    : m_output(room) {
    reset();
}

void inflate_session::reset() {
    EXPECT_EQ(inflate_process(&state, nullptr), kInflateDone);
    state.out = m_output.data();
    state.outAvailable = static_cast<uint32_t>(m_output.size());
    reader = {};
}

int32_t inflate_session::feed(const byte_vector& piece) {
    const heap_buffer memory = heap_copy(piece);
    reader.data = memory.get();
    reader.available = static_cast<uint32_t>(piece.size());
    const int32_t result = inflate_entry(&state, &reader);
    if (result == kInflateNeedsInput) {
        EXPECT_EQ(reader.available, 0U);
    }
    return result;
}

byte_vector inflate_session::content() const {
    return slice(m_output, 0, state.totalOut);
}

inflate_outcome_t inflate_whole(const byte_vector& raw, size_t room) {
    return inflate_pieces(raw, room, {});
}

inflate_outcome_t inflate_pieces(const byte_vector& raw, size_t room,
                                 const std::vector<size_t>& piece_sizes) {
    inflate_session session(room);
    size_t position = 0;
    for (const size_t size : piece_sizes) {
        const int32_t result = session.feed(slice(raw, position, size));
        if (result != kInflateNeedsInput) {
            return {result, session.content()};
        }
        position += size;
    }
    const int32_t result = session.feed(slice(raw, position, raw.size()));
    return {result, session.content()};
}

std::vector<size_t> random_pieces(test_rng& rng, size_t total) {
    const uint32_t longest = 1U << rng() % 12;
    std::vector<size_t> sizes;
    for (size_t covered = 0; covered < total; covered += sizes.back()) {
        sizes.push_back(random_between(rng, 0, longest));
    }
    return sizes;
}

inflate_outcome_t inflate_windowed(const byte_vector& raw, const std::vector<size_t>& piece_sizes,
                                   uint32_t window_size, const std::vector<size_t>& output_sizes) {
    const heap_buffer window(new uint8_t[window_size]);
    inflate_t state{};
    state.window = window.get();
    state.windowSize = window_size;
    EXPECT_EQ(inflate_process(&state, nullptr), kInflateDone);
    bitstream_t reader{};
    inflate_outcome_t outcome{kInflateNeedsInput, {}};
    heap_buffer piece;
    size_t position = 0;
    size_t pieces = 0;
    for (size_t buffers = 0;; ++buffers) {
        const size_t room = output_sizes[buffers % output_sizes.size()];
        const heap_buffer output(new uint8_t[room]);
        state.out = output.get();
        state.outAvailable = static_cast<uint32_t>(room);
        do {
            if (outcome.result == kInflateNeedsInput) {
                const size_t size = pieces < piece_sizes.size() ? piece_sizes[pieces] : raw.size();
                const byte_vector bytes = slice(raw, position, size);
                piece = heap_copy(bytes);
                reader.data = piece.get();
                reader.available = static_cast<uint32_t>(bytes.size());
                position += bytes.size();
                ++pieces;
            }
            outcome.result = inflate_entry(&state, &reader);
        } while (outcome.result == kInflateNeedsInput && pieces <= piece_sizes.size());
        outcome.content.insert(outcome.content.end(), output.get(), state.out);
        if (outcome.result != kInflateNeedsOutput) {
            EXPECT_EQ(state.totalOut, outcome.content.size());
            return outcome;
        }
    }
}
