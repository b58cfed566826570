// The first byte gives the length. Each length has a min value; a smaller one would be overlong.
#include "tools/slabtool/utf8.h"

#include <cstdint>
#include <iterator>

size_t utf8Length(std::string_view text, size_t at) {
    struct Form {
        uint8_t mask, lead;
        uint32_t min;
    };
    constexpr Form kForms[] = {
        {0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};

    const auto byteAt = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    for (size_t length = 1; length <= std::size(kForms); ++length) {
        const Form& form = kForms[length - 1];
        if ((byteAt(at) & form.mask) != form.lead) {
            continue;
        }
        if (text.size() - at < length) {
            return 0;
        }
        uint32_t value = byteAt(at) & ~uint32_t{form.mask};
        for (size_t i = 1; i < length; ++i) {
            if ((byteAt(at + i) & 0xC0) != 0x80) {
                return 0;
            }
            value = value << 6 | (byteAt(at + i) & 0x3F);
        }
        const bool isSurrogate = value >= 0xD800 && value < 0xE000;
        return value >= form.min && value <= 0x10FFFF && !isSurrogate ? length : 0;
    }
    return 0;
}

bool isUtf8(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8Length(text, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}
