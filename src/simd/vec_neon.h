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

// ---- Bytes

inline U8 loadBytes(const uint8_t* from) {
    return U8(vld1q_u8(from));
}

inline void storeBytes(U8 from, uint8_t* to) {
    vst1q_u8(to, uint8x16_t(from));
}

inline U8 min(U8 a, U8 b) {
    return U8(vminq_u8(uint8x16_t(a), uint8x16_t(b)));
}

inline U8 max(U8 a, U8 b) {
    return U8(vmaxq_u8(uint8x16_t(a), uint8x16_t(b)));
}

/// Averages, rounded up.
inline U8 averageUp(U8 a, U8 b) {
    return U8(vrhaddq_u8(uint8x16_t(a), uint8x16_t(b)));
}

/// Moves each byte up by `count` bytes. The lowest bytes become 0.
template <int count>
U8 moveUp(U8 from) {
    return U8(vextq_u8(vdupq_n_u8(0), uint8x16_t(from), 16 - count));
}

/// Moves each byte down by `count` bytes. The highest bytes become 0.
template <int count>
U8 moveDown(U8 from) {
    return U8(vextq_u8(uint8x16_t(from), vdupq_n_u8(0), count));
}

#include "src/simd/vec_128.inl.h"
