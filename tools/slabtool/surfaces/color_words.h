// Words of a command line that name color modes and colors.
#pragma once

#include "src/ds_color_mode.h"

#include <cstdint>
#include <optional>
#include <string>

/// The mode with pixels that a word such as "RGB565" names, in any letter case; nothing for another word.
std::optional<DsColorMode> modeNamed(const std::string& word);

/// 0xRRGGBB for "#rrggbb" or "rrggbb", hexadecimal digits in any letter case; nothing for another word.
std::optional<uint32_t> colorNamed(const std::string& word);
