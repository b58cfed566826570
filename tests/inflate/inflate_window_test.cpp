// Window mode: the decoder has a circular history, so that output buffers can have any size and can be
// freed after each call.
#include "tests/support/deflate_maker.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/inflate_session.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

namespace {

TEST(InflateWindow, WritesOneByteAtATime) {
    test_rng rng(30);
    for (int round = 0; round < 50; ++round) {
        const made_stream_t stream = random_stream(rng, 32768);

        const inflate_outcome_t outcome = inflate_windowed(stream.raw, {}, 32768, {1});

        ASSERT_EQ(outcome.result, kInflateDone) << "round " << round;
        ASSERT_TRUE(same_bytes(stream.content, outcome.content)) << "round " << round;
    }
}

TEST(InflateWindow, MayBeAsSmallAsTheMaxDistance) {
    test_rng rng(31);
    for (uint32_t window = 1; window <= 70; ++window) {
        for (int round = 0; round < 20; ++round) {
            const made_stream_t stream = random_stream(rng, window);
            const auto pieces = random_pieces(rng, stream.raw.size());
            const std::vector<size_t> blocks{random_between(rng, 1, 100),
                                             random_between(rng, 0, 5)};

            const inflate_outcome_t outcome = inflate_windowed(stream.raw, pieces, window, blocks);

            ASSERT_EQ(outcome.result, kInflateDone) << "window " << window << ", round " << round;
            ASSERT_TRUE(same_bytes(stream.content, outcome.content))
                << "window " << window << ", round " << round;
        }
    }
}

TEST(InflateWindow, DecodesStreamsOfZlibOfEveryWindowSize) {
    test_rng rng(32);
    for (int round = 0; round < 300; ++round) {
        deflate_settings_t settings = random_settings(rng);
        const data_kind kind = kAllDataKinds[rng() % 4];
        const byte_vector content = make_bytes(kind, rng() % 60000, rng());
        const byte_vector raw = deflate_without_fixed_codes(content, settings);
        const uint32_t window = 1U << settings.window_bits;

        const inflate_outcome_t outcome =
            inflate_windowed(raw, random_pieces(rng, raw.size()), window,
                             {random_between(rng, 1, 40000), random_between(rng, 1, 3000)});

        ASSERT_EQ(outcome.result, kInflateDone) << "round " << round;
        ASSERT_TRUE(same_bytes(content, outcome.content))
            << "round " << round << ", window " << window;
    }
}

TEST(InflateWindow, KeepsTheRestOfAMatchForTheNextOutput) {
    deflate_maker maker;
    maker.stored({'a', 'b'}, block_is::followed);
    maker.dynamic(simple_header(lengths_of(286, {{256, 1}, {285, 1}}), {0, 1}), block_is::last);
    maker.match(258, 2).end();

    const inflate_outcome_t outcome = inflate_windowed(maker.bytes(), {}, 3, {100});

    ASSERT_EQ(outcome.result, kInflateDone);
    ASSERT_EQ(outcome.content.size(), 260U);
    for (size_t i = 0; i < 260; ++i) {
        ASSERT_EQ(outcome.content[i], i % 2 == 0 ? 'a' : 'b') << "byte " << i;
    }
}

TEST(InflateWindow, ContainsTheLastBytesOfTheOutput) {
    uint8_t window[5];
    uint8_t output[7];
    inflate_t state{};
    state.window = window;
    state.windowSize = sizeof window;
    inflate_process(&state, nullptr);
    state.out = output;
    state.outAvailable = sizeof output;
    deflate_maker maker;
    maker.stored({1, 2, 3, 4, 5, 6, 7}, block_is::last);
    bitstream_t reader{maker.bytes().data(), static_cast<uint32_t>(maker.bytes().size()), 0, 0};

    EXPECT_EQ(inflate_process(&state, &reader), kInflateDone);

    EXPECT_EQ(byte_vector(window, window + 5), (byte_vector{6, 7, 3, 4, 5}));
    EXPECT_EQ(state.windowPos, window + 2);
    EXPECT_EQ(state.totalOut, 7U);
}

TEST(InflateWindow, WrapsItsPositionAsSoonAsItIsFull) {
    uint8_t window[4];
    uint8_t output[4];
    inflate_t state{};
    state.window = window;
    state.windowSize = sizeof window;
    inflate_process(&state, nullptr);
    state.out = output;
    state.outAvailable = sizeof output;
    deflate_maker maker;
    maker.dynamic(simple_header(lengths_of(257, {{'a', 1}, {256, 1}}), {0}), block_is::last);
    maker.literals({'a', 'a', 'a', 'a'}).end();
    bitstream_t reader{maker.bytes().data(), static_cast<uint32_t>(maker.bytes().size()), 0, 0};

    EXPECT_EQ(inflate_process(&state, &reader), kInflateDone);

    EXPECT_EQ(state.windowPos, window);
}

TEST(InflateWindow, RejectsADistanceBeyondIt) {
    deflate_maker maker;
    maker.stored(byte_vector(20, 'x'), block_is::followed);
    maker.dynamic(
        simple_header(lengths_of(258, {{256, 1}, {257, 1}}), lengths_of(5, {{3, 1}, {4, 1}})),
        block_is::last);
    maker.match(3, 5).end();

    EXPECT_EQ(inflate_windowed(maker.bytes(), {}, 5, {100}).result, kInflateDone);
    EXPECT_EQ(inflate_windowed(maker.bytes(), {}, 4, {100}).result, kInflateInvalid);
}

TEST(InflateWindow, RejectsADistanceBeyondTheOutputSoFar) {
    deflate_maker maker;
    maker.stored({'x', 'y'}, block_is::followed);
    maker.dynamic(simple_header(lengths_of(258, {{256, 1}, {257, 1}}), {0, 0, 1}), block_is::last);
    maker.match(3, 3).end();

    EXPECT_EQ(inflate_windowed(maker.bytes(), {}, 100, {100}).result, kInflateInvalid);
}

} // namespace
