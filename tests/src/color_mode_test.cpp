// The ten pixel formats: sizes, channel rules, and whole pixels, compared with independent formulas, for
// every value.
#include "src/ds_color_mode.h"
#include "src/internal/mode_traits.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <type_traits>

using namespace ds_detail;

namespace {

using Mode = DsColorMode;

// Equality of all four channels, with the channels in the message.
void expectColor(const DsColor& expected, const DsColor& actual, uint32_t stored) {
    EXPECT_TRUE(expected.alpha == actual.alpha && expected.red == actual.red &&
                expected.green == actual.green && expected.blue == actual.blue)
        << "stored " << stored << ", expected " << expected.alpha << ", " << expected.red << ", "
        << expected.green << ", " << expected.blue << ", got " << actual.alpha << ", " << actual.red
        << ", " << actual.green << ", " << actual.blue;
}

// Calls `check` with every pair of values of two neighboring channels, and fixed values of the others.
template <typename Check>
void forColors(Check check) {
    for (uint32_t a = 0; a < 256; ++a) {
        for (uint32_t b = 0; b < 256; ++b) {
            check(DsColor{a, b, 77, 200});
            check(DsColor{129, a, b, 5});
            check(DsColor{3, 250, a, b});
            check(DsColor{a, 0, 255, b});
        }
    }
}

template <Mode mode>
void expectEncoding(uint32_t (*expected)(const DsColor&)) {
    forColors([&](const DsColor& color) {
        ASSERT_EQ(expected(color), ModeTraits<mode>::encode(color))
            << color.alpha << ", " << color.red << ", " << color.green << ", " << color.blue;
    });
}

template <Mode mode>
void expectDecoding(DsColor (*expected)(uint32_t), uint32_t values) {
    for (uint32_t stored = 0; stored < values; ++stored) {
        expectColor(expected(stored), ModeTraits<mode>::decode(stored, {}), stored);
    }
}

template <Mode mode>
void expectDecodesToNothing() {
    for (const uint32_t stored : {0U, 1U, 0xFFU, 0xFFFFU, 0xFFFFFFFFU}) {
        expectColor({0, 0, 0, 0}, ModeTraits<mode>::decode(stored, {}), stored);
        EXPECT_EQ(0U, ModeTraits<mode>::encode({255, 255, 255, 255}));
    }
}

// Little-endian bytes of a pixel, loaded from and stored to an odd address between sentinels.
template <Mode mode>
void expectBytesInMemory(const std::array<uint8_t, 4>& pixel) {
    const uint32_t size = bytesPerPixel(mode);
    uint32_t value = 0;
    SCOPED_TRACE(testing::Message() << "mode " << static_cast<uint32_t>(mode));
    for (uint32_t i = size; i-- > 0;) {
        value = value * 256 + pixel[i];
    }
    alignas(8) std::array<uint8_t, 8> memory{9, 9, 9, 9, 9, 9, 9, 9};
    storePixel<mode>(memory.data() + 1, value);
    for (uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(i >= 1 && i < 1 + size ? pixel[i - 1] : 9, memory[i]) << "byte " << i;
    }
    EXPECT_EQ(value, loadPixel<mode>(memory.data() + 1));
}

TEST(ColorMode, NumbersTheModesFromZeroToNine) {
    EXPECT_EQ(0U, static_cast<uint32_t>(Mode::ARGB8888));
    EXPECT_EQ(1U, static_cast<uint32_t>(Mode::RGB888));
    EXPECT_EQ(2U, static_cast<uint32_t>(Mode::RGB565));
    EXPECT_EQ(3U, static_cast<uint32_t>(Mode::ARGB1555));
    EXPECT_EQ(4U, static_cast<uint32_t>(Mode::ARGB4444));
    EXPECT_EQ(5U, static_cast<uint32_t>(Mode::I8));
    EXPECT_EQ(6U, static_cast<uint32_t>(Mode::Reserved6));
    EXPECT_EQ(7U, static_cast<uint32_t>(Mode::AI88));
    EXPECT_EQ(8U, static_cast<uint32_t>(Mode::Reserved8));
    EXPECT_EQ(9U, static_cast<uint32_t>(Mode::A8));
    EXPECT_TRUE((std::is_same_v<uint32_t, std::underlying_type_t<Mode>>));
}

TEST(ColorMode, KnowsTheSizeOfEveryMode) {
    constexpr std::array<uint32_t, 10> expected = {4, 3, 2, 2, 2, 1, 0, 2, 0, 1};
    for (uint32_t mode = 0; mode < 10; ++mode) {
        EXPECT_EQ(expected[mode], bytesPerPixel(Mode{mode})) << mode;
    }
}

TEST(ColorMode, HasSizeZeroForUnknownModes) {
    for (const uint32_t mode : {10U, 11U, 255U, 256U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(0U, bytesPerPixel(Mode{mode})) << mode;
    }
}

TEST(ColorMode, ReadsTheColorWordFromAlphaInItsLowestByteToBlueInItsHighest) {
    expectColor({0x11, 0x22, 0x33, 0x44}, colorFromWord(0x44332211), 0x44332211);
    expectColor({0xFF, 0, 0, 0}, colorFromWord(0x000000FF), 0x000000FF);
    expectColor({0, 0, 0, 0xFF}, colorFromWord(0xFF000000), 0xFF000000);
}

TEST(ChannelRules, WidenByTheirFormulas) {
    for (uint32_t c = 0; c < 32; ++c) {
        EXPECT_EQ((c * 527 + 23) / 64, widen5(c)) << c;
    }
    for (uint32_t c = 0; c < 64; ++c) {
        EXPECT_EQ((c * 259 + 33) / 64, widen6(c)) << c;
    }
    for (uint32_t c = 0; c < 16; ++c) {
        EXPECT_EQ(c * 16 + c, widen4(c)) << c;
    }
}

TEST(ChannelRules, WidenTheEndsOfTheRangeToItsEnds) {
    EXPECT_EQ(0U, widen5(0));
    EXPECT_EQ(0U, widen6(0));
    EXPECT_EQ(0U, widen4(0));
    EXPECT_EQ(255U, widen5(31));
    EXPECT_EQ(255U, widen6(63));
    EXPECT_EQ(255U, widen4(15));
}

TEST(ChannelRules, NarrowEvery8BitValueByTheirFormulasIntoTheField) {
    for (uint32_t v = 0; v < 256; ++v) {
        EXPECT_EQ((v * 249 + 1014) / 2048, narrowTo5(v)) << v;
        EXPECT_EQ((v * 253 + 505) / 1024, narrowTo6(v)) << v;
        EXPECT_EQ((v * 15 + 135) / 256, narrowTo4(v)) << v;
        EXPECT_LT(narrowTo5(v), 32U) << v;
        EXPECT_LT(narrowTo6(v), 64U) << v;
        EXPECT_LT(narrowTo4(v), 16U) << v;
    }
}

TEST(ChannelRules, NarrowingUndoesWideningForEveryFieldValue) {
    for (uint32_t c = 0; c < 32; ++c) {
        EXPECT_EQ(c, narrowTo5(widen5(c)));
    }
    for (uint32_t c = 0; c < 64; ++c) {
        EXPECT_EQ(c, narrowTo6(widen6(c)));
    }
    for (uint32_t c = 0; c < 16; ++c) {
        EXPECT_EQ(c, narrowTo4(widen4(c)));
    }
}

TEST(PixelEncoding, PacksArgb8888) {
    expectEncoding<Mode::ARGB8888>([](const DsColor& c) {
        return c.alpha * 0x1000000 + c.red * 0x10000 + c.green * 0x100 + c.blue;
    });
}

TEST(PixelEncoding, PacksRgb888WithoutAlpha) {
    expectEncoding<Mode::RGB888>(
        [](const DsColor& c) { return c.red * 0x10000 + c.green * 0x100 + c.blue; });
}

TEST(PixelEncoding, NarrowsIntoRgb565) {
    expectEncoding<Mode::RGB565>([](const DsColor& c) {
        return ((c.red * 249 + 1014) >> 11) * 2048 + ((c.green * 253 + 505) >> 10) * 32 +
               ((c.blue * 249 + 1014) >> 11);
    });
}

// The color channels are widened, and the result is not masked.
TEST(PixelEncoding, SpillsArgb1555ChannelsIntoTheirNeighbors) {
    expectEncoding<Mode::ARGB1555>([](const DsColor& c) {
        const uint32_t sum = (c.alpha >= 128 ? 32768 : 0) + ((c.red * 527 + 23) >> 6) * 1024 +
                             ((c.green * 527 + 23) >> 6) * 32 + ((c.blue * 527 + 23) >> 6);
        return sum % 65536;
    });
}

TEST(PixelEncoding, NarrowsIntoArgb4444) {
    expectEncoding<Mode::ARGB4444>([](const DsColor& c) {
        const auto narrow = [](uint32_t v) { return (v * 15 + 135) >> 8; };
        return narrow(c.alpha) * 4096 + narrow(c.red) * 256 + narrow(c.green) * 16 + narrow(c.blue);
    });
}

TEST(PixelEncoding, UsesBlueAsTheIndexInPaletteModes) {
    expectEncoding<Mode::I8>([](const DsColor& c) { return c.blue; });
    expectEncoding<Mode::AI88>([](const DsColor& c) { return c.alpha * 256 + c.blue; });
}

TEST(PixelEncoding, KeepsOnlyTheAlphaInA8) {
    expectEncoding<Mode::A8>([](const DsColor& c) { return c.alpha; });
}

TEST(PixelEncoding, EncodesWhiteAsFullFields) {
    constexpr DsColor white = {255, 255, 255, 255};
    EXPECT_EQ(65535U, ModeTraits<Mode::RGB565>::encode(white));
    EXPECT_EQ(65535U, ModeTraits<Mode::ARGB4444>::encode(white));
    EXPECT_EQ(0xFFFFFFFFU, ModeTraits<Mode::ARGB8888>::encode(white));
}

TEST(PixelEncoding, EncodesFullTransparentBlueInArgb1555As2100) {
    EXPECT_EQ(2100U, ModeTraits<Mode::ARGB1555>::encode({0, 0, 0, 255}));
}

TEST(PixelEncoding, UsesTheTopBitOfAlphaInArgb1555) {
    EXPECT_EQ(0U, ModeTraits<Mode::ARGB1555>::encode({127, 0, 0, 0}));
    EXPECT_EQ(0x8000U, ModeTraits<Mode::ARGB1555>::encode({128, 0, 0, 0}));
}

TEST(PixelDecoding, UnpacksEveryByteOfTheModesWithWholeBytes) {
    for (uint32_t v = 0; v < 256; ++v) {
        const uint32_t word = v << 24 | (v ^ 0x55) << 16 | (v ^ 0xAA) << 8 | (255 - v);
        expectColor({v, v ^ 0x55, v ^ 0xAA, 255 - v}, ModeTraits<Mode::ARGB8888>::decode(word, {}),
                    word);
        const uint32_t opaque = word & 0xFFFFFF;
        expectColor({255, v ^ 0x55, v ^ 0xAA, 255 - v},
                    ModeTraits<Mode::RGB888>::decode(opaque, {}), opaque);
    }
}

TEST(PixelDecoding, WidensEveryRgb565Word) {
    expectDecoding<Mode::RGB565>(
        [](uint32_t word) {
            return DsColor{255, (word / 2048 * 527 + 23) >> 6, (word / 32 % 64 * 259 + 33) >> 6,
                           (word % 32 * 527 + 23) >> 6};
        },
        65536);
}

TEST(PixelDecoding, NeverReadsTheAlphaBitOfArgb1555) {
    expectDecoding<Mode::ARGB1555>(
        [](uint32_t word) {
            return DsColor{0, (word / 1024 % 32 * 527 + 23) >> 6, (word / 32 % 32 * 527 + 23) >> 6,
                           (word % 32 * 527 + 23) >> 6};
        },
        65536);
    EXPECT_EQ(0U, ModeTraits<Mode::ARGB1555>::decode(0x8000, {}).alpha);
}

TEST(PixelDecoding, RepeatsTheNibblesOfEveryArgb4444Word) {
    expectDecoding<Mode::ARGB4444>(
        [](uint32_t word) {
            return DsColor{word / 4096 * 17, word / 256 % 16 * 17, word / 16 % 16 * 17,
                           word % 16 * 17};
        },
        65536);
}

TEST(PixelDecoding, UsesThePaletteIndexAsGray) {
    expectDecoding<Mode::I8>([](uint32_t index) { return DsColor{255, index, index, index}; }, 256);
    expectDecoding<Mode::AI88>(
        [](uint32_t word) {
            return DsColor{word / 256, word % 256, word % 256, word % 256};
        },
        65536);
    expectColor({255, 40, 40, 40}, ModeTraits<Mode::I8>::decode(40, {}), 40);
}

TEST(PixelDecoding, UsesTheConstantAsTheColorOfA8) {
    for (uint32_t alpha = 0; alpha < 256; ++alpha) {
        expectColor({alpha, 1, 2, 3}, ModeTraits<Mode::A8>::decode(alpha, {200, 1, 2, 3}), alpha);
    }
}

TEST(PixelDecoding, GivesZerosForModesWithoutPixels) {
    expectDecodesToNothing<Mode::Reserved6>();
    expectDecodesToNothing<Mode::Reserved8>();
}

TEST(ModeTraits, NameEveryModeOfTheEnumeration) {
    EXPECT_EQ(10U, kColorModeCount);
    EXPECT_STREQ("ARGB8888", kModeNames[0]);
    EXPECT_STREQ("A8", kModeNames[9]);
    for (uint32_t mode = 0; mode < kColorModeCount; ++mode) {
        EXPECT_EQ(kPixelBytes[mode], bytesPerPixel(Mode{mode})) << mode;
        EXPECT_EQ(mode == 5 || mode == 7, mayHavePalette(Mode{mode})) << mode;
    }
    EXPECT_FALSE(mayHavePalette(Mode{10}));
}

TEST(PixelMemory, KeepsPixelsLittleEndianAtAnyAddress) {
    constexpr std::array<uint8_t, 4> pixel = {0x12, 0xA5, 0xFE, 0x81};
    expectBytesInMemory<Mode::ARGB8888>(pixel);
    expectBytesInMemory<Mode::RGB888>(pixel);
    expectBytesInMemory<Mode::RGB565>(pixel);
    expectBytesInMemory<Mode::ARGB1555>(pixel);
    expectBytesInMemory<Mode::ARGB4444>(pixel);
    expectBytesInMemory<Mode::I8>(pixel);
    expectBytesInMemory<Mode::AI88>(pixel);
    expectBytesInMemory<Mode::A8>(pixel);
}

TEST(PixelMemory, TouchesNothingForModesWithoutPixels) {
    expectBytesInMemory<Mode::Reserved6>({1, 2, 3, 4});
    expectBytesInMemory<Mode::Reserved8>({1, 2, 3, 4});
}

// The bytes in memory are blue, green, red and alpha, in the two modes with whole bytes.
TEST(PixelMemory, OrdersBytesBlueGreenRedAlpha) {
    std::array<uint8_t, 4> memory{};
    storePixel<Mode::ARGB8888>(memory.data(), ModeTraits<Mode::ARGB8888>::encode({4, 3, 2, 1}));
    EXPECT_EQ((std::array<uint8_t, 4>{1, 2, 3, 4}), memory);
    storePixel<Mode::RGB888>(memory.data(), ModeTraits<Mode::RGB888>::encode({40, 30, 20, 10}));
    EXPECT_EQ((std::array<uint8_t, 4>{10, 20, 30, 4}), memory);
}

} // namespace
