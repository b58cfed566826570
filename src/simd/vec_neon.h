// Registers of 16 bytes: NEON, which every 64-bit ARM processor has.
//
// Included inside a namespace; the includer has <arm_neon.h>, <cstdint> and <cstring>.

using U8 = uint8_t __attribute__((vector_size(16)));
using U16 = uint16_t __attribute__((vector_size(16)));
using U32 = uint32_t __attribute__((vector_size(16)));
using U64 = uint64_t __attribute__((vector_size(16)));

inline constexpr uint32_t kPixels = 4; // words of a register

/// The upper 16 bits of each product.
inline U16 mulHigh(U16 a, U16 b) {
    const uint16x8_t left = uint16x8_t(a);
    const uint16x8_t right = uint16x8_t(b);
    const uint16x8_t low =
        vreinterpretq_u16_u32(vmull_u16(vget_low_u16(left), vget_low_u16(right)));
    const uint16x8_t high = vreinterpretq_u16_u32(vmull_high_u16(left, right));
    return U16(vuzp2q_u16(low, high));
}

#include "src/simd/vec_128.inl.h"
