// The image data chunks: how they are split, their required content, and bytes that are not checked.
#include "tests/support/deflate_maker.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_runs.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace {

constexpr both_results_t kBothOk{kPngOk, kPngOk};
constexpr both_results_t kBothMalformed{kPngMalformed, kPngMalformed};
constexpr both_results_t kFullMalformed{kPngOk, kPngMalformed};

png_maker sample() {
    return png().gray(9, 7).pixels(data_kind::text, 3);
}

constexpr pixel_layout_t kSampleLayout{9, 7, 9, 1};

byte_vector decoded_block(const byte_vector& file) {
    const decode_outcome_t outcome = decode_png(file);
    EXPECT_EQ(outcome.result, kPngOk);
    return outcome.surface ? pixel_buffer(*outcome.surface) : byte_vector{};
}

testing::AssertionResult decodes_as_the_sample(const byte_vector& file) {
    return same_pixels(decoded_block(sample().bytes()), decoded_block(file), kSampleLayout);
}

// An IDAT chunk with the image data `raw`, which may differ from the sample's compressed rows.
both_results_t with_stream(const byte_vector& raw) {
    return both_passes(sample().deflate_stream(raw).bytes());
}

TEST(PngIdat, IsRequired) {
    std::vector<png_chunk_t> chunks = sample().chunks();
    chunks.erase(chunks.begin() + 1);

    EXPECT_EQ(both_passes(png_file(chunks)), kBothMalformed);
}

TEST(PngIdat, DecodesTheSameSplitAnywhere) {
    const size_t size = sample().image_data().size();
    for (size_t split = 2; split + 2 <= size; ++split) {
        EXPECT_TRUE(decodes_as_the_sample(sample().idat_split_at({split}).bytes())) << split;
    }
}

TEST(PngIdat, DecodesTheSameInChunksOfTwoBytes) {
    const size_t size = sample().image_data().size();
    std::vector<size_t> splits;
    for (size_t split = 2; split + 2 <= size; split += 2) {
        splits.push_back(split);
    }

    EXPECT_TRUE(decodes_as_the_sample(sample().idat_split_at(splits).bytes()));
}

TEST(PngIdat, MayHaveOtherChunksBetween) {
    png_maker maker = sample().idat_split_at({2, 5, 20});
    maker.chunk_between_idats({"tEXt", {1, 2, 3}});

    EXPECT_TRUE(decodes_as_the_sample(maker.bytes()));
}

TEST(PngIdat, IsRejectedShorterThanTwoBytes) {
    EXPECT_EQ(both_passes(sample().idat_split_at({0}).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(sample().idat_split_at({1}).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(sample().idat_split_at({5, 5}).bytes()), kBothMalformed);
    EXPECT_EQ(both_passes(sample().idat_split_at({5, 6}).bytes()), kBothMalformed);
}

TEST(PngIdat, IsRejectedShorterThanTwoBytesEvenAfterTheEndOfTheStream) {
    for (const byte_vector& data : {byte_vector{}, byte_vector{0}}) {
        const byte_vector file = sample().chunk_after_idat({"IDAT", data}).bytes();
        EXPECT_EQ(both_passes(file), kBothMalformed) << data.size();
    }
}

TEST(PngIdat, IsIgnoredAfterTheEndOfTheStream) {
    const byte_vector file = sample().chunk_after_idat({"IDAT", byte_vector(50, 0xFF)}).bytes();

    EXPECT_TRUE(decodes_as_the_sample(file));
}

TEST(PngIdat, SkipsTheZlibHeaderUnchecked) {
    for (const byte_vector& header : {byte_vector{0, 0}, byte_vector{0xFF, 0xFF}}) {
        std::vector<png_chunk_t> chunks = sample().chunks();
        std::copy(header.begin(), header.end(), chunks[1].data.begin());
        EXPECT_TRUE(decodes_as_the_sample(png_file(chunks))) << "header bytes " << +header[0];
    }
}

TEST(PngIdat, SkipsTwoBytesOfTheFirstChunkOnly) {
    byte_vector data{0x78, 0x9C};
    append(data, sample().raw_stream());

    EXPECT_TRUE(decodes_as_the_sample(sample().idat_bytes(data).idat_split_at({2, 4}).bytes()));
}

TEST(PngIdat, NeedsNoChecksumAndIgnoresAWrongOne) {
    byte_vector data{0x78, 0x9C};
    append(data, sample().raw_stream());
    EXPECT_TRUE(decodes_as_the_sample(sample().idat_bytes(data).bytes()));

    append(data, {1, 2, 3, 4});
    EXPECT_TRUE(decodes_as_the_sample(sample().idat_bytes(data).bytes()));
}

TEST(PngIdat, FailsTheFullPassWithAStreamThatDoesNotEnd) {
    const byte_vector raw = sample().raw_stream();
    for (size_t length = 0; length < raw.size(); ++length) {
        byte_vector data{0x78, 0x9C};
        append(data, slice(raw, 0, length));
        EXPECT_EQ(both_passes(sample().idat_bytes(data).bytes()), kFullMalformed) << length;
    }
}

TEST(PngIdat, FailsTheFullPassWithAnInvalidStream) {
    EXPECT_EQ(with_stream(deflate_maker().block_header(3, block_is::last).bytes()), kFullMalformed);
}

// Kept on purpose: streams with fixed codes are rejected.
TEST(PngIdat, FailsTheFullPassWithAFixedCodeBlock) {
    const byte_vector file = sample().compression({9, Z_FIXED, 15, 8}).bytes();

    EXPECT_EQ(both_passes(file), kFullMalformed);
}

TEST(PngIdat, FailsTheFullPassWithMoreDataThanTheRows) {
    byte_vector rows = sample().filtered();
    EXPECT_EQ(with_stream(deflate_maker().stored(rows, block_is::last).bytes()), kBothOk);
    rows.push_back(0);
    EXPECT_EQ(with_stream(deflate_maker().stored(rows, block_is::last).bytes()), kFullMalformed);
}

TEST(PngIdat, MayEndWithAnEmptyBlockAfterTheLastRow) {
    deflate_maker maker;
    maker.stored(sample().filtered(), block_is::followed).stored({}, block_is::last);

    EXPECT_EQ(with_stream(maker.bytes()), kBothOk);
}

// Kept on purpose: the number of bytes is not compared with the size of the rows.
TEST(PngIdat, MayHaveLessDataThanTheRows) {
    const byte_vector file =
        png()
            .gray(3, 2)
            .deflate_stream(deflate_maker().stored({1, 10, 1}, block_is::last).bytes())
            .bytes();
    DsSurface surface = fenced_surface({3, 2, DsColorMode::I8, 0, 256, 2});
    std::fill_n(surface.getPixels(), surface.getDataSize(), static_cast<uint8_t>(0));

    EXPECT_EQ(full_pass(file, surface), kPngOk);

    EXPECT_EQ(slice(pixel_buffer(surface), 0, 6), (byte_vector{10, 11, 11, 0, 0, 0}));
}

TEST(PngIdat, MayHaveNoDataAtAll) {
    EXPECT_EQ(with_stream(deflate_maker().stored({}, block_is::last).bytes()), kBothOk);
}

// Kept on purpose: the part of a match that does not fit is dropped.
TEST(PngIdat, MayEndInAMatchThatGoesBeyondTheLastRow) {
    deflate_maker maker;
    maker.stored({0, 1, 2, 3}, block_is::followed);
    maker.dynamic(simple_header(lengths_of(286, {{256, 1}, {285, 1}}), {0, 0, 0, 1}),
                  block_is::last);
    maker.match(258, 4).end();
    const byte_vector file = png().gray(3, 5).deflate_stream(maker.bytes()).bytes();

    const decode_outcome_t outcome = decode_png(file);

    ASSERT_EQ(outcome.result, kPngOk);
    EXPECT_EQ(slice(pixel_buffer(*outcome.surface), 0, 15),
              (byte_vector{1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3}));
}

TEST(PngIdat, KeepsBitsOfOneChunkForTheNext) {
    // Long codes and extra bits cross every split.
    test_rng rng(70);
    for (int round = 0; round < 100; ++round) {
        const uint32_t height = random_between(rng, 1, 12);
        png_maker maker = png().rgba(5, height).pixels(data_kind::text, rng());
        maker.deflate_stream(dynamic_stream_of(maker.filtered(), rng()));
        const byte_vector expected = decoded_block(maker.bytes());
        const size_t size = maker.image_data().size();
        std::vector<size_t> splits;
        for (size_t at = 2; at + 2 <= size; at += random_between(rng, 2, 5)) {
            splits.push_back(at);
        }
        ASSERT_TRUE(same_pixels(expected, decoded_block(maker.idat_split_at(splits).bytes()),
                                {5, height, 20, 4}))
            << "round " << round;
    }
}

} // namespace
