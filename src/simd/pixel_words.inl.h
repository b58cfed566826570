// Loads and stores of pixels in every mode: a register holds kPixels pixels as ARGB8888 words.
//
// Included by pixel_rows.inl.h.
//
// Formulas run on 16-bit lanes, two channels of a word at a time:
//
//     word of a pixel      | alpha | red | green | blue |
//     blueRed              |   0     red |   0     blue |      word & 0x00FF00FF
//     greenAlpha           |   0   alpha |   0    green |      word >> 8 in each lane
//
// No intermediate value needs more than 16 bits, except a product of which only the upper or only the lower 16 bits are
// used. The bounds are beside the formulas.

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

/// The same two lanes in every word.
inline U16 wordLanes(uint16_t upper, uint16_t lower) {
    return U16(U32{} + (uint32_t{upper} << 16 | lower));
}

// Each channel becomes (v * 527 + 23) >> 6, which is wider than its field. The fields are added modulo 2^16, so some
// upper bits are not needed:
//     red      (v * 527 + 23) >> 6 << 10 = (v * 8432 + 368) without the lower 10 bits
//     green    (v * 527 + 23) >> 6 << 5 = (v * 263 + ((v + 23) >> 1)) without the lower 5 bits
//     blue     (v * 527 + 23) >> 6 = v * 8 + ((v * 15 + 23) >> 6)
//     alpha    (v * 256) without the lower 15 bits; the sum for green is too small to change it
// Red and alpha are in the upper lanes. The factors 2^10 and 8 of the lower lanes shift blue.
inline void store1555(U32 words, uint8_t* pixels, const Constants& c) {
    const U16 redBlue = U16(words) & c.low;
    const U16 alphaGreen = U16(words) >> 8;
    const U16 products = redBlue * wordLanes(8432, 15) + wordLanes(368, 23);
    const U16 red = products & wordLanes(0xFC00, 0);
    const U16 blue = redBlue * wordLanes(0, 8) + mulHigh(products, wordLanes(0, 1 << 10));
    const U16 others =
        (alphaGreen * wordLanes(256, 263) + ((alphaGreen + 23) >> 1)) & wordLanes(0x8000, 0xFFE0);
    const U32 fields = U32(red + blue + others);
    storeU16(fields + (fields >> 16), pixels);
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
        store1555(words, pixels, c);
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

// ---- Two registers of pixels

// Conversion of RGB565 and ARGB1555 starts with one register of 16-bit lanes, a lane for each pixel. It takes 37 %
// fewer instructions than loadPixels(), and gives two registers of words.

/// Words of 2 * kPixels pixels, in their order.
struct WordPair {
    U32 first, second;
};

/// Widens five bits, which are at bits 10 to 14: v * 1024 * 527 / 2^16 = v * 527 / 64, and 45 * 527 / 2^16 = 23.2 / 64.
/// The scalar formula adds 23 / 64. The quotients are the same, because v * 527 is an integer.
inline U16 widenHigh5(U16 values, const Constants& c) {
    return mulHigh((values & 0x7C00) + 45, c.widen5);
}

inline WordPair load565Pair(const uint8_t* pixels, const Constants& c) {
    const U16 stored = loadU16Lanes(pixels);
    const U16 green = (stored >> 5 & 63) * c.widen6 + 33 * 4;
    const U16 blueGreen = widenHigh5(stored << 10, c) | (green & c.high);
    const U16 redAlpha = widenHigh5(stored >> 1, c) | c.high;
    return {interleaveLanesLow(blueGreen, redAlpha), interleaveLanesHigh(blueGreen, redAlpha)};
}

inline WordPair load1555Pair(const uint8_t* pixels, const Constants& c) {
    const U16 stored = loadU16Lanes(pixels);
    const U16 blueGreen = widenHigh5(stored << 10, c) | widenHigh5(stored << 5, c) << 8;
    const U16 red = widenHigh5(stored, c);
    return {interleaveLanesLow(blueGreen, red), interleaveLanesHigh(blueGreen, red)};
}

template <Mode mode>
constexpr bool kLoadsPairs = mode == Mode::RGB565 || mode == Mode::ARGB1555;

template <Mode mode>
inline WordPair loadPixelPair(const uint8_t* pixels, const Constants& c) {
    if constexpr (mode == Mode::RGB565) {
        return load565Pair(pixels, c);
    } else {
        static_assert(mode == Mode::ARGB1555, "add loads for this mode");
        return load1555Pair(pixels, c);
    }
}
