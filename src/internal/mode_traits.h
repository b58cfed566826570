// The ten pixel formats. One specialization of ModeTraits holds everything about a mode. Every table over modes
// is generated from them, so that a mode without a specialization is a compile error.
#pragma once

#include "src/ds_color_mode.h"
#include "src/internal/little_endian.h"

#include <array>
#include <cstdint>
#include <utility>

namespace ds_detail {

/// A color as four channels of 8 bits (0 to 255) each. In the palette modes, encoding takes the index from blue
/// and decoding gives it as gray (all three channels): drawing never uses the colors of a palette.
struct DsColor {
    uint32_t alpha, red, green, blue;
};

/// Channels of a color word, the 32-bit color argument of the drawing operations: alpha in bits 0-7, red in
/// 8-15, green in 16-23, blue (or the palette index) in 24-31.
constexpr DsColor colorFromWord(uint32_t word) {
    return {word & 255, (word >> 8) & 255, (word >> 16) & 255, word >> 24};
}

// Widening of a stored field to 8 bits. The ends of its range map to 0 and 255.
constexpr uint32_t widen5(uint32_t field) {
    return (field * 527 + 23) >> 6;
}
constexpr uint32_t widen6(uint32_t field) {
    return (field * 259 + 33) >> 6;
}
constexpr uint32_t widen4(uint32_t field) {
    return field * 17;
}

// Narrowing of 8 bits to a stored field. Each undoes its widening for every field value.
constexpr uint32_t narrowTo5(uint32_t value) {
    return (value * 249 + 1014) >> 11;
}
constexpr uint32_t narrowTo6(uint32_t value) {
    return (value * 253 + 505) >> 10;
}
constexpr uint32_t narrowTo4(uint32_t value) {
    return (value * 15 + 135) >> 8;
}

/// The properties of a mode:
///
///     kName      its name, as in the enumeration
///     kBytes     bytes per pixel; 0 for a mode without pixels, which every operation skips
///     kHasAlpha  whether a pixel stores an alpha; pixels of the other modes are opaque
///     kHasPalette  whether a surface of the mode may have a palette
///     encode()   the stored value of a color
///     decode()   the color of a stored value; `constant` is the operation's color, which an A8 pixel takes
template <DsColorMode mode>
struct ModeTraits;

template <>
struct ModeTraits<DsColorMode::ARGB8888> {
    static constexpr const char* kName = "ARGB8888";
    static constexpr uint32_t kBytes = 4;
    static constexpr bool kHasAlpha = true;
    static constexpr bool kHasPalette = false;
    static constexpr uint32_t encode(const DsColor& color) {
        return color.alpha << 24 | color.red << 16 | color.green << 8 | color.blue;
    }
    static constexpr DsColor decode(uint32_t stored, const DsColor& /*constant*/) {
        return {stored >> 24, (stored >> 16) & 255, (stored >> 8) & 255, stored & 255};
    }
};

template <>
struct ModeTraits<DsColorMode::RGB888> {
    static constexpr const char* kName = "RGB888";
    static constexpr uint32_t kBytes = 3;
    static constexpr bool kHasAlpha = false;
    static constexpr bool kHasPalette = false;
    static constexpr uint32_t encode(const DsColor& color) {
        return color.red << 16 | color.green << 8 | color.blue;
    }
    static constexpr DsColor decode(uint32_t stored, const DsColor& /*constant*/) {
        return {255, (stored >> 16) & 255, (stored >> 8) & 255, stored & 255};
    }
};

template <>
struct ModeTraits<DsColorMode::RGB565> {
    static constexpr const char* kName = "RGB565";
    static constexpr uint32_t kBytes = 2;
    static constexpr bool kHasAlpha = false;
    static constexpr bool kHasPalette = false;
    static constexpr uint32_t encode(const DsColor& color) {
        return narrowTo5(color.red) << 11 | narrowTo6(color.green) << 5 | narrowTo5(color.blue);
    }
    static constexpr DsColor decode(uint32_t stored, const DsColor& /*constant*/) {
        return {255, widen5(stored >> 11), widen6((stored >> 5) & 63), widen5(stored & 31)};
    }
};

template <>
struct ModeTraits<DsColorMode::ARGB1555> {
    static constexpr const char* kName = "ARGB1555";
    static constexpr uint32_t kBytes = 2;
    static constexpr bool kHasAlpha = true;
    static constexpr bool kHasPalette = false;
    /// Kept on purpose: the color channels are widened (to 0 to 2100) and added at their bit positions without a
    /// mask, so that a channel above 3 spills into its neighbors. The sum is truncated to 16 bits.
    static constexpr uint32_t encode(const DsColor& color) {
        const uint32_t alphaBit = (color.alpha >> 7) << 15;
        return (alphaBit + (widen5(color.red) << 10) + (widen5(color.green) << 5) +
                widen5(color.blue)) &
               0xFFFF;
    }
    /// Kept on purpose: the alpha bit is not read. Such a pixel always has alpha 0.
    static constexpr DsColor decode(uint32_t stored, const DsColor& /*constant*/) {
        return {0, widen5((stored >> 10) & 31), widen5((stored >> 5) & 31), widen5(stored & 31)};
    }
};

template <>
struct ModeTraits<DsColorMode::ARGB4444> {
    static constexpr const char* kName = "ARGB4444";
    static constexpr uint32_t kBytes = 2;
    static constexpr bool kHasAlpha = true;
    static constexpr bool kHasPalette = false;
    static constexpr uint32_t encode(const DsColor& color) {
        return narrowTo4(color.alpha) << 12 | narrowTo4(color.red) << 8 |
               narrowTo4(color.green) << 4 | narrowTo4(color.blue);
    }
    static constexpr DsColor decode(uint32_t stored, const DsColor& /*constant*/) {
        return {widen4(stored >> 12), widen4((stored >> 8) & 15), widen4((stored >> 4) & 15),
                widen4(stored & 15)};
    }
};

template <>
struct ModeTraits<DsColorMode::I8> {
    static constexpr const char* kName = "I8";
    static constexpr uint32_t kBytes = 1;
    static constexpr bool kHasAlpha = false;
    static constexpr bool kHasPalette = true;
    static constexpr uint32_t encode(const DsColor& color) { return color.blue; }
    static constexpr DsColor decode(uint32_t stored, const DsColor& /*constant*/) {
        return {255, stored, stored, stored};
    }
};

template <>
struct ModeTraits<DsColorMode::AI88> {
    static constexpr const char* kName = "AI88";
    static constexpr uint32_t kBytes = 2;
    static constexpr bool kHasAlpha = true;
    static constexpr bool kHasPalette = true;
    static constexpr uint32_t encode(const DsColor& color) { return color.alpha << 8 | color.blue; }
    static constexpr DsColor decode(uint32_t stored, const DsColor& /*constant*/) {
        return {stored >> 8, stored & 255, stored & 255, stored & 255};
    }
};

template <>
struct ModeTraits<DsColorMode::A8> {
    static constexpr const char* kName = "A8";
    static constexpr uint32_t kBytes = 1;
    static constexpr bool kHasAlpha = true;
    static constexpr bool kHasPalette = false;
    static constexpr uint32_t encode(const DsColor& color) { return color.alpha; }
    static constexpr DsColor decode(uint32_t stored, const DsColor& constant) {
        return {stored, constant.red, constant.green, constant.blue};
    }
};

/// The modes without pixels. Colors encode to 0 and decode to all zeros.
struct NoPixels {
    static constexpr uint32_t kBytes = 0;
    static constexpr bool kHasAlpha = false;
    static constexpr bool kHasPalette = false;
    static constexpr uint32_t encode(const DsColor& /*color*/) { return 0; }
    static constexpr DsColor decode(uint32_t /*stored*/, const DsColor& /*constant*/) {
        return {0, 0, 0, 0};
    }
};
template <>
struct ModeTraits<DsColorMode::Reserved6> : NoPixels {
    static constexpr const char* kName = "Reserved6";
};
template <>
struct ModeTraits<DsColorMode::Reserved8> : NoPixels {
    static constexpr const char* kName = "Reserved8";
};

#pragma GCC diagnostic push
#pragma GCC diagnostic error "-Wswitch"
/// Whether the enumeration has a mode. A mode that is missing here does not compile.
constexpr bool isColorMode(DsColorMode mode) {
    switch (mode) {
    case DsColorMode::ARGB8888:
    case DsColorMode::RGB888:
    case DsColorMode::RGB565:
    case DsColorMode::ARGB1555:
    case DsColorMode::ARGB4444:
    case DsColorMode::I8:
    case DsColorMode::Reserved6:
    case DsColorMode::AI88:
    case DsColorMode::Reserved8:
    case DsColorMode::A8:
        return true;
    }
    return false;
}
#pragma GCC diagnostic pop

/// The number of modes. Numbers from here up are unknown modes.
inline constexpr uint32_t kColorModeCount = [] {
    uint32_t count = 0;
    while (isColorMode(DsColorMode{count})) {
        ++count;
    }
    return count;
}();

// ---- Tables

/// A value for each mode, by mode number.
template <typename Value>
using ModeTable = std::array<Value, kColorModeCount>;

template <typename Value, typename Make, uint32_t... mode>
consteval ModeTable<Value> makeModeTable(Make make, std::integer_sequence<uint32_t, mode...>) {
    return {make.template operator()<DsColorMode{mode}>()...};
}

/// A table of the result of `make<mode>()` for each mode.
template <typename Value, typename Make>
consteval ModeTable<Value> makeModeTable(Make make) {
    return makeModeTable<Value>(make, std::make_integer_sequence<uint32_t, kColorModeCount>());
}

/// The same for modes with pixels. The others get an empty value.
template <typename Value, typename Make>
consteval ModeTable<Value> makePixelModeTable(Make make) {
    return makeModeTable<Value>([make]<DsColorMode mode>() -> Value {
        if constexpr (ModeTraits<mode>::kBytes != 0) {
            return make.template operator()<mode>();
        } else {
            return {};
        }
    });
}

/// A value for every pair of a destination and a source mode.
template <typename Value>
struct ModePairTable {
    ModeTable<ModeTable<Value>> values;

    /// A source of an unknown mode is read like one of a reserved mode, as zeros.
    constexpr Value at(uint32_t target, uint32_t source) const {
        constexpr auto kUnknown = static_cast<uint32_t>(DsColorMode::Reserved6);
        return values[target][source < kColorModeCount ? source : kUnknown];
    }
};

/// A table of the result of `make<target, source>()` for each pair of modes. Targets without pixels get
/// empty values.
template <typename Value, typename Make>
consteval ModePairTable<Value> makeModePairTable(Make make) {
    return {makePixelModeTable<ModeTable<Value>>([make]<DsColorMode target>() {
        return makeModeTable<Value>([make]<DsColorMode source>() -> Value {
            return make.template operator()<target, source>();
        });
    })};
}

/// Bytes per pixel of each mode.
inline constexpr ModeTable<uint32_t> kPixelBytes =
    makeModeTable<uint32_t>([]<DsColorMode mode>() { return ModeTraits<mode>::kBytes; });

/// Whether a surface of a mode may have a palette; false for an unknown mode.
constexpr bool mayHavePalette(DsColorMode mode) {
    constexpr auto kHasPalette =
        makeModeTable<bool>([]<DsColorMode each>() { return ModeTraits<each>::kHasPalette; });
    return isColorMode(mode) && kHasPalette[static_cast<uint32_t>(mode)];
}

/// The name of each mode.
inline constexpr ModeTable<const char*> kModeNames =
    makeModeTable<const char*>([]<DsColorMode mode>() { return ModeTraits<mode>::kName; });

// ---- Pixels in memory

/// Reads the stored value of one pixel, which need not be aligned.
template <DsColorMode mode>
inline uint32_t loadPixel(const uint8_t* pixel) {
    return loadLittleEndian<ModeTraits<mode>::kBytes>(pixel);
}

/// Writes the stored value of one pixel, which need not be aligned.
template <DsColorMode mode>
inline void storePixel(uint8_t* pixel, uint32_t value) {
    storeLittleEndian<ModeTraits<mode>::kBytes>(pixel, value);
}

} // namespace ds_detail
