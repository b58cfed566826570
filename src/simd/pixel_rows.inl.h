// SIMD rows of pixels: the scalar formulas of src/internal/pixel_loops.h on a register of pixels at a time.
//
// Included inside a namespace, after
//     src/simd/vec_<isa>.h                 U8, U16, U32, kPixels, mulHigh(), loads and stores
//     src/internal/pixel_loops.h           SourceRule, ModeTraits (outside the namespace)
//     using Mode = DsColorMode;
//
// Tried and rejected, with the reasons beside the code: 32-bit products, compile-time factors and masks, one store for
// both formulas of a blend, and opacity tests on SIMD lanes.

#include "src/simd/pixel_words.inl.h"

// ---- Division

/// floor(n / 255) for n up to 255^2: (n + 1) * 257 / 2^16.
inline U16 divideBy255(U16 values, const Constants& c) {
    return mulHigh(values + c.one, c.by257);
}

/// floor(p * rest / 255) for p up to 255^2 and rest up to 255. It equals floor(p * R / 65535) with R = 257 * rest.
/// p * R = 65536 high + low = 65535 high + (high + low), and (high + low) / 65535 is less than 2. So the quotient is
/// high, or high + 1 if high + low >= 65535.
inline U16 scaleBy(U16 products, U16 rest, const Constants& c) {
    const U16 factor = rest * c.by257;
    const U16 low = products * factor;
    const U16 high = mulHigh(products, factor);
    return high - U16(high >= ~low); // true is -1
}

/// Divides the numerators of blue and red, and of green and alpha, by 255 and combines the quotients into words.
inline U32 quotientWords(U16 blueRed, U16 greenAlpha, const Constants& c) {
    return U32(divideBy255(blueRed, c) | divideBy255(greenAlpha, c) << 8);
}

// ---- Whole rows

/// A loop over blocks of pixels, which are one register or two. `count` is a multiple of the block.
using BlocksLoop = void (*)(uint8_t* target, const uint8_t* source, uint32_t count,
                            const SourceRule& rule);

// A shorter tail goes through the scalar row. A SIMD loop on a buffer costs some 9 ns to start, as much as this number
// of scalar pixels. Composing a pixel takes longer than converting one.
constexpr uint32_t kMinConvertedTail = 6;
constexpr uint32_t kMinBlendedTail = 3;

/// Runs a loop on a row of any length. The tail has fewer pixels than a block. It goes through a buffer of one
/// block, or through the scalar row if it is shorter than `minTail`.
template <Mode targetMode, Mode sourceMode, BlocksLoop loop, BlocksLoop scalarRow, uint32_t minTail,
          uint32_t block = kPixels>
void finishRow(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    constexpr uint64_t kTargetBytes = ModeTraits<targetMode>::kBytes;
    constexpr uint64_t kSourceBytes = ModeTraits<sourceMode>::kBytes;
    const uint32_t tail = count % block;
    const uint32_t whole = count - tail;
    if (whole != 0) {
        loop(target, source, whole, rule);
    }
    if (tail < minTail) {
        scalarRow(target + whole * kTargetBytes, source + whole * kSourceBytes, tail, rule);
        return;
    }
    uint8_t targetTail[block * kTargetBytes] = {};
    uint8_t sourceTail[block * kSourceBytes] = {};
    std::memcpy(targetTail, target + whole * kTargetBytes, tail * kTargetBytes);
    std::memcpy(sourceTail, source + whole * kSourceBytes, tail * kSourceBytes);
    loop(targetTail, sourceTail, block, rule);
    std::memcpy(target + whole * kTargetBytes, targetTail, tail * kTargetBytes);
}

// ---- Conversion

inline U32 withAlphaByRule(U32 words, const SourceRule& rule, const Constants& c) {
    const U16 alpha = divideBy255(U16(words >> 24) * static_cast<uint16_t>(rule.alphaFactor), c);
    return (words & kColors) | (U32(alpha) + rule.alphaTerm) << 24;
}

template <Mode mode>
inline void storeByRule(U32 words, uint8_t* pixels, const SourceRule& rule, const Constants& c) {
    if (!rule.keepsAlpha()) {
        words = withAlphaByRule(words, rule, c);
    }
    storePixels<mode>(words, pixels, c);
}

template <Mode sourceMode>
constexpr uint32_t kConvertedBlock = kLoadsPairs<sourceMode> ? 2 * kPixels : kPixels;

template <Mode targetMode, Mode sourceMode>
[[gnu::noinline, gnu::flatten]] void convertBlocks(uint8_t* target, const uint8_t* source,
                                                   uint32_t count, const SourceRule& callersRule) {
    constexpr uint32_t kBlock = kConvertedBlock<sourceMode>;
    constexpr uint64_t kTargetBytes = ModeTraits<targetMode>::kBytes;
    // Local copy: stores through `target` may alias the caller's object.
    const SourceRule rule = callersRule;
    const Constants constants;
// Four blocks per iteration save a quarter of the time on the fastest pairs of modes, where the loop counter would
// cost more than the unrolling.
#pragma GCC unroll 4
    for (uint32_t i = 0; i < count; i += kBlock) {
        if constexpr (kLoadsPairs<sourceMode>) {
            const WordPair words = loadPixelPair<sourceMode>(source, constants);
            storeByRule<targetMode>(words.first, target, rule, constants);
            storeByRule<targetMode>(words.second, target + kPixels * kTargetBytes, rule, constants);
        } else {
            storeByRule<targetMode>(loadPixels<sourceMode>(source, rule, constants), target, rule,
                                    constants);
        }
        source += kBlock * ModeTraits<sourceMode>::kBytes;
        target += kBlock * kTargetBytes;
    }
}

template <Mode target, Mode source>
constexpr PixelRow kConvertRow =
    finishRow<target, source, convertBlocks<target, source>, scalarConvertRow<target, source>,
              kMinConvertedTail, kConvertedBlock<source>>;

/// Converting to the same mode is a copy if the rule keeps the alpha. ARGB1555 is the exception: its encoding does
/// not undo its decoding.
template <Mode mode>
void convertSameMode(uint8_t* target, const uint8_t* source, uint32_t count,
                     const SourceRule& rule) {
    if (!ModeTraits<mode>::kHasAlpha || rule.keepsAlpha()) {
        // Source and target may be the same pixels. For large arrays the C library uses stores that bypass the
        // caches, which costs a tenth on a screenful, so the copy is made in pieces.
        constexpr uint64_t kPiece = 8192;
        const uint64_t byteCount = uint64_t{count} * ModeTraits<mode>::kBytes;
        for (uint64_t done = 0; done < byteCount; done += kPiece) {
            std::memmove(target + done, source + done, std::min(kPiece, byteCount - done));
        }
    } else if constexpr (mode == Mode::ARGB8888) {
        kConvertRow<mode, mode>(target, source, count, rule);
    } else {
        scalarConvertRow<mode, mode>(target, source, count, rule);
    }
}

/// The row function of a pair of modes, or null where the scalar row is used.
template <Mode target, Mode source>
constexpr PixelRow convertRowOf() {
    constexpr bool arePixels = ModeTraits<target>::kBytes != 0 && ModeTraits<source>::kBytes != 0;
    if constexpr (arePixels && target == source && target != Mode::ARGB1555) {
        return convertSameMode<target>;
    } else if constexpr (arePixels && (target == Mode::ARGB8888 || source == Mode::ARGB8888)) {
        return kConvertRow<target, source>;
    } else {
        return nullptr;
    }
}

// ---- Composition

/// A register of source pixels, prepared for a composition. Both 16-bit lanes of a word have a copy of its pixel's
/// alpha. `greenAlpha` has 255 in place of the alpha, so that one formula serves all four channels.
struct SourceBlock {
    U16 alpha, blueRed, greenAlpha;
};

// Each channel multiplied by the pixel's alpha. The alpha itself counts as a channel of 255.
struct Products {
    U16 blueRed, greenAlpha;
};

inline Products timesOwnAlpha(U32 words, const Constants& c) {
    const U16 alpha = spreadAlpha(words) & c.low;
    return {(U16(words) & c.low) * alpha, (U16(words) >> 8 | c.opaque) * alpha};
}

/// Composes `source` over pixels that are all opaque. The formula becomes
/// (target * (255 - s) + source * s) / 255. Its numerator is below 2^16 and computed as
/// target * 255 + (source - target) * s, with arithmetic that wraps.
inline U32 composeOverOpaque(U32 words, const SourceBlock& source, const Constants& c) {
    const U16 stored = U16(words);
    const U16 blueRed = stored & c.low;
    const U16 greenAlpha = stored >> 8;
    return quotientWords(
        (stored << 8) - blueRed + (source.blueRed - blueRed) * source.alpha,
        (stored & c.high) - greenAlpha + (source.greenAlpha - greenAlpha) * source.alpha, c);
}

/// Composes `source` over any pixels: floor((P r + 255 Y) / 255^2) with P = target * its alpha, r = 255 - s and
/// Y = source * s. It equals floor((floor(P r / 255) + Y) / 255), which needs 16-bit lanes only: 0.40 ns per pixel,
/// instead of 1.09 with 32-bit lanes.
inline U32 composeOver(U32 words, const SourceBlock& source, const Constants& c) {
    const Products target = timesOwnAlpha(words, c);
    const U16 rest = c.low - source.alpha;
    return quotientWords(scaleBy(target.blueRed, rest, c) + source.blueRed * source.alpha,
                         scaleBy(target.greenAlpha, rest, c) + source.greenAlpha * source.alpha, c);
}

/// Composes a source of alpha 0 over any pixels.
inline U32 composeNothingOver(U32 words, const Constants& c) {
    const Products target = timesOwnAlpha(words, c);
    return quotientWords(target.blueRed, target.greenAlpha, c);
}

// Tests whether all ARGB8888 pixels of a register are opaque, or all clear (alpha 0). Uses scalar loads from memory:
// the integer ports are idle here, and moving SIMD lanes to them is slow.
constexpr uint64_t kAlphaPair = 0xFF000000FF000000;

inline uint64_t pixelPair(const uint8_t* pixels, uint32_t first) {
    uint64_t pair;
    std::memcpy(&pair, pixels + uint64_t{first} * ModeTraits<Mode::ARGB8888>::kBytes, sizeof pair);
    return pair;
}

inline bool areOpaque(const uint8_t* pixels) {
    uint64_t all = kAlphaPair;
    for (uint32_t i = 0; i < kPixels; i += 2) {
        all &= pixelPair(pixels, i);
    }
    return all == kAlphaPair;
}

inline bool areClear(const uint8_t* pixels) {
    uint64_t any = 0;
    for (uint32_t i = 0; i < kPixels; i += 2) {
        any |= pixelPair(pixels, i);
    }
    return (any & kAlphaPair) == 0;
}

inline bool areEqualBytes(const uint8_t* bytes, uint8_t value) {
    uint8_t block[kPixels];
    std::memset(block, value, sizeof block);
    return std::memcmp(bytes, block, sizeof block) == 0;
}

/// The source of a blend: an alpha and a color for each pixel, by mode and rule. `keepsAlpha` is a template argument
/// because a test in the loop costs a fifth on masks.
template <Mode mode, bool keepsAlpha>
struct BlendSource {
    SourceRule rule;
    // The values of the rule, in every lane.
    U16 alphaFactor, alphaTerm, blueRed, greenAlpha;

    explicit BlendSource(const SourceRule& callersRule)
        : rule(callersRule) {
        alphaFactor = U16{} + static_cast<uint16_t>(rule.alphaFactor);
        alphaTerm = U16{} + static_cast<uint16_t>(rule.alphaTerm);
        blueRed = U16(U32{} + (rule.constant.red << 16 | rule.constant.blue));
        greenAlpha = U16(U32{} + (0x00FF0000U | rule.constant.green));
    }

    // Shortcuts for registers that are all clear or all opaque: twice as fast on icons and glyphs, which have many of
    // them. Others lose nothing, because the first pixel alone excludes most mixed registers.
    bool isClear(const uint8_t* pixels) const {
        if constexpr (mode == Mode::ARGB8888) {
            return pixels[3] == 0 && hasNoTerm() && areClear(pixels);
        } else if constexpr (mode == Mode::A8) {
            return hasNoTerm() && areEqualBytes(pixels, 0);
        } else {
            return false;
        }
    }

    bool isOpaque(const uint8_t* pixels) const {
        if constexpr (mode == Mode::ARGB8888) {
            return keepsAlpha && pixels[3] == 255 && areOpaque(pixels);
        } else if constexpr (mode == Mode::A8) {
            return keepsAlpha && areEqualBytes(pixels, 0xFF);
        } else {
            return keepsAlpha && !ModeTraits<mode>::kHasAlpha;
        }
    }

    SourceBlock load(const uint8_t* pixels, const Constants& c) const {
        SourceBlock block;
        U16 alpha;
        if constexpr (mode == Mode::A8) {
            alpha = U16(loadU8(pixels));
            block.blueRed = blueRed;
            block.greenAlpha = greenAlpha;
        } else {
            const U32 words = loadPixels<mode>(pixels, rule, c);
            alpha = spreadAlpha(words);
            block.blueRed = U16(words) & c.low;
            block.greenAlpha = U16(words) >> 8 | c.opaque;
        }
        block.alpha = alpha & c.low;
        if constexpr (!keepsAlpha) {
            block.alpha = divideBy255(block.alpha * alphaFactor, c) + alphaTerm;
        }
        return block;
    }

private:
    // A rule that keeps the alpha adds nothing to it.
    bool hasNoTerm() const { return keepsAlpha || rule.alphaTerm == 0; }
};

/// Whether the pixels of a register are known to be opaque.
template <Mode mode>
inline bool isTargetOpaque(const uint8_t* pixels) {
    return mode != Mode::ARGB8888 || areOpaque(pixels);
}

template <Mode targetMode, Mode sourceMode, bool keepsAlpha>
[[gnu::noinline, gnu::flatten]] void blendBlocks(uint8_t* target, const uint8_t* source,
                                                 uint32_t count, const SourceRule& rule) {
    const BlendSource<sourceMode, keepsAlpha> colors(rule);
    const Constants constants;
    // Coverage comes in runs, so a covered register of a mask does not read its target. For other sources the test is
    // faster before the branch (random alpha on opaque pixels: 0.24 ns per pixel instead of 0.34).
    constexpr bool kTestsTargetFirst = sourceMode != Mode::A8;
    for (uint32_t i = 0; i < count; i += kPixels) {
        bool targetIsOpaque = false;
        if constexpr (kTestsTargetFirst) {
            targetIsOpaque = isTargetOpaque<targetMode>(target);
        }
        if (colors.isOpaque(source)) {
            // The formula gives the source itself.
            storePixels<targetMode>(loadPixels<sourceMode>(source, colors.rule, constants), target,
                                    constants);
        } else {
            if constexpr (!kTestsTargetFirst) {
                targetIsOpaque = isTargetOpaque<targetMode>(target);
            }
            if (colors.isClear(source)) {
                if (!targetIsOpaque) { // An opaque target stays as it is.
                    const U32 words = loadPixels<targetMode>(target, colors.rule, constants);
                    storePixels<targetMode>(composeNothingOver(words, constants), target,
                                            constants);
                }
            } else {
                const U32 words = loadPixels<targetMode>(target, colors.rule, constants);
                const SourceBlock above = colors.load(source, constants);
                // Each formula has its own store: a common store took 12 % longer on opaque targets (g++ 12).
                if (targetIsOpaque) {
                    storePixels<targetMode>(composeOverOpaque(words, above, constants), target,
                                            constants);
                } else {
                    storePixels<targetMode>(composeOver(words, above, constants), target,
                                            constants);
                }
            }
        }
        source += kPixels * ModeTraits<sourceMode>::kBytes;
        target += kPixels * ModeTraits<targetMode>::kBytes;
    }
}

template <Mode target, Mode source, bool keepsAlpha>
constexpr PixelRow kBlendRow = finishRow<target, source, blendBlocks<target, source, keepsAlpha>,
                                         scalarBlendRow<target, source>, kMinBlendedTail>;

template <Mode targetMode, Mode sourceMode>
void blendRow(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    const PixelRow row = rule.keepsAlpha() ? kBlendRow<targetMode, sourceMode, true>
                                           : kBlendRow<targetMode, sourceMode, false>;
    row(target, source, count, rule);
}

/// The row function of a pair of modes, or null where the scalar row is used.
template <Mode target, Mode source>
constexpr PixelRow blendRowOf() {
    constexpr bool isMixed = source == Mode::ARGB8888 || source == Mode::A8;
    // ARGB1555 pixels decode with alpha 0. Blending them is rare, so the scalar row is used.
    constexpr bool isBlended = ModeTraits<source>::kBytes != 0 && source != Mode::ARGB1555;
    if constexpr ((target == Mode::ARGB8888 && isBlended) ||
                  ((target == Mode::RGB888 || target == Mode::RGB565) && isMixed)) {
        return blendRow<target, source>;
    } else {
        return nullptr;
    }
}

constexpr auto kConvertRows = makeModePairTable<PixelRow>(
    []<Mode target, Mode source>() { return convertRowOf<target, source>(); });

constexpr auto kBlendRows = makeModePairTable<PixelRow>(
    []<Mode target, Mode source>() { return blendRowOf<target, source>(); });
