// Properties of a PNG image that its surface file loses.
#pragma once

#include "tools/slabtool/finding.h"
#include "tools/slabtool/images/png_facts.h"

#include <string>
#include <vector>

// Codes of losses that an option avoids.
inline constexpr const char* kKeyColorLoss = "key-color";
inline constexpr const char* kPaletteLoss = "palette";
inline constexpr const char* kOrientationLoss = "orientation";

/// The option of slabtool prepare that avoids a loss; null if there is none.
const char* optionAgainst(const Finding& loss);

/// The losses of an image that pngslab accepts, or that slabtool prepare has fixed without options:
///
/// | code        | loss                                                                       |
/// |-------------|----------------------------------------------------------------------------|
/// | key-color   | a color that means "transparent" is ignored                                |
/// | palette     | the surface file has palette indices and no palette                        |
/// | icc-profile | the color profile is ignored                                               |
/// | gamma       | a gAMA chunk with another value than sRGB's, without an sRGB chunk, is ignored |
/// | orientation | the orientation in the Exif data is ignored                                |
/// | animation   | only one frame is used                                                     |
/// | 16-bit      | samples of 16 bits are narrowed to 8                                       |
std::vector<Finding> lossesOf(const PngFacts& facts);
