// The fill kernel and the byte fill: every pixel size at every width, with bytes all around that must not
// change.
#include "src/pixel_kernels.h"
#include "tests/src/pixel_model.h"
#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

using Mode = DsColorMode;

constexpr size_t kGuard = 40;

struct Fill {
    Mode mode;
    uint32_t value, width, height, pitch;
    size_t start; // from 0 to kGuard
};

void expectFill(const Fill& fill) {
    const uint32_t size = modelPixelSize(fill.mode);
    const size_t rowBytes = size_t{fill.pitch} * size;
    const byte_vector before =
        make_bytes(data_kind::noise, kGuard + fill.height * rowBytes + kGuard, fill.width);
    byte_vector expected = before;
    for (uint32_t y = 0; y < fill.height; ++y) {
        for (uint32_t x = 0; x < fill.width; ++x) {
            modelStore(fill.mode, &expected[fill.start + y * rowBytes + size_t{x} * size],
                       fill.value);
        }
    }
    forEachBackend([&] {
        byte_vector buffer = before;
        fillPixels(buffer.data() + fill.start, fill.pitch, fill.width, fill.height, fill.mode,
                   fill.value);
        EXPECT_TRUE(
            same_pixels(expected, buffer, {fill.width, fill.height, rowBytes, size, fill.start}))
            << modeName(fill.mode) << ", " << fill.width << " x " << fill.height;
    });
}

TEST(FillPixels, WritesExactlyTheRectangleInEveryMode) {
    test_rng random(11);
    for (const Mode mode : kAllModes) {
        for (uint32_t width = 0; width <= 200; ++width) {
            const uint32_t padding = random() % 2 == 0 ? 0 : random_between(random, 1, 9);
            expectFill({mode, random(), width, random_between(random, 0, 3), width + padding,
                        random_between(random, 0, kGuard)});
        }
    }
}

TEST(FillPixels, StartsAtEveryAddress) {
    for (const Mode mode : kAllModes) {
        for (size_t start = 0; start < 32; ++start) {
            expectFill({mode, 0x89ABCDEF, 67, 2, 71, start});
        }
    }
}

TEST(FillPixels, RepeatsValuesOfEqualBytes) {
    for (const Mode mode : kAllModes) {
        for (uint32_t width = 1; width < 120; ++width) {
            expectFill({mode, 0x5A5A5A5A, width, 3, width + width % 2, 7});
        }
    }
}

TEST(FillPixels, RepeatsThreeBytesLeastSignificantFirst) {
    for (const uint32_t width : {1U, 15U, 16U, 17U}) {
        byte_vector pixels(width * 3);
        fillPixels(pixels.data(), width, width, 1, Mode::RGB888, 0xFFCCBBAA);
        for (size_t i = 0; i < pixels.size(); ++i) {
            EXPECT_EQ((byte_vector{170, 187, 204})[i % 3], pixels[i])
                << "byte " << i << " of " << width << " pixels";
        }
    }
}

TEST(FillPixels, UsesOnlyTheLowBytesOfTheValue) {
    byte_vector pixels(4);
    fillPixels(pixels.data(), 1, 1, 1, Mode::A8, 0x44332211);
    EXPECT_EQ((byte_vector{0x11, 0, 0, 0}), pixels);
    fillPixels(pixels.data(), 1, 1, 1, Mode::AI88, 0x44332211);
    EXPECT_EQ((byte_vector{0x11, 0x22, 0, 0}), pixels);
    fillPixels(pixels.data(), 1, 1, 1, Mode::ARGB8888, 0x44332211);
    EXPECT_EQ((byte_vector{0x11, 0x22, 0x33, 0x44}), pixels);
}

TEST(FillPixels, WritesNothingForAnEmptyRectangleOfAnyExtent) {
    for (const Mode mode : kAllModes) {
        uint8_t byte = 77;
        fillPixels(&byte, 5, 0, 0xFFFFFFFF, mode, 0);
        fillPixels(&byte, 5, 0xFFFFFFFF, 0, mode, 0);
        EXPECT_EQ(77, byte) << modeName(mode);
    }
}

TEST(FillPixels, WritesNothingForModesWithoutPixels) {
    for (const Mode mode : {Mode::Reserved6, Mode::Reserved8, Mode{10}, Mode{0xFFFFFFFF}}) {
        uint8_t byte = 77;
        fillPixels(&byte, 100, 100, 100, mode, 0);
        EXPECT_EQ(77, byte) << modeName(mode);
    }
}

TEST(FillBytes, WritesExactlyItsCount) {
    for (uint32_t count = 0; count <= 200; ++count) {
        byte_vector buffer = make_bytes(data_kind::noise, count + 2 * kGuard, count);
        byte_vector expected = buffer;
        const auto value = static_cast<uint8_t>(count * 37);
        const size_t start = count % kGuard;
        std::fill_n(expected.data() + start, count, value);
        fillBytes(buffer.data() + start, value, count);
        EXPECT_TRUE(same_bytes(expected, buffer))
            << count << " bytes filled from " << start << " on";
    }
}

TEST(FillBytes, WritesEveryValue) {
    for (uint32_t value = 0; value < 256; ++value) {
        byte_vector buffer(100);
        fillBytes(buffer.data(), static_cast<uint8_t>(value), 100);
        EXPECT_TRUE(same_bytes(byte_vector(100, static_cast<uint8_t>(value)), buffer));
    }
}

} // namespace
