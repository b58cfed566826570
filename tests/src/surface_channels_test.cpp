// Recoloring and copying of channels: every combination of flags, every mode and pair of modes, compared with
// the model. Clips and rotations must not matter.
#include "src/ds_surface.h"
#include "tests/src/copy_case.h"
#include "tests/src/drawing_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

using Mode = DsColorMode;

// Four flags; bit 0 is alpha, then red, green, blue.
struct Flags {
    uint32_t bits;
    bool alpha() const { return bits % 2 == 1; }
    bool red() const { return bits / 2 % 2 == 1; }
    bool green() const { return bits / 4 % 2 == 1; }
    bool blue() const { return bits / 8 % 2 == 1; }
};

ModelColor mixed(const Flags& flags, const ModelColor& taken, const ModelColor& kept) {
    return {flags.alpha() ? taken.alpha : kept.alpha, flags.red() ? taken.red : kept.red,
            flags.green() ? taken.green : kept.green, flags.blue() ? taken.blue : kept.blue};
}

// ---- replaceColor

struct Recoloring {
    uint32_t match;
    Flags matched;
    uint32_t replacement;
    Flags replaced;
};

void recolor(DsSurface& surface, const Recoloring& r) {
    surface.replaceColor(r.match, r.matched.alpha(), r.matched.red(), r.matched.green(),
                         r.matched.blue(), r.replacement, r.replaced.alpha(), r.replaced.red(),
                         r.replaced.green(), r.replaced.blue());
}

uint32_t recolored(Mode mode, uint32_t stored, const Recoloring& r) {
    const ModelColor color = modelDecode(mode, stored);
    // All compared channels are equal if copying them from the match changes nothing.
    if (mixed(r.matched, modelColor(r.match), color) != color) {
        return stored;
    }
    return modelEncode(mode, mixed(r.replaced, modelColor(r.replacement), color));
}

void recolorModel(ModelPicture& picture, const Recoloring& r) {
    for (const ModelPoint& p : picture.pixels()) {
        picture.set(p, recolored(picture.mode(), picture.get(p), r));
    }
}

// One stored value of `mode`, recolored.
uint32_t recoloredPixel(Mode mode, uint32_t stored, const Recoloring& r) {
    byte_vector file = makeFileHeader(0, mode, 1, 1, modelPixelSize(mode));
    file.resize(24);
    modelStore(mode, &file[20], stored);
    DsSurface surface(file.data());
    recolor(surface, r);
    return modelLoad(mode, &file[20]);
}

// The color of a random pixel, so that something matches.
uint32_t colorInside(const ModelPicture& picture, test_rng& random) {
    const ModelPoint& p = picture.pixels()[random() % picture.pixels().size()];
    return modelWord(modelDecode(picture.mode(), picture.get(p)));
}

TEST(ReplaceColor, FollowsTheModelForAllFlagsInAllModes) {
    test_rng random(171);
    for (const Mode mode : kAllModes) {
        for (uint32_t flags = 0; flags < 256; ++flags) {
            TrackedBuffers buffers;
            DsSurface surface = makeSurface(9, 5, mode, 4, kRotations[flags % 4], 3);
            fillWithNoise(surface, random());
            surface.setClip(DsRect(2, 2, 1, 1)); // limits nothing
            ModelPicture picture(surface);
            const Recoloring r = {
                colorInside(picture, random), {flags % 16}, random(), {flags / 16}};
            recolor(surface, r);
            recolorModel(picture, r);
            ASSERT_TRUE(same_pixels(picture.buffer(), pixelBuffer(surface), layout_of(surface)))
                << modeName(mode) << ", flags " << flags;
        }
    }
}

TEST(ReplaceColor, FollowsTheModelForEveryStoredValueOfTheSmallModes) {
    for (const Mode mode :
         {Mode::RGB565, Mode::ARGB1555, Mode::ARGB4444, Mode::AI88, Mode::I8, Mode::A8}) {
        const byte_vector values = allStoredValues(mode);
        const auto height = static_cast<uint32_t>(values.size() / 256 / modelPixelSize(mode));
        for (const uint32_t matched : {0U, 1U, 2U, 6U, 8U}) {
            byte_vector file = makeFileHeader(0, mode, 256, height, 256 * modelPixelSize(mode));
            append(file, values);
            DsSurface surface(file.data());
            ModelPicture picture(surface);
            const Recoloring r = {modelWord({255, 255, 130, 0}), {matched}, 0x12345678, {9}};
            recolor(surface, r);
            recolorModel(picture, r);
            EXPECT_TRUE(same_pixels(picture.buffer(), pixelBuffer(surface), layout_of(surface)))
                << modeName(mode) << ", matched flags " << matched;
        }
    }
}

TEST(ReplaceColor, ChangesOnlyMatchingPixels) {
    const Recoloring r = {modelWord({255, 10, 20, 30}), {15}, modelWord({1, 2, 3, 4}), {15}};
    EXPECT_EQ(0x01020304U, recoloredPixel(Mode::ARGB8888, 0xFF0A141E, r));
    for (const uint32_t other : {0xFE0A141EU, 0xFF0B141EU, 0xFF0A151EU, 0xFF0A141FU}) {
        EXPECT_EQ(other, recoloredPixel(Mode::ARGB8888, other, r));
    }
}

TEST(ReplaceColor, ComparesAndReplacesOnlyFlaggedChannels) {
    EXPECT_EQ(0x010A141EU,
              recoloredPixel(Mode::ARGB8888, 0xFF0A141E,
                             {modelWord({0, 10, 0, 0}), {2}, modelWord({1, 2, 3, 4}), {1}}));
    EXPECT_EQ(0xFF0A1404U,
              recoloredPixel(Mode::ARGB8888, 0xFF0A141E, {0, {0}, modelWord({1, 2, 3, 4}), {8}}));
}

TEST(ReplaceColor, ReadsIndicesAsGrayAndA8AsBlack) {
    EXPECT_EQ(99U,
              recoloredPixel(Mode::I8, 40,
                             {modelWord({255, 40, 40, 40}), {15}, modelWord({0, 0, 0, 99}), {8}}));
    EXPECT_EQ(0x0763U,
              recoloredPixel(Mode::AI88, 0x0728,
                             {modelWord({7, 40, 40, 40}), {15}, modelWord({0, 0, 0, 99}), {8}}));
    EXPECT_EQ(99U, recoloredPixel(Mode::A8, 40, {modelWord({40, 0, 0, 0}), {15}, 99, {1}}));
}

// A matching pixel is encoded again, and that rule spills.
TEST(ReplaceColor, ChangesArgb1555PixelsWithNoFlagSet) {
    EXPECT_EQ(66U, recoloredPixel(Mode::ARGB1555, 1, {0, {0}, 0, {0}}));
    EXPECT_EQ(2100U, recoloredPixel(Mode::ARGB1555, 0x801F, {0, {0}, 0, {0}}));
    EXPECT_EQ(1U, recoloredPixel(Mode::ARGB1555, 1, {255, {1}, 0, {0}}));
}

TEST(ReplaceColor, SkipsModesWithoutPixels) {
    for (const Mode mode : kModesWithoutPixels) {
        byte_vector file = makeFileHeader(0, mode, 4, 4, 16);
        append(file, byte_vector(64, 9));
        DsSurface surface(file.data());
        recolor(surface, {0, {0}, 0xFFFFFFFF, {15}});
        EXPECT_TRUE(same_bytes(byte_vector(64, 9), slice(file, 20, 64))) << modeName(mode);
    }
}

// ---- copyChannels

void expectChannelsCopied(DsSurface& target, const DsSurface& source, const Flags& flags) {
    ModelPicture picture(target);
    byte_vector expected = picture.buffer();
    const ModelCopy copy = {target.getColorMode(), source.getColorMode(), 0, 0};
    const uint32_t size = modelPixelSize(copy.target), sourceSize = modelPixelSize(copy.source);
    for (uint64_t y = 0; y < static_cast<uint64_t>(target.getHeight()); ++y) {
        for (uint64_t x = 0; x < static_cast<uint64_t>(target.getWidth()) && size != 0; ++x) {
            uint8_t* pixel = expected.data() + y * target.getStride() + x * size;
            const uint8_t* from = source.getPixels() + y * source.getStride() + x * sourceSize;
            const ModelColor taken = copy.sourceColor(modelLoad(copy.source, from));
            const ModelColor kept = modelDecode(copy.target, modelLoad(copy.target, pixel));
            modelStore(copy.target, pixel, modelEncode(copy.target, mixed(flags, taken, kept)));
        }
    }
    target.copyChannels(source, flags.alpha(), flags.red(), flags.green(), flags.blue());
    EXPECT_TRUE(same_pixels(expected, pixelBuffer(target), layout_of(target)))
        << modeName(copy.source) << " into " << modeName(copy.target) << ", flags " << flags.bits;
}

// Stored rows and columns correspond, for any rotations and clips.
TEST(CopyChannels, FollowsTheModelForAllFlagsAndPairsOfModes) {
    test_rng random(181);
    for (const Mode targetMode : kAllModes) {
        for (const Mode sourceMode : kAllModes) {
            for (uint32_t flags = 0; flags < 16; ++flags) {
                TrackedBuffers buffers;
                DsSurface target = makeSurface(7, 5, targetMode, 8, random() % 2 * 180, 3);
                fillWithNoise(target, random());
                target.setClip(DsRect(1, 1, 2, 2));
                const int32_t more = static_cast<int32_t>(random() % 3);
                TightSurface source(7 + more, 5 + more, sourceMode, kRotations[flags % 4],
                                    random());
                source.surface.setClip(DsRect(0, 0, 1, 1));
                expectChannelsCopied(target, source.surface, {flags});
            }
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST(CopyChannels, PairsEveryTwoByteValueWithAnother) {
    for (const Mode targetMode : kTwoByteModes) {
        for (const Mode sourceMode : kTwoByteModes) {
            byte_vector file = makeFileHeader(0, targetMode, 256, 256, 512);
            append(file, allStoredValues(targetMode));
            byte_vector sourceFile = makeFileHeader(0, sourceMode, 256, 256, 512);
            append(sourceFile,
                   makePixels(sourceMode, 65536, [](uint32_t i) { return i * 40503U; }));
            DsSurface target(file.data());
            const DsSurface source(sourceFile.data());
            expectChannelsCopied(target, source, {0});
            expectChannelsCopied(target, source, {5});
            expectChannelsCopied(target, source, {15});
        }
    }
}

TEST(CopyChannels, CopiesOneChannelAtATime) {
    byte_vector file = makeFileHeader(0, Mode::ARGB8888, 1, 1, 4);
    append(file, {1, 2, 3, 4});
    byte_vector sourceFile = makeFileHeader(0, Mode::ARGB8888, 1, 1, 4);
    append(sourceFile, {11, 12, 13, 14});
    DsSurface target(file.data());
    const DsSurface source(sourceFile.data());
    target.copyChannels(source, true, false, false, false);
    EXPECT_EQ((byte_vector{1, 2, 3, 14}), slice(file, 20, 4));
    target.copyChannels(source, false, true, false, false);
    EXPECT_EQ((byte_vector{1, 2, 13, 14}), slice(file, 20, 4));
    target.copyChannels(source, false, false, true, false);
    EXPECT_EQ((byte_vector{1, 12, 13, 14}), slice(file, 20, 4));
    target.copyChannels(source, false, false, false, true);
    EXPECT_EQ((byte_vector{11, 12, 13, 14}), slice(file, 20, 4));
}

TEST(CopyChannels, ChangesArgb1555PixelsWithNoFlagSet) {
    byte_vector file = makeFileHeader(0, Mode::ARGB1555, 1, 1, 2);
    append(file, {0x1F, 0x80});
    DsSurface surface(file.data());
    surface.copyChannels(surface, false, false, false, false);
    EXPECT_EQ(2100U, modelLoad(Mode::ARGB1555, &file[20]));
}

TEST(CopyChannels, OfASurfaceToItselfEncodesItAgain) {
    test_rng random(182);
    for (const Mode mode : kAllModes) {
        TrackedBuffers buffers;
        DsSurface surface = makeSurface(9, 4, mode, 4);
        fillWithNoise(surface, random());
        expectChannelsCopied(surface, surface, {random() % 16});
    }
}

TEST(CopyChannels, ReadsModesWithoutPixelsAsZeros) {
    byte_vector file = makeFileHeader(0, Mode::ARGB8888, 1, 1, 4);
    append(file, {1, 2, 3, 4});
    DsSurface surface(file.data());
    const TightSurface source(1, 1, Mode{10}, 0, 1);
    surface.copyChannels(source.surface, true, false, true, false);
    EXPECT_EQ((byte_vector{1, 0, 3, 0}), slice(file, 20, 4));
}

} // namespace
