// The version of the programs, libraries and packages. CMake reads the three numbers from here.
#pragma once

#include <string>

inline constexpr unsigned kVersionMajor = 1;
inline constexpr unsigned kVersionMinor = 0;
inline constexpr unsigned kVersionPatch = 1;

/// @return the three numbers with dots between them
inline std::string versionText() {
    return std::to_string(kVersionMajor) + '.' + std::to_string(kVersionMinor) + '.' +
           std::to_string(kVersionPatch);
}
