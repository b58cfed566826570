// Copying the alpha channel from an A8 surface: every stored value of every mode, compared with independent
// formulas, with different padding in both surfaces.
#include "src/ds_surface.h"
#include "tests/src/pixel_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

using Mode = DsColorMode;
using Rule = uint32_t (*)(uint32_t stored, uint32_t alpha);

constexpr uint8_t kAlphas[] = {0, 1, 7, 8, 9, 127, 128, 200, 254, 255};

uint32_t wordAt(const DsSurface& surface, int32_t x, int32_t y) {
    const uint32_t size = surface.getBytesPerPixel();
    const uint8_t* pixel = surface.getPixels() + static_cast<uint64_t>(y) * surface.getStride() +
                           static_cast<uint64_t>(x) * size;
    uint32_t word = 0;
    for (uint32_t i = size; i-- > 0;) {
        word = word << 8 | pixel[i];
    }
    return word;
}

// A surface of `values` pixels in 256 columns with every stored value once, in order.
DsSurface makeSurfaceOfAllValues(Mode mode, uint32_t values) {
    DsSurface surface = makeSurface(256, static_cast<int32_t>(values / 256), mode);
    const uint32_t size = bytesPerPixel(mode);
    for (uint32_t value = 0; value < values; ++value) {
        for (uint32_t i = 0; i < size; ++i) {
            surface.getPixels()[value * size + i] = static_cast<uint8_t>(value >> (8 * i));
        }
    }
    return surface;
}

// Replaces the alpha of every stored value by each of several alphas, and compares with the rule.
void expectRule(Mode mode, uint32_t values, Rule rule) {
    for (const uint8_t alpha : kAlphas) {
        TrackedBuffers buffers;
        DsSurface surface = makeSurfaceOfAllValues(mode, values);
        const DsSurface source = makeSurface(surface.getWidth(), surface.getHeight(), Mode::A8);
        std::fill_n(source.getPixels(), source.getDataSize(), alpha);
        surface.replaceAlpha(source);
        for (uint32_t value = 0; value < values; ++value) {
            const uint32_t after = wordAt(surface, static_cast<int32_t>(value % 256),
                                          static_cast<int32_t>(value / 256));
            ASSERT_EQ(rule(value, alpha), after)
                << modeName(mode) << ", " << value << " with alpha " << int{alpha};
        }
    }
}

// Replaces the alpha of noise by noise, with padding on both sides and a larger source. Compares every pixel with
// the rule; no other byte may change.
void expectRuleOnNoise(Mode mode, Rule rule) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(37, 11, mode, 16, 0, 9);
    DsSurface source = makeSurface(41, 13, Mode::A8, 32, 0, 3);
    const byte_vector before = fillWithNoise(surface, 21);
    const byte_vector alphas = fillWithNoise(source, 22);
    surface.replaceAlpha(source);

    byte_vector expected = before;
    const uint32_t size = bytesPerPixel(mode);
    for (uint64_t y = 0; y < 11; ++y) {
        for (uint64_t x = 0; x < 37; ++x) {
            uint8_t* pixel = expected.data() + y * surface.getStride() + x * size;
            uint32_t stored = 0;
            for (uint32_t i = size; i-- > 0;) {
                stored = stored << 8 | pixel[i];
            }
            stored = rule(stored, alphas[y * source.getStride() + x]);
            for (uint32_t i = 0; i < size; ++i) {
                pixel[i] = static_cast<uint8_t>(stored >> (8 * i));
            }
        }
    }
    EXPECT_TRUE(same_pixels(expected, pixelBuffer(surface), layout_of(surface))) << modeName(mode);
    EXPECT_TRUE(same_pixels(alphas, pixelBuffer(source), layout_of(source))) << "the source";
}

uint32_t unchanged(uint32_t stored, uint32_t) {
    return stored;
}

uint32_t alphaInTheHighByte(uint32_t stored, uint32_t alpha) {
    return alpha * 256 + stored % 256;
}

uint32_t alphaInTheTopByte(uint32_t stored, uint32_t alpha) {
    return alpha * 0x1000000 + stored % 0x1000000;
}

// The widening rule twice. Each result is added at its field's position, and the sum truncated to 16 bits.
uint32_t spillingArgb1555(uint32_t stored, uint32_t alpha) {
    const auto twice = [](uint32_t c) { return (((c * 527 + 23) >> 6) * 527 + 23) >> 6; };
    return ((alpha >= 128 ? 32768 : 0) + twice(stored / 1024 % 32) * 1024 +
            twice(stored / 32 % 32) * 32 + twice(stored % 32)) %
           65536;
}

uint32_t narrowedNibble(uint32_t stored, uint32_t alpha) {
    return (alpha * 15 + 135) / 256 * 4096 + stored % 4096;
}

uint32_t justAlpha(uint32_t, uint32_t alpha) {
    return alpha;
}

TEST(ReplaceAlpha, SetsOnlyTheTopByteOfArgb8888) {
    expectRule(Mode::ARGB8888, 65536, alphaInTheTopByte);
    expectRuleOnNoise(Mode::ARGB8888, alphaInTheTopByte);
}

TEST(ReplaceAlpha, ChangesNothingInRgb888) {
    expectRule(Mode::RGB888, 65536, unchanged);
    expectRuleOnNoise(Mode::RGB888, unchanged);
}

TEST(ReplaceAlpha, DoesNotChangeRgb565) {
    expectRule(Mode::RGB565, 65536, unchanged);
    expectRuleOnNoise(Mode::RGB565, unchanged);
}

TEST(ReplaceAlpha, SpillsTheChannelsOfArgb1555) {
    expectRule(Mode::ARGB1555, 65536, spillingArgb1555);
    expectRuleOnNoise(Mode::ARGB1555, spillingArgb1555);
}

TEST(ReplaceAlpha, Changes1To66And31To2100InArgb1555) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurfaceOfAllValues(Mode::ARGB1555, 256);
    const DsSurface source = makeSurface(256, 1, Mode::A8);
    std::fill_n(source.getPixels(), 256, uint8_t{0});
    surface.replaceAlpha(source);
    EXPECT_EQ(0U, wordAt(surface, 0, 0));
    EXPECT_EQ(66U, wordAt(surface, 1, 0));
    EXPECT_EQ(2100U, wordAt(surface, 31, 0));
    EXPECT_EQ(66U * 32, wordAt(surface, 32, 0));
}

TEST(ReplaceAlpha, NarrowsTheAlphaOfArgb4444AndKeepsItsColors) {
    expectRule(Mode::ARGB4444, 65536, narrowedNibble);
    expectRuleOnNoise(Mode::ARGB4444, narrowedNibble);
}

TEST(ReplaceAlpha, ChangesNothingInI8) {
    expectRule(Mode::I8, 256, unchanged);
    expectRuleOnNoise(Mode::I8, unchanged);
}

TEST(ReplaceAlpha, SetsTheHighByteOfAi88AndKeepsTheIndex) {
    expectRule(Mode::AI88, 65536, alphaInTheHighByte);
    expectRuleOnNoise(Mode::AI88, alphaInTheHighByte);
}

TEST(ReplaceAlpha, CopiesTheSourceIntoA8) {
    expectRule(Mode::A8, 256, justAlpha);
    expectRuleOnNoise(Mode::A8, justAlpha);
}

TEST(ReplaceAlpha, CopiesEveryAlphaByte) {
    TrackedBuffers buffers;
    DsSurface nibbles = makeSurface(256, 1, Mode::ARGB4444);
    DsSurface bits = makeSurface(256, 1, Mode::ARGB1555);
    std::fill_n(nibbles.getPixels(), 512, uint8_t{0});
    std::fill_n(bits.getPixels(), 512, uint8_t{0});
    const DsSurface source = makeSurfaceOfAllValues(Mode::A8, 256);
    nibbles.replaceAlpha(source);
    bits.replaceAlpha(source);
    for (int32_t alpha = 0; alpha < 256; ++alpha) {
        EXPECT_EQ(static_cast<uint32_t>((alpha * 15 + 135) >> 8 << 12), wordAt(nibbles, alpha, 0))
            << "alpha " << alpha;
        EXPECT_EQ(alpha >= 128 ? 0x8000U : 0U, wordAt(bits, alpha, 0)) << "alpha " << alpha;
    }
}

TEST(ReplaceAlpha, SkipsModesWithoutPixels) {
    for (const Mode mode : kModesWithoutPixels) {
        TrackedBuffers buffers;
        DsSurface surface = makeSurface(5, 3, mode, 1, 0, 16);
        const DsSurface source = makeSurface(5, 3, Mode::A8);
        const byte_vector before = fillWithNoise(surface, 1);
        surface.replaceAlpha(source);
        EXPECT_TRUE(same_bytes(before, pixelBuffer(surface))) << modeName(mode);
    }
}

TEST(ReplaceAlpha, DoesNothingToAnEmptySurface) {
    TrackedBuffers buffers;
    const DsSurface source = makeSurface(4, 4, Mode::A8);
    DsSurface narrow = makeSurface(0, 4, Mode::ARGB8888, 1, 0, 8);
    DsSurface flat = makeSurface(4, 0, Mode::ARGB8888, 1, 0, 8);
    const byte_vector before = fillWithNoise(narrow, 1);
    fillWithNoise(flat, 1);
    narrow.replaceAlpha(source);
    flat.replaceAlpha(source);
    EXPECT_EQ(before, pixelBuffer(narrow));
    EXPECT_EQ(before, pixelBuffer(flat));
}

// Stored pixels correspond for any rotations, and clips do not matter.
TEST(ReplaceAlpha, PairsStoredPixelsForAnyRotationsAndClips) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(3, 2, Mode::AI88, 1, 90); // stored 2 by 3
    DsSurface source = makeSurface(2, 3, Mode::A8, 1, 180);
    std::fill_n(surface.getPixels(), 12, uint8_t{0});
    const byte_vector alphas = {1, 2, 3, 4, 5, 6};
    std::copy(alphas.begin(), alphas.end(), source.getPixels());
    surface.setClip(DsRect(0, 0, 1, 1));
    source.setClip(DsRect(1, 1, 1, 1));
    surface.replaceAlpha(source);
    EXPECT_EQ((byte_vector{0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6}), pixelBuffer(surface));
}

TEST(ReplaceAlpha, WorksOnAliasesAndViewsAndInPlace) {
    byte_vector file = makeFileHeader(0, Mode::A8, 3, 1, 3);
    append(file, {10, 20, 30});
    DsSurface view(file.data());
    DsSurface alias(view);
    alias.replaceAlpha(view);
    EXPECT_EQ((byte_vector{10, 20, 30}), slice(file, 20, 3));
    byte_vector pixels = makeFileHeader(0, Mode::AI88, 3, 1, 7);
    append(pixels, {1, 0, 2, 0, 3, 0, 9});
    DsSurface(pixels.data()).replaceAlpha(view);
    EXPECT_EQ((byte_vector{1, 10, 2, 20, 3, 30, 9}), slice(pixels, 20, 7));
}

TEST(ReplaceAlphaDeathTest, AssertsThatTheSourceIsAlphaOnly) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(2, 2, Mode::ARGB8888);
    for (const Mode mode : {Mode::ARGB8888, Mode::I8, Mode::AI88, Mode::Reserved8}) {
        const DsSurface source = makeSurface(2, 2, mode);
        EXPECT_DEATH(surface.replaceAlpha(source),
                     "void DsSurface::replaceAlpha\\(const DsSurface ?&\\).*"
                     "alpha_only_src\\.mColorMode == DsColorMode::A8");
    }
}

} // namespace
