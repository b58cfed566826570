#include "tools/slabtool/base64.h"

#include <algorithm>
#include <cstdint>

std::string base64Of(ByteView bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const size_t count = std::min<size_t>(bytes.size() - at, 3);
        uint32_t group = 0; // three bytes, the first one highest
        for (size_t i = 0; i < count; ++i) {
            group |= uint32_t{bytes[at + i]} << (16 - 8 * i);
        }
        for (size_t i = 0; i < 4; ++i) {
            text += i <= count ? kDigits[group >> (18 - 6 * i) & 63] : '=';
        }
    }
    return text;
}
