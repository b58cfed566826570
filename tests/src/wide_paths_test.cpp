// The arithmetic that the wide loops rely on, for every number that it can meet, and the switches
// that choose among the loops. That they give what the plain loops give is shown with the kernels.
#include "src/fast_paths.h"
#include "src/pixel_kernels.h"
#include "src/wide_block.h"
#include "src/wide_loops.h"
#include "tests/src/fast_path_choices.h"
#include "tests/src/pixel_model.h"
#include "tests/src/same_bytes.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cstdint>

namespace {

using Mode = DsColorMode;

struct ModePair {
    Mode target, source;
};

constexpr ModePair kConvertPairs[] = {{Mode::ARGB8888, Mode::ARGB8888},
                                      {Mode::ARGB8888, Mode::RGB888},
                                      {Mode::ARGB8888, Mode::RGB565},
                                      {Mode::ARGB8888, Mode::I8},
                                      {Mode::ARGB8888, Mode::A8}};

constexpr ModePair kBlendPairs[] = {{Mode::ARGB8888, Mode::ARGB8888},
                                    {Mode::RGB888, Mode::ARGB8888},
                                    {Mode::RGB565, Mode::ARGB8888},
                                    {Mode::ARGB8888, Mode::A8}};

// Runs a wide loop on `count` pixels and expects it to leave alone whatever it did not count.
void expectOnlyCountedPixels(WideLine line, const ModePair& pair, uint32_t count) {
    const byte_vector source = make_bytes(data_kind::noise, count * plainPixelSize(pair.source), 1);
    const byte_vector before =
        make_bytes(data_kind::noise, count * plainPixelSize(pair.target) + 64, 2);
    byte_vector target = before;
    const uint32_t done = line(target.data(), source.data(), count, sourceRule(0, 0x80C0FFEE));
    EXPECT_LE(done, count);
    EXPECT_LT(count - done, 8U);
    const size_t written = done * plainPixelSize(pair.target);
    EXPECT_TRUE(
        sameBytes(slice(before, written, before.size()), slice(target, written, target.size())));
}

using Block = PixelBlock<FourLanes>;

TEST(WideArithmetic, DividesBy65025WithShifts) {
    for (uint32_t n = 0; n <= 255 * 255 * 255; n += 4) {
        Block::Words quotients = {n, n + 1, n + 2, n + 3};
        Block::divideBy65025(quotients);
        for (uint32_t lane = 0; lane < 4; ++lane) {
            ASSERT_EQ((n + lane) / 65025, quotients[lane]) << n + lane;
        }
    }
}

TEST(WideArithmetic, DividesBy255WithShifts) {
    for (uint32_t n = 0; n <= 255 * 255; ++n) {
        Block::Halves quotients = {static_cast<uint16_t>(n)};
        Block::divideBy255(quotients);
        ASSERT_EQ(n / 255, quotients[0]) << n;
    }
}

// Float arithmetic would follow it.
TEST(WideLoops, DoNotDependOnTheRoundingModeOfFloats) {
    const byte_vector source = make_bytes(data_kind::noise, 4096, 1);
    const byte_vector before = make_bytes(data_kind::noise, 4096, 2);
    byte_vector expected = before;
    blendPixels(expected.data(), 1024, Mode::ARGB8888, source.data(), 1024, Mode::ARGB8888, 1024, 1,
                0, 0);
    for (const int mode : {FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
        byte_vector target = before;
        std::fesetround(mode);
        blendPixels(target.data(), 1024, Mode::ARGB8888, source.data(), 1024, Mode::ARGB8888, 1024,
                    1, 0, 0);
        std::fesetround(FE_TONEAREST);
        EXPECT_TRUE(sameBytes(expected, target));
    }
}

// The formula of the plain rule shrinks where the target is opaque.
TEST(WideArithmetic, NeedsOnlyOneDivisionBy255OnOpaquePixels) {
    for (uint32_t s = 0; s < 256; ++s) {
        for (uint32_t cd = 0; cd < 256; ++cd) {
            for (const uint32_t cs : {0U, 1U, 100U, 254U, 255U}) {
                ASSERT_EQ((cd * 255 * (255 - s) + cs * s * 255) / 65025,
                          (cd * (255 - s) + cs * s) / 255);
            }
        }
    }
}

TEST(FastPaths, AreLeftOutOneByOne) {
    const bool has256 = mayTakeFastPath(DsFastPath::Wide256);
    for (uint32_t mask = 0; mask <= 3; ++mask) {
        const WithoutFastPaths without(mask);
        EXPECT_EQ((mask & 1) == 0, mayTakeFastPath(DsFastPath::Wide128));
        EXPECT_EQ((mask & 2) == 0 && has256, mayTakeFastPath(DsFastPath::Wide256));
    }
    EXPECT_TRUE(mayTakeFastPath(DsFastPath::Wide128));
    EXPECT_EQ(has256, mayTakeFastPath(DsFastPath::Wide256));
}

TEST(WideLoops, StandBesideThePairsThatDrawingUsesMost) {
    for (const ModePair& pair : kConvertPairs) {
        EXPECT_NE(nullptr, wideConvertLine(pair.target, pair.source));
    }
    for (const ModePair& pair : kBlendPairs) {
        EXPECT_NE(nullptr, wideBlendLine(pair.target, pair.source));
    }
}

TEST(WideLoops, AreNotTakenWhenAllAreLeftOut) {
    const WithoutFastPaths without(3);
    for (const Mode target : kAllModes) {
        for (const Mode source : kAllModes) {
            EXPECT_EQ(nullptr, wideConvertLine(target, source));
            EXPECT_EQ(nullptr, wideBlendLine(target, source));
        }
    }
}

TEST(WideLoops, LeaveLessThanABlockForThePlainLoop) {
    for (const uint32_t mask : {0U, 2U}) {
        const WithoutFastPaths without(mask);
        for (uint32_t count = 0; count <= 40; ++count) {
            for (const ModePair& pair : kConvertPairs) {
                expectOnlyCountedPixels(wideConvertLine(pair.target, pair.source), pair, count);
            }
            for (const ModePair& pair : kBlendPairs) {
                expectOnlyCountedPixels(wideBlendLine(pair.target, pair.source), pair, count);
            }
        }
    }
}

} // namespace
