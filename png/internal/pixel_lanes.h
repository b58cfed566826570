// What the fast loops over lines share: pixels in the lanes of a vector, and the filters on them.
#pragma once

#if defined(__SSE2__)

#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace png_detail {

/// A pixel from memory; one of three bytes is read together with the byte behind it.
template <uint32_t channels>
uint32_t load_pixel(const uint8_t* bytes) {
    uint32_t pixel = 0;
    std::memcpy(&pixel, bytes, channels == 3 ? 4 : channels);
    return pixel;
}

/// Writes a pixel; the byte behind one of three bytes is written too.
template <uint32_t channels>
void store_pixel(uint8_t* bytes, uint32_t pixel) {
    std::memcpy(bytes, &pixel, channels == 3 ? 4 : channels);
}

/// Pixels of three bytes stand in four; those of one and two are left alone.
template <uint32_t channels>
__m128i exchange_red_and_blue(__m128i pixels) {
    if constexpr (channels < 3) {
        return pixels;
    } else {
        const __m128i low = _mm_set1_epi32(0xFF);
        const __m128i kept = _mm_andnot_si128(_mm_set1_epi32(0x00FF00FF), pixels);
        const __m128i red = _mm_and_si128(_mm_srli_epi32(pixels, 16), low);
        const __m128i blue = _mm_slli_epi32(_mm_and_si128(pixels, low), 16);
        return _mm_or_si128(kept, _mm_or_si128(red, blue));
    }
}

/// Half the sum, rounded down.
inline __m128i predict_average(__m128i left, __m128i up) {
    const __m128i odd = _mm_and_si128(_mm_xor_si128(left, up), _mm_set1_epi8(1));
    return _mm_sub_epi8(_mm_avg_epu8(left, up), odd); // which rounds up
}

} // namespace png_detail

#endif
