// Registers of 16 bytes: SSE2, which every x86-64 processor has.
//
// Included inside a namespace; the includer has <emmintrin.h>, <cstdint> and <cstring>.

using U8 = uint8_t __attribute__((vector_size(16)));
using U16 = uint16_t __attribute__((vector_size(16)));
using U32 = uint32_t __attribute__((vector_size(16)));
using U64 = uint64_t __attribute__((vector_size(16)));

inline constexpr uint32_t kPixels = 4; // words of a register

/// The upper 16 bits of each product. It takes a third off composing over translucent pixels, beside products
/// of 32 bits.
inline U16 mulHigh(U16 a, U16 b) {
    return U16(_mm_mulhi_epu16(__m128i(a), __m128i(b)));
}

#include "src/simd/vec_128.inl.h"
