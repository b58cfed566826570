// Input in pieces: a stream in any pieces decodes like a stream in one piece, and a piece is not needed
// after the call.
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/inflate_session.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// Stored and dynamic blocks with long codes, extra bits of every kind and repeats in the headers.
made_stream_t mixed_stream() {
    test_rng rng(20);
    made_stream_t stream = random_stream(rng, 32768);
    while (stream.raw.size() < 350 || stream.raw.size() > 500) {
        stream = random_stream(rng, 32768);
    }
    return stream;
}

void expect_content(const inflate_outcome_t& outcome, const byte_vector& content,
                    const std::string& where) {
    EXPECT_EQ(outcome.result, kInflateDone) << where;
    EXPECT_TRUE(same_bytes(content, outcome.content)) << where;
}

TEST(InflatePieces, DecodeTheSameInOnePiece) {
    const made_stream_t stream = mixed_stream();

    expect_content(inflate_whole(stream.raw, stream.content.size()), stream.content, "whole");
}

TEST(InflatePieces, DecodeTheSameSplitAnywhere) {
    const made_stream_t stream = mixed_stream();
    for (size_t split = 0; split <= stream.raw.size(); ++split) {
        expect_content(inflate_pieces(stream.raw, stream.content.size(), {split}), stream.content,
                       "split at " + std::to_string(split));
    }
}

TEST(InflatePieces, DecodeTheSameWithAShortPieceAnywhere) {
    const made_stream_t stream = mixed_stream();
    for (size_t split = 0; split < stream.raw.size(); ++split) {
        for (const size_t length : {1U, 2U, 3U}) {
            expect_content(inflate_pieces(stream.raw, stream.content.size(), {split, length}),
                           stream.content,
                           "piece of " + std::to_string(length) + " at " + std::to_string(split));
        }
    }
}

TEST(InflatePieces, DecodeTheSameInPiecesOfEverySize) {
    const made_stream_t stream = mixed_stream();
    for (size_t size = 1; size <= stream.raw.size(); ++size) {
        const std::vector<size_t> sizes(stream.raw.size() / size, size);
        expect_content(inflate_pieces(stream.raw, stream.content.size(), sizes), stream.content,
                       "pieces of " + std::to_string(size));
    }
}

TEST(InflatePieces, MayBeEmptyAnyNumberOfTimes) {
    const made_stream_t stream = mixed_stream();
    std::vector<size_t> sizes;
    for (size_t i = 0; i < stream.raw.size(); ++i) {
        sizes.insert(sizes.end(), {0, 1, 0, 0});
    }

    expect_content(inflate_pieces(stream.raw, stream.content.size(), sizes), stream.content,
                   "empty");
}

TEST(InflatePieces, EmptyOnesFinishWithTheBitsInTheBuffer) {
    // The bytes so far include the end of the final block, but there was no space for a literal.
    deflate_maker maker;
    maker.dynamic(simple_header(lengths_of(257, {{'a', 1}, {256, 1}}), {0}), block_is::last);
    maker.literals({'a', 'a'}).end();
    inflate_session session(2);
    session.state.outAvailable = 1;
    ASSERT_EQ(session.feed(maker.bytes()), kInflateNeedsOutput);
    session.state.outAvailable = 1;

    EXPECT_EQ(session.feed({}), kInflateDone);
    EXPECT_EQ(session.content(), (byte_vector{'a', 'a'}));
}

TEST(InflatePieces, EmptyOnesRequestMoreInEveryState) {
    const made_stream_t stream = mixed_stream();
    for (size_t split = 0; split < stream.raw.size(); ++split) {
        inflate_session session(stream.content.size());
        ASSERT_EQ(session.feed(slice(stream.raw, 0, split)), kInflateNeedsInput)
            << "split at " << split;
        const uint32_t before = session.state.totalOut;
        ASSERT_EQ(session.feed({}), kInflateNeedsInput) << "split at " << split;
        ASSERT_EQ(session.state.totalOut, before) << "split at " << split;
    }
}

TEST(InflatePieces, RandomStreamsDecodeTheSameInRandomPieces) {
    test_rng rng(21);
    for (int round = 0; round < 3000; ++round) {
        const made_stream_t stream = random_stream(rng, 32768);
        const auto sizes = random_pieces(rng, stream.raw.size());
        expect_content(inflate_pieces(stream.raw, stream.content.size(), sizes), stream.content,
                       "round " + std::to_string(round));
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

TEST(InflatePieces, RandomStreamsDecodeTheSameWithZlib) {
    test_rng rng(21);
    for (int round = 0; round < 200; ++round) {
        const made_stream_t stream = random_stream(rng, 32768);
        const oracle_result_t oracle = oracle_inflate(stream.raw);
        ASSERT_TRUE(oracle.complete) << "round " << round << ": " << oracle.message;
        ASSERT_TRUE(same_bytes(stream.content, oracle.content)) << "round " << round;
    }
}

TEST(InflatePieces, RejectionsComeNoEarlierInPieces) {
    test_rng rng(22);
    for (int round = 0; round < 1000; ++round) {
        made_stream_t stream = random_stream(rng, 32768);
        stream.raw[rng() % stream.raw.size()] ^= static_cast<uint8_t>(1U << rng() % 8);
        const size_t room = stream.content.size() + 1000;
        const inflate_outcome_t whole = inflate_whole(stream.raw, room);
        const inflate_outcome_t pieces =
            inflate_pieces(stream.raw, room, std::vector<size_t>(stream.raw.size(), 1));
        ASSERT_EQ(pieces.result, whole.result) << "round " << round;
        ASSERT_TRUE(same_bytes(whole.content, pieces.content)) << "round " << round;
    }
}

} // namespace
