// Judges image files.
#pragma once

#include "tools/slabtool/images/judgment.h"

#include <string>

/// The code of a file that cannot be read.
inline constexpr const char* kUnreadable = "unreadable";

/// Reads and judges an image. A file that cannot be read is rejected.
Judgment judgeFile(const std::string& path, bool alphaOnly);
