// Registers of 16 bytes: SSE2, which every x86-64 processor has.
//
// Included inside a namespace; the includer has <emmintrin.h>, <cstdint> and <cstring>.

using U8 = uint8_t __attribute__((vector_size(16)));
using U16 = uint16_t __attribute__((vector_size(16)));
using U32 = uint32_t __attribute__((vector_size(16)));
using U64 = uint64_t __attribute__((vector_size(16)));

inline constexpr uint32_t kPixels = 4; // words of a register

/// The upper 16 bits of each product. Composing over translucent pixels takes a third less time than with 32-bit
/// products.
inline U16 mulHigh(U16 a, U16 b) {
    return U16(_mm_mulhi_epu16(__m128i(a), __m128i(b)));
}

// ---- Bytes

/// An intrinsic: g++ 12 splits a memcpy into two halves if bytes of the register are moved afterwards.
inline U8 loadBytes(const uint8_t* from) {
    return U8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

inline void storeBytes(U8 from, uint8_t* to) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), __m128i(from));
}

inline U8 min(U8 a, U8 b) {
    return U8(_mm_min_epu8(__m128i(a), __m128i(b)));
}

inline U8 max(U8 a, U8 b) {
    return U8(_mm_max_epu8(__m128i(a), __m128i(b)));
}

/// Averages, rounded up.
inline U8 averageUp(U8 a, U8 b) {
    return U8(_mm_avg_epu8(__m128i(a), __m128i(b)));
}

/// Moves each byte up by `count` bytes. The lowest bytes become 0.
template <int count>
U8 moveUp(U8 from) {
    return U8(_mm_slli_si128(__m128i(from), count));
}

/// Moves each byte down by `count` bytes. The highest bytes become 0.
template <int count>
U8 moveDown(U8 from) {
    return U8(_mm_srli_si128(__m128i(from), count));
}

#include "src/simd/vec_128.inl.h"
