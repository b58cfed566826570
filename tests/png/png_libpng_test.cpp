// The decoder compared with libpng, for generated images of every type, filter, compression and split.
#include "tests/support/deflate_maker.h"
#include "tests/support/fenced_surface.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_oracle.h"
#include "tests/support/png_runs.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// Random offsets of IDAT chunks, each at least two bytes long.
std::vector<size_t> random_splits(test_rng& rng, size_t size) {
    std::vector<size_t> splits;
    const uint32_t longest = 2U << rng() % 10;
    for (size_t at = random_between(rng, 2, longest); at + 2 <= size;
         at += random_between(rng, 2, longest)) {
        splits.push_back(at);
    }
    return splits;
}

std::vector<uint8_t> random_filters(test_rng& rng) {
    if (rng() % 2 == 0) {
        return {static_cast<uint8_t>(rng() % 5)};
    }
    std::vector<uint8_t> filters(random_between(rng, 2, 9));
    for (uint8_t& filter : filters) {
        filter = static_cast<uint8_t>(rng() % 5);
    }
    return filters;
}

png_maker random_image(test_rng& rng, uint8_t type) {
    const uint32_t longest = rng() % 10 == 0 ? 150 : 24;
    png_maker maker =
        png().image(type, random_between(rng, 1, longest), random_between(rng, 1, longest));
    maker.pixels(kAllDataKinds[rng() % 4], rng()).filters(random_filters(rng));
    if (rng() % 4 == 0) {
        maker.deflate_stream(dynamic_stream_of(maker.filtered(), rng()));
    } else {
        maker.compression(random_settings(rng));
    }
    if (type == kIndexed && rng() % 2 == 0) {
        maker.trns(make_bytes(data_kind::noise, random_between(rng, 1, 256), rng()));
    }
    if (rng() % 2 == 0) {
        maker.idat_split_at(random_splits(rng, maker.image_data().size()));
    }
    return maker;
}

// Entries without their alpha.
byte_vector palette_colors(const DsSurface& surface) {
    const byte_vector palette = palette_buffer(surface);
    byte_vector colors;
    for (size_t i = 0; i < palette.size(); i += 3U + surface.getPaletteHasAlpha()) {
        append(colors, slice(palette, i, 3));
    }
    return colors;
}

class PngAgainstLibpng : public testing::TestWithParam<uint8_t> {};

INSTANTIATE_TEST_SUITE_P(EveryType, PngAgainstLibpng, testing::ValuesIn(kColorTypes),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_P(PngAgainstLibpng, DecodesTheSamePixelsUnlessFixedCodesAreUsed) {
    test_rng rng(100U + GetParam());
    int fixed = 0;
    for (int round = 0; round < 800; ++round) {
        const png_maker maker = random_image(rng, GetParam());
        const byte_vector file = maker.bytes();
        const std::optional<oracle_image_t> expected = oracle_decode_png(file);
        SCOPED_TRACE(testing::Message() << "round " << round << ", type " << +GetParam());
        ASSERT_TRUE(expected);

        const decode_outcome_t outcome = decode_png(file);

        ASSERT_EQ(outcome.header_result, kPngOk);
        if (contains_fixed_block(maker.raw_stream())) {
            ++fixed;
            ASSERT_EQ(outcome.result, kPngMalformed);
            continue;
        }
        ASSERT_EQ(outcome.result, kPngOk);
        ASSERT_EQ(outcome.info.width, expected->width);
        ASSERT_EQ(outcome.info.height, expected->height);
        ASSERT_TRUE(same_pixels(expected->pixels,
                                slice(pixel_buffer(*outcome.surface), 0, expected->pixels.size()),
                                layout_of(*expected)));
        if (GetParam() == kIndexed) {
            ASSERT_TRUE(same_bytes(expected->palette, palette_colors(*outcome.surface)));
        }
    }
    EXPECT_GT(fixed, 40);
    EXPECT_LT(fixed, 500);
}

TEST_P(PngAgainstLibpng, DecodesTheSamePixelsOfLongAndFlatImages) {
    struct image_size_t {
        uint32_t width, height;
    };
    for (const image_size_t& size : {image_size_t{1, 20000}, image_size_t{20000, 1},
                                     image_size_t{3, 4096}, image_size_t{333, 256}}) {
        const byte_vector file =
            png().image(GetParam(), size.width, size.height).pixels(data_kind::gradient, 7).bytes();
        const std::optional<oracle_image_t> expected = oracle_decode_png(file);
        const decode_outcome_t outcome = decode_png(file);
        ASSERT_TRUE(expected) << size.width << " x " << size.height;
        ASSERT_EQ(outcome.result, kPngOk) << size.width << " x " << size.height;
        ASSERT_TRUE(same_pixels(expected->pixels,
                                slice(pixel_buffer(*outcome.surface), 0, expected->pixels.size()),
                                layout_of(*expected)))
            << "type " << +GetParam();
    }
}

} // namespace
