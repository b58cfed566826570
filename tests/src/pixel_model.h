// A model of the pixel rules, one pixel at a time, from their tables. Tests compare the kernels, the spans and
// the drawing operations with it. It shares no code with them.
#pragma once

#include "src/ds_color_mode.h"
#include "tests/support/test_bytes.h"

#include <array>
#include <cstdint>
#include <string>

/// Every mode, and two that are unknown.
inline constexpr std::array kAllModes = {
    DsColorMode::ARGB8888,  DsColorMode::RGB888, DsColorMode::RGB565,    DsColorMode::ARGB1555,
    DsColorMode::ARGB4444,  DsColorMode::I8,     DsColorMode::Reserved6, DsColorMode::AI88,
    DsColorMode::Reserved8, DsColorMode::A8,     DsColorMode{10},        DsColorMode{0xFFFFFFFF}};

inline constexpr std::array kTwoByteModes = {DsColorMode::RGB565, DsColorMode::ARGB1555,
                                             DsColorMode::ARGB4444, DsColorMode::AI88};

/// The alpha modes with a meaning, and two that set alpha to 0.
inline constexpr uint32_t kAlphaModes[] = {0, 1, 2, 3, 0xFFFFFFFF};

struct ModelColor {
    uint32_t alpha, red, green, blue;
    bool operator==(const ModelColor&) const = default;
};

/// The channels of a color word, and back.
ModelColor modelColor(uint32_t word);
uint32_t modelWord(const ModelColor& color);

/// "RGB565", or "mode 10" for an unknown mode.
std::string modeName(DsColorMode mode);

uint32_t modelPixelSize(DsColorMode mode);
uint32_t modelLoad(DsColorMode mode, const uint8_t* pixel);
void modelStore(DsColorMode mode, uint8_t* pixel, uint32_t stored);

/// A stored value as a color; A8 takes its color from `constant`.
ModelColor modelDecode(DsColorMode mode, uint32_t stored, const ModelColor& constant = {});
uint32_t modelEncode(DsColorMode mode, const ModelColor& color);

/// `above` over `below`.
ModelColor modelOver(const ModelColor& below, const ModelColor& above);

/// The new target pixel of a copy, from one source pixel and one target pixel.
struct ModelCopy {
    DsColorMode target, source;
    uint32_t alphaMode, color;

    ModelColor sourceColor(uint32_t sourceStored) const;
    uint32_t converted(uint32_t targetStored, uint32_t sourceStored) const;
    uint32_t blended(uint32_t targetStored, uint32_t sourceStored) const;
};

/// The stored value after painting a color word through a coverage byte.
uint32_t modelPainted(DsColorMode mode, uint32_t stored, uint32_t coverage, uint32_t color);

/// Every bit pattern of a pixel of one or two bytes, 256 per row.
byte_vector allStoredValues(DsColorMode mode);
