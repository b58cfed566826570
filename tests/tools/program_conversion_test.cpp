// Whole conversions by the built program: the output file of every kind of image, byte by byte, rotated and
// not rotated.
#include "tests/support/png_maker.h"
#include "tests/support/png_oracle.h"
#include "tests/support/same_bytes.h"
#include "tests/tools/converter_test.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

// The expected result of a conversion: stored pixels of `pixelSize` bytes, packed.
struct Picture {
    uint32_t rotation, mode, width, height, pixelSize;
    byte_vector pixels;
};

byte_vector surfaceFile(const Picture& picture) {
    byte_vector file;
    for (const uint32_t word : {picture.rotation, picture.mode, picture.width, picture.height,
                                picture.width * picture.pixelSize}) {
        for (uint32_t shift = 0; shift < 32; shift += 8) {
            file.push_back(static_cast<uint8_t>(word >> shift));
        }
    }
    append(file, picture.pixels);
    file.resize((file.size() + 3) / 4 * 4, 0);
    return file;
}

constexpr uint64_t kHeaderSize = 20;

// The rows in that file.
pixel_layout_t layoutOf(const Picture& picture) {
    const uint64_t stride = uint64_t{picture.width} * picture.pixelSize;
    return {picture.width, picture.height, stride, picture.pixelSize, kHeaderSize};
}

// The pixels after a rotation by 90 degrees counter-clockwise: the rightmost column becomes row 0.
Picture turned(const Picture& picture) {
    Picture result = picture;
    result.rotation = 90;
    result.width = picture.height;
    result.height = picture.width;
    result.pixels.clear();
    for (uint32_t column = picture.width; column-- > 0;) {
        for (uint32_t line = 0; line < picture.height; ++line) {
            append(result.pixels,
                   slice(picture.pixels, (line * picture.width + column) * picture.pixelSize,
                         picture.pixelSize));
        }
    }
    return result;
}

// A surface has red and blue in the other order than a PNG file.
byte_vector swapRedAndBlue(byte_vector samples, uint32_t pixelSize) {
    for (size_t i = 0; i < samples.size(); i += pixelSize) {
        std::swap(samples[i], samples[i + 2]);
    }
    return samples;
}

class ProgramConversion : public ConverterTest {
protected:
    void expectFile(const byte_vector& image, const Picture& picture,
                    const std::vector<std::string>& options = {}) const {
        const byte_vector expected = surfaceFile(picture);
        write("in.png", image);
        std::vector<std::string> arguments = {"--image", "in.png", "--output", "out"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        SCOPED_TRACE(commandLineOf("pngslab", arguments));
        expectSuccess(arguments, "in.png", expected.size());
        EXPECT_TRUE(same_pixels(expected, read("out"), layoutOf(picture)))
            << "mode " << picture.mode;
    }

    // Not rotated, rotated, and with the two angles that rotate nothing.
    void expectFiles(const byte_vector& image, const Picture& picture,
                     const std::vector<std::string>& options = {}) const {
        const auto with = [&](const char* angle) {
            std::vector<std::string> more = options;
            more.insert(more.end(), {"--rotation", angle});
            return more;
        };
        expectFile(image, picture, options);
        expectFile(image, turned(picture), with("90"));
        expectFile(image, picture, with("180"));
        expectFile(image, picture, with("270"));
    }

    void expectNoAlphaOnlySurface(const byte_vector& image) const {
        write("in.png", image);
        expectError({"--image", "in.png", "--alphaonly", "--output", "out"},
                    "cannot decode PNG file");
        EXPECT_EQ(byte_vector(), read("out"));
    }
};

TEST_F(ProgramConversion, OfTheSmallestExampleEqualsKnownBytes) {
    const byte_vector image =
        png()
            .rgb(3, 2)
            .pixels({1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19})
            .bytes();
    write("in.png", image);
    expectSuccess({"--image", "in.png", "--output", "out", "--rotation", "90"}, "in.png", 40);
    const byte_vector expected = {
        90, 0, 0, 0,  1,  0,  0, 0,               // rotated, blue green red
        2,  0, 0, 0,  3,  0,  0, 0, 6, 0,  0,  0, // 2 wide, 3 high, 6 bytes per row
        9,  8, 7, 19, 18, 17, 6, 5, 4, 16, 15, 14, 3, 2, 1, 13, 12, 11, 0, 0};
    EXPECT_TRUE(same_bytes(expected, read("out")));
}

TEST_F(ProgramConversion, OfGrayGivesIndices) {
    for (uint32_t height = 1; height <= 9; ++height) {
        const png_maker image = png().gray(7, height);
        expectFiles(image.bytes(), {0, 5, 7, height, 1, image.samples()});
    }
}

TEST_F(ProgramConversion, OfColorGivesBlueGreenRed) {
    for (uint32_t height = 1; height <= 9; ++height) {
        const png_maker image = png().rgb(7, height);
        expectFiles(image.bytes(), {0, 1, 7, height, 3, swapRedAndBlue(image.samples(), 3)});
    }
}

TEST_F(ProgramConversion, OfAPaletteImageGivesItsIndicesWithoutThePalette) {
    for (uint32_t height = 1; height <= 9; ++height) {
        const png_maker image = png().indexed(7, height);
        expectFiles(image.bytes(), {0, 5, 7, height, 1, image.samples()});
    }
}

TEST_F(ProgramConversion, OfATranslucentPaletteImageGivesItsIndicesToo) {
    const png_maker image = png().indexed(6, 5).trns({1, 2, 3});
    expectFiles(image.bytes(), {0, 5, 6, 5, 1, image.samples()});
}

TEST_F(ProgramConversion, OfGrayWithAlphaGivesGrayThenAlpha) {
    for (uint32_t height = 1; height <= 9; ++height) {
        const png_maker image = png().gray_alpha(7, height);
        expectFiles(image.bytes(), {0, 7, 7, height, 2, image.samples()});
    }
}

TEST_F(ProgramConversion, OfColorWithAlphaGivesBlueGreenRedAlpha) {
    for (uint32_t height = 1; height <= 9; ++height) {
        const png_maker image = png().rgba(7, height);
        expectFiles(image.bytes(), {0, 0, 7, height, 4, swapRedAndBlue(image.samples(), 4)});
    }
}

TEST_F(ProgramConversion, OfLargerPicturesHasManyRowsAndChunks) {
    const png_maker image = png().rgba(130, 256).idat_split_at({2, 100, 102, 5000, 60000});
    expectFiles(image.bytes(), {0, 0, 130, 256, 4, swapRedAndBlue(image.samples(), 4)});
}

TEST_F(ProgramConversion, OfGrayToAlphaOnlyGivesTheGrayValues) {
    for (uint32_t height = 1; height <= 9; ++height) {
        const png_maker image = png().gray(7, height);
        expectFiles(image.bytes(), {0, 9, 7, height, 1, image.samples()}, {"--alphaonly"});
    }
}

TEST_F(ProgramConversion, OfGrayWithAKeyColorToAlphaOnlyIgnoresTheKey) {
    const png_maker image = png().gray(5, 3).trns({0, 7});
    expectFiles(image.bytes(), {0, 9, 5, 3, 1, image.samples()}, {"--alphaonly"});
}

TEST_F(ProgramConversion, ToAlphaOnlyIsRejectedForEverythingButGray) {
    expectNoAlphaOnlySurface(png().rgb(3, 3).bytes());
    expectNoAlphaOnlySurface(png().indexed(3, 3).bytes());
    expectNoAlphaOnlySurface(png().gray_alpha(3, 3).bytes());
    expectNoAlphaOnlySurface(png().rgba(3, 3).bytes());
}

// A key color changes the surface's mode, but rows are still written in the narrower layout. The rest of a
// row keeps the old content of the buffer, here zeros.
TEST_F(ProgramConversion, OfGrayWithAKeyColorWritesNarrowRowsIntoWiderOnes) {
    const png_maker image = png().gray(2, 1).pixels({0x11, 0x22}).filter(kNone).trns({0, 7});
    expectFiles(image.bytes(), {0, 7, 2, 1, 2, {0x11, 0x22, 0, 0}});
}

TEST_F(ProgramConversion, OfTheSampleEqualsThePixelsOfLibpng) {
    const std::string sample = PNGSLAB_SOURCE_DIR "/samples/quill.png";
    std::ifstream stream(sample, std::ios::binary);
    const byte_vector bytes{std::istreambuf_iterator<char>(stream), {}};
    const auto reference = oracle_decode_png(bytes);
    ASSERT_TRUE(reference);
    const Picture picture = {0, 0, reference->width, reference->height, 4, reference->pixels};
    expectFiles(bytes, picture);

    const byte_vector expected = surfaceFile(picture);
    expectSuccess({"--image", sample, "--output", "quill"}, sample, expected.size());
    EXPECT_TRUE(same_pixels(expected, read("quill"), layoutOf(picture)));
}

} // namespace
