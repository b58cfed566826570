// The decoder compared with zlib: streams of every level, strategy, window and memory level, valid and
// damaged.
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/inflate_session.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

namespace {

byte_vector random_content(test_rng& rng, uint32_t longest) {
    return make_bytes(kAllDataKinds[rng() % 4], rng() % longest, rng());
}

TEST(InflateAgainstZlib, DecodesItsStreamsUnlessTheyUseFixedCodes) {
    test_rng rng(40);
    int fixed = 0;
    for (int round = 0; round < 4000; ++round) {
        const byte_vector content = random_content(rng, round % 50 == 0 ? 100000 : 3000);
        const byte_vector raw = raw_deflate(content, random_settings(rng));
        const inflate_outcome_t outcome =
            inflate_pieces(raw, content.size(), random_pieces(rng, raw.size()));
        if (contains_fixed_block(raw)) {
            ++fixed;
            ASSERT_EQ(outcome.result, kInflateInvalid) << "round " << round;
            ASSERT_TRUE(same_bytes(slice(content, 0, outcome.content.size()), outcome.content))
                << "round " << round;
        } else {
            ASSERT_EQ(outcome.result, kInflateDone) << "round " << round;
            ASSERT_TRUE(same_bytes(content, outcome.content)) << "round " << round;
        }
    }
    EXPECT_GT(fixed, 300);
    EXPECT_LT(fixed, 2500);
}

TEST(InflateAgainstZlib, RequestsInputAtEveryTruncation) {
    test_rng rng(41);
    for (int round = 0; round < 30; ++round) {
        const byte_vector content = random_content(rng, 600);
        const byte_vector raw = deflate_without_fixed_codes(content, {});
        for (size_t length = 0; length < raw.size(); ++length) {
            const inflate_outcome_t outcome = inflate_whole(slice(raw, 0, length), content.size());
            ASSERT_EQ(outcome.result, kInflateNeedsInput)
                << "round " << round << ", " << length << " of " << raw.size() << " bytes";
            ASSERT_TRUE(same_bytes(slice(content, 0, outcome.content.size()), outcome.content))
                << "round " << round << ", " << length << " of " << raw.size() << " bytes";
        }
    }
}

// If zlib rejects a stream, the decoder rejects it or needs more input: it recognizes a pattern that is no
// code only after 15 bits. The only streams that it accepts and zlib rejects have an incomplete code-length
// code.
TEST(InflateAgainstZlib, AgreesOnDamagedStreams) {
    test_rng rng(42);
    int rejected = 0;
    for (int round = 0; round < 6000; ++round) {
        made_stream_t stream = random_stream(rng, 32768);
        for (uint32_t flips = random_between(rng, 1, 3); flips > 0; --flips) {
            stream.raw[rng() % stream.raw.size()] ^= static_cast<uint8_t>(1U << rng() % 8);
        }
        const oracle_result_t oracle = oracle_inflate(stream.raw);
        const inflate_outcome_t outcome = inflate_whole(stream.raw, oracle.content.size() + 1000);
        if (oracle.message == "invalid code lengths set") {
            continue;
        }
        const size_t common = std::min(oracle.content.size(), outcome.content.size());
        ASSERT_TRUE(same_bytes(slice(oracle.content, 0, common), slice(outcome.content, 0, common)))
            << "round " << round;
        if (outcome.result == kInflateInvalid && contains_fixed_block(stream.raw)) {
            continue;
        }
        ASSERT_EQ(outcome.result == kInflateDone, oracle.complete) << "round " << round;
        ASSERT_TRUE(outcome.result != kInflateInvalid || oracle.invalid) << "round " << round;
        ASSERT_GE(outcome.content.size(), oracle.content.size()) << "round " << round;
        rejected += outcome.result == kInflateInvalid ? 1 : 0;
    }
    EXPECT_GT(rejected, 1000);
}

} // namespace
