// A few pixels side by side, computed in one go. Written with the compiler's vector types, so that
// the same text serves every register width; everything is inlined into the loops of
// wide_loops.cpp.
#pragma once

#include "src/ds_color_mode.h"
#include "src/pixel_loops.h"

#include <cstdint>
#include <cstring>

// Vectors are passed by reference throughout: passing wide ones by value would depend on what the
// caller was compiled for.
#define DS_INLINE [[gnu::always_inline]] inline

/// The vector types of four pixels, one 32-bit word each, and their conversions.
struct FourLanes {
    static constexpr uint32_t kCount = 4;
    using Words = uint32_t __attribute__((vector_size(16)));
    using Halves = uint16_t __attribute__((vector_size(16)));
    using NarrowHalves = uint16_t __attribute__((vector_size(8)));
    using Bytes = uint8_t __attribute__((vector_size(4)));

    DS_INLINE static void widen(const Bytes& from, Words& to) {
        to = __builtin_convertvector(from, Words);
    }
    DS_INLINE static void widen(const NarrowHalves& from, Words& to) {
        to = __builtin_convertvector(from, Words);
    }
    DS_INLINE static void narrow(const Words& from, NarrowHalves& to) {
        to = __builtin_convertvector(from, NarrowHalves);
    }
};

/// The same for eight pixels. (Not one template of both: g++ 12 converts no vectors whose type
/// depends on a parameter.)
struct EightLanes {
    static constexpr uint32_t kCount = 8;
    using Words = uint32_t __attribute__((vector_size(32)));
    using Halves = uint16_t __attribute__((vector_size(32)));
    using NarrowHalves = uint16_t __attribute__((vector_size(16)));
    using Bytes = uint8_t __attribute__((vector_size(8)));

    DS_INLINE static void widen(const Bytes& from, Words& to) {
        to = __builtin_convertvector(from, Words);
    }
    DS_INLINE static void widen(const NarrowHalves& from, Words& to) {
        to = __builtin_convertvector(from, Words);
    }
    DS_INLINE static void narrow(const Words& from, NarrowHalves& to) {
        to = __builtin_convertvector(from, NarrowHalves);
    }
};

/// Pixels as ARGB8888 words, one a lane. Loads, stores and arithmetic are those of the plain loops.
template <typename Lanes>
struct PixelBlock {
    using Words = typename Lanes::Words;
    using Halves = typename Lanes::Halves; // each word as two 16-bit lanes
    using NarrowHalves = typename Lanes::NarrowHalves;

    Words words;

    template <DsColorMode mode>
    DS_INLINE void load(const uint8_t* pixels, const SourceRule& rule) {
        if constexpr (mode == DsColorMode::ARGB8888) {
            std::memcpy(&words, pixels, sizeof words);
        } else if constexpr (mode == DsColorMode::RGB888) {
            load888(pixels);
        } else if constexpr (mode == DsColorMode::RGB565) {
            load565(pixels);
        } else {
            static_assert(mode == DsColorMode::I8 || mode == DsColorMode::A8);
            typename Lanes::Bytes bytes;
            std::memcpy(&bytes, pixels, sizeof bytes);
            Lanes::widen(bytes, words);
            if constexpr (mode == DsColorMode::I8) {
                words = 0xFF000000U | words << 16 | words << 8 | words;
            } else {
                const DsColor& color = rule.constant;
                words = words << 24 | (color.red << 16 | color.green << 8 | color.blue);
            }
        }
    }

    template <DsColorMode mode>
    DS_INLINE void store(uint8_t* pixels) const {
        if constexpr (mode == DsColorMode::ARGB8888) {
            std::memcpy(pixels, &words, sizeof words);
        } else if constexpr (mode == DsColorMode::RGB888) {
            store888(pixels);
        } else {
            static_assert(mode == DsColorMode::RGB565);
            store565(pixels);
        }
    }

    DS_INLINE void applyAlpha(const SourceRule& rule) {
        Halves alpha = Halves(words >> 24) * static_cast<uint16_t>(rule.alphaFactor);
        divideBy255(alpha);
        words = (words & 0x00FFFFFFU) | (Words(alpha) + rule.alphaTerm) << 24;
    }

    /// Whether every pixel has alpha 255.
    DS_INLINE bool isOpaque() const {
        uint64_t parts[sizeof(Words) / sizeof(uint64_t)];
        std::memcpy(parts, &words, sizeof words);
        uint64_t all = ~uint64_t{0};
        for (const uint64_t part : parts) {
            all &= part;
        }
        constexpr uint64_t kAlphas = 0xFF000000FF000000;
        return (all & kAlphas) == kAlphas;
    }

    /// Composes `source` over pixels that are all opaque. There the formula shrinks to
    /// (target * (255 - s) + source * s) / 255, which fits 16 bits.
    DS_INLINE void composeOverOpaque(const PixelBlock& source) {
        const Words sourceAlpha = source.words >> 24;
        const Halves weight = Halves(sourceAlpha | sourceAlpha << 16);
        const Halves rest = 255 - weight;
        Halves blueRed =
            Halves(words & 0x00FF00FFU) * rest + Halves(source.words & 0x00FF00FFU) * weight;
        // The source's alpha takes part as if it were 255, which keeps the result opaque.
        const Words sourceGreenAlpha = ((source.words >> 8) & 0xFFU) | 0x00FF0000U;
        Halves greenAlpha =
            Halves((words >> 8) & 0x00FF00FFU) * rest + Halves(sourceGreenAlpha) * weight;
        divideBy255(blueRed);
        divideBy255(greenAlpha);
        words = Words(blueRed) | Words(greenAlpha) << 8;
    }

    /// Composes `source` over any pixels.
    DS_INLINE void composeOver(const PixelBlock& source) {
        const Words targetAlpha = words >> 24;
        const Words sourceAlpha = source.words >> 24;
        const Halves targetWeight = Halves(targetAlpha | targetAlpha << 16);
        const Halves sourceWeight = Halves(sourceAlpha | sourceAlpha << 16);
        Words blue;
        Words red;
        weigh(words, targetWeight, source.words, sourceWeight, blue, red);
        Words green;
        Words unused;
        weigh(words >> 8, targetWeight, source.words >> 8, sourceWeight, green, unused);
        Halves alpha = targetWeight * (255 - sourceWeight) + sourceWeight * 255;
        divideBy255(alpha);
        words = (Words(alpha) << 24) | red << 16 | green << 8 | blue;
    }

    /// floor(n / 255) for n up to 255^2, in each 16-bit lane.
    DS_INLINE static void divideBy255(Halves& value) { value = (value + 1 + (value >> 8)) >> 8; }

    /// floor(n / 65025) for n up to 255^3, as two divisions by 255.
    DS_INLINE static void divideBy65025(Words& value) {
        value += 1;
        value = (value + ((value + (value >> 8)) >> 8)) >> 8;
        value = (value + 1 + (value >> 8)) >> 8;
    }

private:
    // Two channels of the result, from the two that stand in the lower byte of each half. A sum
    // takes 24 bits, but no product does: the weighted target channel is multiplied by the rest in
    // two bytes.
    DS_INLINE static void weigh(const Words& target, const Halves& targetWeight,
                                const Words& source, const Halves& sourceWeight, Words& low,
                                Words& high) {
        const Halves rest = 255 - sourceWeight;
        const Halves below = Halves(target & 0x00FF00FFU) * targetWeight;
        const Words belowLow = Words((below & 255) * rest);
        const Words belowHigh = Words((below >> 8) * rest);
        const Words above = Words(Halves(source & 0x00FF00FFU) * sourceWeight);
        low = ((belowHigh & 0xFFFFU) << 8) + (belowLow & 0xFFFFU) + (above & 0xFFFFU) * 255U;
        high = ((belowHigh >> 16) << 8) + (belowLow >> 16) + (above >> 16) * 255U;
        divideBy65025(low);
        divideBy65025(high);
    }

    // Four pixels of three bytes are three words.
    DS_INLINE void load888(const uint8_t* pixels) {
        for (uint32_t lane = 0; lane < Lanes::kCount; lane += 4, pixels += 12) {
            uint32_t packed[3];
            std::memcpy(packed, pixels, sizeof packed);
            words[lane] = packed[0];
            words[lane + 1] = packed[0] >> 24 | packed[1] << 8;
            words[lane + 2] = packed[1] >> 16 | packed[2] << 16;
            words[lane + 3] = packed[2] >> 8;
        }
        words |= 0xFF000000U;
    }

    DS_INLINE void store888(uint8_t* pixels) const {
        const Words colors = words & 0x00FFFFFFU;
        for (uint32_t lane = 0; lane < Lanes::kCount; lane += 4, pixels += 12) {
            const uint32_t packed[3] = {colors[lane] | colors[lane + 1] << 24,
                                        colors[lane + 1] >> 8 | colors[lane + 2] << 16,
                                        colors[lane + 2] >> 16 | colors[lane + 3] << 8};
            std::memcpy(pixels, packed, sizeof packed);
        }
    }

    // The channel formulas of RGB565 stay below 2^16, so they run in the lower half of each word.
    DS_INLINE void load565(const uint8_t* pixels) {
        NarrowHalves packed;
        std::memcpy(&packed, pixels, sizeof packed);
        Words stored;
        Lanes::widen(packed, stored);
        const Halves red = (Halves(stored >> 11) * 527 + 23) >> 6;
        const Halves green = (Halves((stored >> 5) & 63U) * 259 + 33) >> 6;
        const Halves blue = (Halves(stored & 31U) * 527 + 23) >> 6;
        words = 0xFF000000U | Words(red) << 16 | Words(green) << 8 | Words(blue);
    }

    DS_INLINE void store565(uint8_t* pixels) const {
        const Halves red = (Halves((words >> 16) & 255U) * 249 + 1014) >> 11;
        const Halves green = (Halves((words >> 8) & 255U) * 253 + 505) >> 10;
        const Halves blue = (Halves(words & 255U) * 249 + 1014) >> 11;
        NarrowHalves packed;
        Lanes::narrow(Words(red) << 11 | Words(green) << 5 | Words(blue), packed);
        std::memcpy(pixels, &packed, sizeof packed);
    }
};
