// The scalar definition of converting and blending: a decode, a compose and an encode function, combined for every
// pair of modes. Tests compare the SIMD rows of the backends with these.
#pragma once

#include "src/internal/mode_traits.h"

#include <cstdint>

namespace ds_detail {

/// The alpha of a decoded source pixel becomes alpha * alphaFactor / 255 + alphaTerm. The rule is
/// made from the alpha mode once per call, so that the loops do not test the mode.
struct SourceRule {
    DsColor constant; // the operation's color, which A8 sources paint
    uint32_t alphaFactor;
    uint32_t alphaTerm;

    bool keepsAlpha() const { return alphaFactor == 255; }
};

/// The rule for an alpha mode and a color word. Mode 0 uses the decoded alpha, 1 the word's alpha,
/// 2 their product divided by 255. Any other mode uses alpha 0.
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

/// One source pixel with its alpha changed by the rule.
template <DsColorMode mode>
inline DsColor decodeSource(const uint8_t* pixel, const SourceRule& rule) {
    DsColor color = ModeTraits<mode>::decode(loadPixel<mode>(pixel), rule.constant);
    color.alpha = color.alpha * rule.alphaFactor / 255 + rule.alphaTerm;
    return color;
}

/// `source` over `target`. Both divisions round down. The target's color is weighted by its alpha
/// and the sum is not divided by the new alpha: callers rely on a stored color that is multiplied by
/// its alpha.
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
    storePixel<targetMode>(target,
                           ModeTraits<targetMode>::encode(decodeSource<sourceMode>(source, rule)));
}

template <DsColorMode targetMode, DsColorMode sourceMode>
inline void blendPixel(uint8_t* target, const uint8_t* source, const SourceRule& rule) {
    const DsColor below = ModeTraits<targetMode>::decode(loadPixel<targetMode>(target), {});
    const DsColor above = decodeSource<sourceMode>(source, rule);
    storePixel<targetMode>(target, ModeTraits<targetMode>::encode(composeOver(below, above)));
}

template <DsColorMode targetMode, DsColorMode sourceMode>
void scalarConvertRow(uint8_t* target, const uint8_t* source, uint32_t count,
                      const SourceRule& rule) {
    for (uint32_t i = 0; i < count; ++i) {
        convertPixel<targetMode, sourceMode>(target, source, rule);
        target += ModeTraits<targetMode>::kBytes;
        source += ModeTraits<sourceMode>::kBytes;
    }
}

template <DsColorMode targetMode, DsColorMode sourceMode>
void scalarBlendRow(uint8_t* target, const uint8_t* source, uint32_t count,
                    const SourceRule& rule) {
    for (uint32_t i = 0; i < count; ++i) {
        blendPixel<targetMode, sourceMode>(target, source, rule);
        target += ModeTraits<targetMode>::kBytes;
        source += ModeTraits<sourceMode>::kBytes;
    }
}

} // namespace ds_detail
