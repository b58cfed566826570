// Instantiates the wide loops at both register widths and chooses among them.
#include "src/wide_loops.h"

#include "src/fast_paths.h"
#include "src/wide_block.h"

namespace {

template <typename Lanes, DsColorMode sourceMode>
DS_INLINE uint32_t convertToArgb(uint8_t* target, const uint8_t* source, uint32_t count,
                                 const SourceRule& rule) {
    const uint32_t done = count - count % Lanes::kCount;
    for (uint32_t i = 0; i < done; i += Lanes::kCount) {
        PixelBlock<Lanes> pixels;
        pixels.template load<sourceMode>(source, rule);
        if (!rule.keepsAlpha()) {
            pixels.applyAlpha(rule);
        }
        pixels.template store<DsColorMode::ARGB8888>(target);
        source += Lanes::kCount * kPixelSize<sourceMode>;
        target += Lanes::kCount * kPixelSize<DsColorMode::ARGB8888>;
    }
    return done;
}

template <typename Lanes, DsColorMode targetMode, DsColorMode sourceMode>
DS_INLINE uint32_t blend(uint8_t* target, const uint8_t* source, uint32_t count,
                         const SourceRule& rule) {
    const uint32_t done = count - count % Lanes::kCount;
    for (uint32_t i = 0; i < done; i += Lanes::kCount) {
        PixelBlock<Lanes> above;
        above.template load<sourceMode>(source, rule);
        if (!rule.keepsAlpha()) {
            above.applyAlpha(rule);
        }
        PixelBlock<Lanes> pixels;
        pixels.template load<targetMode>(target, rule);
        if (targetMode != DsColorMode::ARGB8888 || pixels.isOpaque()) {
            pixels.composeOverOpaque(above);
        } else {
            pixels.composeOver(above);
        }
        pixels.template store<targetMode>(target);
        source += Lanes::kCount * kPixelSize<sourceMode>;
        target += Lanes::kCount * kPixelSize<targetMode>;
    }
    return done;
}

template <DsColorMode sourceMode>
uint32_t convertToArgb128(uint8_t* target, const uint8_t* source, uint32_t count,
                          const SourceRule& rule) {
    return convertToArgb<FourLanes, sourceMode>(target, source, count, rule);
}

template <DsColorMode targetMode, DsColorMode sourceMode>
uint32_t blend128(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    return blend<FourLanes, targetMode, sourceMode>(target, source, count, rule);
}

#if defined(__x86_64__)
#define DS_TARGET_256 [[gnu::target("avx2")]]
#else
#define DS_TARGET_256
#endif

template <DsColorMode sourceMode>
DS_TARGET_256 uint32_t convertToArgb256(uint8_t* target, const uint8_t* source, uint32_t count,
                                        const SourceRule& rule) {
    return convertToArgb<EightLanes, sourceMode>(target, source, count, rule);
}

template <DsColorMode targetMode, DsColorMode sourceMode>
DS_TARGET_256 uint32_t blend256(uint8_t* target, const uint8_t* source, uint32_t count,
                                const SourceRule& rule) {
    return blend<EightLanes, targetMode, sourceMode>(target, source, count, rule);
}

// A pair of modes and its loop at both widths.
struct WidePair {
    DsColorMode target, source;
    WideLine line128, line256;
};

template <DsColorMode source>
constexpr WidePair kConvertPair = {DsColorMode::ARGB8888, source, convertToArgb128<source>,
                                   convertToArgb256<source>};

template <DsColorMode target, DsColorMode source>
constexpr WidePair kBlendPair = {target, source, blend128<target, source>,
                                 blend256<target, source>};

constexpr WidePair kConvertPairs[] = {
    kConvertPair<DsColorMode::ARGB8888>, kConvertPair<DsColorMode::RGB888>,
    kConvertPair<DsColorMode::RGB565>,   kConvertPair<DsColorMode::I8>,
    kConvertPair<DsColorMode::A8>,
};

constexpr WidePair kBlendPairs[] = {
    kBlendPair<DsColorMode::ARGB8888, DsColorMode::ARGB8888>,
    kBlendPair<DsColorMode::RGB888, DsColorMode::ARGB8888>,
    kBlendPair<DsColorMode::RGB565, DsColorMode::ARGB8888>,
    kBlendPair<DsColorMode::ARGB8888, DsColorMode::A8>,
    kBlendPair<DsColorMode::RGB888, DsColorMode::A8>,
};

template <uint32_t pairCount>
WideLine choose(const WidePair (&pairs)[pairCount], DsColorMode target, DsColorMode source) {
    for (const WidePair& pair : pairs) {
        if (pair.target == target && pair.source == source) {
            if (mayTakeFastPath(DsFastPath::Wide256)) {
                return pair.line256;
            }
            return mayTakeFastPath(DsFastPath::Wide128) ? pair.line128 : nullptr;
        }
    }
    return nullptr;
}

} // namespace

WideLine wideConvertLine(DsColorMode target, DsColorMode source) {
    return choose(kConvertPairs, target, source);
}

WideLine wideBlendLine(DsColorMode target, DsColorMode source) {
    return choose(kBlendPairs, target, source);
}
