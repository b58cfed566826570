// The converting kernel compared with the model: every pair of modes, every stored value of the small
// modes, every alpha.
#include "tests/src/copy_case.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using Mode = DsColorMode;

uint32_t converted(Mode target, Mode source, uint32_t stored, uint32_t alphaMode = 0,
                   uint32_t color = 0) {
    return copied(kConvert, {target, source, alphaMode, color}, 0xA5A5A5A5, stored);
}

// Converts a buffer of source pixels, 256 per row, to a mode.
void expectConversion(const ModelCopy& copy, const byte_vector& source) {
    const size_t pixels = source.size() / modelPixelSize(copy.source);
    const byte_vector target =
        make_bytes(data_kind::noise, pixels * modelPixelSize(copy.target) + 1, 3);
    expectCopyOfBuffers(kConvert, copy, target, source, static_cast<uint32_t>(pixels / 256));
}

TEST(ConvertPixels, FollowsTheModelForEveryPairOfModes) {
    expectCopiesOfAllModes(kConvert, 31);
}

TEST(ConvertPixels, ReadsEveryStoredValueOfTheSmallModes) {
    for (const Mode source :
         {Mode::RGB565, Mode::ARGB1555, Mode::ARGB4444, Mode::AI88, Mode::I8, Mode::A8}) {
        const byte_vector values = allStoredValues(source);
        for (const Mode target : kAllModes) {
            expectConversion({target, source, 0, 0x12345678}, values);
            expectConversion({target, source, 2, 0xFEDCBA98}, values);
        }
    }
}

TEST(ConvertPixels, WritesEveryPairOfAlphaAndColorIntoEveryMode) {
    const byte_vector colors = makePixels(Mode::ARGB8888, 65536, [](uint32_t i) {
        const uint32_t channel = i % 256;
        return (i / 256) << 24 | channel << 16 | (255 - channel) << 8 | (channel ^ 0x55U);
    });
    for (const Mode target : kAllModes) {
        expectConversion({target, Mode::ARGB8888, 0, 0}, colors);
    }
}

TEST(ConvertPixels, ScalesEveryAlphaByEveryConstantAlpha) {
    for (const Mode source : {Mode::ARGB8888, Mode::ARGB4444, Mode::AI88, Mode::A8}) {
        const byte_vector alphas = makePixels(source, 256, [source](uint32_t alpha) {
            return modelEncode(source, {alpha, 255 - alpha, 9, alpha});
        });
        for (uint32_t constant = 0; constant < 256; ++constant) {
            expectConversion({Mode::ARGB8888, source, 2, 0xC0FFEE00 | constant}, alphas);
        }
    }
}

TEST(ConvertPixels, UsesEveryConstantAlpha) {
    for (const Mode source : kAllModes) {
        for (uint32_t constant = 0; constant < 256; ++constant) {
            const uint32_t stored = converted(Mode::ARGB8888, source, 0x13572468, 1, constant);
            EXPECT_EQ(constant, stored >> 24) << modeName(source);
        }
    }
}

TEST(ConvertPixels, WidensAFullRgb565PixelToWhite) {
    EXPECT_EQ(0xFFFFFFFFU, converted(Mode::ARGB8888, Mode::RGB565, 0xFFFF));
    EXPECT_EQ(0x80FFFFFFU, converted(Mode::ARGB8888, Mode::RGB565, 0xFFFF, 1, 128));
    EXPECT_EQ(0xFF000000U, converted(Mode::ARGB8888, Mode::RGB565, 0));
}

TEST(ConvertPixels, NarrowsWhiteToFullFields) {
    EXPECT_EQ(65535U, converted(Mode::RGB565, Mode::ARGB8888, 0xFFFFFFFF));
    EXPECT_EQ(65535U, converted(Mode::ARGB4444, Mode::ARGB8888, 0xFFFFFFFF));
}

TEST(ConvertPixels, NarrowsWidenedPixelsToTheOriginals) {
    for (uint32_t stored = 0; stored < 65536; ++stored) {
        const uint32_t wide = converted(Mode::ARGB8888, Mode::RGB565, stored);
        ASSERT_EQ(stored, converted(Mode::RGB565, Mode::ARGB8888, wide));
        const uint32_t nibbles = converted(Mode::ARGB8888, Mode::ARGB4444, stored);
        ASSERT_EQ(stored, converted(Mode::ARGB4444, Mode::ARGB8888, nibbles));
    }
}

TEST(ConvertPixels, SpillsArgb1555Colors) {
    EXPECT_EQ(2100U, converted(Mode::ARGB1555, Mode::ARGB8888, 0x000000FF));
    EXPECT_EQ(2100U * 32 % 65536, converted(Mode::ARGB1555, Mode::ARGB8888, 0x0000FF00));
    EXPECT_EQ(32768U, converted(Mode::ARGB1555, Mode::ARGB8888, 0x80000000));
}

TEST(ConvertPixels, DoesNotReadTheAlphaBitOfArgb1555) {
    EXPECT_EQ(0U, converted(Mode::A8, Mode::ARGB1555, 0xFFFF));
    EXPECT_EQ(0x00FFFFFFU, converted(Mode::ARGB8888, Mode::ARGB1555, 0xFFFF));
}

TEST(ConvertPixels, ReadsIndicesAsGray) {
    EXPECT_EQ(0xFF282828U, converted(Mode::ARGB8888, Mode::I8, 40));
    EXPECT_EQ(0x07282828U, converted(Mode::ARGB8888, Mode::AI88, 0x0728));
}

TEST(ConvertPixels, WritesBlueAsTheIndex) {
    EXPECT_EQ(0x33U, converted(Mode::I8, Mode::ARGB8888, 0xFF112233));
    EXPECT_EQ(0xFF33U, converted(Mode::AI88, Mode::ARGB8888, 0xFF112233));
}

TEST(ConvertPixels, PaintsTheConstantColorThroughAnA8Source) {
    const uint32_t color = modelWord({200, 1, 2, 3});
    EXPECT_EQ(0x64010203U, converted(Mode::ARGB8888, Mode::A8, 100, 0, color));
    EXPECT_EQ(0xC8010203U, converted(Mode::ARGB8888, Mode::A8, 100, 1, color));
    EXPECT_EQ(0x4E010203U, converted(Mode::ARGB8888, Mode::A8, 100, 2, color));
    EXPECT_EQ(0x00010203U, converted(Mode::ARGB8888, Mode::A8, 100, 3, color));
}

TEST(ConvertPixels, ReadsModesWithoutPixelsAsZeros) {
    const uint32_t color = modelWord({200, 1, 2, 3});
    for (const Mode source : {Mode::Reserved6, Mode::Reserved8, Mode{10}, Mode{0xFFFFFFFF}}) {
        EXPECT_EQ(0U, converted(Mode::ARGB8888, source, 0, 0, color)) << modeName(source);
        EXPECT_EQ(0xC8000000U, converted(Mode::ARGB8888, source, 0, 1, color)) << modeName(source);
        EXPECT_EQ(0U, converted(Mode::RGB565, source, 0, 1, color)) << modeName(source);
    }
}

TEST(ConvertPixels, WritesNothingIntoModesWithoutPixels) {
    for (const Mode target : {Mode::Reserved6, Mode::Reserved8, Mode{10}, Mode{0xFFFFFFFF}}) {
        for (const Mode source : kAllModes) {
            byte_vector buffer(64, 9);
            const byte_vector pixels(64, 200);
            convertPixels(buffer.data() + 8, 4, target, pixels.data(), 4, source, 4, 4, 0, 0);
            EXPECT_TRUE(same_bytes(byte_vector(64, 9), buffer))
                << modeName(source) << " into " << modeName(target);
        }
    }
}

TEST(ConvertPixels, DoesNothingWithAnEmptyRectangle) {
    for (const Mode target : kAllModes) {
        for (const Mode source : kAllModes) {
            uint8_t byte = 77;
            convertPixels(&byte, 9, target, &byte, 9, source, 0, 5, 0, 0);
            convertPixels(&byte, 9, target, &byte, 9, source, 5, 0, 0, 0);
            EXPECT_EQ(77, byte) << modeName(source) << " into " << modeName(target);
        }
    }
}

TEST(ConvertPixels, WorksInPlace) {
    expectCopiesInPlace(kConvert, 32);
}

} // namespace
