#include "tests/support/inspected_decoder.h"

#include "inflate/src/internal/inflate_steps.h"

inspected_decoder::inspected_decoder(size_t room, bool states_only)
    : m_states_only(states_only)
    , m_output(room + 64, 0xA5) {
    inflate_process(&m_state, nullptr);
    m_state.out = m_output.data();
    m_state.outAvailable = static_cast<uint32_t>(room);
}

decoder_snapshot_t inspected_decoder::feed(const byte_vector& piece, uint32_t held) {
    m_reader.data = piece.data();
    m_reader.available = static_cast<uint32_t>(piece.size());
    for (; held > 0 && m_reader.available > 0 && m_reader.bitCount <= 24; --held) {
        m_reader.bits |= static_cast<uint32_t>(*m_reader.data++) << m_reader.bitCount;
        m_reader.bitCount += 8;
        --m_reader.available;
    }
    const int32_t result = m_states_only ? inflate_detail::process_states_only(&m_state, &m_reader)
                                         : inflate_process(&m_state, &m_reader);
    return snapshot_of(result, m_state, m_reader, piece.data(), m_output.data(), m_output.size());
}

void expect_same_steps(const byte_vector& raw, size_t room, const std::vector<size_t>& sizes) {
    inspected_decoder fast(room, false);
    inspected_decoder states(room, true);
    size_t at = 0;
    for (const size_t size : sizes) {
        const byte_vector piece = slice(raw, at, size);
        const decoder_snapshot_t expected = states.feed(piece);
        ASSERT_TRUE(same_snapshot(expected, fast.feed(piece)))
            << "piece of " << size << " bytes at " << at << " of " << raw.size()
            << ", output space for " << room;
        if (expected.result != kInflateNeedsInput) {
            return;
        }
        at += size;
    }
}
