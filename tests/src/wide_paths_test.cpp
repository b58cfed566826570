// The arithmetic that the wide loops rely on, for every number that it can meet, and the switches
// that choose among the loops. That they give what the plain loops give is shown with the kernels.
#include "src/fast_paths.h"
#include "src/pixel_kernels.h"
#include "src/processor.h"
#include "src/wide_block.h"
#include "src/wide_fill.h"
#include "src/wide_loops.h"
#include "tests/src/fast_path_choices.h"
#include "tests/src/pixel_model.h"
#include "tests/src/same_bytes.h"
#include "tests/support/sanitized.h"

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
                                      {Mode::ARGB8888, Mode::ARGB1555},
                                      {Mode::ARGB8888, Mode::ARGB4444},
                                      {Mode::ARGB8888, Mode::I8},
                                      {Mode::ARGB8888, Mode::AI88},
                                      {Mode::ARGB8888, Mode::A8},
                                      {Mode::RGB888, Mode::ARGB8888},
                                      {Mode::RGB565, Mode::ARGB8888},
                                      {Mode::ARGB1555, Mode::ARGB8888},
                                      {Mode::ARGB4444, Mode::ARGB8888},
                                      {Mode::I8, Mode::ARGB8888},
                                      {Mode::AI88, Mode::ARGB8888},
                                      {Mode::A8, Mode::ARGB8888},
                                      {Mode::RGB888, Mode::RGB888},
                                      {Mode::RGB565, Mode::RGB565},
                                      {Mode::ARGB4444, Mode::ARGB4444},
                                      {Mode::I8, Mode::I8},
                                      {Mode::AI88, Mode::AI88},
                                      {Mode::A8, Mode::A8}};

constexpr ModePair kBlendPairs[] = {
    {Mode::ARGB8888, Mode::ARGB8888}, {Mode::ARGB8888, Mode::RGB888},
    {Mode::ARGB8888, Mode::RGB565},   {Mode::ARGB8888, Mode::ARGB4444},
    {Mode::ARGB8888, Mode::I8},       {Mode::ARGB8888, Mode::AI88},
    {Mode::ARGB8888, Mode::A8},       {Mode::RGB888, Mode::ARGB8888},
    {Mode::RGB888, Mode::A8},         {Mode::RGB565, Mode::ARGB8888},
    {Mode::RGB565, Mode::A8}};

// Runs a wide loop on `count` pixels and expects it to leave alone whatever it did not count, which
// is less than `most`.
void expectOnlyCountedPixels(WideLine line, const ModePair& pair, uint32_t count, uint32_t most) {
    const byte_vector source = make_bytes(data_kind::noise, count * plainPixelSize(pair.source), 1);
    const byte_vector before =
        make_bytes(data_kind::noise, count * plainPixelSize(pair.target) + 64, 2);
    byte_vector target = before;
    const uint32_t done =
        line(target.data(), source.data(), count, ds_detail::sourceRule(0, 0x80C0FFEE));
    EXPECT_LE(done, count);
    EXPECT_LT(count - done, most);
    const size_t written = done * plainPixelSize(pair.target);
    EXPECT_TRUE(
        sameBytes(slice(before, written, before.size()), slice(target, written, target.size())));
}

using Block = PixelBlock<FourLanes>;

TEST(WideArithmetic, DividesBy255ByAProduct) {
    const Constants<FourLanes> constants;
    for (uint32_t n = 0; n <= 255 * 255; ++n) {
        Block::Halves quotients;
        Block::divideBy255(Block::Halves{} + static_cast<uint16_t>(n), quotients, constants);
        ASSERT_EQ(n / 255, quotients[0]) << n;
    }
}

// The first step of the division by 65025, for every product of two bytes and every byte.
TEST(WideArithmetic, DividesProductsOfThreeBytesBy255) {
    const Constants<FourLanes> constants;
    for (uint32_t p = 0; p <= 255 * 255; p += kSanitized ? 17 : 1) {
        for (uint16_t rest = 0; rest < 256; rest += 8) {
            const auto first = static_cast<uint16_t>(p);
            Block::Halves quotients;
            Block::weigh(Block::Halves{} + first, Block::Halves{0, 1, 2, 3, 4, 5, 6, 7} + rest,
                         quotients, constants);
            for (uint32_t lane = 0; lane < 8; ++lane) {
                ASSERT_EQ(p * (rest + lane) / 255, quotients[lane]) << p << " " << rest + lane;
            }
        }
    }
}

// Every channel of every alpha under every alpha of a source with these three colours.
TEST(WideArithmetic, DividesBy65025InSixteenBits) {
    constexpr uint32_t kBlue = 255, kGreen = 1, kRed = 100;
    const Constants<FourLanes> constants;
    for (uint32_t s = 0; s < 256; s += kSanitized ? 5 : 1) {
        SourceBlock<FourLanes> source;
        source.alpha = Block::Halves{} + static_cast<uint16_t>(s);
        source.blueRed = Block::Halves(Block::Words{} + (kRed << 16 | kBlue));
        source.greenAlpha = Block::Halves(Block::Words{} + (0x00FF0000U | kGreen));
        for (uint32_t i = 0; i < 65536; i += 4) {
            const uint32_t ad = i / 256;
            const Block::Words levels = Block::Words{0, 1, 2, 3} + i % 256;
            Block pixels = {levels * 0x010101U + (ad << 24)};
            pixels.composeOver(source, constants);
            for (uint32_t lane = 0; lane < 4; ++lane) {
                const auto channel = [&](uint32_t color) {
                    return (levels[lane] * ad * (255 - s) + color * s * 255) / 65025;
                };
                const uint32_t alpha = (ad * (255 - s) + 255 * s) / 255;
                ASSERT_EQ(alpha << 24 | channel(kRed) << 16 | channel(kGreen) << 8 | channel(kBlue),
                          pixels.words[lane])
                    << "level " << levels[lane] << ", alphas " << ad << " and " << s;
            }
        }
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

#if defined(__x86_64__)
TEST(Processor, HasWhatItAnswersByItself) {
    EXPECT_EQ(__builtin_cpu_supports("avx2") != 0, processorHasAvx2());
    EXPECT_EQ(__builtin_cpu_supports("pclmul") != 0, processorHasCarryLessMultiplication());
}
#endif

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
    EXPECT_EQ(nullptr, wideFill());
    for (const Mode target : kAllModes) {
        for (const Mode source : kAllModes) {
            EXPECT_EQ(nullptr, wideConvertLine(target, source));
            EXPECT_EQ(nullptr, wideBlendLine(target, source));
        }
    }
}

// Spans rely on it that no more than two pixels are left of what is blended.
TEST(WideLoops, LeaveLessThanABlockForThePlainLoop) {
    for (const uint32_t mask : {0U, 2U}) {
        const WithoutFastPaths without(mask);
        for (uint32_t count = 0; count <= 40; ++count) {
            for (const ModePair& pair : kConvertPairs) {
                expectOnlyCountedPixels(wideConvertLine(pair.target, pair.source), pair, count, 8);
            }
            for (const ModePair& pair : kBlendPairs) {
                expectOnlyCountedPixels(wideBlendLine(pair.target, pair.source), pair, count, 3);
            }
        }
    }
}

} // namespace
