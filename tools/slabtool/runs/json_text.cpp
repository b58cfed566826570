// Escapes.
#include "tools/slabtool/runs/json_text.h"

#include "tools/slabtool/runs/utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

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
        const size_t length = utf8Length(text, at);
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

std::string hexOf(const std::string& text) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string hex;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        hex += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return hex;
}

std::string jsonMember(const std::string& name, const std::string& text) {
    const std::string member = jsonText(name) + ": " + jsonText(text);
    return isUtf8(text) ? member
                        : member + ", " + jsonText(name + "_hex") + ": " + jsonText(hexOf(text));
}
