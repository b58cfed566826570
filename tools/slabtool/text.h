// Untrusted text, such as file names, in messages and in commands for the user.
#pragma once

#include <string>

/// The path that stands for standard input or output.
inline constexpr const char* kStandardStream = "-";

/// `text` for a line of output: control characters, including U+0080 to U+009F, become question marks.
std::string printable(const std::string& text);

/// A path as one word of any shell's command line. No program mistakes it for an option. The shell drops line
/// breaks at the end of the path.
std::string shellWord(const std::string& path);
