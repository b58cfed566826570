// Blending: every target level, target alpha, source level and source alpha, 2^32 combinations, in each of the three
// color channels, on every backend, against the formula of the model.
//
// A SIMD row chooses its formula for a whole register. Registers of mixed alphas use the general formula: they have all
// 2^32 combinations. There are shortcuts for opaque targets, and for sources that are opaque or clear: they have all
// combinations that they can get. The source is an ARGB8888 pixel, and a mask (A8) that paints the same color.
#include "src/pixel_kernels.h"
#include "tests/src/pixel_model.h"
#include "tests/support/each_backend.h"
#include "tests/worlds/world.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Mode = DsColorMode;

constexpr uint32_t kLevels = 256;
constexpr uint32_t kRowPixels = kLevels * kLevels;

// One combination.
struct Blend {
    uint32_t targetLevel, targetAlpha, sourceLevel, sourceAlpha;
};

// The combination of each pixel. All pixels of a row have the same source level, which a mask needs.
struct Neighborhood {
    const char* name;
    uint32_t rows;
    Blend (*at)(uint32_t row, uint32_t column);
};

void PrintTo(const Neighborhood& neighborhood, std::ostream* stream) {
    *stream << neighborhood.name;
}

constexpr Neighborhood kNeighborhoods[] = {
    // Neighbors differ in both alphas: no shortcut.
    {"mixed alphas", kLevels* kLevels,
     [](uint32_t row, uint32_t column) {
         return Blend{row % kLevels, (column / kLevels + column) % kLevels, row / kLevels,
                      column % kLevels};
     }},
    // Runs of 256 pixels with the same target alpha, under sources of alpha 0 or 255.
    {"clear and opaque sources", kLevels * 2,
     [](uint32_t row, uint32_t column) {
         return Blend{column % kLevels, column / kLevels, row / 2, row % 2 * (kLevels - 1)};
     }},
    // Opaque targets under sources of mixed alphas.
    {"opaque targets", kLevels, [](uint32_t row, uint32_t column) {
         return Blend{column / kLevels, kLevels - 1, row, column % kLevels};
     }}};

// The three channels have different levels, so that an exchange of channels changes the result. Each of them takes
// every level.
ModelColor colorOf(uint32_t level, uint32_t alpha) {
    return {alpha, level, (level + 85) % kLevels, (level + 170) % kLevels};
}

uint32_t pixelOf(const ModelColor& color) {
    return modelEncode(Mode::ARGB8888, color);
}

// A row of combinations, and the pixels that the model expects.
class BlendRow {
public:
    BlendRow()
        : mBefore(kRowPixels)
        , mSource(kRowPixels)
        , mExpected(kRowPixels)
        , mTarget(kRowPixels)
        , mMask(kRowPixels) {}

    void make(const Neighborhood& neighborhood, uint32_t row) {
        for (uint32_t i = 0; i < kRowPixels; ++i) {
            const Blend blend = neighborhood.at(row, i);
            const ModelColor below = colorOf(blend.targetLevel, blend.targetAlpha);
            const ModelColor above = colorOf(blend.sourceLevel, blend.sourceAlpha);
            mBefore[i] = pixelOf(below);
            mSource[i] = pixelOf(above);
            mMask[i] = static_cast<uint8_t>(blend.sourceAlpha);
            mExpected[i] = pixelOf(modelOver(below, above));
        }
        mPaint = modelWord(colorOf(neighborhood.at(row, 0).sourceLevel, 0));
    }

    testing::AssertionResult isBlendedFromPixels(const Neighborhood& neighborhood, uint32_t row) {
        return isBlended(neighborhood, row, Mode::ARGB8888, mSource.data());
    }
    testing::AssertionResult isBlendedFromMask(const Neighborhood& neighborhood, uint32_t row) {
        return isBlended(neighborhood, row, Mode::A8, mMask.data());
    }

private:
    testing::AssertionResult isBlended(const Neighborhood& neighborhood, uint32_t row, Mode mode,
                                       const void* source) {
        mTarget = mBefore;
        blendPixels(reinterpret_cast<uint8_t*>(mTarget.data()), kRowPixels, Mode::ARGB8888,
                    static_cast<const uint8_t*>(source), kRowPixels, mode, kRowPixels, 1, 0,
                    mPaint);
        if (std::memcmp(mTarget.data(), mExpected.data(), kRowPixels * sizeof mTarget[0]) == 0) {
            return testing::AssertionSuccess();
        }
        uint32_t column = 0;
        while (mTarget[column] == mExpected[column]) {
            ++column;
        }
        const Blend blend = neighborhood.at(row, column);
        std::ostringstream text; // an AssertionResult does not keep std::hex
        text << modeName(mode) << " over ARGB8888, " << neighborhood.name << ", row " << row
             << ", column " << column << std::hex << ": target level 0x" << blend.targetLevel
             << ", alpha 0x" << blend.targetAlpha << ", source level 0x" << blend.sourceLevel
             << ", alpha 0x" << blend.sourceAlpha << ": expected pixel 0x" << mExpected[column]
             << ", got 0x" << mTarget[column];
        return testing::AssertionFailure() << text.str();
    }

    std::vector<uint32_t> mBefore, mSource, mExpected, mTarget;
    std::vector<uint8_t> mMask;
    uint32_t mPaint = 0;
};

class BlendWorld : public testing::TestWithParam<Neighborhood> {};

INSTANTIATE_TEST_SUITE_P(EveryNeighborhood, BlendWorld, testing::ValuesIn(kNeighborhoods),
                         [](const auto& test) {
                             std::string name = test.param.name;
                             for (char& letter : name) {
                                 letter = letter == ' ' ? '_' : letter;
                             }
                             return name;
                         });

TEST_P(BlendWorld, EqualsTheModelForEveryLevelAndAlpha) {
    World world(std::string("blend, ") + GetParam().name);
    BlendRow row;
    for (uint32_t number = 0; number < GetParam().rows; ++number) { // a unit is a row
        if (!world.includesNext()) {
            continue;
        }
        row.make(GetParam(), number);
        forEachBackend([&] {
            ASSERT_TRUE(row.isBlendedFromPixels(GetParam(), number));
            ASSERT_TRUE(row.isBlendedFromMask(GetParam(), number));
            world.count(2 * kRowPixels);
        });
        if (HasFailure()) {
            return;
        }
    }
}

} // namespace
