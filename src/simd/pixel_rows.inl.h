// SIMD rows of pixels: the scalar formulas of src/internal/pixel_loops.h on a register of pixels at a time.
//
// Included inside a namespace, after
//     src/simd/vec_<isa>.h                 U8, U16, U32, kPixels, mulHigh(), loads and stores
//     src/internal/pixel_loops.h           SourceRule, ModeTraits (outside the namespace)
//     using Mode = DsColorMode;
//
// A register holds kPixels pixels as ARGB8888 words. Formulas run on 16-bit lanes, two channels of a word at a
// time:
//
//     word of a pixel      | alpha | red | green | blue |
//     blueRed              |   0     red |   0     blue |      word & 0x00FF00FF
//     greenAlpha           |   0   alpha |   0    green |      word >> 8 in each lane
//
// No intermediate value needs more than 16 bits, except a product of which only the upper 16 bits are used
// (mulHigh). The bounds are beside the formulas. Tried and rejected, with the reasons beside the code: 32-bit
// products, compile-time factors and masks, one store for both formulas of a blend, and opacity tests on SIMD lanes.

/// A register of source pixels, prepared for a composition. Both 16-bit lanes of a word have a copy of its pixel's
/// alpha. `greenAlpha` has 255 in place of the alpha, so that one formula serves all four channels.
struct SourceBlock {
    U16 alpha, blueRed, greenAlpha;
};

/// The factors, terms and masks of the formulas, in every lane. A loop reads them once, through a volatile, because
/// g++ 12 handles compile-time constants badly. It replaces a product with a constant by half a dozen shifts and sums
/// (RGB565 to ARGB8888 took 0.27 ns per pixel, instead of 0.17). It builds a constant again in every branch that uses
/// it (masks took 0.44 ns per pixel, instead of 0.33).
struct Constants {
    U16 widen5, widen6;   // factors; widen6 is multiplied by 4
    U16 narrow5, narrow6; // factors of mulHigh
    U16 one, by257;
    U16 low, high; // masks of the low and the high byte
    U16 opaque;    // 255 in the upper lane of a word

    Constants() {
        static constexpr volatile uint16_t kU16Values[] = {527, 259 * 4, 7971, 16192,
                                                           1,   257,     0xFF, 0xFF00};
        static constexpr volatile uint32_t kU32Value = 0x00FF0000U;
        widen5 = U16{} + kU16Values[0];
        widen6 = U16{} + kU16Values[1];
        narrow5 = U16{} + kU16Values[2];
        narrow6 = U16{} + kU16Values[3];
        one = U16{} + kU16Values[4];
        by257 = U16{} + kU16Values[5];
        low = U16{} + kU16Values[6];
        high = U16{} + kU16Values[7];
        opaque = U16(U32{} + kU32Value);
    }
};

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

// ---- Loads and stores of each mode

constexpr uint32_t kAlphas = 0xFF000000U;
constexpr uint32_t kColors = 0x00FFFFFFU;

// The channel formulas stay below 2^16, so they run on red and blue together, one in each lane of a word. Green is
// computed times 4: the result is at bits 8 to 15 and needs only a mask.

inline U32 load565(const uint8_t* pixels, const Constants& c) {
    const U32 stored = loadU16(pixels);
    const U16 redBlue = U16((stored << 5 & 0x001F0000U) | (stored & 31U));
    const U16 green = U16(stored >> 5 & 63U);
    // The upper lane has no green: its sum is the alpha.
    return U32((redBlue * c.widen5 + 23) >> 6) |
           (U32(green * c.widen6 + U16(U32{} + (kAlphas | 33 * 4))) & 0xFF00FF00U);
}

inline U32 load1555(const uint8_t* pixels, const Constants& c) {
    const U32 stored = loadU16(pixels);
    const U16 redBlue = U16((stored << 6 & 0x001F0000U) | (stored & 31U));
    const U16 green = U16(stored >> 5 & 31U) << 2;
    return U32((redBlue * c.widen5 + 23) >> 6) | (U32(green * c.widen5 + 23 * 4) & 0xFF00U);
}

// Widening repeats the four bits.
inline U32 load4444(const uint8_t* pixels) {
    const U16 apart = U16(loadU8Pairs(pixels)) & 0xF00F;
    return U32(apart | apart >> 4 | apart << 4);
}

// (v + 4) * 7971 / 2^16 and (v + 2) * 16192 / 2^16 equal the scalar narrowing for every byte.
inline void store565(U32 words, uint8_t* pixels, const Constants& c) {
    const U16 redBlue = mulHigh((U16(words) & 0xFF) + 4, c.narrow5);
    const U16 green = mulHigh((U16(words) >> 8) + 2, c.narrow6);
    storeU16(U32(redBlue) | U32(redBlue) >> 5 | U32(green << 5), pixels);
}

// (v * 527 + 23) >> 6. v * 512 is shifted separately, so that the rest stays below 2^16.
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

/// A loop over whole registers of pixels: `count` is a multiple of kPixels.
using BlocksLoop = void (*)(uint8_t* target, const uint8_t* source, uint32_t count,
                            const SourceRule& rule);

// A shorter tail goes through the scalar row. A SIMD loop on a buffer costs some 9 ns to start, as much as this number
// of scalar pixels. Composing a pixel takes longer than converting one.
constexpr uint32_t kMinConvertedTail = 6;
constexpr uint32_t kMinBlendedTail = 3;

/// Runs a loop on a row of any length. The tail has fewer than kPixels pixels. It goes through a buffer of one
/// register, or through the scalar row if it is shorter than `minTail`.
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
// Four registers per iteration save a quarter of the time on the fastest pairs of modes, where the loop counter
// would cost more than the unrolling.
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
