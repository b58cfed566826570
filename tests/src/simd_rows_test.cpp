// The SIMD rows: their arithmetic for every possible number, their tails, and the list of backends. The tests of the
// kernels compare their results with the scalar rows.
#include "src/internal/pixel_backend.h"
#include "src/pixel_kernels.h"
#include "src/simd/cpu.h"
#include "tests/src/pixel_model.h"
#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"
#include "tests/support/sanitized.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#if defined(DS_HAS_AVX2_AND_SSE2)
#include <emmintrin.h>
#elif defined(DS_HAS_NEON)
#include <arm_neon.h>
#endif

using namespace ds_detail;

namespace {

using Mode = DsColorMode;

#if defined(DS_HAS_AVX2_AND_SSE2)
#include "src/simd/vec_sse2.h"
#define HAS_VECTORS
#elif defined(DS_HAS_NEON)
#include "src/simd/vec_neon.h"
#define HAS_VECTORS
#endif

#if defined(HAS_VECTORS)
#include "src/simd/pixel_rows.inl.h"

TEST(SimdArithmetic, DividesBy255ByAProduct) {
    const Constants constants;
    for (uint32_t n = 0; n <= 255 * 255; ++n) {
        ASSERT_EQ(n / 255, divideBy255(U16{} + static_cast<uint16_t>(n), constants)[0]) << n;
    }
}

// The first step of the division by 65025, for every product of two bytes and every byte.
TEST(SimdArithmetic, DividesProductsOfThreeBytesBy255) {
    const Constants constants;
    for (uint32_t p = 0; p <= 255 * 255; p += kSanitized ? 17 : 1) {
        for (uint16_t rest = 0; rest < 256; rest += 8) {
            const U16 quotients = scaleBy(U16{} + static_cast<uint16_t>(p),
                                          U16{0, 1, 2, 3, 4, 5, 6, 7} + rest, constants);
            for (uint32_t lane = 0; lane < 8; ++lane) {
                ASSERT_EQ(p * (rest + lane) / 255, quotients[lane]) << p << " " << rest + lane;
            }
        }
    }
}

// Every channel of every alpha under every alpha of a source with these three colors.
TEST(SimdArithmetic, DividesBy65025InSixteenBits) {
    constexpr uint32_t kBlue = 255, kGreen = 1, kRed = 100;
    const Constants constants;
    for (uint32_t s = 0; s < 256; s += kSanitized ? 5 : 1) {
        SourceBlock source;
        source.alpha = U16{} + static_cast<uint16_t>(s);
        source.blueRed = U16(U32{} + (kRed << 16 | kBlue));
        source.greenAlpha = U16(U32{} + (0x00FF0000U | kGreen));
        for (uint32_t i = 0; i < 65536; i += 4) {
            const uint32_t ad = i / 256;
            const U32 levels = U32{0, 1, 2, 3} + i % 256;
            const U32 words = composeOver(levels * 0x010101U + (ad << 24), source, constants);
            for (uint32_t lane = 0; lane < 4; ++lane) {
                const auto channel = [&](uint32_t color) {
                    return (levels[lane] * ad * (255 - s) + color * s * 255) / 65025;
                };
                const uint32_t alpha = (ad * (255 - s) + 255 * s) / 255;
                ASSERT_EQ(alpha << 24 | channel(kRed) << 16 | channel(kGreen) << 8 | channel(kBlue),
                          words[lane])
                    << "level " << levels[lane] << ", alphas " << ad << " and " << s;
            }
        }
    }
}
#endif

// Float arithmetic would depend on it.
TEST(SimdRows, DoNotDependOnTheRoundingModeOfFloats) {
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
        EXPECT_TRUE(same_pixels(expected, target, {1024, 1, 4096, 4})) << "rounding mode " << mode;
    }
}

// For an opaque target the scalar formula is simpler.
TEST(SimdArithmetic, NeedsOnlyOneDivisionBy255OnOpaquePixels) {
    for (uint32_t s = 0; s < 256; ++s) {
        for (uint32_t cd = 0; cd < 256; ++cd) {
            for (const uint32_t cs : {0U, 1U, 100U, 254U, 255U}) {
                ASSERT_EQ((cd * 255 * (255 - s) + cs * s * 255) / 65025,
                          (cd * (255 - s) + cs * s) / 255)
                    << "level " << cs << ", alpha " << s << ", over " << cd;
            }
        }
    }
}

#if defined(__x86_64__)
TEST(Processor, HasTheFeaturesThatItReports) {
    EXPECT_EQ(__builtin_cpu_supports("avx2") != 0, processorHasAvx2());
    EXPECT_EQ(__builtin_cpu_supports("pclmul") != 0, processorHasCarryLessMultiplication());
}
#endif

// ---- Backends

const char* activeName() {
    return backends()[activeBackend()].name;
}

TEST(Backends, AreInOrderOfPreference) {
    std::vector<std::string> names;
    for (const Backend& backend : backends()) {
        names.emplace_back(backend.name);
    }
#if defined(DS_HAS_AVX2_AND_SSE2)
    EXPECT_EQ((std::vector<std::string>{"avx2", "sse2", "scalar"}), names);
#elif defined(DS_HAS_NEON)
    EXPECT_EQ((std::vector<std::string>{"neon", "scalar"}), names);
#else
    EXPECT_EQ((std::vector<std::string>{"scalar"}), names);
#endif
}

TEST(Backends, AreSelectedByName) {
    const std::string before = activeName();
    for (const Backend& backend : backends()) {
        const WithBackend with(backend.name);
        EXPECT_EQ(backend.isSupported(), with.isSupported());
        EXPECT_EQ(backend.isSupported() ? backend.name : before, activeName());
    }
    EXPECT_EQ(before, activeName());
    EXPECT_FALSE(selectBackend("frobnicate"));
    EXPECT_EQ(before, activeName());
}

struct ModePair {
    Mode target, source;
};

std::string describe(const ModePair& pair) {
    return modeName(pair.source) + " to " + modeName(pair.target);
}

TEST(Backends, HaveNoRowsForModesWithoutPixels) {
    forEachBackend([] {
        for (const Mode source : kAllModes) {
            for (const Mode target : {Mode::Reserved6, Mode::Reserved8, Mode{10}}) {
                EXPECT_EQ(nullptr, activeConvertRow(target, source)) << describe({target, source});
                EXPECT_EQ(nullptr, activeBlendRow(target, source)) << describe({target, source});
            }
        }
    });
}

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

PixelRow rowOf(const ModePairTable<PixelRow>& rows, const ModePair& pair) {
    return rows.at(static_cast<uint32_t>(pair.target), static_cast<uint32_t>(pair.source));
}

TEST(SimdRows, ExistForThePairsThatDrawingUsesMost) {
    for (size_t i = 0; i < kBackendCount; ++i) {
        SCOPED_TRACE(backends()[i].name);
        for (const ModePair& pair : kConvertPairs) {
            EXPECT_NE(nullptr, rowOf(pixelRows()[i]->convert, pair)) << describe(pair);
        }
        for (const ModePair& pair : kBlendPairs) {
            EXPECT_NE(nullptr, rowOf(pixelRows()[i]->blend, pair)) << describe(pair);
        }
    }
}

// A row of `count` pixels equals the scalar row, and the bytes after it do not change.
void expectWholeRow(PixelRow row, PixelRow scalarRow, const ModePair& pair, uint32_t count) {
    const uint32_t size = modelPixelSize(pair.target);
    const byte_vector source = make_bytes(data_kind::noise, count * modelPixelSize(pair.source), 1);
    const byte_vector before = make_bytes(data_kind::noise, count * size + 64, 2);
    for (const uint32_t alphaMode : {0U, 2U}) {
        byte_vector expected = before;
        byte_vector target = before;
        scalarRow(expected.data(), source.data(), count, sourceRule(alphaMode, 0x80C0FFEE));
        row(target.data(), source.data(), count, sourceRule(alphaMode, 0x80C0FFEE));
        ASSERT_TRUE(same_pixels(expected, target, {count, 1, count * size, size}))
            << describe(pair) << ", alpha mode " << alphaMode;
    }
}

TEST(SimdRows, FinishRowsOfEveryLength) {
    const PixelRows& scalar = *pixelRows().back();
    forEachBackend([&] {
        for (uint32_t count = 0; count <= 40 && !HasFailure(); ++count) {
            for (const ModePair& pair : kConvertPairs) {
                expectWholeRow(activeConvertRow(pair.target, pair.source),
                               rowOf(scalar.convert, pair), pair, count);
            }
            for (const ModePair& pair : kBlendPairs) {
                expectWholeRow(activeBlendRow(pair.target, pair.source), rowOf(scalar.blend, pair),
                               pair, count);
            }
        }
    });
}

} // namespace
