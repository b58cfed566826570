// factsOf on files with repeated and misplaced chunks.
#include "tests/support/png_maker.h"
#include "tools/slabtool/images/png_facts.h"
#include "tools/slabtool/images/png_image.h"

#include <gtest/gtest.h>

namespace {

void expectPaletteOfLibpng(const png_maker& image) {
    const byte_vector file = image.bytes();
    const PngFacts facts = factsOf(file);
    const PngImage expected = decodePng(file);
    EXPECT_EQ(expected.palette, facts.palette);
    EXPECT_EQ(expected.paletteAlpha, facts.transparency);
}

TEST(PngFacts, HaveThePaletteThatLibpngReads) {
    const png_maker image = png().indexed(4, 1).palette(4).pixels({0, 1, 2, 3});
    const png_chunk_t chunk = {"tRNS", {9, 8}};
    expectPaletteOfLibpng(png_maker(image).trns({1, 2, 3}));
    expectPaletteOfLibpng(png_maker(image).trns({1, 2, 3}).chunk_before_idat(chunk));
    expectPaletteOfLibpng(png_maker(image).trns({1, 2, 3}).chunk_after_idat(chunk));
    expectPaletteOfLibpng(png_maker(image).chunk_after_idat(chunk));
    expectPaletteOfLibpng(png_maker(image).chunk_before_palette(chunk));
    expectPaletteOfLibpng(png_maker(image).chunk_before_idat({"tRNS", {1, 2, 3, 4, 5}}));
    expectPaletteOfLibpng(png_maker(image).chunk_before_idat({"tRNS", {}}));
    expectPaletteOfLibpng(png_maker(image).chunk_after_idat({"PLTE", {1, 2, 3}}));
}

TEST(PngFacts, HaveTheSizeOfTheFirstHeader) {
    const png_chunk_t other = {"IHDR", png().gray(1, 1).image_header()};
    const PngFacts facts = factsOf(png().rgb(3, 2).chunk_after_idat(other).bytes());
    EXPECT_EQ(6U, facts.pixels());
    EXPECT_EQ(kRgb, facts.colorType);
}

} // namespace
