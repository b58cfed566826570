// What of a PNG image a surface file does not show.
#pragma once

#include "tools/slabtool/refusal.h"

#include <string>
#include <vector>

/// Something to tell about an image: a code that stays the same from version to version, and words for people.
struct Finding {
    std::string code;
    std::string words;

    bool operator==(const Finding&) const = default;
};

// The codes of what options of slabtool prepare keep.
inline constexpr const char* kKeyColorLoss = "key-color";
inline constexpr const char* kPaletteLoss = "palette";
inline constexpr const char* kOrientationLoss = "orientation";

/// "words [code]"
std::string textOf(const Finding& finding);

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
///
/// Reads the chunks one after the other as far as their frames hold together, whatever stands in them.
std::vector<Finding> lossesOf(ByteView file);

/// The orientation that Exif data of an image state, 1 to 8; 1 without any.
uint32_t orientationOf(ByteView file);

/// What the header declares; 0 if the file does not start with a header.
uint64_t declaredPixels(ByteView file);
uint8_t declaredColorType(ByteView file);
