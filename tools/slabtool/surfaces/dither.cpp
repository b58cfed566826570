// Ordered dithering and rounding to the nearest level use one kernel:
//
//     level = floor((v * max + threshold) / 255)
//
// Rounding uses the threshold 127 for every pixel. For ordered dithering, with t = (2 * bayer + 1) / 128:
//
//     floor(v * max / 255 + t) = floor((v * max + 255 * t) / 255) = floor((v * max + floor(255 * t)) / 255)
//
// because v * max is an integer. So the thresholds floor(255 * (2 * bayer + 1) / 128), from 0 to 253, give the exact
// result. v = 0 gives level 0, and v = 255 gives level max, because every threshold is less than 255.
//
// All values fit 16 bits, so the compiler vectorizes the loop.
#include "tools/slabtool/surfaces/dither.h"

#include "src/internal/mode_traits.h"
#include "src/pixel_kernels.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

using namespace ds_detail;

namespace {

constexpr uint32_t kMax4 = 15, kMax5 = 31, kMax6 = 63;

/// The max level of each color channel of a mode, and the pixel of three levels and an 8-bit alpha.
template <DsColorMode mode>
struct Levels;

template <>
struct Levels<DsColorMode::RGB565> {
    static constexpr uint32_t kMaxRed = kMax5, kMaxGreen = kMax6, kMaxBlue = kMax5;
    static constexpr uint32_t pixel(uint32_t red, uint32_t green, uint32_t blue,
                                    uint32_t /*alpha*/) {
        return red << 11 | green << 5 | blue;
    }
};

template <>
struct Levels<DsColorMode::ARGB1555> {
    static constexpr uint32_t kMaxRed = kMax5, kMaxGreen = kMax5, kMaxBlue = kMax5;
    static constexpr uint32_t pixel(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha) {
        return alpha >> 7 << 15 | red << 10 | green << 5 | blue;
    }
};

template <>
struct Levels<DsColorMode::ARGB4444> {
    static constexpr uint32_t kMaxRed = kMax4, kMaxGreen = kMax4, kMaxBlue = kMax4;
    static constexpr uint32_t pixel(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha) {
        return narrowTo4(alpha) << 12 | red << 8 | green << 4 | blue;
    }
};

// ---- Levels by thresholds

constexpr uint32_t kBayerSide = 8;
// Pixels in one call of the kernel: several periods of the matrix, because a loop over 8 pixels is too short.
constexpr uint32_t kRun = 8 * kBayerSide;
constexpr uint32_t kMaxThreshold = 253;

using Thresholds = std::array<uint8_t, kRun>;

constexpr bool isDivisionExact() {
    for (uint32_t sum = 0; sum <= 255 * kMax6 + kMaxThreshold; ++sum) {
        if (dividedBy255(sum) != sum / 255) {
            return false;
        }
    }
    return true;
}
static_assert(isDivisionExact());

// The classic matrix, [0 2; 3 1] refined twice. The lowest bits of x and y are the most significant ones of the rank.
constexpr uint32_t bayer(uint32_t x, uint32_t y) {
    uint32_t rank = 0;
    for (uint32_t bit = 0; bit < 3; ++bit) {
        const uint32_t right = x >> bit & 1;
        const uint32_t lower = y >> bit & 1;
        rank = rank << 2 | (right ^ lower) << 1 | lower;
    }
    return rank;
}

consteval Thresholds orderedThresholds(uint32_t y) {
    Thresholds row = {};
    for (uint32_t x = 0; x < kRun; ++x) {
        const uint32_t threshold = 255 * (2 * bayer(x % kBayerSide, y) + 1) / 128;
        row[x] = static_cast<uint8_t>(threshold);
    }
    return row;
}

constexpr std::array<Thresholds, kBayerSide> kOrderedThresholds = {
    orderedThresholds(0), orderedThresholds(1), orderedThresholds(2), orderedThresholds(3),
    orderedThresholds(4), orderedThresholds(5), orderedThresholds(6), orderedThresholds(7)};

consteval Thresholds nearestThresholds() {
    Thresholds row = {};
    row.fill(127);
    return row;
}

constexpr Thresholds kNearestThresholds = nearestThresholds();

template <DsColorMode mode>
void packRun(const Rgba* colors, uint32_t count, const Thresholds& thresholds, uint8_t* pixels) {
    using L = Levels<mode>;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t threshold = thresholds[i];
        storePixel<mode>(pixels + size_t{2} * i,
                         L::pixel(dividedBy255(colors[i].red * L::kMaxRed + threshold),
                                  dividedBy255(colors[i].green * L::kMaxGreen + threshold),
                                  dividedBy255(colors[i].blue * L::kMaxBlue + threshold),
                                  colors[i].alpha));
    }
}

template <DsColorMode mode>
void packByThresholds(std::span<const Rgba> colors, const Thresholds& thresholds, uint8_t* pixels) {
    while (!colors.empty()) {
        const auto run = colors.first(std::min<size_t>(colors.size(), kRun));
        packRun<mode>(run.data(), static_cast<uint32_t>(run.size()), thresholds, pixels);
        colors = colors.subspan(run.size());
        pixels += run.size() * ModeTraits<mode>::kBytes;
    }
}

class NearestPacker1555 : public RowPacker {
public:
    void pack(std::span<const Rgba> colors, uint8_t* pixels) override {
        packByThresholds<DsColorMode::ARGB1555>(colors, kNearestThresholds, pixels);
    }
};

template <DsColorMode mode>
class OrderedPacker : public RowPacker {
public:
    void pack(std::span<const Rgba> colors, uint8_t* pixels) override {
        packByThresholds<mode>(colors, kOrderedThresholds[mRow], pixels);
        mRow = (mRow + 1) % kBayerSide;
    }

private:
    uint32_t mRow = 0;
};

// ---- Error diffusion

constexpr int32_t kScale = 16;                // makes the rounding of shares (sixteenths) small
constexpr int32_t kLevelUnits = 255 * kScale; // between two levels
constexpr int32_t kHalfLevel = kLevelUnits / 2;

/// The sum of the shares that a pixel has received, by channel.
struct Shares {
    int32_t red = 0, green = 0, blue = 0;
};

/// The four shares of an error. Their sum is the error.
struct SplitError {
    int32_t next, belowPrevious, below, belowNext;
};

constexpr SplitError split(int32_t error) {
    const int32_t next = error * 7 / 16;
    const int32_t belowPrevious = error * 3 / 16;
    const int32_t below = error * 5 / 16;
    return {next, belowPrevious, below, error - next - belowPrevious - below};
}

// If every error is at most half a level, so is the sum of the shares that one pixel receives from four errors, in spite
// of rounding. By induction every error is at most half a level, so want + kHalfLevel is never negative.
constexpr bool areErrorsBounded() {
    SplitError max = {};
    for (int32_t error = 0; error <= kHalfLevel; ++error) {
        const SplitError shares = split(error);
        max = {std::max(max.next, shares.next), std::max(max.belowPrevious, shares.belowPrevious),
               std::max(max.below, shares.below), std::max(max.belowNext, shares.belowNext)};
    }
    return max.next + max.belowPrevious + max.below + max.belowNext <= kHalfLevel;
}
static_assert(areErrorsBounded());

/// The neighbors that receive the error of one channel.
struct Receivers {
    int32_t &next, &belowPrevious, &below, &belowNext;
};

// Returns the level of one channel, and distributes the error.
template <uint32_t max>
uint32_t diffuse(uint32_t value, int32_t received, const Receivers& to) {
    const int32_t want = static_cast<int32_t>(value * max) * kScale + received;
    const int32_t level = std::min((want + kHalfLevel) / kLevelUnits, static_cast<int32_t>(max));
    const SplitError shares = split(want - level * kLevelUnits);
    to.next = shares.next;
    to.belowPrevious += shares.belowPrevious;
    to.below += shares.below;
    to.belowNext += shares.belowNext;
    return static_cast<uint32_t>(level);
}

template <DsColorMode mode>
class DiffusingPacker : public RowPacker {
public:
    explicit DiffusingPacker(uint32_t width)
        : mHere(width + size_t{2})
        , mBelow(width + size_t{2}) {}

    void pack(std::span<const Rgba> colors, uint8_t* pixels) override {
        const auto count = static_cast<int64_t>(colors.size());
        std::fill(mBelow.begin(), mBelow.end(), Shares());
        mNext = Shares();
        if (mIsLeftward) {
            for (int64_t x = count - 1; x >= 0; --x) {
                packPixel<-1>(colors.data() + x, x, pixels);
            }
        } else {
            for (int64_t x = 0; x < count; ++x) {
                packPixel<1>(colors.data() + x, x, pixels);
            }
        }
        mIsLeftward = !mIsLeftward;
        std::swap(mHere, mBelow);
    }

private:
    template <int32_t step>
    void packPixel(const Rgba* color, int64_t x, uint8_t* pixels) {
        const Shares* const here = mHere.data() + x + 1;
        Shares* const below = mBelow.data() + x + 1;
        const auto level = [&]<uint32_t max>(uint8_t value, int32_t Shares::*channel) {
            return diffuse<max>(
                value, here->*channel + mNext.*channel,
                {mNext.*channel, below[-step].*channel, below[0].*channel, below[step].*channel});
        };
        using L = Levels<mode>;
        const uint32_t red = level.template operator()<L::kMaxRed>(color->red, &Shares::red);
        const uint32_t green =
            level.template operator()<L::kMaxGreen>(color->green, &Shares::green);
        const uint32_t blue = level.template operator()<L::kMaxBlue>(color->blue, &Shares::blue);
        storePixel<mode>(pixels + 2 * x, L::pixel(red, green, blue, color->alpha));
    }

    // One extra entry at each end receives the shares that leave the picture.
    std::vector<Shares> mHere, mBelow;
    Shares mNext;
    bool mIsLeftward = false;
};

// ---- Choosing the packer

class ConvertingPacker : public RowPacker {
public:
    ConvertingPacker(DsColorMode mode, uint32_t width)
        : mMode(mode)
        , mBgra(width) {}

    void pack(std::span<const Rgba> colors, uint8_t* pixels) override {
        static_assert(sizeof(Rgba) == ModeTraits<DsColorMode::ARGB8888>::kBytes);
        // Pixels of ARGB8888 begin with blue.
        std::transform(colors.begin(), colors.end(), mBgra.begin(), [](const Rgba& color) {
            return Rgba{color.blue, color.green, color.red, color.alpha};
        });
        const auto count = static_cast<uint32_t>(colors.size());
        convertPixels(pixels, count, mMode, reinterpret_cast<const uint8_t*>(mBgra.data()), count,
                      DsColorMode::ARGB8888, count, 1, 0, 0);
    }

private:
    DsColorMode mMode;
    std::vector<Rgba> mBgra;
};

template <DsColorMode mode>
std::unique_ptr<RowPacker> makeDitheringPacker(Dither dither, uint32_t width) {
    if (dither == Dither::Ordered) {
        return std::make_unique<OrderedPacker<mode>>();
    }
    return std::make_unique<DiffusingPacker<mode>>(width);
}

} // namespace

std::unique_ptr<RowPacker> makeRowPacker(DsColorMode mode, Dither dither, uint32_t width) {
    const bool isDithered = dither != Dither::None;
    if (isDithered && mode == DsColorMode::RGB565) {
        return makeDitheringPacker<DsColorMode::RGB565>(dither, width);
    }
    if (isDithered && mode == DsColorMode::ARGB4444) {
        return makeDitheringPacker<DsColorMode::ARGB4444>(dither, width);
    }
    if (isDithered && mode == DsColorMode::ARGB1555) {
        return makeDitheringPacker<DsColorMode::ARGB1555>(dither, width);
    }
    if (mode == DsColorMode::ARGB1555) {
        return std::make_unique<NearestPacker1555>();
    }
    return std::make_unique<ConvertingPacker>(mode, width);
}
