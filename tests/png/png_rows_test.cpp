// Rows: every filter for every type, converted in place in the buffer of their own data, compared with a
// simple model of that buffer.
#include "tests/support/deflate_maker.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_model.h"
#include "tests/support/png_runs.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace {

// With a height that is a multiple of 4 there are no extra bytes: the target of row 0 then starts one byte
// before its source.
constexpr uint32_t kHeights[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 64, 128, 256};

void fill_block(DsSurface& surface, const byte_vector& bytes) {
    std::copy(bytes.begin(), bytes.end(), surface.getPixels());
}

// Samples in the order of the surface.
byte_vector surface_order(byte_vector samples, uint8_t color_type) {
    const size_t step = samples_per_pixel(color_type);
    for (size_t i = 0; step >= 3 && i < samples.size(); i += step) {
        std::swap(samples[i], samples[i + 2]);
    }
    return samples;
}

// Decodes into a surface that fits and is filled with noise, and compares the whole buffer with the
// model's.
void expect_as_modelled(const png_maker& maker) {
    const byte_vector file = maker.bytes();
    const png_info_t info = header_pass(file).info;
    DsSurface surface = fenced_surface_for(info);
    const byte_vector before = make_bytes(data_kind::noise, surface.getDataSize(), 80);
    fill_block(surface, before);
    const row_layout_t layout{info.colorType, info.width, info.height, surface.getStride()};
    const model_buffer_t expected = model_rows(before, layout, maker.filtered());
    ASSERT_TRUE(expected.stays_inside);

    ASSERT_EQ(full_pass(file, surface), kPngOk);

    ASSERT_EQ(pixel_buffer(surface), expected.bytes)
        << "type " << +info.colorType << ", " << info.width << " x " << info.height;
}

class PngRowsOfType : public testing::TestWithParam<uint8_t> {};

INSTANTIATE_TEST_SUITE_P(EveryType, PngRowsOfType, testing::ValuesIn(kColorTypes),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_P(PngRowsOfType, UndoEveryFilterInPlaceAtEveryHeight) {
    for (const uint8_t filter : {kNone, kSub, kUp, kAverage, kPaeth}) {
        for (const uint32_t height : kHeights) {
            for (const uint32_t width : {1U, 2U, 3U, 4U, 5U, 8U, 17U, 33U}) {
                png_maker maker = png().image(GetParam(), width, height).filter(filter);
                const decode_outcome_t outcome = decode_png(maker.bytes());
                ASSERT_EQ(outcome.result, kPngOk);
                ASSERT_EQ(slice(pixel_buffer(*outcome.surface), 0, maker.samples().size()),
                          surface_order(maker.samples(), GetParam()))
                    << "filter " << +filter << ", " << width << " x " << height;
            }
        }
    }
}

TEST_P(PngRowsOfType, LeaveTheWholeBufferAsTheModelDoes) {
    for (const uint32_t height : kHeights) {
        for (const uint32_t width : {1U, 2U, 3U, 5U, 16U, 31U}) {
            expect_as_modelled(png().image(GetParam(), width, height));
        }
    }
}

TEST_P(PngRowsOfType, UseTheOldBufferContentForMissingData) {
    for (uint32_t rows = 0; rows < 8; ++rows) {
        png_maker maker = png().image(GetParam(), 5, 8);
        const size_t row_bytes = 5 * samples_per_pixel(GetParam()) + 1;
        maker.rows(slice(maker.filtered(), 0, rows * row_bytes + 2));
        expect_as_modelled(maker);
    }
}

// Kept on purpose: nothing is resynchronized after an unknown filter byte.
TEST_P(PngRowsOfType, WithAnUnknownFilterUseOneByteAndKeepTheirTarget) {
    png_maker maker = png().image(GetParam(), 3, 4);
    const byte_vector samples = make_bytes(data_kind::noise, 9U * samples_per_pixel(GetParam()), 5);
    const byte_vector rows =
        filter_rows(samples, samples.size() / 3, samples_per_pixel(GetParam()), {kNone, kSub, kUp});
    const size_t row_bytes = rows.size() / 3;
    for (size_t before = 0; before <= 3; ++before) {
        byte_vector filtered = slice(rows, 0, before * row_bytes);
        filtered.push_back(5);
        append(filtered, slice(rows, before * row_bytes, rows.size()));
        expect_as_modelled(maker.rows(filtered));
    }
}

TEST_P(PngRowsOfType, WithAnyUnknownFilterAreSkipped) {
    for (uint32_t filter = 5; filter < 256; ++filter) {
        const byte_vector filtered(4, static_cast<uint8_t>(filter));
        expect_as_modelled(png().image(GetParam(), 2, 4).rows(filtered));
    }
}

// Targets that overtake their source: the model with its single array gives the exact result.
TEST_P(PngRowsOfType, OvertakeTheirSourceAsTheModelDoes) {
    test_rng rng(81);
    for (int round = 0; round < 400; ++round) {
        const uint32_t width = random_between(rng, 1, 9);
        const uint32_t height = random_between(rng, 1, 20);
        png_maker maker = png().image(GetParam(), width, height);
        byte_vector filtered = maker.filtered();
        for (uint8_t& byte : filtered) {
            byte = static_cast<uint8_t>(rng() % 3 == 0 ? rng() % 7 : rng());
        }
        const size_t kept = rng() % 3 == 0 ? rng() % filtered.size() : filtered.size();
        const byte_vector raw =
            deflate_maker().stored(slice(filtered, 0, kept), block_is::last).bytes();
        expect_as_modelled(maker.rows(slice(filtered, 0, kept)).deflate_stream(raw));
    }
}

TEST_P(PngRowsOfType, ReverseTheFiltersOnExtremeSamples) {
    static constexpr uint8_t kExtremes[] = {0, 1, 2, 127, 128, 129, 253, 254, 255};
    test_rng rng(82);
    for (const uint8_t filter : {kSub, kUp, kAverage, kPaeth}) {
        png_maker maker = png().image(GetParam(), 100, 60);
        byte_vector samples = maker.samples();
        for (uint8_t& sample : samples) {
            sample = kExtremes[rng() % std::size(kExtremes)];
        }
        maker.pixels(samples).filter(filter);
        const decode_outcome_t outcome = decode_png(maker.bytes());
        ASSERT_EQ(outcome.result, kPngOk);
        ASSERT_EQ(slice(pixel_buffer(*outcome.surface), 0, samples.size()),
                  surface_order(samples, GetParam()));
    }
}

TEST(PngRows, AddWithoutOverflowInAverage) {
    const byte_vector filtered{0, 255, 255, 3, 255, 1};
    const byte_vector file = png().gray(2, 2).rows(filtered).bytes();

    const decode_outcome_t outcome = decode_png(file);

    ASSERT_EQ(outcome.result, kPngOk);
    // 255 + 255 / 2 is 126 modulo 256; 1 + (126 + 255) / 2 is 191.
    EXPECT_EQ(slice(pixel_buffer(*outcome.surface), 0, 4), (byte_vector{255, 255, 126, 191}));
}

TEST(PngRows, PreferLeftToUpLeftInPaeth) {
    // Left 14, up 8, up-left 10: the estimate 12 has the same distance from left and from up-left.
    const byte_vector file = png().gray(2, 2).rows({0, 10, 8, 4, 4, 1}).bytes();

    const decode_outcome_t outcome = decode_png(file);

    ASSERT_EQ(outcome.result, kPngOk);
    EXPECT_EQ(slice(pixel_buffer(*outcome.surface), 0, 4), (byte_vector{10, 8, 14, 15}));
}

TEST(PngRows, PreferUpToUpLeftInPaeth) {
    // Left 8, up 14, up-left 10: the estimate 12 has the same distance from up and from up-left.
    const byte_vector file = png().gray(2, 2).rows({0, 10, 14, 4, 254, 1}).bytes();

    const decode_outcome_t outcome = decode_png(file);

    ASSERT_EQ(outcome.result, kPngOk);
    EXPECT_EQ(slice(pixel_buffer(*outcome.surface), 0, 4), (byte_vector{10, 14, 8, 15}));
}

TEST(PngRows, UseASkippedRowAsTheUpRow) {
    const byte_vector file = png().gray(2, 3).rows({0, 10, 20, 9, 2, 1, 1}).bytes();
    DsSurface surface = fenced_surface({2, 3, DsColorMode::I8, 0, 256, 30});
    fill_block(surface, byte_vector(surface.getDataSize(), 100));

    ASSERT_EQ(full_pass(file, surface), kPngOk);

    EXPECT_EQ(slice(pixel_buffer(surface), 0, 6), (byte_vector{10, 20, 100, 100, 101, 101}));
}

TEST(PngRows, ReverseRedAndBlueOnly) {
    const byte_vector rgb = png().rgb(1, 1).rows({0, 1, 2, 3}).bytes();
    const byte_vector rgba = png().rgba(1, 1).rows({0, 1, 2, 3, 4}).bytes();
    const byte_vector gray_alpha = png().gray_alpha(1, 1).rows({0, 1, 2}).bytes();

    EXPECT_EQ(slice(pixel_buffer(*decode_png(rgb).surface), 0, 3), (byte_vector{3, 2, 1}));
    EXPECT_EQ(slice(pixel_buffer(*decode_png(rgba).surface), 0, 4), (byte_vector{3, 2, 1, 4}));
    EXPECT_EQ(slice(pixel_buffer(*decode_png(gray_alpha).surface), 0, 2), (byte_vector{1, 2}));
}

// Kept on purpose: a key color widens the surface's mode but not the rows, which stay packed at the start
// of each surface row. The rest of the row keeps its old content.
TEST(PngRows, WithAKeyColorStayInTheirNarrowLayout) {
    for (const uint32_t height : kHeights) {
        for (const uint32_t width : {1U, 2U, 3U, 7U, 20U}) {
            expect_as_modelled(png().gray(width, height).trns({0, 1}));
            expect_as_modelled(png().rgb(width, height).trns(byte_vector(6, 1)));
        }
    }
}

TEST(PngRows, WithAKeyColorLeaveInflatedBytesAfterThem) {
    png_maker maker = png().gray(2, 2).filter(kNone).pixels(byte_vector{1, 2, 3, 4}).trns({0, 1});
    DsSurface surface = fenced_surface_for(header_pass(maker.bytes()).info);
    fill_block(surface, byte_vector(surface.getDataSize(), 0));

    ASSERT_EQ(full_pass(maker.bytes(), surface), kPngOk);

    // 8 bytes of rows and 4 extra bytes. The 6 inflated bytes started at byte 6.
    EXPECT_EQ(pixel_buffer(surface), (byte_vector{1, 2, 0, 0, 3, 4, 0, 1, 2, 0, 3, 4}));
}

// Key colors are checked but change no pixel.
TEST(PngRows, IgnoreTheValueOfTheKeyColor) {
    png_maker first = png().rgb(4, 4);
    png_maker second = first;
    const decode_outcome_t one = decode_png(first.trns({0, 0, 0, 0, 0, 0}).bytes());
    const decode_outcome_t other = decode_png(second.trns({0, 255, 0, 255, 0, 255}).bytes());

    EXPECT_EQ(pixel_buffer(*one.surface), pixel_buffer(*other.surface));
}

} // namespace
