// Text that came from outside, for messages and for commands to copy.
#pragma once

#include <string>

/// The path that stands for standard input or output.
inline constexpr const char* kStandardStream = "-";

/// `text` for a line of output: control characters, U+0080 to U+009F too, become question marks.
std::string printable(const std::string& text);

/// A path as one word of any shell's command line, which no program takes for an option. Line breaks at
/// the end of a path are lost.
std::string shellWord(const std::string& path);
