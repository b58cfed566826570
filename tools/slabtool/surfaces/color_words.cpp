// Letters are compared as ASCII in every locale.
#include "tools/slabtool/surfaces/color_words.h"

#include "src/internal/mode_traits.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace {

constexpr size_t kColorDigits = 6;

char upperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool isSameWord(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char a, char b) { return upperCase(a) == upperCase(b); });
}

} // namespace

std::optional<DsColorMode> parseMode(const std::string& word) {
    for (uint32_t mode = 0; mode < ds_detail::kColorModeCount; ++mode) {
        if (ds_detail::kPixelBytes[mode] != 0 && isSameWord(word, ds_detail::kModeNames[mode])) {
            return DsColorMode{mode};
        }
    }
    return std::nullopt;
}

std::optional<uint32_t> parseColor(const std::string& word) {
    std::string_view digits = word;
    if (digits.starts_with('#')) {
        digits.remove_prefix(1);
    }
    uint32_t color = 0;
    const char* const end = digits.data() + digits.size();
    const auto [parsed, error] = std::from_chars(digits.data(), end, color, 16);
    if (digits.size() != kColorDigits || parsed != end || error != std::errc()) {
        return std::nullopt;
    }
    return color;
}

std::optional<Dither> parseDither(const std::string& word) {
    if (word == "none") {
        return Dither::None;
    }
    if (word == "ordered") {
        return Dither::Ordered;
    }
    return word == "floyd-steinberg" ? std::optional(Dither::FloydSteinberg) : std::nullopt;
}
