// The plain, per-pixel definition of converting and blending: one decode, one compose and one
// encode function, put together for every pair of modes. Wide loops elsewhere are held against
// these.
#pragma once

#include "src/ds_color_mode.h"

#include <array>
#include <cstdint>
#include <utility>

/// Bytes a pixel of a mode known at compile time.
template <DsColorMode mode>
inline constexpr uint32_t kPixelSize = kBytesPerPixel[static_cast<uint32_t>(mode)];

/// What happens to a decoded source pixel before it is used: an alpha mode, resolved once a call so
/// that the loops need not look at it. The alpha used is alpha * alphaFactor / 255 + alphaTerm.
struct SourceRule {
    DsColor constant; // the operation's colour, which A8 sources paint with
    uint32_t alphaFactor;
    uint32_t alphaTerm;

    bool keepsAlpha() const { return alphaFactor == 255; }
};

/// The rule for an alpha mode and a colour word: 0 takes alpha as decoded, 1 the word's alpha, 2
/// their product over 255, any other 0.
inline SourceRule sourceRule(uint32_t alphaMode, uint32_t colorWord) {
    const DsColor color = colorFromWord(colorWord);
    switch (alphaMode) {
    case 0:
        return {color, 255, 0};
    case 1:
        return {color, 0, color.alpha};
    case 2:
        return {color, color.alpha, 0};
    default:
        return {color, 0, 0};
    }
}

/// One source pixel, its alpha replaced as the rule says.
template <DsColorMode mode>
inline DsColor decodeSource(const uint8_t* pixel, const SourceRule& rule) {
    DsColor color = decodePixel<mode>(loadPixel<mode>(pixel), rule.constant);
    color.alpha = color.alpha * rule.alphaFactor / 255 + rule.alphaTerm;
    return color;
}

/// `source` over `target`, both divisions rounded down. Callers rely on the stored colour coming
/// out multiplied by coverage: the target's colour is weighted by its own alpha, and the sum is not
/// divided by the new one.
constexpr DsColor composeOver(const DsColor& target, const DsColor& source) {
    const uint32_t targetWeight = target.alpha * (255 - source.alpha);
    const uint32_t sourceWeight = source.alpha * 255;
    const auto channel = [=](uint32_t targetChannel, uint32_t sourceChannel) {
        return (targetChannel * targetWeight + sourceChannel * sourceWeight) / (255 * 255);
    };
    return {(targetWeight + sourceWeight) / 255, channel(target.red, source.red),
            channel(target.green, source.green), channel(target.blue, source.blue)};
}

template <DsColorMode targetMode, DsColorMode sourceMode>
inline void convertPixel(uint8_t* target, const uint8_t* source, const SourceRule& rule) {
    storePixel<targetMode>(target, encodePixel<targetMode>(decodeSource<sourceMode>(source, rule)));
}

template <DsColorMode targetMode, DsColorMode sourceMode>
inline void blendPixel(uint8_t* target, const uint8_t* source, const SourceRule& rule) {
    const DsColor below = decodePixel<targetMode>(loadPixel<targetMode>(target));
    const DsColor above = decodeSource<sourceMode>(source, rule);
    storePixel<targetMode>(target, encodePixel<targetMode>(composeOver(below, above)));
}

template <DsColorMode targetMode, DsColorMode sourceMode>
void convertLine(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    for (uint32_t i = 0; i < count; ++i) {
        convertPixel<targetMode, sourceMode>(target, source, rule);
        target += kPixelSize<targetMode>;
        source += kPixelSize<sourceMode>;
    }
}

template <DsColorMode targetMode, DsColorMode sourceMode>
void blendLine(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    for (uint32_t i = 0; i < count; ++i) {
        blendPixel<targetMode, sourceMode>(target, source, rule);
        target += kPixelSize<targetMode>;
        source += kPixelSize<sourceMode>;
    }
}

/// The index of a mode in a table of all modes; a source of an unknown mode is read like a reserved
/// one, as nothing but zeros.
inline uint32_t sourceModeIndex(DsColorMode mode) {
    const auto number = static_cast<uint32_t>(mode);
    return number < kColorModeCount ? number : static_cast<uint32_t>(DsColorMode::Reserved6);
}

/// A value for every pair of a destination and a source mode.
template <typename Value>
struct ModePairTable {
    std::array<Value, uint64_t{kColorModeCount} * kColorModeCount> values;

    constexpr Value at(uint32_t target, uint32_t source) const {
        return values[uint64_t{target} * kColorModeCount + source];
    }
};

/// What `make` gives for one pair; destinations without pixels get an empty value.
template <typename Value, uint32_t target, uint32_t source, typename Make>
consteval Value makeModePairValue(Make make) {
    if constexpr (kBytesPerPixel[target] != 0) {
        return make.template operator()<DsColorMode{target}, DsColorMode{source}>();
    } else {
        return {};
    }
}

template <typename Value, typename Make, uint32_t... pair>
consteval ModePairTable<Value> makeModePairTable(Make make,
                                                 std::integer_sequence<uint32_t, pair...>) {
    return {{makeModePairValue<Value, pair / kColorModeCount, pair % kColorModeCount>(make)...}};
}

/// Makes such a table by calling `make` for each pair.
template <typename Value, typename Make>
consteval ModePairTable<Value> makeModePairTable(Make make) {
    return makeModePairTable<Value>(
        make, std::make_integer_sequence<uint32_t, kColorModeCount * kColorModeCount>());
}
