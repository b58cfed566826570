// decodeAccepted: pngslab's decoder gives the same samples as libpng.
#include "tests/support/png_maker.h"
#include "tests/support/same_bytes.h"
#include "tools/slabtool/images/accepted_image.h"

#include <gtest/gtest.h>

namespace {

void expectSameAsLibpng(const png_maker& image) {
    const byte_vector file = image.bytes();
    for (const bool expands : {false, true}) {
        const PngChanges changes = {.keyToAlpha = true, .expandPalette = expands};
        const std::optional<PngImage> actual = decodeAccepted(file, changes);
        ASSERT_TRUE(actual);
        const PngImage expected = decodePng(file, changes);
        EXPECT_EQ(expected.width, actual->width);
        EXPECT_EQ(expected.height, actual->height);
        EXPECT_EQ(expected.colorType, actual->colorType);
        EXPECT_TRUE(same_bytes(expected.samples, actual->samples)) << "expands: " << expands;
        EXPECT_EQ(expected.palette, actual->palette);
        EXPECT_EQ(expected.paletteAlpha, actual->paletteAlpha);
    }
}

TEST(AcceptedImage, HasTheSamplesThatLibpngReads) {
    for (uint32_t width = 1; width < 20; ++width) {
        expectSameAsLibpng(png().gray(width, 3).pixels(data_kind::noise, width));
        expectSameAsLibpng(png().gray_alpha(width, 3).pixels(data_kind::noise, width));
        expectSameAsLibpng(png().rgb(width, 3).pixels(data_kind::noise, width));
        expectSameAsLibpng(png().rgba(width, 3).pixels(data_kind::noise, width));
    }
}

TEST(AcceptedImage, AppliesPalettes) {
    expectSameAsLibpng(png().indexed(16, 16).palette(256).pixels(data_kind::noise, 1));
    expectSameAsLibpng(
        png().indexed(16, 16).palette(256).trns({1, 2, 3}).pixels(data_kind::noise, 2));
    expectSameAsLibpng(png().indexed(4, 1).palette(4).trns({9}).pixels({0, 1, 2, 3}));
}

TEST(AcceptedImage, HasTheFirstOfTwoTransparencies) {
    expectSameAsLibpng(png()
                           .indexed(4, 1)
                           .palette(4)
                           .trns({1, 2, 3})
                           .pixels({0, 1, 2, 3})
                           .chunk_before_idat({"tRNS", {9, 8}}));
}

TEST(AcceptedImage, IgnoresATransparencyWithAnotherCase) {
    expectSameAsLibpng(
        png().indexed(4, 1).palette(4).pixels({0, 1, 2, 3}).chunk_before_idat({"trNS", {9, 8}}));
}

TEST(AcceptedImage, MakesIndicesBeyondThePaletteBlack) {
    const byte_vector file = png().indexed(2, 1).plte({1, 2, 3}).trns({4}).pixels({0, 7}).bytes();
    EXPECT_EQ((byte_vector{1, 2, 3, 4, 0, 0, 0, 255}),
              decodeAccepted(file, {.expandPalette = true})->samples);
}

TEST(AcceptedImage, ReturnsNothingForImagesThatNeedLibpng) {
    EXPECT_FALSE(decodeAccepted(png().gray(2, 2).trns({0, 1}).bytes(), {})) << "a key color";
    EXPECT_FALSE(decodeAccepted(png().rgb(2, 2).trns({0, 1, 0, 1, 0, 1}).bytes(), {}));
    EXPECT_FALSE(decodeAccepted(png().rgb(2, 2).palette(2).bytes(), {})) << "a suggested palette";
    EXPECT_FALSE(decodeAccepted(png().gray(2, 2).bit_depth(4).bytes(), {}));
    EXPECT_FALSE(decodeAccepted(byte_vector{1, 2, 3}, {}));
}

TEST(AcceptedImage, AllocatesNothingForSizesThatTheFileCannotFill) {
    EXPECT_FALSE(decodeAccepted(png().rgba(1, 1).declared_size(0x7FFFFFFF, 1).bytes(), {}));
    EXPECT_FALSE(decodeAccepted(png().rgba(1, 1).declared_size(100000, 100000).bytes(), {}));
}

} // namespace
