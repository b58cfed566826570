// `totalOut` near 2^32, where it wraps: the fast loop must still give the result of the state machine. The
// output is in a sparse mapping, of which only a few pages are accessed.
#include "inflate/src/internal/inflate_steps.h"
#include "tests/support/decoder_snapshot.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

namespace {

constexpr uint64_t kWrap = uint64_t{1} << 32;
constexpr size_t kHistory = 32768; // the max distance of a match
constexpr size_t kRoom = 1 << 17;

// Addresses for 4 GiB of earlier output, and memory for its end and for the output after it.
class sparse_output {
public:
    sparse_output()
        : m_bytes(mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        if (exists()) {
            mprotect(at(kSize - kUsed), kUsed, PROT_READ | PROT_WRITE);
        }
    }
    ~sparse_output() {
        if (exists()) {
            munmap(m_bytes, kSize);
        }
    }
    sparse_output(const sparse_output&) = delete;
    sparse_output& operator=(const sparse_output&) = delete;

    bool exists() const { return m_bytes != MAP_FAILED; }
    uint8_t* at(uint64_t position) const { return static_cast<uint8_t*>(m_bytes) + position; }

private:
    static constexpr size_t kSize = kWrap + kRoom;
    static constexpr size_t kUsed = 4 * kRoom;

    void* m_bytes;
};

// Decodes `raw` as if `total_out` bytes had been produced before.
decoder_snapshot_t run(const sparse_output& output, const byte_vector& raw, uint32_t total_out,
                       bool is_fast) {
    uint8_t* const start = output.at(total_out);
    std::fill(start - kHistory, start, uint8_t{0x5A});
    std::fill(start, start + kRoom, uint8_t{0});
    inflate_t state{};
    inflate_process(&state, nullptr);
    state.out = start;
    state.outAvailable = kRoom;
    state.totalOut = total_out;
    bitstream_t reader{raw.data(), static_cast<uint32_t>(raw.size()), 0, 0};
    const int32_t result = is_fast ? inflate_process(&state, &reader)
                                   : inflate_detail::process_states_only(&state, &reader);
    return snapshot_of(result, state, reader, raw.data(), start, kRoom);
}

// Literals, then a match with this distance.
byte_vector match_behind_literals(size_t literals, uint32_t distance) {
    test_rng rng(1);
    std::vector<deflate_token_t> tokens(literals, {'x', 0, 0});
    tokens.push_back({0, 20, distance});
    tokens.insert(tokens.end(), 400, {'y', 0, 0});
    deflate_maker maker;
    put_random_block(maker, rng, tokens, block_is::last);
    return maker.bytes();
}

class InflateTotalOut : public testing::Test {
protected:
    void expect_same(const byte_vector& raw, uint32_t total_out) const {
        EXPECT_TRUE(same_snapshot(run(m_output, raw, total_out, false),
                                  run(m_output, raw, total_out, true)))
            << "from " << total_out << " on";
    }

    const sparse_output m_output;
};

TEST_F(InflateTotalOut, RejectsAMatchFromBeforeTheWrapInBothLoops) {
    ASSERT_TRUE(m_output.exists());
    const byte_vector raw = match_behind_literals(1000, 600);
    // The match is 500 bytes after the wrap, so a distance of 600 exceeds `totalOut`.
    const decoder_snapshot_t after = run(m_output, raw, static_cast<uint32_t>(kWrap - 500), true);
    EXPECT_EQ(kInflateInvalid, after.result);
    EXPECT_EQ(500, after.record.back()); // totalOut
    expect_same(raw, static_cast<uint32_t>(kWrap - 500));
    // After 400 bytes less, the wrap has not happened yet.
    EXPECT_EQ(kInflateDone, run(m_output, raw, static_cast<uint32_t>(kWrap - 1500), true).result);
    expect_same(raw, static_cast<uint32_t>(kWrap - 1500));
}

TEST_F(InflateTotalOut, IsTheSameInBothLoopsForEveryWrapPosition) {
    ASSERT_TRUE(m_output.exists());
    test_rng rng(2);
    for (int round = 0; round < 60 && !HasFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const made_stream_t stream = random_stream(rng, kHistory);
        const auto size = static_cast<uint32_t>(stream.content.size());
        expect_same(stream.raw, static_cast<uint32_t>(kWrap - random_between(rng, 1, size + 400)));
    }
}

} // namespace
