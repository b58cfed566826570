// Text as JSON has it.
#pragma once

#include <string>

/// `text` in quotes. Bytes that are no UTF-8, as file names may have them, become U+FFFD.
std::string jsonText(const std::string& text);

/// The bytes of a text, two digits each: how bytes that are not UTF-8 survive JSON.
std::string hexOf(const std::string& text);

/// `"name": "text"`. Text that is not UTF-8 is followed by a member "name_hex" with its bytes.
std::string jsonMember(const std::string& name, const std::string& text);
