// Names of modes and colors, and invalid words.
#include "tools/slabtool/surfaces/color_words.h"

#include "tests/src/surface_makers.h"

#include <algorithm>
#include <cctype>

namespace {

TEST(ColorWords, NameEveryModeWithPixelsInAnyLetterCase) {
    const std::string names[] = {"ARGB8888", "RGB888", "RGB565", "ARGB1555",
                                 "ARGB4444", "I8",     "AI88",   "A8"};
    for (size_t i = 0; i < kModesWithPixels.size(); ++i) {
        std::string lower = names[i];
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        EXPECT_EQ(kModesWithPixels[i], parseMode(names[i])) << names[i];
        EXPECT_EQ(kModesWithPixels[i], parseMode(lower)) << lower;
    }
}

TEST(ColorWords, RejectOtherModes) {
    for (const char* word :
         {"", "RGB", "RGB5650", " RGB565", "RGB565 ", "Reserved6", "reserved8", "5", "unknown"}) {
        EXPECT_EQ(std::nullopt, parseMode(word)) << word;
    }
}

TEST(ColorWords, ReadColorsOfSixHexadecimalDigits) {
    EXPECT_EQ(0x000000U, parseColor("#000000"));
    EXPECT_EQ(0x12ABEFU, parseColor("#12abEF"));
    EXPECT_EQ(0x12ABEFU, parseColor("12ABef"));
    EXPECT_EQ(0xFFFFFFU, parseColor("ffffff"));
}

TEST(ColorWords, RejectOtherColors) {
    for (const char* word : {"", "#", "#fff", "fffff", "fffffff", "#fffffff", "##ffffff", "0xffff",
                             "-fffff", "+fffff", " fffff", "fffff ", "fffffg", "red"}) {
        EXPECT_EQ(std::nullopt, parseColor(word)) << word;
    }
}

} // namespace
