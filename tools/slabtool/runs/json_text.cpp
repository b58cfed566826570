// Escapes, and a strict reading of UTF-8.
#include "tools/slabtool/runs/json_text.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

// Bytes of the UTF-8 character at `at`, or 0 if there is none: cut short, overlong, a surrogate, or
// beyond U+10FFFF.
size_t characterLength(const std::string& text, size_t at) {
    struct Form {
        uint8_t mask, lead;
        uint32_t least;
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
        return value >= form.least && value <= 0x10FFFF && !isSurrogate ? length : 0;
    }
    return 0;
}

std::string escaped(char c) {
    if (c == '"' || c == '\\') {
        return {'\\', c};
    }
    if (static_cast<uint8_t>(c) >= 0x20) {
        return {c};
    }
    char code[7];
    std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(c));
    return code;
}

} // namespace

std::string jsonText(const std::string& text) {
    std::string result = "\"";
    for (size_t at = 0; at < text.size();) {
        const size_t length = characterLength(text, at);
        if (length == 0) {
            result += "\\uFFFD";
        } else if (length == 1) {
            result += escaped(text[at]);
        } else {
            result += text.substr(at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return result + "\"";
}
