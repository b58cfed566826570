// Every loop reads a block before it writes the same block of the line, so that a line whose pixels
// lie a single byte before their source works too.
#include "png/internal/wide_rows.h"

using namespace png_detail;

#if defined(__SSE2__)

#include "png/internal/pixel_lanes.h"
#include "png/internal/png_filter.h"

#include <emmintrin.h>

namespace {

constexpr uint64_t kBlockBytes = 16;

// Pixels of three bytes leave the block's last byte over. It is written nevertheless: it lies in the
// line, ahead of what the next block will write, and not ahead of what has been read, since pixels lie
// at least a byte before their source.
template <uint32_t channels>
constexpr uint64_t kStep = kBlockBytes / channels* channels;

__m128i load_block(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

void store_block(uint8_t* bytes, __m128i block) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), block);
}

// Exchanges red and blue in a block of pixels without gaps; a left over byte becomes zero.
template <uint32_t channels>
__m128i exchange_in_block(__m128i block) {
    if constexpr (channels == 3) {
        const __m128i red = _mm_set_epi8(0, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1);
        const __m128i green = _mm_slli_si128(red, 1);
        return _mm_or_si128(_mm_and_si128(block, green),
                            _mm_or_si128(_mm_slli_si128(_mm_and_si128(block, red), 2),
                                         _mm_and_si128(_mm_srli_si128(block, 2), red)));
    } else {
        return exchange_red_and_blue<channels>(block);
    }
}

// ---- Filters without a chain

template <uint32_t channels>
uint64_t copy_row(uint8_t* target, const uint8_t* source, const uint8_t*, uint64_t rowBytes) {
    uint64_t x = 0;
    for (; x + kBlockBytes <= rowBytes; x += kStep<channels>) {
        store_block(target + x, exchange_in_block<channels>(load_block(source + x)));
    }
    return x;
}

template <uint32_t channels>
uint64_t add_above_row(uint8_t* target, const uint8_t* source, const uint8_t* above,
                       uint64_t rowBytes) {
    uint64_t x = 0;
    for (; x + kBlockBytes <= rowBytes; x += kStep<channels>) {
        const __m128i filtered = exchange_in_block<channels>(load_block(source + x));
        store_block(target + x, _mm_add_epi8(filtered, load_block(above + x)));
    }
    return x;
}

// ---- Sub by prefix sums

// Sums of the pixels up to each pixel of the block.
template <uint32_t channels>
__m128i sums(__m128i block) {
    if constexpr (channels == 1) {
        block = _mm_add_epi8(block, _mm_slli_si128(block, 1));
        block = _mm_add_epi8(block, _mm_slli_si128(block, 2));
    } else {
        block = _mm_add_epi8(block, _mm_slli_si128(block, channels));
    }
    constexpr int kPair = channels == 1 ? 4 : 2 * channels;
    block = _mm_add_epi8(block, _mm_slli_si128(block, kPair));
    if constexpr (2 * kPair < 16) {
        block = _mm_add_epi8(block, _mm_slli_si128(block, 2 * kPair));
    }
    return block;
}

// The block's last pixel, repeated.
template <uint32_t channels>
__m128i last_pixel(__m128i block) {
    if constexpr (channels == 3) {
        const __m128i last = _mm_srli_si128(_mm_slli_si128(block, 1), 13);
        const __m128i two = _mm_or_si128(last, _mm_slli_si128(last, 3));
        return _mm_or_si128(_mm_or_si128(two, _mm_slli_si128(two, 6)), _mm_slli_si128(last, 12));
    } else {
        if constexpr (channels == 1) {
            block = _mm_unpackhi_epi8(block, block);
        }
        if constexpr (channels <= 2) {
            block = _mm_shufflehi_epi16(block, 0xFF);
        }
        return _mm_shuffle_epi32(block, 0xFF);
    }
}

// The only chain from block to block is one addition.
template <uint32_t channels>
uint64_t sum_row(uint8_t* target, const uint8_t* source, const uint8_t*, uint64_t rowBytes) {
    __m128i left = _mm_setzero_si128();
    uint64_t x = 0;
    for (; x + kBlockBytes <= rowBytes; x += kStep<channels>) {
        const __m128i block = sums<channels>(exchange_in_block<channels>(load_block(source + x)));
        store_block(target + x, _mm_add_epi8(block, left));
        left = _mm_add_epi8(left, last_pixel<channels>(block));
    }
    return x;
}

// ---- Average

// All but the last pixel, since pixels of three bytes are taken and put as four.
template <uint32_t channels>
uint64_t average_row(uint8_t* target, const uint8_t* source, const uint8_t* above,
                     uint64_t rowBytes) {
    __m128i left = _mm_setzero_si128();
    uint64_t x = 0;
    for (; x + channels < rowBytes; x += channels) {
        const __m128i filtered = exchange_red_and_blue<channels>(
            _mm_cvtsi32_si128(static_cast<int>(load_pixel<channels>(source + x))));
        const __m128i up = _mm_cvtsi32_si128(static_cast<int>(load_pixel<channels>(above + x)));
        left = _mm_add_epi8(filtered, predict_average(left, up));
        store_pixel<channels>(target + x, static_cast<uint32_t>(_mm_cvtsi128_si32(left)));
    }
    return x;
}

constexpr wide_row_t kWideRows[][kFilterCount] = {
    {copy_row<1>, sum_row<1>, add_above_row<1>, nullptr, nullptr},
    {copy_row<2>, sum_row<2>, add_above_row<2>, nullptr, nullptr},
    {copy_row<3>, sum_row<3>, add_above_row<3>, average_row<3>, nullptr},
    {copy_row<4>, sum_row<4>, add_above_row<4>, average_row<4>, nullptr},
};

} // namespace

wide_row_t png_detail::png_wide_row(uint32_t channels, uint8_t filter) {
    return kWideRows[channels - 1][filter];
}

#else

wide_row_t png_detail::png_wide_row(uint32_t, uint8_t) {
    return nullptr;
}

#endif
