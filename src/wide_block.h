// A few pixels side by side, computed in one go: the channel formulas and the composition of the
// plain loops in 16-bit lanes, for any width of register.
#pragma once

#include "src/internal/pixel_loops.h"
#include "src/wide_lanes.h"

#include <cstdint>
#include <cstring>

/// What a block of source pixels brings to a composition. Both halves of a word have their own copy
/// of its pixel's alpha; `greenAlpha` has 255 in the alpha's place, by which one formula serves all
/// four channels.
template <typename Lanes>
struct SourceBlock {
    typename Lanes::Halves alpha, blueRed, greenAlpha;
};

/// What the formulas below multiply by, add and mask with, in every lane. A loop reads them once,
/// through a volatile: g++ 12 computes a product by a factor that it knows by half a dozen shifts
/// and sums (RGB565 into ARGB8888 took 0.27 ns a pixel instead of 0.17), and makes a constant that
/// it knows anew wherever a branch uses it (masks took 0.44 instead of 0.33).
template <typename Lanes>
struct Constants {
    typename Lanes::Halves widen5, widen6;   // factors; widen6 times 4
    typename Lanes::Halves narrow5, narrow6; // factors of multiplyHigh
    typename Lanes::Halves one, by257;
    typename Lanes::Halves low, high; // masks of the lower and of the upper byte
    typename Lanes::Halves opaque;    // 255 in the upper half of a word

    DS_INLINE Constants() {
        static constexpr volatile uint16_t kHalves[] = {527, 259 * 4, 7971, 16192,
                                                        1,   257,     0xFF, 0xFF00};
        static constexpr volatile uint32_t kWord = 0x00FF0000U;
        using Halves = typename Lanes::Halves;
        widen5 = Halves{} + kHalves[0];
        widen6 = Halves{} + kHalves[1];
        narrow5 = Halves{} + kHalves[2];
        narrow6 = Halves{} + kHalves[3];
        one = Halves{} + kHalves[4];
        by257 = Halves{} + kHalves[5];
        low = Halves{} + kHalves[6];
        high = Halves{} + kHalves[7];
        opaque = Halves(typename Lanes::Words{} + kWord);
    }
};

/// Pixels as ARGB8888 words, one a lane. Loads, stores and arithmetic are those of the plain loops.
template <typename Lanes>
struct PixelBlock {
    using Words = typename Lanes::Words;
    using Halves = typename Lanes::Halves; // each word as two 16-bit lanes

    Words words;

    template <DsColorMode mode>
    DS_INLINE void load(const uint8_t* pixels, const ds_detail::SourceRule& rule,
                        const Constants<Lanes>& c) {
        if constexpr (mode == DsColorMode::ARGB8888) {
            std::memcpy(&words, pixels, sizeof words);
        } else if constexpr (mode == DsColorMode::RGB888) {
            Lanes::loadTriples(pixels, words);
            words |= kAlphas;
        } else if constexpr (mode == DsColorMode::RGB565) {
            load565(pixels, c);
        } else if constexpr (mode == DsColorMode::ARGB1555) {
            load1555(pixels, c);
        } else if constexpr (mode == DsColorMode::ARGB4444) {
            load4444(pixels);
        } else if constexpr (mode == DsColorMode::I8) {
            Lanes::loadBytes(pixels, words);
            words |= kAlphas;
        } else if constexpr (mode == DsColorMode::AI88) {
            Lanes::loadHalves(pixels, words);
            words = (words & 0xFFFF00FFU) | (words << 8 & 0xFF00U);
        } else {
            static_assert(mode == DsColorMode::A8);
            Lanes::loadBytes(pixels, words);
            words = (words & kAlphas) |
                    ds_detail::ModeTraits<DsColorMode::RGB888>::encode(rule.constant);
        }
    }

    template <DsColorMode mode>
    DS_INLINE void store(uint8_t* pixels, const Constants<Lanes>& c) const {
        if constexpr (mode == DsColorMode::ARGB8888) {
            std::memcpy(pixels, &words, sizeof words);
        } else if constexpr (mode == DsColorMode::RGB888) {
            Lanes::storeTriples(words, pixels);
        } else if constexpr (mode == DsColorMode::RGB565) {
            store565(pixels, c);
        } else if constexpr (mode == DsColorMode::ARGB1555) {
            store1555(pixels);
        } else if constexpr (mode == DsColorMode::ARGB4444) {
            store4444(pixels);
        } else if constexpr (mode == DsColorMode::I8) {
            Lanes::storeBytes(words, pixels);
        } else if constexpr (mode == DsColorMode::AI88) {
            Lanes::storeHalves((words >> 16 & 0xFF00U) | (words & 0xFFU), pixels);
        } else {
            static_assert(mode == DsColorMode::A8);
            Lanes::storeBytes(words >> 24, pixels);
        }
    }

    DS_INLINE void applyAlpha(const ds_detail::SourceRule& rule, const Constants<Lanes>& c) {
        Halves alpha;
        divideBy255(Halves(words >> 24) * static_cast<uint16_t>(rule.alphaFactor), alpha, c);
        words = (words & kColors) | (Words(alpha) + rule.alphaTerm) << 24;
    }

    /// Composes `source` over pixels that are all opaque. There the formula shrinks to
    /// (target * (255 - s) + source * s) / 255, whose numerator, below 2^16, is taken as
    /// target * 255 + (source - target) * s by arithmetic that wraps.
    DS_INLINE void composeOverOpaque(const SourceBlock<Lanes>& source, const Constants<Lanes>& c) {
        const Halves stored = Halves(words);
        const Halves blueRed = stored & c.low;
        const Halves greenAlpha = stored >> 8;
        const Halves first = (stored << 8) - blueRed + (source.blueRed - blueRed) * source.alpha;
        const Halves second =
            (stored & c.high) - greenAlpha + (source.greenAlpha - greenAlpha) * source.alpha;
        join(first, second, c);
    }

    /// Composes `source` over any pixels: floor((P r + 255 Y) / 255^2) with P = target * its alpha,
    /// r = 255 - s and Y = source * s, in 16 bits throughout as
    /// floor((floor(P r / 255) + Y) / 255). In words of 32 bits it took 1.09 ns a pixel, so 0.40.
    DS_INLINE void composeOver(const SourceBlock<Lanes>& source, const Constants<Lanes>& c) {
        Halves blueRed;
        Halves greenAlpha;
        timesOwnAlpha(blueRed, greenAlpha, c);
        const Halves rest = c.low - source.alpha;
        Halves low;
        Halves high;
        weigh(blueRed, rest, low, c);
        weigh(greenAlpha, rest, high, c);
        join(low + source.blueRed * source.alpha, high + source.greenAlpha * source.alpha, c);
    }

    /// Composes a source of alpha 0 over any pixels.
    DS_INLINE void composeNothingOver(const Constants<Lanes>& c) {
        Halves blueRed;
        Halves greenAlpha;
        timesOwnAlpha(blueRed, greenAlpha, c);
        join(blueRed, greenAlpha, c);
    }

    /// floor(n / 255) for n up to 255^2, in each 16-bit lane: (n + 1) * 257 / 2^16.
    DS_INLINE static void divideBy255(const Halves& values, Halves& quotients,
                                      const Constants<Lanes>& c) {
        Lanes::multiplyHigh(values + c.one, c.by257, quotients);
    }

    /// floor(p * rest / 255) for p up to 255^2 and rest up to 255, which is floor(p * R / 65535)
    /// with R = 257 * rest. Of p * R = 65536 high + low = 65535 high + (high + low), the sum holds
    /// 65535 once more or not at all.
    DS_INLINE static void weigh(const Halves& products, const Halves& rest, Halves& quotients,
                                const Constants<Lanes>& c) {
        const Halves factor = rest * c.by257;
        const Halves low = products * factor;
        Halves high;
        Lanes::multiplyHigh(products, factor, high);
        quotients = high - Halves(high >= ~low); // true is -1
    }

private:
    static constexpr uint32_t kAlphas = 0xFF000000U;
    static constexpr uint32_t kColors = 0x00FFFFFFU;

    // Each channel times the pixel's alpha, and the alpha as if it were a channel of 255.
    DS_INLINE void timesOwnAlpha(Halves& blueRed, Halves& greenAlpha,
                                 const Constants<Lanes>& c) const {
        Halves alpha;
        Lanes::spreadAlpha(words, alpha);
        alpha &= c.low;
        blueRed = (Halves(words) & c.low) * alpha;
        greenAlpha = (Halves(words) >> 8 | c.opaque) * alpha;
    }

    // Divides the numerators of blue and red, and of green and alpha, by 255 and puts the quotients
    // in their places.
    DS_INLINE void join(const Halves& blueRed, const Halves& greenAlpha,
                        const Constants<Lanes>& c) {
        Halves low;
        Halves high;
        divideBy255(blueRed, low, c);
        divideBy255(greenAlpha, high, c);
        words = Words(low | high << 8);
    }

    // The channel formulas stay below 2^16, so they run on red and blue at a time, one in each
    // half of the word. Green is computed times 4, which leaves it at its place after a mask.

    DS_INLINE void load565(const uint8_t* pixels, const Constants<Lanes>& c) {
        Words stored;
        Lanes::loadHalves(pixels, stored);
        const Halves redBlue = Halves((stored << 5 & 0x001F0000U) | (stored & 31U));
        const Halves green = Halves(stored >> 5 & 63U);
        // What is added above green is alpha.
        words = Words((redBlue * c.widen5 + 23) >> 6) |
                (Words(green * c.widen6 + Halves(Words{} + (kAlphas | 33 * 4))) & 0xFF00FF00U);
    }

    DS_INLINE void load1555(const uint8_t* pixels, const Constants<Lanes>& c) {
        Words stored;
        Lanes::loadHalves(pixels, stored);
        const Halves redBlue = Halves((stored << 6 & 0x001F0000U) | (stored & 31U));
        const Halves green = Halves(stored >> 5 & 31U) << 2;
        words =
            Words((redBlue * c.widen5 + 23) >> 6) | (Words(green * c.widen5 + 23 * 4) & 0xFF00U);
    }

    // Four bits are widened by repeating them.
    DS_INLINE void load4444(const uint8_t* pixels) {
        Lanes::loadBytesOfHalves(pixels, words);
        const Halves apart = Halves(words) & 0xF00F;
        words = Words(apart | apart >> 4 | apart << 4);
    }

    // (v + 4) * 7971 / 2^16 and (v + 2) * 16192 / 2^16 narrow every byte as the formulas do.
    DS_INLINE void store565(uint8_t* pixels, const Constants<Lanes>& c) const {
        Halves redBlue;
        Halves green;
        Lanes::multiplyHigh((Halves(words) & 0xFF) + 4, c.narrow5, redBlue);
        Lanes::multiplyHigh((Halves(words) >> 8) + 2, c.narrow6, green);
        Lanes::storeHalves(Words(redBlue) | Words(redBlue) >> 5 | Words(green << 5), pixels);
    }

    // (v * 527 + 23) >> 6, of which v * 512 is taken out to stay below 2^16.
    DS_INLINE static void overWiden(Halves& values) {
        values = (values << 3) + ((values * 15 + 23) >> 6);
    }

    DS_INLINE void store1555(uint8_t* pixels) const {
        Halves redBlue = Halves(words) & 0xFF;
        Halves green = Halves(words >> 8 & 0xFFU);
        overWiden(redBlue);
        overWiden(green);
        const Words sum = (words >> 16 & 0x8000U) + (Words(redBlue) >> 16 << 10) +
                          (Words(green) << 5) + (Words(redBlue) & 0xFFFFU);
        Lanes::storeHalves(sum, pixels);
    }

    DS_INLINE void store4444(uint8_t* pixels) const {
        const Halves redBlue = ((Halves(words) & 0xFF) * 15 + 135) >> 8;
        const Halves alphaGreen = ((Halves(words) >> 8) * 15 + 135) >> 4 & 0xF0;
        const Words bytes = Words(redBlue | alphaGreen);
        Lanes::storeHalves(bytes | bytes >> 8, pixels);
    }
};
