// Losses of damaged files, and Exif orientations.
#include "tests/support/png_maker.h"
#include "tests/support/test_bytes.h"
#include "tools/slabtool/images/exif_orientation.h"
#include "tools/slabtool/images/orientation.h"
#include "tools/slabtool/images/png_loss.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace {

const byte_vector kRotatedExif = {'M',  'M', 0, 42, 0, 0, 0, 8, 0, 1, 1,
                                  0x12, 0,   3, 0,  0, 0, 1, 0, 6, 0, 0};

TEST(ExifOrientation, ReadsBothByteOrders) {
    EXPECT_EQ(6U, exifOrientation(kRotatedExif));
    EXPECT_EQ(8U, exifOrientation(byte_vector{'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12,
                                              1,   3,   0,  1, 0, 0, 0, 8, 0, 0, 0}));
}

TEST(ExifOrientation, IsUprightForInvalidData) {
    for (size_t size = 0; size < 20; ++size) {
        EXPECT_EQ(kUpright, exifOrientation(slice(kRotatedExif, 0, size))) << size << " bytes";
    }
    byte_vector far = kRotatedExif;
    far[4] = 0xFF; // the directory's offset
    EXPECT_EQ(kUpright, exifOrientation(far));
    for (const uint8_t value : byte_vector{0, 9}) {
        byte_vector wrong = kRotatedExif;
        wrong[19] = value;
        EXPECT_EQ(kUpright, exifOrientation(wrong)) << int{value};
    }
}

TEST(PngFacts, IgnoreTheCaseOfChunkTypesAsTheDecoderDoes) {
    byte_vector file = png().gray(3, 2).trns({0, 1}).bytes();
    const auto expectFacts = [&] {
        const PngFacts facts = factsOf(file);
        EXPECT_EQ(6U, facts.pixels());
        EXPECT_TRUE(facts.hasTransparency);
    };
    expectFacts();
    for (const char* const name : {"IHDR", "tRNS"}) {
        const std::string_view type = name;
        const auto found = std::search(file.begin(), file.end(), type.begin(), type.end());
        found[2] ^= 0x20;
        expectFacts();
    }
}

TEST(PngLoss, ReadsNothingBeyondTruncatedChunks) {
    const byte_vector file = png()
                                 .indexed(4, 4)
                                 .chunk_before_idat({"eXIf", kRotatedExif})
                                 .chunk_before_idat({"acTL", {1}})
                                 .bytes();
    for (size_t size = 0; size <= file.size(); ++size) {
        const byte_vector truncated = slice(file, 0, size);
        EXPECT_LE(lossesOf(factsOf(truncated)).size(), 3U) << size;
    }
    test_rng rng(7);
    for (int i = 0; i < 5000; ++i) {
        byte_vector damaged = file;
        damaged[random_between(rng, 8, static_cast<uint32_t>(file.size() - 1))] =
            static_cast<uint8_t>(rng());
        EXPECT_LE(lossesOf(factsOf(damaged)).size(), 6U);
        EXPECT_LE(factsOf(damaged).orientation, 8U);
    }
}

// Row 0 and column 0 of the stored image are on the sides that the Exif standard defines. The stored image is
//     1 2 3
//     4 5 6
TEST(Orientation, MovesRowsAndColumnsToTheirSides) {
    const byte_vector pictures[] = {{1, 2, 3, 4, 5, 6}, {3, 2, 1, 6, 5, 4}, {6, 5, 4, 3, 2, 1},
                                    {4, 5, 6, 1, 2, 3}, {1, 4, 2, 5, 3, 6}, {4, 1, 5, 2, 6, 3},
                                    {6, 3, 5, 2, 4, 1}, {3, 6, 2, 5, 1, 4}};
    for (uint32_t orientation = 1; orientation <= 8; ++orientation) {
        PngImage image = {};
        image.width = 3;
        image.height = 2;
        image.samples = {1, 2, 3, 4, 5, 6};
        applyOrientation(image, orientation);
        EXPECT_EQ(pictures[orientation - 1], image.samples) << orientation;
        EXPECT_EQ(orientation < 5 ? 3U : 2U, image.width) << orientation;
    }
}

TEST(PngLoss, IsNoGammaValueBesideAProfileOrAnSrgbChunk) {
    const png_chunk_t gamma = {"gAMA", {0, 1, 0x86, 0xA0}}; // 1.0
    const auto codesOf = [](const png_maker& image) {
        std::vector<std::string> codes;
        for (const Finding& loss : lossesOf(factsOf(image.bytes()))) {
            codes.push_back(loss.code);
        }
        return codes;
    };
    const png_maker image = png().rgb(2, 2).chunk_before_idat(gamma);
    EXPECT_EQ(std::vector<std::string>{"gamma"}, codesOf(image));
    EXPECT_EQ(std::vector<std::string>{},
              codesOf(png_maker(image).chunk_before_idat({"sRGB", {0}})));
    EXPECT_EQ(std::vector<std::string>{"icc-profile"},
              codesOf(png_maker(image).chunk_before_idat({"iCCP", {0}})));
}

// The gamma value of sRGB is 45,455; one within 1/20 of it (2,272) is no loss.
TEST(PngLoss, StartsOneGammaStepBeyondTheTolerance) {
    for (const uint32_t gamma : {45455U - 2272U, 45455U, 45455U + 2272U}) {
        PngFacts facts;
        facts.gamma = gamma;
        EXPECT_EQ(0U, lossesOf(facts).size()) << gamma;
    }
    for (const uint32_t gamma : {45455U - 2273U, 45455U + 2273U}) {
        PngFacts facts;
        facts.gamma = gamma;
        ASSERT_EQ(1U, lossesOf(facts).size()) << gamma;
        EXPECT_EQ("gamma", lossesOf(facts)[0].code);
    }
}

} // namespace
