// Text as JSON has it.
#pragma once

#include <string>

/// `text` in quotes. Bytes that are no UTF-8, as file names may have them, become U+FFFD.
std::string jsonText(const std::string& text);
