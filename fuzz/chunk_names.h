// The decoder ignores the case of chunk names, and libpng does not. So libpng skips a chunk iDAT or iEND, and both decoders
// accept the file, with different pixels.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Whether IHDR, IDAT or IEND stands in `png` with a letter in lower case, as a chunk name or by chance.
inline bool hasChunkNameInOtherCase(std::span<const uint8_t> png) {
    constexpr std::string_view kNames[] = {"IHDR", "IDAT", "IEND"};
    std::string upper(png.begin(), png.end());
    for (char& letter : upper) {
        letter = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    }
    return std::any_of(std::begin(kNames), std::end(kNames), [&](std::string_view name) {
        for (size_t at = upper.find(name); at != std::string::npos; at = upper.find(name, at + 1)) {
            if (!std::equal(name.begin(), name.end(), png.begin() + static_cast<ptrdiff_t>(at))) {
                return true;
            }
        }
        return false;
    });
}
