// What of a PNG image a surface file does not show.
#pragma once

#include "tools/slabtool/finding.h"
#include "tools/slabtool/images/png_facts.h"

#include <string>
#include <vector>

// The codes of what options of slabtool prepare keep.
inline constexpr const char* kKeyColorLoss = "key-color";
inline constexpr const char* kPaletteLoss = "palette";
inline constexpr const char* kOrientationLoss = "orientation";

/// The option of slabtool prepare that keeps what would be lost; null if there is none.
const char* optionAgainst(const Finding& loss);

/// What is lost of an image that pngslab accepts, or of one that slabtool prepare has fixed without options:
///
/// | code        | lost                                                              |
/// |-------------|-------------------------------------------------------------------|
/// | key-color   | a color that means "transparent" stays as it is                   |
/// | palette     | the surface file has palette indices and no palette               |
/// | icc-profile | the color profile is ignored                                      |
/// | gamma       | a gAMA chunk that differs from sRGB's, without an sRGB chunk, is ignored |
/// | orientation | the orientation that Exif data state is ignored                   |
/// | animation   | one frame is used                                                 |
/// | 16-bit      | samples of 16 bits are narrowed to 8                              |
std::vector<Finding> lossesOf(const PngFacts& facts);
