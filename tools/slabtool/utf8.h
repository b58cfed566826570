// Strict UTF-8 validation.
#pragma once

#include <cstddef>
#include <string_view>

/// Bytes of the character at `at`, or 0 if it is invalid: truncated, overlong, a surrogate, or above U+10FFFF.
size_t utf8Length(std::string_view text, size_t at);

/// Whether all of `text` is UTF-8.
bool isUtf8(std::string_view text);
