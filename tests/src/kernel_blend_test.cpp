// The blending kernel compared with the model: every pair of modes, all combinations of three bytes in the
// color formula for opaque pixels, every pair of alphas.
#include "tests/src/copy_case.h"
#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"
#include "tests/support/sanitized.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using Mode = DsColorMode;

// Sanitizers make the loops over three bytes ten times slower. With them, only every fifth source alpha is
// tested, with 0 and 255 among them.
constexpr uint32_t kAlphaStep = kSanitized ? 5 : 1;

uint32_t blended(Mode target, Mode source, uint32_t targetStored, uint32_t sourceStored,
                 uint32_t alphaMode = 0, uint32_t color = 0) {
    return copied(kBlend, {target, source, alphaMode, color}, targetStored, sourceStored);
}

constexpr uint32_t gray(uint32_t alpha, uint32_t level) {
    return alpha << 24 | level << 16 | level << 8 | level;
}

// The color formula for an opaque target.
uint32_t formula(uint32_t cd, uint32_t cs, uint32_t s) {
    return (cd * 255 * (255 - s) + cs * s * 255) / 65025;
}

// 256 by 256 opaque gray pixels: the level is the column.
byte_vector grayColumns(Mode mode) {
    return makePixels(mode, 65536, [mode](uint32_t i) {
        return modelEncode(mode, {255, i % 256, i % 256, i % 256});
    });
}

// 256 by 256 ARGB8888 pixels of one alpha: the gray level is the row.
byte_vector grayRows(uint32_t alpha) {
    return makePixels(Mode::ARGB8888, 65536, [alpha](uint32_t i) { return gray(alpha, i / 256); });
}

// Blends every gray level of every alpha over every opaque gray level.
void expectAllTriples(Mode target) {
    const byte_vector columns = grayColumns(target);
    for (uint32_t s = 0; s < 256; s += kAlphaStep) {
        const byte_vector rows = grayRows(s);
        const byte_vector expected = makePixels(target, 65536, [=](uint32_t i) {
            const uint32_t level = formula(i % 256, i / 256, s);
            return modelEncode(target, {255, level, level, level});
        });
        forEachBackend([&] {
            byte_vector pixels = columns;
            blendPixels(pixels.data(), 256, target, rows.data(), 256, Mode::ARGB8888, 256, 256, 0,
                        0);
            const uint64_t size = modelPixelSize(target);
            EXPECT_TRUE(same_pixels(expected, pixels, {256, 256, 256 * size, size}))
                << "ARGB8888 over " << modeName(target) << ", source alpha " << s;
        });
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

TEST(BlendPixels, FollowsTheModelForEveryPairOfModes) {
    expectCopiesOfAllModes(kBlend, 41);
}

TEST(BlendPixels, IsExactForAllCombinationsOfThreeBytesOnOpaqueArgb8888) {
    expectAllTriples(Mode::ARGB8888);
}

TEST(BlendPixels, IsExactForAllCombinationsOfThreeBytesOnRgb888) {
    expectAllTriples(Mode::RGB888);
}

// All stored values, and so all decoded channels, under every gray level of an alpha.
TEST(BlendPixels, IsExactForAllStoredValuesOfRgb565) {
    const byte_vector values = allStoredValues(Mode::RGB565);
    for (uint32_t s = 0; s < 256; s += 15) {
        for (const uint32_t turn : {0U, 77U, 154U}) {
            const byte_vector source = makePixels(Mode::ARGB8888, 65536, [=](uint32_t i) {
                return gray(s, (i + i / 256 + turn) % 256);
            });
            expectCopyOfBuffers(kBlend, {Mode::RGB565, Mode::ARGB8888, 0, 0}, values, source, 256);
        }
    }
}

// Columns of target alphas under rows of source alphas, for colors of all kinds.
TEST(BlendPixels, IsExactForAllPairsOfAlphas) {
    test_rng random(43);
    for (int round = 0; round < 32; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const uint32_t below = round == 0 ? 0xFFFFFF : random() % 0x1000000;
        const uint32_t above = round == 0 ? 0xFFFFFF : random() % 0x1000000;
        const byte_vector columns =
            makePixels(Mode::ARGB8888, 65536, [=](uint32_t i) { return i << 24 | below; });
        const byte_vector rows =
            makePixels(Mode::ARGB8888, 65536, [=](uint32_t i) { return (i / 256) << 24 | above; });
        expectCopyOfBuffers(kBlend, {Mode::ARGB8888, Mode::ARGB8888, 0, 0}, columns, rows, 256);
    }
}

TEST(BlendPixels, ComposesOverEveryStoredValueOfTwoBytes) {
    for (const Mode target : kTwoByteModes) {
        for (const Mode source : kAllModes) {
            const byte_vector noise =
                make_bytes(data_kind::noise, size_t{65536} * modelPixelSize(source), 5);
            expectCopyOfBuffers(kBlend, {target, source, 0, 0x12345678}, allStoredValues(target),
                                noise, 256);
        }
    }
}

TEST(BlendPixels, AcceptsEveryStoredValueOfTwoBytesAsItsSource) {
    for (const Mode source : kTwoByteModes) {
        for (const Mode target : kAllModes) {
            const byte_vector noise =
                make_bytes(data_kind::noise, size_t{65536} * modelPixelSize(target), 6);
            expectCopyOfBuffers(kBlend, {target, source, 2, 0x12345678}, noise,
                                allStoredValues(source), 256);
        }
    }
}

TEST(BlendPixels, ComposesEveryPairOfBytes) {
    for (const Mode target : {Mode::I8, Mode::A8}) {
        for (const Mode source : {Mode::I8, Mode::A8}) {
            const byte_vector columns =
                makePixels(target, 65536, [](uint32_t i) { return i % 256; });
            const byte_vector rows = makePixels(source, 65536, [](uint32_t i) { return i / 256; });
            for (const uint32_t alpha : {0U, 1U, 128U, 200U, 255U}) {
                expectCopyOfBuffers(kBlend, {target, source, 2, 0xC3000000 | alpha}, columns, rows,
                                    256);
            }
        }
    }
}

// A mask over every alpha of a target, for constant alphas and colors of all kinds.
TEST(BlendPixels, PaintsTheConstantColorThroughEveryMaskOverEveryAlpha) {
    const byte_vector mask = makePixels(Mode::A8, 65536, [](uint32_t i) { return i / 256; });
    for (const uint32_t color : {0U, 0xFFFFFFFFU, 0x0080FF80U, 0x1234567FU, 0xC0FFEEFEU}) {
        const byte_vector target = makePixels(Mode::ARGB8888, 65536, [=](uint32_t i) {
            return i << 24 | (color ^ (i * 0x010307U)) % 0x1000000;
        });
        for (const uint32_t alphaMode : {0U, 1U, 2U, 3U}) {
            expectCopyOfBuffers(kBlend, {Mode::ARGB8888, Mode::A8, alphaMode, color}, target, mask,
                                256);
        }
    }
}

TEST(BlendPixels, LeavesOpaquePixelsUnderATransparentSource) {
    for (uint32_t level = 0; level < 256; ++level) {
        EXPECT_EQ(gray(255, level),
                  blended(Mode::ARGB8888, Mode::ARGB8888, gray(255, level), 0x00FFFFFF))
            << "level " << level;
    }
    for (const Mode target : {Mode::RGB888, Mode::RGB565, Mode::I8}) {
        const uint32_t stored = 0x00C0FFEE % (1U << (8 * modelPixelSize(target)));
        EXPECT_EQ(stored, blended(target, Mode::ARGB8888, stored, 0x00FFFFFF)) << modeName(target);
    }
}

TEST(BlendPixels, MultipliesTranslucentPixelsUnderATransparentSource) {
    EXPECT_EQ(gray(128, 100), blended(Mode::ARGB8888, Mode::ARGB8888, gray(128, 200), 0));
}

TEST(BlendPixels, WritesAnOpaqueSourceUnchanged) {
    for (uint32_t level = 0; level < 256; ++level) {
        for (const uint32_t below : {0U, 0x80123456U, 0xFFFFFFFFU}) {
            EXPECT_EQ(gray(255, level),
                      blended(Mode::ARGB8888, Mode::ARGB8888, below, gray(255, level)))
                << "level " << level << " over " << below;
        }
    }
}

TEST(BlendPixels, MultipliesTheSourceByItsAlphaOverTransparentPixels) {
    for (uint32_t s = 0; s < 256; ++s) {
        for (uint32_t cs = 0; cs < 256; ++cs) {
            ASSERT_EQ(gray(s, cs * s / 255),
                      blended(Mode::ARGB8888, Mode::ARGB8888, 0x00ABCDEF, gray(s, cs)))
                << "level " << cs << ", alpha " << s;
        }
    }
}

TEST(BlendPixels, IgnoresTheTargetInArgb1555) {
    for (const uint32_t stored : {0U, 0x7FFFU, 0xFFFFU}) {
        EXPECT_EQ(0U, blended(Mode::ARGB1555, Mode::ARGB8888, stored, 0x00FFFFFF))
            << "over " << stored;
        EXPECT_EQ(24244U, blended(Mode::ARGB1555, Mode::ARGB8888, stored, 0xFFFFFFFF))
            << "over " << stored;
    }
}

TEST(BlendPixels, TreatsAnArgb1555SourceAsTransparent) {
    EXPECT_EQ(gray(255, 60), blended(Mode::ARGB8888, Mode::ARGB1555, gray(255, 60), 0xFFFF));
    EXPECT_EQ(gray(255, 255),
              blended(Mode::ARGB8888, Mode::ARGB1555, gray(255, 60), 0x7FFF, 1, 255));
}

TEST(BlendPixels, TreatsModesWithoutPixelsAsTransparent) {
    for (const Mode source : {Mode::Reserved6, Mode::Reserved8, Mode{10}, Mode{0xFFFFFFFF}}) {
        EXPECT_EQ(gray(255, 60), blended(Mode::ARGB8888, source, gray(255, 60), 0, 0, 0xFFFFFFFF))
            << modeName(source);
        EXPECT_EQ(gray(255, 0), blended(Mode::ARGB8888, source, gray(255, 60), 0, 1, 0xFFFFFFFF))
            << modeName(source);
    }
}

TEST(BlendPixels, WritesNothingIntoModesWithoutPixels) {
    for (const Mode target : {Mode::Reserved6, Mode::Reserved8, Mode{10}, Mode{0xFFFFFFFF}}) {
        for (const Mode source : kAllModes) {
            byte_vector buffer(64, 9);
            const byte_vector pixels(64, 200);
            blendPixels(buffer.data() + 8, 4, target, pixels.data(), 4, source, 4, 4, 0, 0);
            EXPECT_TRUE(same_bytes(byte_vector(64, 9), buffer))
                << modeName(source) << " over " << modeName(target);
        }
    }
}

TEST(BlendPixels, DoesNothingWithAnEmptyRectangle) {
    for (const Mode target : kAllModes) {
        for (const Mode source : kAllModes) {
            uint8_t byte = 77;
            blendPixels(&byte, 9, target, &byte, 9, source, 0, 5, 1, 255);
            blendPixels(&byte, 9, target, &byte, 9, source, 5, 0, 1, 255);
            EXPECT_EQ(77, byte) << modeName(source) << " over " << modeName(target);
        }
    }
}

TEST(BlendPixels, WorksInPlace) {
    expectCopiesInPlace(kBlend, 42);
}

} // namespace
