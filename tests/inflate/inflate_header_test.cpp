// Headers of dynamic blocks, read in words: compared with the state machine, which reads them bit by bit.
#include "inflate/src/internal/inflate_header.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/inspected_decoder.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace inflate_detail;

namespace {

constexpr uint32_t kBlockHeaderBits = 3;
// Before the last code, up to 13 bits may be in the buffer. The next refill reads a word after them.
constexpr size_t kBytesToReadOn = 2 + 8;

// A header with random codes and repeats, and some bytes after it.
struct any_header_t {
    byte_vector bytes;
    size_t bits; // of the header, with the three bits of the block header
};

any_header_t any_header(test_rng& rng, size_t bytes_after) {
    const auto litlen = random_complete_lengths(rng, random_between(rng, 257, 286), 15);
    const auto dist = random_complete_lengths(rng, random_between(rng, 1, 30), 15);
    deflate_maker maker;
    maker.dynamic(packed_header(rng, litlen, dist), block_is::last);
    byte_vector bytes = maker.bytes();
    const byte_vector after = make_bytes(data_kind::noise, bytes_after, rng());
    bytes.insert(bytes.end(), after.begin(), after.end());
    return {bytes, maker.bit_count()};
}

// A decoder after the three bits of the block header.
struct started_decoder {
    inflate_t record{};
    bitstream_t reader{};

    explicit started_decoder(const byte_vector& bytes)
        : reader{bytes.data(), static_cast<uint32_t>(bytes.size()), 0, 0} {
        inflate_process(&record, nullptr);
        bitstream_extract(&reader, kBlockHeaderBits);
    }
    started_decoder(const started_decoder&) = delete;
    started_decoder& operator=(const started_decoder&) = delete;
};

TEST(InflateHeader, IsReadInWordsWhereTenBytesFollow) {
    test_rng rng(1);
    for (int round = 0; round < 500; ++round) {
        const any_header_t header = any_header(rng, kBytesToReadOn);
        started_decoder decoder(header.bytes);
        ASSERT_TRUE(read_header_in_words(&decoder.record, &decoder.reader)) << "round " << round;
        ASSERT_EQ(8 * header.bytes.size() - header.bits, bitstream_remaining(&decoder.reader));
    }
}

TEST(InflateHeader, ChangesNothingIfTheInputEndsInsideIt) {
    test_rng rng(2);
    const any_header_t header = any_header(rng, 0);
    for (size_t size = 1; size * 8 < header.bits; ++size) {
        const byte_vector bytes = slice(header.bytes, 0, size);
        started_decoder decoder(bytes);
        const started_decoder before(bytes);
        ASSERT_FALSE(read_header_in_words(&decoder.record, &decoder.reader)) << size << " bytes";
        ASSERT_EQ(before.reader.data, decoder.reader.data) << size << " bytes";
        ASSERT_EQ(before.reader.bits, decoder.reader.bits) << size << " bytes";
        ASSERT_EQ(before.record.state, decoder.record.state) << size << " bytes";
        ASSERT_EQ(0, std::memcmp(before.record.lengths, decoder.record.lengths,
                                 sizeof before.record.lengths))
            << size << " bytes";
    }
}

TEST(InflateHeader, EqualsTheStateMachineForEveryFlippedBit) {
    test_rng rng(3);
    for (int round = 0; round < 12 && !HasFatalFailure(); ++round) {
        const any_header_t header = any_header(rng, 60);
        for (size_t bit = 0; bit < header.bits && !HasFatalFailure(); ++bit) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", bit " << bit);
            byte_vector bytes = header.bytes;
            bytes[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
            expect_same_steps(bytes, 4000, {bytes.size()});
        }
    }
}

TEST(InflateHeader, EqualsTheStateMachineForEverySplit) {
    test_rng rng(4);
    const any_header_t header = any_header(rng, 40);
    for (size_t first = 0; first <= header.bytes.size() && !HasFatalFailure(); ++first) {
        expect_same_steps(header.bytes, 4000, {first, header.bytes.size() - first});
    }
}

TEST(InflateHeader, EqualsTheStateMachineForBytesInTheReader) {
    test_rng rng(7);
    for (int round = 0; round < 200; ++round) {
        const any_header_t header = any_header(rng, 40);
        for (uint32_t held = 1; held <= 4; ++held) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", held " << held);
            inspected_decoder fast(4000, false);
            inspected_decoder states(4000, true);
            ASSERT_TRUE(
                same_snapshot(states.feed(header.bytes, held), fast.feed(header.bytes, held)));
        }
    }
}

TEST(InflateHeader, EqualsTheStateMachineForRandomBits) {
    test_rng rng(5);
    for (int round = 0; round < 20000 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        byte_vector bytes = make_bytes(data_kind::noise, 120, rng());
        bytes[0] = static_cast<uint8_t>((bytes[0] & ~7U) | 5U); // a last, dynamic block
        expect_same_steps(bytes, 1000, {bytes.size()});
    }
}

// The code-length code may be incomplete. A pattern without a code is invalid data.
TEST(InflateHeader, EqualsTheStateMachineForIncompleteCodeLengthCodes) {
    test_rng rng(6);
    for (int round = 0; round < 2000 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        deflate_maker maker;
        maker.block_header(2, block_is::last);
        maker.bits(random_between(rng, 0, 29), 5).bits(random_between(rng, 0, 29), 5).bits(15, 4);
        // 16 symbols with codes of at least 5 bits leave half of all patterns unused. They contain the three repeats
        // in half of the rounds.
        const uint32_t unused = round % 2 == 0 ? 0 : 16;
        for (uint32_t i = 0; i < 19; ++i) {
            maker.bits(i >= unused && i < unused + 3 ? 0 : random_between(rng, 5, 7), 3);
        }
        byte_vector bytes = maker.bytes();
        const byte_vector noise = make_bytes(data_kind::noise, 300, rng());
        bytes.insert(bytes.end(), noise.begin(), noise.end());
        expect_same_steps(bytes, 1000, {bytes.size()});
    }
}

} // namespace
