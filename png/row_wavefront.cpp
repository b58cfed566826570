// The filters Sub, Average and Paeth make a chain of a line's pixels: each needs the one before it,
// so that one line alone waits most of the time. Four lines one below the other go together in one
// vector, a lane each, every line two pixels behind the one above it, whose pixels it needs. Lines of
// Paeth take a quarter of the time or less.
#include "png/internal/row_wavefront.h"

using namespace png_detail;

#if defined(__SSE2__)

#include "png/internal/pixel_lanes.h"
#include "png/internal/png_filter.h"

#include <cstring>
#include <emmintrin.h>

namespace {

// Lanes hold pixels in 32 bits each. Each line runs this many steps behind the one above: with one
// step, moving a pixel to the next lane would be part of the chain.
constexpr uint64_t kLag = 2;

constexpr uint64_t kPadding = 4; // pixels of three bytes are read as four

struct lines_t {
    uint8_t* target[kWavefrontRows];
    const uint8_t* source[kWavefrontRows]; // without the filter byte
    const uint8_t* above;                  // of the first line
};

__m128i lanes(uint32_t first, uint32_t second, uint32_t third, uint32_t fourth) {
    return _mm_set_epi32(static_cast<int>(fourth), static_cast<int>(third),
                         static_cast<int>(second), static_cast<int>(first));
}

template <int index>
uint32_t lane(__m128i pixels) {
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi32(pixels, index)));
}

// Written out, since not every level of optimisation unrolls a loop over the lanes.
template <uint32_t channels>
__m128i load_lanes(const lines_t& lines, uint64_t offset) {
    constexpr uint64_t kBehind = kLag * channels;
    return lanes(load_pixel<channels>(lines.source[0] + offset),
                 load_pixel<channels>(lines.source[1] + offset - kBehind),
                 load_pixel<channels>(lines.source[2] + offset - 2 * kBehind),
                 load_pixel<channels>(lines.source[3] + offset - 3 * kBehind));
}

template <uint32_t channels>
void store_lanes(const lines_t& lines, uint64_t offset, __m128i pixels) {
    constexpr uint64_t kBehind = kLag * channels;
    store_pixel<channels>(lines.target[0] + offset, lane<0>(pixels));
    store_pixel<channels>(lines.target[1] + offset - kBehind, lane<1>(pixels));
    store_pixel<channels>(lines.target[2] + offset - 2 * kBehind, lane<2>(pixels));
    store_pixel<channels>(lines.target[3] + offset - 3 * kBehind, lane<3>(pixels));
}

// What the filter Paeth adds. With a and b sorted, the nearest of a, b and c to a + b - c is the
// lower where c is at least twice as far from it as from the upper, the upper where it is the other
// way round, and c between; c beyond one of them makes the distance to it zero, which fits the same
// rule.
__m128i predict_paeth(__m128i left, __m128i up, __m128i upLeft) {
    const __m128i lower = _mm_min_epu8(left, up);
    const __m128i upper = _mm_max_epu8(left, up);
    const __m128i toLower = _mm_subs_epu8(upLeft, lower);
    const __m128i toUpper = _mm_subs_epu8(upper, upLeft);
    const __m128i zero = _mm_setzero_si128();
    const __m128i takesLower =
        _mm_cmpeq_epi8(_mm_subs_epu8(_mm_adds_epu8(toUpper, toUpper), toLower), zero);
    const __m128i takesUpper =
        _mm_cmpeq_epi8(_mm_subs_epu8(_mm_adds_epu8(toLower, toLower), toUpper), zero);
    const __m128i change =
        _mm_sub_epi8(_mm_and_si128(takesUpper, toUpper), _mm_and_si128(takesLower, toLower));
    return _mm_add_epi8(upLeft, change);
}

// The lanes whose lines have the filter.
__m128i lanes_of(const uint8_t (&filters)[kWavefrontRows], uint8_t filter) {
    return _mm_cmpeq_epi32(lanes(filters[0], filters[1], filters[2], filters[3]),
                           _mm_set1_epi32(filter));
}

struct paeth_filters_t {
    __m128i predict(__m128i left, __m128i up, __m128i upLeft) const {
        return predict_paeth(left, up, upLeft);
    }
};

struct mixed_filters_t {
    __m128i sub, up, average, paeth;

    explicit mixed_filters_t(const uint8_t (&filters)[kWavefrontRows])
        : sub(lanes_of(filters, kFilterSub))
        , up(lanes_of(filters, kFilterUp))
        , average(lanes_of(filters, kFilterAverage))
        , paeth(lanes_of(filters, kFilterPaeth)) {}

    __m128i predict(__m128i left, __m128i above, __m128i upLeft) const {
        const __m128i simple = _mm_or_si128(_mm_and_si128(sub, left), _mm_and_si128(up, above));
        const __m128i chained =
            _mm_or_si128(_mm_and_si128(average, predict_average(left, above)),
                         _mm_and_si128(paeth, predict_paeth(left, above, upLeft)));
        return _mm_or_si128(simple, chained);
    }
};

// The pixels of the last steps, a lane each line.
struct front_t {
    __m128i left = _mm_setzero_si128();   // of the step before
    __m128i before = _mm_setzero_si128(); // of the step before that
    __m128i upLeft = _mm_setzero_si128();

    template <typename filters_t>
    __m128i advance(const filters_t& filters, __m128i filtered, uint32_t abovePixel) {
        const __m128i up = _mm_or_si128(_mm_slli_si128(before, 4),
                                        _mm_cvtsi32_si128(static_cast<int>(abovePixel)));
        const __m128i pixels = _mm_add_epi8(filtered, filters.predict(left, up, upLeft));
        before = left;
        left = pixels;
        upLeft = up;
        return pixels;
    }
};

// A step at which lines have not begun or have ended, or are at a pixel whose neighbour must not be
// touched.
template <uint32_t channels, typename filters_t>
void careful_step(front_t* front, const filters_t& filters, const lines_t& lines, uint64_t step,
                  uint64_t width) {
    uint32_t filtered[kWavefrontRows] = {};
    uint32_t active[kWavefrontRows] = {};
    for (uint64_t row = 0; row < kWavefrontRows; ++row) {
        const uint64_t x = step - row * kLag;
        if (step >= row * kLag && x < width) {
            filtered[row] = load_pixel<channels>(lines.source[row] + x * channels);
            active[row] = 0xFFFFFFFF;
        }
    }
    uint32_t above = 0;
    if (step < width) {
        std::memcpy(&above, lines.above + step * channels, channels);
    }
    front->advance(
        filters,
        exchange_red_and_blue<channels>(lanes(filtered[0], filtered[1], filtered[2], filtered[3])),
        above);
    front->left = _mm_and_si128(front->left, lanes(active[0], active[1], active[2], active[3]));
    const uint32_t pixels[kWavefrontRows] = {lane<0>(front->left), lane<1>(front->left),
                                             lane<2>(front->left), lane<3>(front->left)};
    for (uint64_t row = 0; row < kWavefrontRows; ++row) {
        if (active[row] != 0) {
            std::memcpy(lines.target[row] + (step - row * kLag) * channels, &pixels[row], channels);
        }
    }
}

template <uint32_t channels, typename filters_t>
void convert(const filters_t& filters, const lines_t& lines, uint64_t width) {
    constexpr uint64_t kLastBegins = (kWavefrontRows - 1) * kLag;
    front_t front;
    uint64_t step = 0;
    for (; step < kLastBegins; ++step) {
        careful_step<channels>(&front, filters, lines, step, width);
    }
    for (; step + 1 < width; ++step) {
        const uint64_t offset = step * channels;
        store_lanes<channels>(
            lines, offset,
            front.advance(filters,
                          exchange_red_and_blue<channels>(load_lanes<channels>(lines, offset)),
                          load_pixel<channels>(lines.above + offset)));
    }
    for (; step < width + kLastBegins; ++step) {
        careful_step<channels>(&front, filters, lines, step, width);
    }
}

template <uint32_t channels>
void convert(const uint8_t (&filters)[kWavefrontRows], const lines_t& lines, uint64_t width) {
    constexpr uint8_t kAllPaeth[kWavefrontRows] = {kFilterPaeth, kFilterPaeth, kFilterPaeth,
                                                   kFilterPaeth};
    if (std::memcmp(filters, kAllPaeth, sizeof kAllPaeth) == 0) {
        convert<channels>(paeth_filters_t(), lines, width);
    } else {
        convert<channels>(mixed_filters_t(filters), lines, width);
    }
}

} // namespace

void png_detail::png_convert_wavefront(uint8_t* target, const uint8_t* source, uint64_t stride,
                                       uint64_t rowBytes, uint32_t channels) {
    // The pixels of a line overwrite the end of the source of the line above, which is not used up
    // yet: all four are saved before.
    uint8_t saved[kWavefrontRows * (kWavefrontRowBytes + kPadding)];
    uint8_t* next = saved; // one line behind the other, so that short ones touch little memory
    uint8_t filters[kWavefrontRows];
    lines_t lines;
    lines.above = target - stride;
    for (uint32_t row = 0; row < kWavefrontRows; ++row) {
        filters[row] = *source++;
        std::memcpy(next, source, rowBytes);
        std::memset(next + rowBytes, 0, kPadding);
        lines.source[row] = next;
        lines.target[row] = target + row * stride;
        source += rowBytes;
        next += rowBytes + kPadding;
    }
    const uint64_t width = rowBytes / channels;
    switch (channels) {
    case 1:
        return convert<1>(filters, lines, width);
    case 2:
        return convert<2>(filters, lines, width);
    case 3:
        return convert<3>(filters, lines, width);
    default:
        return convert<4>(filters, lines, width);
    }
}

#else

void png_detail::png_convert_wavefront(uint8_t*, const uint8_t*, uint64_t, uint64_t, uint32_t) {}

#endif
