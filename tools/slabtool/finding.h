// A result about a file: a reason, a loss or a note.
#pragma once

#include <string>

/// A code that never changes between versions, and a text for people.
struct Finding {
    std::string code;
    std::string text;

    bool operator==(const Finding&) const = default;
};

/// "text [code]"
inline std::string textOf(const Finding& finding) {
    return finding.text + " [" + finding.code + "]";
}
