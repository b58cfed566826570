// Parses the words for color modes, colors and dithering.
#pragma once

#include "src/ds_color_mode.h"
#include "tools/slabtool/surfaces/dither.h"

#include <cstdint>
#include <optional>
#include <string>

/// The mode with the given name, such as "RGB565", in any letter case. Nothing for an unknown name and for modes
/// without pixels.
std::optional<DsColorMode> parseMode(const std::string& word);

/// 0xRRGGBB for "#rrggbb" or "rrggbb", hexadecimal digits in any letter case. Nothing for any other word.
std::optional<uint32_t> parseColor(const std::string& word);

/// "none", "ordered" or "floyd-steinberg". Nothing for any other word.
std::optional<Dither> parseDither(const std::string& word);
