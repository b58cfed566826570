// Control characters in file names never reach the terminal or a suggested command.
#include "tools/slabtool/text.h"

#include "tools/slabtool/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace {

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

// U+0080 to U+009F: a byte of Latin-1, or the second byte in UTF-8.
bool isLateControl(char c) {
    return static_cast<unsigned char>(c) >= 0x80 && static_cast<unsigned char>(c) < 0xA0;
}

std::string inQuotes(char c) {
    return c == '\'' ? "'\\''" : std::string(1, c);
}

std::string asOctal(char c) {
    char code[5];
    std::snprintf(code, sizeof code, "\\%03o", static_cast<unsigned>(static_cast<uint8_t>(c)));
    return code;
}

} // namespace

std::string printable(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = std::max<size_t>(utf8Length(text, at), 1);
        const bool isHidden =
            length == 1 ? isControl(text[at]) || isLateControl(text[at])
                        : length == 2 && text[at] == '\xC2' && isLateControl(text[at + 1]);
        result += isHidden ? "?" : text.substr(at, length);
        at += length;
    }
    return result;
}

std::string shellWord(const std::string& path) {
    const std::string unquoted =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./+,:@-";
    if ((path.starts_with('-') && path != kStandardStream) || path == "++") {
        return shellWord("./" + path);
    }
    if (!path.empty() && path.find_first_not_of(unquoted) == std::string::npos) {
        return path;
    }
    // Shells have no common escapes for control characters, so printf makes them from octal numbers.
    const bool needsPrintf = std::any_of(path.begin(), path.end(), isControl);
    std::string word = needsPrintf ? "\"$(printf '" : "'";
    for (const char c : path) {
        const bool isOctal = needsPrintf && unquoted.find(c) == std::string::npos;
        word += isOctal ? asOctal(c) : inQuotes(c);
    }
    return word + (needsPrintf ? "')\"" : "'");
}
