// Painting through coverage: both functions in every mode compared with the model, pixel by pixel in order, on
// each backend, also with coverage that overlaps the painted bytes.
#include "src/span_fill.h"
#include "tests/src/copy_case.h"
#include "tests/src/pixel_model.h"
#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <sys/mman.h>

namespace {

using Mode = DsColorMode;

struct FillState {
    Mode mode;
    uint32_t color, bytesPerPixel;
    bool operator==(const FillState&) const = default;
};

FillState fillState() {
    return {gBlendColorMode, gBlendColor, gBlendBytesPerPixel};
}

// Read before any test can set it.
const FillState kStateAtStart = fillState();

constexpr size_t kMargin = 24;
constexpr uint32_t kMaxDistance = 64; // in bytes; the limit for wrapping products in these tests

// One call. Painted pixels and coverage are in one buffer of bytes.
struct SpanCase {
    byte_vector buffer;
    size_t destination, coverage;
    uint32_t count;
    std::optional<uint32_t> step; // none for adjacent pixels
};

uint32_t distanceOf(const SpanCase& span) {
    return span.step.value_or(1) * gBlendBytesPerPixel;
}

void paint(const SpanCase& span, byte_vector& buffer) {
    uint8_t* destination = buffer.data() + span.destination;
    const uint8_t* coverage = buffer.data() + span.coverage;
    if (span.step) {
        blendSpanStrided(destination, *span.step, coverage, span.count);
    } else {
        blendSpan(destination, coverage, span.count);
    }
}

void paintModel(const SpanCase& span, byte_vector& buffer) {
    size_t pixel = span.destination;
    for (uint32_t i = 0; i < span.count && modelPixelSize(gBlendColorMode) != 0; ++i) {
        const uint32_t stored = modelLoad(gBlendColorMode, &buffer[pixel]);
        modelStore(gBlendColorMode, &buffer[pixel],
                   modelPainted(gBlendColorMode, stored, buffer[span.coverage + i], gBlendColor));
        pixel += distanceOf(span);
    }
}

void expectPaintingOfModel(const SpanCase& span) {
    byte_vector expected = span.buffer;
    paintModel(span, expected);
    forEachBackend([&] {
        byte_vector buffer = span.buffer;
        paint(span, buffer);
        EXPECT_TRUE(same_bytes(expected, buffer))
            << modeName(gBlendColorMode) << ", color 0x" << std::hex << gBlendColor << std::dec
            << ", " << span.count << " pixels, " << distanceOf(span)
            << " bytes apart, painted from byte " << span.destination << " on, coverage from byte "
            << span.coverage << " on";
    });
}

// Random pixels, then random coverage, both with bytes around them. Some coverage is all 0 or 255.
SpanCase randomSpan(test_rng& random, uint32_t count, std::optional<uint32_t> step) {
    SpanCase span = {{}, random_between(random, 0, kMargin), 0, count, step};
    const size_t reach = kMargin + size_t{count} * distanceOf(span) + kMargin;
    span.buffer = make_bytes(data_kind::noise, reach, random());
    span.coverage = reach;
    append(span.buffer,
           make_bytes(random() % 4 == 0 ? data_kind::runs : data_kind::noise, count, random()));
    return span;
}

// A random color. Every second one is opaque.
uint32_t randomColor(test_rng& random) {
    return random() % 2 == 0 ? random() : random() | 255U;
}

void expectSpansOfAllModes(std::optional<uint32_t> step, uint32_t seed) {
    test_rng random(seed);
    for (const Mode mode : kAllModes) {
        for (uint32_t count = 0; count <= 70; ++count) {
            setBlendColor(mode, randomColor(random));
            expectPaintingOfModel(randomSpan(random, count, step));
        }
    }
}

// Paints one pixel.
uint32_t painted(Mode mode, uint32_t color, uint32_t stored, uint8_t coverage) {
    uint8_t pixel[4] = {};
    modelStore(mode, pixel, stored);
    setBlendColor(mode, color);
    blendSpan(pixel, &coverage, 1);
    return modelLoad(mode, pixel);
}

// Paints pixels through one coverage after the other, 256 per row.
void expectPaintedBuffer(const byte_vector& pixels, const byte_vector& coverage) {
    SpanCase span = {pixels, 0, pixels.size(), static_cast<uint32_t>(coverage.size()), {}};
    append(span.buffer, coverage);
    expectPaintingOfModel(span);
}

byte_vector repeated(uint8_t byte, size_t count) {
    return byte_vector(count, byte);
}

TEST(FillStateOfSpans, IsZeroAtFirst) {
    EXPECT_EQ((FillState{Mode::ARGB8888, 0, 0}), kStateAtStart);
}

TEST(FillStateOfSpans, IsSetTogether) {
    for (const Mode mode : kAllModes) {
        EXPECT_EQ(modelPixelSize(mode), setBlendColor(mode, 0x12345678)) << modeName(mode);
        EXPECT_EQ((FillState{mode, 0x12345678, modelPixelSize(mode)}), fillState())
            << modeName(mode);
    }
}

TEST(FillStateOfSpans, DoesNotChangeDuringPainting) {
    test_rng random(51);
    for (const Mode mode : kAllModes) {
        setBlendColor(mode, 0x40302010);
        SpanCase span = randomSpan(random, 40, 2);
        paint(span, span.buffer);
        EXPECT_EQ((FillState{mode, 0x40302010, modelPixelSize(mode)}), fillState())
            << modeName(mode);
    }
}

// Nothing was set, so every coverage byte paints the first pixel, and each multiplies it again.
TEST(FillStateOfSpans, UnsetPaintsTheFirstPixelRepeatedly) {
    test_rng random(52);
    for (uint32_t count = 0; count <= 70; ++count) {
        setBlendColor(Mode::ARGB8888, 0);
        gBlendBytesPerPixel = 0;
        expectPaintingOfModel(randomSpan(random, count, {}));
        expectPaintingOfModel(randomSpan(random, count, 3));
    }
}

TEST(FillStateOfSpans, SetsTheDistanceByItsBytesPerPixel) {
    test_rng random(53);
    for (const Mode mode : kAllModes) {
        for (uint32_t bytes = 0; bytes <= 6; ++bytes) {
            setBlendColor(mode, randomColor(random));
            gBlendBytesPerPixel = bytes;
            expectPaintingOfModel(randomSpan(random, 37, {}));
            expectPaintingOfModel(randomSpan(random, 37, 1));
        }
    }
}

TEST(BlendSpan, FollowsTheModelInEveryMode) {
    for (uint32_t round = 0; round < 4; ++round) {
        expectSpansOfAllModes({}, 60 + round);
    }
}

TEST(BlendSpanStrided, FollowsTheModelInEveryModeAtEveryStep) {
    for (uint32_t step = 0; step <= 5; ++step) {
        expectSpansOfAllModes(step, 70 + step);
    }
}

// Steps whose product with the pixel size exceeds 2^32.
TEST(BlendSpanStrided, WrapsTheDistanceAt32Bits) {
    constexpr uint32_t kSteps[] = {0x40000000, 0x40000001, 0x80000000, 0x80000003, 0xC0000002,
                                   0x55555556, 0x55555557, 0xAAAAAAAB, 0xAAAAAAAC, 0xAAAAAAB0};
    test_rng random(54);
    for (const Mode mode : kAllModes) {
        for (const uint32_t step : kSteps) {
            const uint32_t size = setBlendColor(mode, randomColor(random));
            for (uint32_t count = 0; count <= 70 && step * size <= kMaxDistance; ++count) {
                expectPaintingOfModel(randomSpan(random, count, step));
            }
        }
    }
}

// The largest distances go forwards, not backwards, and only up to the last pixel.
TEST(BlendSpanStrided, MovesForwardsByNearlyFourGigabytes) {
    constexpr uint64_t kDistance = 0xFFFFFFFC;
    void* memory = mmap(nullptr, kDistance + 4096, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    auto* pixels = static_cast<uint8_t*>(memory);
    const uint8_t coverage[] = {255, 128};
    setBlendColor(Mode::ARGB8888, 0x000000FF);
    blendSpanStrided(pixels, 0x3FFFFFFF, coverage, 2);
    EXPECT_EQ(0xFF000000U, modelLoad(Mode::ARGB8888, pixels));
    EXPECT_EQ(0x80000000U, modelLoad(Mode::ARGB8888, pixels + kDistance));
    munmap(memory, kDistance + 4096);
}

TEST(BlendSpanStrided, AccessesOnePixelForACountOfOneAtAnyStep) {
    test_rng random(55);
    for (const Mode mode : kAllModes) {
        for (const uint32_t step : {0x3FFFFFFFU, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            setBlendColor(mode, randomColor(random));
            SpanCase span = {make_bytes(data_kind::noise, 64, random()), 20, 50, 1, step};
            expectPaintingOfModel(span);
        }
    }
}

TEST(BlendSpan, WritesNothingForACountOfZero) {
    for (const Mode mode : kAllModes) {
        setBlendColor(mode, 0xFFFFFFFF);
        uint8_t byte = 77;
        blendSpan(&byte, nullptr, 0);
        blendSpanStrided(&byte, 5, nullptr, 0);
        EXPECT_EQ(77, byte) << modeName(mode);
    }
}

TEST(BlendSpan, WritesNothingInModesWithoutPixels) {
    for (const Mode mode : {Mode::Reserved6, Mode::Reserved8, Mode{10}, Mode{0xFFFFFFFF}}) {
        setBlendColor(mode, 0xFFFFFFFF);
        byte_vector buffer(200, 9);
        const byte_vector coverage(70, 255);
        blendSpan(buffer.data() + 60, coverage.data(), 70);
        blendSpanStrided(buffer.data() + 60, 1, coverage.data(), 70);
        EXPECT_TRUE(same_bytes(byte_vector(200, 9), buffer)) << modeName(mode);
    }
}

// The coverage ends with its buffer, and so do the pixels.
TEST(BlendSpan, AccessesNothingAfterItsPixelsAndItsCoverage) {
    for (const Mode mode : kAllModes) {
        for (uint32_t count = 1; count <= 70; ++count) {
            const uint32_t size = setBlendColor(mode, 0xABCDEFFF);
            byte_vector adjacent((count * size), 1);
            byte_vector apart(((count - 1) * 3 + 1) * size, 1);
            const byte_vector coverage(count, 255);
            forEachBackend([&] {
                blendSpan(adjacent.data(), coverage.data(), count);
                blendSpanStrided(apart.data(), 3, coverage.data(), count);
            });
            if (size != 0) {
                EXPECT_EQ(slice(adjacent, (count - 1) * size, size),
                          slice(apart, (count - 1) * 3 * size, size))
                    << modeName(mode) << ", the last of " << count << " pixels";
            }
        }
    }
}

// A painted pixel must change later coverage that it overlaps.
void expectPaintingOverItsCoverage(Mode mode, std::optional<uint32_t> step, test_rng& random) {
    const uint32_t size = setBlendColor(mode, randomColor(random));
    for (const uint32_t count : {2U, 15U, 16U, 17U, 33U, 48U}) {
        const uint32_t reach = (count - 1) * step.value_or(1) * size + size;
        const byte_vector buffer =
            make_bytes(data_kind::noise, 2 * (count + 4) + reach + kMargin, random());
        const size_t destination = count + 4;
        for (size_t coverage = 0; coverage < destination + reach + 4; ++coverage) {
            expectPaintingOfModel({buffer, destination, coverage, count, step});
        }
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

TEST(BlendSpan, ReadsEachCoverageByteJustBeforeItsPixelIsWritten) {
    test_rng random(56);
    for (const Mode mode : kAllModes) {
        expectPaintingOverItsCoverage(mode, {}, random);
    }
}

TEST(BlendSpanStrided, ReadsEachCoverageByteJustBeforeItsPixelIsWritten) {
    test_rng random(57);
    for (const Mode mode : kAllModes) {
        for (uint32_t step = 0; step <= 3; ++step) {
            expectPaintingOverItsCoverage(mode, step, random);
        }
    }
}

TEST(BlendSpan, ScalesEveryCoverageByEveryColorAlpha) {
    const byte_vector coverage = makePixels(Mode::A8, 256, [](uint32_t i) { return i; });
    for (const Mode mode : kAllModes) {
        for (uint32_t alpha = 0; alpha < 256; ++alpha) {
            setBlendColor(mode, 0xFF806000 | alpha);
            expectPaintedBuffer(
                make_bytes(data_kind::noise, 256 * size_t{gBlendBytesPerPixel}, alpha), coverage);
        }
    }
}

TEST(BlendSpan, PaintsEveryStoredValueOfTheSmallModes) {
    for (const Mode mode :
         {Mode::RGB565, Mode::ARGB1555, Mode::ARGB4444, Mode::AI88, Mode::I8, Mode::A8}) {
        const byte_vector values = allStoredValues(mode);
        const size_t count = values.size() / modelPixelSize(mode);
        constexpr uint8_t kCoverages[] = {0, 1, 100, 128, 254, 255};
        for (const uint8_t coverage : kCoverages) {
            setBlendColor(mode, 0xC08040FF);
            expectPaintedBuffer(values, repeated(coverage, count));
            setBlendColor(mode, 0x0A64FF9B);
            expectPaintedBuffer(values, repeated(coverage, count));
        }
    }
}

TEST(BlendSpan, PaintsEveryByteThroughEveryCoverage) {
    const byte_vector columns = makePixels(Mode::A8, 65536, [](uint32_t i) { return i; });
    const byte_vector rows = makePixels(Mode::A8, 65536, [](uint32_t i) { return i / 256; });
    for (const Mode mode : {Mode::I8, Mode::A8}) {
        for (const uint32_t color : {0x000000FFU, 0xFFFFFFFFU, 0x80808080U, 0x6400FF9BU}) {
            setBlendColor(mode, color);
            expectPaintedBuffer(columns, rows);
        }
    }
}

TEST(BlendSpan, LeavesOpaquePixelsUnderCoverageZero) {
    const uint32_t color = modelWord({255, 10, 20, 30});
    EXPECT_EQ(0xFF123456U, painted(Mode::ARGB8888, color, 0xFF123456, 0));
    EXPECT_EQ(0x123456U, painted(Mode::RGB888, color, 0x123456, 0));
    EXPECT_EQ(0xCAFEU, painted(Mode::RGB565, color, 0xCAFE, 0));
    EXPECT_EQ(0xFACEU, painted(Mode::ARGB4444, color, 0xFACE, 0));
    EXPECT_EQ(0x42U, painted(Mode::I8, color, 0x42, 0));
    EXPECT_EQ(0x42U, painted(Mode::A8, color, 0x42, 0));
}

// Coverage 0 is not "no change".
TEST(BlendSpan, MultipliesTranslucentPixelsUnderCoverageZero) {
    EXPECT_EQ(0x80646464U, painted(Mode::ARGB8888, 0xFFFFFFFF, 0x80C8C8C8, 0));
    EXPECT_EQ(0x8064U, painted(Mode::AI88, 0xFFFFFFFF, 0x80C8, 0));
}

TEST(BlendSpan, ZeroesArgb1555PixelsUnderCoverageZero) {
    EXPECT_EQ(0U, painted(Mode::ARGB1555, 0xFFFFFFFF, 0xFFFF, 0));
}

TEST(BlendSpan, WritesTheColorItselfUnderFullCoverage) {
    EXPECT_EQ(65535U, painted(Mode::RGB565, 0xFFFFFFFF, 0x1234, 255));
    EXPECT_EQ(0xFF0A141EU, painted(Mode::ARGB8888, modelWord({255, 10, 20, 30}), 0x80402010, 255));
}

TEST(BlendSpan, MultipliesTheColorByCoverageOverTransparentBlack) {
    EXPECT_EQ(0x80800000U, painted(Mode::ARGB8888, modelWord({255, 255, 0, 0}), 0, 128));
}

TEST(BlendSpan, AddsUpAlphaInA8) {
    EXPECT_EQ(128U, painted(Mode::A8, 128, 0, 255));
    EXPECT_EQ(191U, painted(Mode::A8, 128, 128, 255));
}

TEST(BlendSpan, SpillsArgb1555ColorsAndIgnoresThePixel) {
    for (const uint32_t stored : {0U, 0x1234U, 0xFFFFU}) {
        EXPECT_EQ(32768U, painted(Mode::ARGB1555, 255, stored, 255));
        EXPECT_EQ(24244U, painted(Mode::ARGB1555, 0xFFFFFFFF, stored, 255));
    }
}

TEST(BlendSpan, BlendsAnIndexAsGrayWithTheColorsBlue) {
    EXPECT_EQ(100U, painted(Mode::I8, modelWord({255, 7, 9, 100}), 20, 255));
    EXPECT_EQ((20U * 127 + 100 * 128) / 255,
              painted(Mode::I8, modelWord({255, 7, 9, 100}), 20, 128));
}

} // namespace
