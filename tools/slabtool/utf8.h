// A strict reading of UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

/// Bytes of the character at `at`, or 0 if there is none: cut short, overlong, a surrogate, or beyond
/// U+10FFFF.
size_t utf8Length(std::string_view text, size_t at);

/// Whether all of `text` is UTF-8.
bool isUtf8(std::string_view text);
