// Rows of pixels by SIMD: the scalar formulas of src/internal/pixel_loops.h on a register of pixels at a time.
//
// Included inside a namespace, after
//     src/simd/vec_<isa>.h                 U8, U16, U32, kPixels, mulHigh(), loads and stores
//     src/internal/pixel_loops.h           SourceRule, ModeTraits (outside of the namespace)
//     using Mode = DsColorMode;
//
// A register holds kPixels pixels as ARGB8888 words. Formulas run on 16-bit lanes, two channels of a word at a
// time:
//
//     word of a pixel      | alpha | red | green | blue |
//     blueRed              |   0     red |   0     blue |      word & 0x00FF00FF
//     greenAlpha           |   0   alpha |   0    green |      word >> 8 in each half
//
// No intermediate value needs more than 16 bits, except a product of which only the upper 16 bits are used
// (mulHigh). The bounds stand beside the formulas. Tried and rejected, with the times where they were tried: products
// of 32 bits, factors and masks that the compiler knows, one store for both formulas of a blend, and tests of opacity
// by SIMD lanes.

/// What a register of source pixels brings to a composition. Both halves of a word have their own copy of its
/// pixel's alpha; `greenAlpha` has 255 in the alpha's place, by which one formula serves all four channels.
struct SourceBlock {
    U16 alpha, blueRed, greenAlpha;
};

/// What the formulas multiply by, add and mask with, in every lane. A loop reads them once, through a volatile:
/// g++ 12 computes a product by a factor that it knows by half a dozen shifts and sums (RGB565 into ARGB8888
/// took 0.27 ns a pixel instead of 0.17), and makes a constant that it knows anew wherever a branch uses it
/// (masks took 0.44 instead of 0.33).
struct Constants {
    U16 widen5, widen6;   // factors; widen6 times 4
    U16 narrow5, narrow6; // factors of mulHigh
    U16 one, by257;
    U16 low, high; // masks of the lower and of the upper byte
    U16 opaque;    // 255 in the upper half of a word

    Constants() {
        static constexpr volatile uint16_t kHalves[] = {527, 259 * 4, 7971, 16192,
                                                        1,   257,     0xFF, 0xFF00};
        static constexpr volatile uint32_t kWord = 0x00FF0000U;
        widen5 = U16{} + kHalves[0];
        widen6 = U16{} + kHalves[1];
        narrow5 = U16{} + kHalves[2];
        narrow6 = U16{} + kHalves[3];
        one = U16{} + kHalves[4];
        by257 = U16{} + kHalves[5];
        low = U16{} + kHalves[6];
        high = U16{} + kHalves[7];
        opaque = U16(U32{} + kWord);
    }
};

// ---- Division

/// floor(n / 255) for n up to 255^2: (n + 1) * 257 / 2^16.
inline U16 divideBy255(U16 values, const Constants& c) {
    return mulHigh(values + c.one, c.by257);
}

/// floor(p * rest / 255) for p up to 255^2 and rest up to 255, which is floor(p * R / 65535) with
/// R = 257 * rest. Of p * R = 65536 high + low = 65535 high + (high + low), the sum holds 65535 once more or
/// not at all.
inline U16 scaleBy(U16 products, U16 rest, const Constants& c) {
    const U16 factor = rest * c.by257;
    const U16 low = products * factor;
    const U16 high = mulHigh(products, factor);
    return high - U16(high >= ~low); // true is -1
}

/// Divides the numerators of blue and red, and of green and alpha, by 255 and puts the quotients in their places.
inline U32 quotientWords(U16 blueRed, U16 greenAlpha, const Constants& c) {
    return U32(divideBy255(blueRed, c) | divideBy255(greenAlpha, c) << 8);
}

// ---- Loads and stores of each mode

constexpr uint32_t kAlphas = 0xFF000000U;
constexpr uint32_t kColors = 0x00FFFFFFU;

// The channel formulas stay below 2^16, so they run on red and blue at a time, one in each half of the word.
// Green is computed times 4, which leaves it at its place after a mask.

inline U32 load565(const uint8_t* pixels, const Constants& c) {
    const U32 stored = loadU16(pixels);
    const U16 redBlue = U16((stored << 5 & 0x001F0000U) | (stored & 31U));
    const U16 green = U16(stored >> 5 & 63U);
    // What is added above green is alpha.
    return U32((redBlue * c.widen5 + 23) >> 6) |
           (U32(green * c.widen6 + U16(U32{} + (kAlphas | 33 * 4))) & 0xFF00FF00U);
}

inline U32 load1555(const uint8_t* pixels, const Constants& c) {
    const U32 stored = loadU16(pixels);
    const U16 redBlue = U16((stored << 6 & 0x001F0000U) | (stored & 31U));
    const U16 green = U16(stored >> 5 & 31U) << 2;
    return U32((redBlue * c.widen5 + 23) >> 6) | (U32(green * c.widen5 + 23 * 4) & 0xFF00U);
}

// Four bits are widened by repeating them.
inline U32 load4444(const uint8_t* pixels) {
    const U16 apart = U16(loadU8Pairs(pixels)) & 0xF00F;
    return U32(apart | apart >> 4 | apart << 4);
}

// (v + 4) * 7971 / 2^16 and (v + 2) * 16192 / 2^16 narrow every byte as the scalar formulas do.
inline void store565(U32 words, uint8_t* pixels, const Constants& c) {
    const U16 redBlue = mulHigh((U16(words) & 0xFF) + 4, c.narrow5);
    const U16 green = mulHigh((U16(words) >> 8) + 2, c.narrow6);
    storeU16(U32(redBlue) | U32(redBlue) >> 5 | U32(green << 5), pixels);
}

// (v * 527 + 23) >> 6, of which v * 512 is taken out to stay below 2^16.
inline U16 overWiden(U16 values) {
    return (values << 3) + ((values * 15 + 23) >> 6);
}

inline void store1555(U32 words, uint8_t* pixels) {
    const U16 redBlue = overWiden(U16(words) & 0xFF);
    const U16 green = overWiden(U16(words >> 8 & 0xFFU));
    storeU16((words >> 16 & 0x8000U) + (U32(redBlue) >> 16 << 10) + (U32(green) << 5) +
                 (U32(redBlue) & 0xFFFFU),
             pixels);
}

inline void store4444(U32 words, uint8_t* pixels) {
    const U16 redBlue = ((U16(words) & 0xFF) * 15 + 135) >> 8;
    const U16 alphaGreen = ((U16(words) >> 8) * 15 + 135) >> 4 & 0xF0;
    const U32 bytes = U32(redBlue | alphaGreen);
    storeU16(bytes | bytes >> 8, pixels);
}

template <Mode mode>
inline U32 loadPixels(const uint8_t* pixels, const SourceRule& rule, const Constants& c) {
    if constexpr (mode == Mode::ARGB8888) {
        U32 words;
        std::memcpy(&words, pixels, sizeof words);
        return words;
    } else if constexpr (mode == Mode::RGB888) {
        return loadU24(pixels) | kAlphas;
    } else if constexpr (mode == Mode::RGB565) {
        return load565(pixels, c);
    } else if constexpr (mode == Mode::ARGB1555) {
        return load1555(pixels, c);
    } else if constexpr (mode == Mode::ARGB4444) {
        return load4444(pixels);
    } else if constexpr (mode == Mode::I8) {
        return loadU8(pixels) | kAlphas;
    } else if constexpr (mode == Mode::AI88) {
        const U32 words = loadU16(pixels);
        return (words & 0xFFFF00FFU) | (words << 8 & 0xFF00U);
    } else {
        static_assert(mode == Mode::A8, "add loads and stores for this mode");
        return (loadU8(pixels) & kAlphas) | ModeTraits<Mode::RGB888>::encode(rule.constant);
    }
}

template <Mode mode>
inline void storePixels(U32 words, uint8_t* pixels, const Constants& c) {
    if constexpr (mode == Mode::ARGB8888) {
        std::memcpy(pixels, &words, sizeof words);
    } else if constexpr (mode == Mode::RGB888) {
        storeU24(words, pixels);
    } else if constexpr (mode == Mode::RGB565) {
        store565(words, pixels, c);
    } else if constexpr (mode == Mode::ARGB1555) {
        store1555(words, pixels);
    } else if constexpr (mode == Mode::ARGB4444) {
        store4444(words, pixels);
    } else if constexpr (mode == Mode::I8) {
        storeU8(words, pixels);
    } else if constexpr (mode == Mode::AI88) {
        storeU16((words >> 16 & 0xFF00U) | (words & 0xFFU), pixels);
    } else {
        static_assert(mode == Mode::A8, "add loads and stores for this mode");
        storeU8(words >> 24, pixels);
    }
}

// ---- Whole rows

/// Works on whole registers of pixels; `count` is a multiple of kPixels.
using BlocksLoop = void (*)(uint8_t* target, const uint8_t* source, uint32_t count,
                            const SourceRule& rule);

// Shorter tails take the scalar row: starting a SIMD loop on a buffer takes as long as that many pixels, some
// 9 ns. Composing a pixel takes longer than converting one.
constexpr uint32_t kMinConvertedTail = 6;
constexpr uint32_t kMinBlendedTail = 3;

/// Runs a loop on a row of any length. The tail, fewer than kPixels pixels, goes through a buffer of one register,
/// or where it is shorter than `minTail` through the scalar row.
template <Mode targetMode, Mode sourceMode, BlocksLoop loop, BlocksLoop scalarRow, uint32_t minTail>
void finishRow(uint8_t* target, const uint8_t* source, uint32_t count, const SourceRule& rule) {
    constexpr uint64_t kTargetBytes = ModeTraits<targetMode>::kBytes;
    constexpr uint64_t kSourceBytes = ModeTraits<sourceMode>::kBytes;
    const uint32_t tail = count % kPixels;
    const uint32_t whole = count - tail;
    if (whole != 0) {
        loop(target, source, whole, rule);
    }
    if (tail < minTail) {
        scalarRow(target + whole * kTargetBytes, source + whole * kSourceBytes, tail, rule);
        return;
    }
    uint8_t targetTail[kPixels * kTargetBytes] = {};
    uint8_t sourceTail[kPixels * kSourceBytes] = {};
    std::memcpy(targetTail, target + whole * kTargetBytes, tail * kTargetBytes);
    std::memcpy(sourceTail, source + whole * kSourceBytes, tail * kSourceBytes);
    loop(targetTail, sourceTail, kPixels, rule);
    std::memcpy(target + whole * kTargetBytes, targetTail, tail * kTargetBytes);
}

// ---- Conversion

inline U32 withAlphaByRule(U32 words, const SourceRule& rule, const Constants& c) {
    const U16 alpha = divideBy255(U16(words >> 24) * static_cast<uint16_t>(rule.alphaFactor), c);
    return (words & kColors) | (U32(alpha) + rule.alphaTerm) << 24;
}

template <Mode targetMode, Mode sourceMode>
[[gnu::noinline, gnu::flatten]] void convertBlocks(uint8_t* target, const uint8_t* source,
                                                   uint32_t count, const SourceRule& callersRule) {
    // Local copy: stores through `target` may alias the caller's object.
    const SourceRule rule = callersRule;
    const Constants constants;
// Four registers an iteration take a quarter off the lightest pairs, in which counting would cost more.
#pragma GCC unroll 4
    for (uint32_t i = 0; i < count; i += kPixels) {
        U32 words = loadPixels<sourceMode>(source, rule, constants);
        if (!rule.keepsAlpha()) {
            words = withAlphaByRule(words, rule, constants);
        }
        storePixels<targetMode>(words, target, constants);
        source += kPixels * ModeTraits<sourceMode>::kBytes;
        target += kPixels * ModeTraits<targetMode>::kBytes;
    }
}

template <Mode target, Mode source>
constexpr PixelRow kConvertRow = finishRow<target, source, convertBlocks<target, source>,
                                           scalarConvertRow<target, source>, kMinConvertedTail>;

/// Pixels of the same mode are a copy where the rule leaves their alpha alone. (Not those of ARGB1555, whose
/// channels do not come back from widening and narrowing.)
template <Mode mode>
void convertSameMode(uint8_t* target, const uint8_t* source, uint32_t count,
                     const SourceRule& rule) {
    if (!ModeTraits<mode>::kHasAlpha || rule.keepsAlpha()) {
        // Source and target may be the same pixels. Moved in one piece, large arrays take the C library's way
        // around the caches, which costs a tenth on a screenful.
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

/// The row of a pair of modes, or null where the scalar row serves.
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

// Each channel times the pixel's alpha, and the alpha as if it were a channel of 255.
struct Products {
    U16 blueRed, greenAlpha;
};

inline Products timesOwnAlpha(U32 words, const Constants& c) {
    const U16 alpha = spreadAlpha(words) & c.low;
    return {(U16(words) & c.low) * alpha, (U16(words) >> 8 | c.opaque) * alpha};
}

/// Composes `source` over pixels that are all opaque. There the formula shrinks to
/// (target * (255 - s) + source * s) / 255, whose numerator, below 2^16, is taken as
/// target * 255 + (source - target) * s by arithmetic that wraps.
inline U32 composeOverOpaque(U32 words, const SourceBlock& source, const Constants& c) {
    const U16 stored = U16(words);
    const U16 blueRed = stored & c.low;
    const U16 greenAlpha = stored >> 8;
    return quotientWords(
        (stored << 8) - blueRed + (source.blueRed - blueRed) * source.alpha,
        (stored & c.high) - greenAlpha + (source.greenAlpha - greenAlpha) * source.alpha, c);
}

/// Composes `source` over any pixels: floor((P r + 255 Y) / 255^2) with P = target * its alpha, r = 255 - s and
/// Y = source * s, in 16 bits throughout as floor((floor(P r / 255) + Y) / 255). In words of 32 bits it took
/// 1.09 ns a pixel, so 0.40.
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

// Whether a register of four-byte pixels in memory is opaque, and whether all of it has alpha 0. Tested with
// scalar loads: the integer ports are idle here, and moving SIMD lanes to them is slow.
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

/// The source of a blend: an alpha and a color for each pixel, by mode and rule. Whether the rule keeps the alpha
/// is known to the compiler: tested in the loop, it costs a fifth on masks.
template <Mode mode, bool keepsAlpha>
struct BlendSource {
    SourceRule rule;
    // Of the rule, in every lane.
    U16 alphaFactor, alphaTerm, blueRed, greenAlpha;

    explicit BlendSource(const SourceRule& callersRule)
        : rule(callersRule) {
        alphaFactor = U16{} + static_cast<uint16_t>(rule.alphaFactor);
        alphaTerm = U16{} + static_cast<uint16_t>(rule.alphaTerm);
        blueRed = U16(U32{} + (rule.constant.red << 16 | rule.constant.blue));
        greenAlpha = U16(U32{} + (0x00FF0000U | rule.constant.green));
    }

    // Shortcuts for whole registers, which icons and glyphs are full of: twice as fast on them, and not felt
    // elsewhere, since the first pixel alone identifies most mixed registers.
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

template <Mode targetMode, Mode sourceMode, bool keepsAlpha>
[[gnu::noinline, gnu::flatten]] void blendBlocks(uint8_t* target, const uint8_t* source,
                                                 uint32_t count, const SourceRule& rule) {
    const BlendSource<sourceMode, keepsAlpha> colors(rule);
    const Constants constants;
    for (uint32_t i = 0; i < count; i += kPixels) {
        const bool targetIsOpaque = targetMode != Mode::ARGB8888 || areOpaque(target);
        if (colors.isOpaque(source)) {
            // The formula gives the source itself.
            storePixels<targetMode>(loadPixels<sourceMode>(source, colors.rule, constants), target,
                                    constants);
        } else if (colors.isClear(source)) {
            if (!targetIsOpaque) { // An opaque target stays as it is.
                const U32 words = loadPixels<targetMode>(target, colors.rule, constants);
                storePixels<targetMode>(composeNothingOver(words, constants), target, constants);
            }
        } else {
            const U32 words = loadPixels<targetMode>(target, colors.rule, constants);
            const SourceBlock above = colors.load(source, constants);
            // A store for each formula: one store of a choice took 12 % longer on opaque targets (g++ 12).
            if (targetIsOpaque) {
                storePixels<targetMode>(composeOverOpaque(words, above, constants), target,
                                        constants);
            } else {
                storePixels<targetMode>(composeOver(words, above, constants), target, constants);
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

/// The row of a pair of modes, or null where the scalar row serves.
template <Mode target, Mode source>
constexpr PixelRow blendRowOf() {
    constexpr bool isMixed = source == Mode::ARGB8888 || source == Mode::A8;
    // ARGB1555 pixels decode with alpha 0: blending them is rare, so the scalar row serves.
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
