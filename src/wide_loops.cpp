// Instantiates the wide loops at both register widths and chooses among them.
#include "src/wide_loops.h"

#include "src/fast_paths.h"
#include "src/wide_block.h"

#include <algorithm>

using namespace ds_detail;

namespace {

using Mode = DsColorMode;

// Copies pixels of one mode as they are, as far as the rule leaves their alpha alone. Widening and
// narrowing again gives the same channel, so only ARGB1555 is no such mode.
template <Mode mode>
uint32_t copy(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    if (count == 0 || (ModeTraits<mode>::kHasAlpha && !rule.keepsAlpha())) {
        return 0;
    }
    // They may be the same pixels. Moved in one piece, large blocks take the C library's way around
    // the caches, which costs a tenth on a screenful.
    constexpr uint64_t kPiece = 8192;
    const uint64_t byteCount = uint64_t{count} * ModeTraits<mode>::kBytes;
    for (uint64_t done = 0; done < byteCount; done += kPiece) {
        std::memmove(target + done, source + done, std::min(kPiece, byteCount - done));
    }
    return count;
}

template <typename Lanes, Mode targetMode, Mode sourceMode>
DS_INLINE uint32_t convert(uint8_t* target, const uint8_t* source, uint32_t count,
                           const SourceRule& callersRule) {
    if (targetMode == sourceMode && callersRule.keepsAlpha()) {
        return copy<targetMode>(target, source, count, callersRule);
    }
    const SourceRule rule = callersRule; // which stores into pixels cannot change
    const Constants<Lanes> constants;
    const uint32_t done = count - count % Lanes::kCount;
// Four blocks a turn take a quarter off the lightest pairs, which the counting would outweigh.
#pragma GCC unroll 4
    for (uint32_t i = 0; i < done; i += Lanes::kCount) {
        PixelBlock<Lanes> pixels;
        pixels.template load<sourceMode>(source, rule, constants);
        if (!rule.keepsAlpha()) {
            pixels.applyAlpha(rule, constants);
        }
        pixels.template store<targetMode>(target, constants);
        source += Lanes::kCount * ModeTraits<sourceMode>::kBytes;
        target += Lanes::kCount * ModeTraits<targetMode>::kBytes;
    }
    return done;
}

// Whether `count` pixels of four bytes are all opaque, and whether all have alpha 0. Asked of memory:
// the integer units are idle, and moving registers over to them is slow.
constexpr uint64_t kAlphas = 0xFF000000FF000000;

DS_INLINE uint64_t pixelPair(const uint8_t* pixels, uint32_t first) {
    uint64_t pair;
    std::memcpy(&pair, pixels + uint64_t{first} * ModeTraits<Mode::ARGB8888>::kBytes, sizeof pair);
    return pair;
}

template <uint32_t count>
DS_INLINE bool areOpaque(const uint8_t* pixels) {
    uint64_t all = kAlphas;
    for (uint32_t i = 0; i < count; i += 2) {
        all &= pixelPair(pixels, i);
    }
    return all == kAlphas;
}

template <uint32_t count>
DS_INLINE bool areClear(const uint8_t* pixels) {
    uint64_t any = 0;
    for (uint32_t i = 0; i < count; i += 2) {
        any |= pixelPair(pixels, i);
    }
    return (any & kAlphas) == 0;
}

// What the pixels of a source come to, block by block: an alpha and a colour each.
template <typename Lanes, Mode mode>
struct Source {
    using Words = typename Lanes::Words;
    using Halves = typename Lanes::Halves;

    SourceRule rule;
    // Of the rule, in every lane.
    Halves alphaFactor, alphaTerm, blueRed, greenAlpha;

    DS_INLINE explicit Source(const SourceRule& callersRule)
        : rule(callersRule) {
        alphaFactor = Halves{} + static_cast<uint16_t>(rule.alphaFactor);
        alphaTerm = Halves{} + static_cast<uint16_t>(rule.alphaTerm);
        blueRed = Halves(Words{} + (rule.constant.red << 16 | rule.constant.blue));
        greenAlpha = Halves(Words{} + (0x00FF0000U | rule.constant.green));
    }

    // Shortcuts for whole blocks, which icons and glyphs are full of: twice as fast on them, and not
    // felt elsewhere, since the first pixel alone tells most mixed blocks.
    DS_INLINE bool isClear(const uint8_t* pixels) const {
        if constexpr (mode == Mode::ARGB8888) {
            return pixels[3] == 0 && rule.alphaTerm == 0 && areClear<Lanes::kCount>(pixels);
        } else if constexpr (mode == Mode::A8) {
            return rule.alphaTerm == 0 && equalBytes(pixels, 0);
        } else {
            return false;
        }
    }

    DS_INLINE bool isOpaque(const uint8_t* pixels) const {
        if constexpr (mode == Mode::ARGB8888) {
            return pixels[3] == 255 && rule.keepsAlpha() && areOpaque<Lanes::kCount>(pixels);
        } else if constexpr (mode == Mode::A8) {
            return rule.keepsAlpha() && equalBytes(pixels, 0xFF);
        } else {
            return !ModeTraits<mode>::kHasAlpha && rule.keepsAlpha();
        }
    }

    DS_INLINE void load(const uint8_t* pixels, SourceBlock<Lanes>& block,
                        const Constants<Lanes>& c) const {
        Halves alpha;
        if constexpr (mode == Mode::A8) {
            Words coverage;
            Lanes::loadBytes(pixels, coverage);
            alpha = Halves(coverage);
            block.blueRed = blueRed;
            block.greenAlpha = greenAlpha;
        } else {
            PixelBlock<Lanes> colors;
            colors.template load<mode>(pixels, rule, c);
            Lanes::spreadAlpha(colors.words, alpha);
            block.blueRed = Halves(colors.words) & c.low;
            block.greenAlpha = Halves(colors.words) >> 8 | c.opaque;
        }
        alpha &= c.low;
        if (rule.keepsAlpha()) {
            block.alpha = alpha;
        } else {
            PixelBlock<Lanes>::divideBy255(alpha * alphaFactor, block.alpha, c);
            block.alpha += alphaTerm;
        }
    }

private:
    DS_INLINE static bool equalBytes(const uint8_t* bytes, uint8_t value) {
        uint8_t block[Lanes::kCount];
        std::memset(block, value, sizeof block);
        return std::memcmp(bytes, block, sizeof block) == 0;
    }
};

template <typename Lanes, Mode targetMode>
DS_INLINE bool targetIsOpaque(const uint8_t* pixels) {
    if constexpr (targetMode == Mode::ARGB8888) {
        return areOpaque<Lanes::kCount>(pixels);
    } else {
        return true;
    }
}

template <typename Lanes, Mode targetMode, Mode sourceMode>
DS_INLINE uint32_t blend(uint8_t* target, const uint8_t* source, uint32_t count,
                         const SourceRule& rule) {
    const Source<Lanes, sourceMode> colors(rule);
    const Constants<Lanes> constants;
    const uint32_t done = count - count % Lanes::kCount;
    for (uint32_t i = 0; i < done; i += Lanes::kCount) {
        const bool isOpaque = targetIsOpaque<Lanes, targetMode>(target);
        const bool nothing = colors.isClear(source);
        PixelBlock<Lanes> pixels;
        if (colors.isOpaque(source)) {
            // The formula gives the source itself.
            pixels.template load<sourceMode>(source, colors.rule, constants);
            pixels.template store<targetMode>(target, constants);
        } else if (!(nothing && isOpaque)) { // that would leave the target
            pixels.template load<targetMode>(target, colors.rule, constants);
            SourceBlock<Lanes> above;
            if (nothing) {
                pixels.composeNothingOver(constants);
            } else if (isOpaque) {
                colors.load(source, above, constants);
                pixels.composeOverOpaque(above, constants);
            } else {
                colors.load(source, above, constants);
                pixels.composeOver(above, constants);
            }
            pixels.template store<targetMode>(target, constants);
        }
        source += Lanes::kCount * ModeTraits<sourceMode>::kBytes;
        target += Lanes::kCount * ModeTraits<targetMode>::kBytes;
    }
    return done;
}

// Blends the last pixels, fewer than a block, by way of a block of their own: as good as done in 15
// ns, where the plain loop takes 5 ns a pixel. Returns how many that were.
template <Mode targetMode, Mode sourceMode, uint32_t block>
uint32_t blendRest(WideLine line, uint8_t* target, const uint8_t* source, uint32_t count,
                   const SourceRule& rule) {
    if (count < kMinBlended) {
        return 0;
    }
    uint8_t targetBlock[block * ModeTraits<targetMode>::kBytes] = {};
    uint8_t sourceBlock[block * ModeTraits<sourceMode>::kBytes] = {};
    std::memcpy(targetBlock, target, uint64_t{count} * ModeTraits<targetMode>::kBytes);
    std::memcpy(sourceBlock, source, uint64_t{count} * ModeTraits<sourceMode>::kBytes);
    line(targetBlock, sourceBlock, block, rule);
    std::memcpy(target, targetBlock, uint64_t{count} * ModeTraits<targetMode>::kBytes);
    return count;
}

template <Mode targetMode, Mode sourceMode>
uint32_t convert128(uint8_t* target, const uint8_t* source, uint32_t count,
                    const SourceRule& rule) {
    return convert<FourLanes, targetMode, sourceMode>(target, source, count, rule);
}

template <Mode targetMode, Mode sourceMode>
uint32_t blend128(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    const uint32_t done = blend<FourLanes, targetMode, sourceMode>(target, source, count, rule);
    return done + blendRest<targetMode, sourceMode, FourLanes::kCount>(
                      blend128<targetMode, sourceMode>,
                      target + uint64_t{done} * ModeTraits<targetMode>::kBytes,
                      source + uint64_t{done} * ModeTraits<sourceMode>::kBytes, count - done, rule);
}

template <Mode targetMode, Mode sourceMode>
DS_TARGET_256 uint32_t convert256(uint8_t* target, const uint8_t* source, uint32_t count,
                                  const SourceRule& rule) {
    return convert<EightLanes, targetMode, sourceMode>(target, source, count, rule);
}

template <Mode targetMode, Mode sourceMode>
DS_TARGET_256 uint32_t blend256(uint8_t* target, const uint8_t* source, uint32_t count,
                                const SourceRule& rule) {
    const uint32_t done = blend<EightLanes, targetMode, sourceMode>(target, source, count, rule);
    return done + blendRest<targetMode, sourceMode, EightLanes::kCount>(
                      blend256<targetMode, sourceMode>,
                      target + uint64_t{done} * ModeTraits<targetMode>::kBytes,
                      source + uint64_t{done} * ModeTraits<sourceMode>::kBytes, count - done, rule);
}

// The loops of a pair of modes at both widths, or none.
struct WideLines {
    WideLine line128, line256;
};

template <Mode target, Mode source>
consteval WideLines convertLines() {
    constexpr bool arePixels = ModeTraits<target>::kBytes != 0 && ModeTraits<source>::kBytes != 0;
    if constexpr (arePixels && (target == Mode::ARGB8888 || source == Mode::ARGB8888)) {
        return {convert128<target, source>, convert256<target, source>};
    } else if constexpr (arePixels && target == source && target != Mode::ARGB1555) {
        return {copy<target>, copy<target>};
    } else {
        return {};
    }
}

template <Mode target, Mode source>
consteval WideLines blendLines() {
    constexpr bool isMixed = source == Mode::ARGB8888 || source == Mode::A8;
    // A pixel of ARGB1555 has no alpha, so nobody blends any.
    constexpr bool isBlended = ModeTraits<source>::kBytes != 0 && source != Mode::ARGB1555;
    if constexpr ((target == Mode::ARGB8888 && isBlended) ||
                  ((target == Mode::RGB888 || target == Mode::RGB565) && isMixed)) {
        return {blend128<target, source>, blend256<target, source>};
    } else {
        return {};
    }
}

constexpr auto kConvertLines = makeModePairTable<WideLines>(
    []<Mode target, Mode source>() { return convertLines<target, source>(); });

constexpr auto kBlendLines = makeModePairTable<WideLines>(
    []<Mode target, Mode source>() { return blendLines<target, source>(); });

WideLine choose(const ModePairTable<WideLines>& table, Mode target, Mode source) {
    if (bytesPerPixel(target) == 0) {
        return nullptr;
    }
    const WideLines lines = table.at(static_cast<uint32_t>(target), static_cast<uint32_t>(source));
    if (mayTakeFastPath(DsFastPath::Wide256)) {
        return lines.line256;
    }
    return mayTakeFastPath(DsFastPath::Wide128) ? lines.line128 : nullptr;
}

} // namespace

WideLine wideConvertLine(Mode target, Mode source) {
    return choose(kConvertLines, target, source);
}

WideLine wideBlendLine(Mode target, Mode source) {
    return choose(kBlendLines, target, source);
}
