// What slabtool tells about a file.
#pragma once

#include <string>

/// Something to tell: a code that stays the same from version to version, and words for people.
struct Finding {
    std::string code;
    std::string words;

    bool operator==(const Finding&) const = default;
};

/// "words [code]"
inline std::string textOf(const Finding& finding) {
    return finding.words + " [" + finding.code + "]";
}
