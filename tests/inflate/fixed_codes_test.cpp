// Fixed-code blocks after their tables are built. A separate program, because building the tables changes
// the verdict of every later decode in the process.
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/inflate_session.h"
#include "tests/support/inspected_decoder.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>
#include <utility>
#include <zlib.h>

namespace {

class FixedCodes : public testing::Test {
protected:
    FixedCodes() { inflate_init_fixed(); }
};

int32_t result_of(const deflate_maker& maker) {
    return inflate_whole(maker.bytes(), 1000).result;
}

TEST_F(FixedCodes, DecodeFixedBlocksOfZlib) {
    test_rng rng(50);
    for (int round = 0; round < 1000; ++round) {
        deflate_settings_t settings = random_settings(rng);
        settings.strategy = Z_FIXED;
        settings.level = static_cast<int>(random_between(rng, 1, 9));
        const byte_vector content = make_bytes(kAllDataKinds[rng() % 4], rng() % 2000, rng());
        const byte_vector raw = raw_deflate(content, settings);

        const inflate_outcome_t outcome =
            inflate_pieces(raw, content.size(), random_pieces(rng, raw.size()));

        ASSERT_EQ(outcome.result, kInflateDone) << "round " << round;
        ASSERT_TRUE(same_bytes(content, outcome.content)) << "round " << round;
    }
}

TEST_F(FixedCodes, DecodeStreamsThatMixTheBlockTypes) {
    test_rng rng(51);
    for (int round = 0; round < 500; ++round) {
        const byte_vector content = make_bytes(kAllDataKinds[rng() % 4], rng() % 5000, rng());
        const byte_vector raw = raw_deflate(content, random_settings(rng));

        const inflate_outcome_t outcome = inflate_whole(raw, content.size());

        ASSERT_EQ(outcome.result, kInflateDone) << "round " << round;
        ASSERT_TRUE(same_bytes(content, outcome.content)) << "round " << round;
    }
}

// Every room and every split, so that the ends of input and output come everywhere in the block.
TEST_F(FixedCodes, EqualTheStateMachine) {
    test_rng rng(52);
    deflate_settings_t settings;
    settings.strategy = Z_FIXED;
    const byte_vector content = make_bytes(data_kind::text, 500, rng());
    const byte_vector raw = raw_deflate(content, settings);
    for (size_t room = 0; room <= content.size() && !HasFatalFailure(); ++room) {
        expect_same_steps(raw, room, {raw.size()});
    }
    for (size_t first = 0; first <= raw.size() && !HasFatalFailure(); ++first) {
        expect_same_steps(raw, content.size(), {first, raw.size() - first});
    }
}

// The invalid symbols are within a match of the end of the output, where the tail loop decodes.
TEST_F(FixedCodes, EqualTheStateMachineAtInvalidSymbolsNearTheEnds) {
    for (const auto& [litlen, dist] : {std::pair{286U, 0U}, {287U, 0U}, {257U, 30U}, {257U, 31U}}) {
        for (uint32_t room = 60; room < 330; ++room) {
            SCOPED_TRACE(testing::Message() << "symbols " << litlen << " and " << dist);
            deflate_maker maker;
            maker.fixed(block_is::last).literals(byte_vector(60, 'a')).litlen_symbol(litlen);
            maker.dist_symbol(dist).literals(byte_vector(60, 'b')).end();
            expect_same_steps(maker.bytes(), room, {maker.bytes().size()});
        }
    }
}

// Enough data around the symbols that the fast loop decodes them.
TEST_F(FixedCodes, RejectTheSymbolsWithoutMeaningInLongBlocks) {
    for (const uint32_t symbol : {286U, 287U}) {
        deflate_maker maker;
        maker.fixed(block_is::last).literals(byte_vector(300, 'a')).litlen_symbol(symbol);
        maker.dist_symbol(0).literals(byte_vector(300, 'b')).end(); // valid except for the symbol
        const inflate_outcome_t outcome = inflate_whole(maker.bytes(), 1000);
        EXPECT_EQ(kInflateInvalid, outcome.result) << symbol;
        EXPECT_TRUE(same_bytes(byte_vector(300, 'a'), outcome.content)) << symbol;
    }
}

TEST_F(FixedCodes, HaveACodeForEveryLiteral) {
    byte_vector all(256);
    for (size_t value = 0; value < all.size(); ++value) {
        all[value] = static_cast<uint8_t>(value);
    }
    deflate_maker maker;
    maker.fixed(block_is::last).literals(all).end();

    const inflate_outcome_t outcome = inflate_pieces(maker.bytes(), 256, {1, 1, 1, 100, 1, 1});

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_TRUE(same_bytes(all, outcome.content));
}

TEST_F(FixedCodes, HaveACodeForEveryLengthAndDistance) {
    deflate_maker maker;
    byte_vector expected = make_bytes(data_kind::noise, 32768, 1);
    maker.stored(expected, block_is::followed).fixed(block_is::last);
    for (uint32_t length = 3; length <= 258; ++length) {
        const uint32_t distance = length * 127;
        maker.match(length, distance);
        for (uint32_t i = 0; i < length; ++i) {
            expected.push_back(expected[expected.size() - distance]);
        }
    }
    maker.end();

    const inflate_outcome_t outcome = inflate_whole(maker.bytes(), expected.size());

    EXPECT_EQ(outcome.result, kInflateDone);
    EXPECT_TRUE(same_bytes(expected, outcome.content));
}

// The codes of 286 and 287 exist but have no length.
TEST_F(FixedCodes, RejectTheLengthSymbols286And287) {
    for (const uint32_t symbol : {286U, 287U}) {
        deflate_maker maker;
        maker.fixed(block_is::last).literals(byte_vector(10, 'a')).litlen_symbol(symbol);
        maker.dist_symbol(0).bits(0, 32);
        EXPECT_EQ(result_of(maker), kInflateInvalid) << symbol;
    }
}

TEST_F(FixedCodes, RejectTheDistanceSymbols30And31) {
    for (const uint32_t symbol : {30U, 31U}) {
        deflate_maker maker;
        maker.fixed(block_is::last).literals(byte_vector(10, 'a')).litlen_symbol(257);
        maker.dist_symbol(symbol).bits(0, 32);
        EXPECT_EQ(result_of(maker), kInflateInvalid) << symbol;
    }
}

TEST_F(FixedCodes, DoNotChangeDynamicCodes) {
    test_rng rng(52);
    const made_stream_t stream = random_stream(rng, 32768);

    EXPECT_TRUE(
        same_bytes(stream.content, inflate_whole(stream.raw, stream.content.size()).content));
}

TEST_F(FixedCodes, MayBeBuiltAgain) {
    inflate_init_fixed();
    deflate_maker maker;
    maker.fixed(block_is::last).literals({'o', 'k'}).end();

    EXPECT_EQ(inflate_whole(maker.bytes(), 2).content, (byte_vector{'o', 'k'}));
}

} // namespace
