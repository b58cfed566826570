// The CRC by folding: the message is shortened from its start, 64 bytes at a time, without a change of its remainder.
//
// n more bits of the message follow a block of 128 bits. As polynomials over bits, with the first bit as the highest
// power of x and all arithmetic modulo the CRC's polynomial P:
//
//     | first 64 bits: A | last 64 bits: B | n bits: M |
//
//     A x^(n + 64) + B x^n + M  =  A (x^(n + 64) mod P) + B (x^n mod P) + M
//
// Each product on the right has at most 64 + 32 = 96 bits. So the block disappears, and its products are added to the
// last 128 bits of M. With n = 512 there are four independent chains, which hides the multiplier's latency (4 cycles
// and more). At the end n = 128 combines their four blocks.
//
// The bits are reversed: bit i is x^(63 - i) in a 64-bit operand, and x^(127 - i) in a 128-bit block.
//   - The product of bits i and j is bit i + j and means x^(126 - (i + j)). Read as a block, the same bit is
//     x^(127 - (i + j)): a factor of x too much.
//   - The 32 bits of a constant are at bits 1 to 32: a factor of x^31 too much.
//   - Together the factor is x^32. The powers are smaller by 32: n + 32 for A and n - 32 for B.
//
// The last block goes through the table of single bytes, in 16 lookups. The usual reduction would need further
// multiplications and constants. A byte takes 0.07 ns, compared with 0.41 ns by eight tables
// (docs/performance.md).
#include "png/internal/carry_less_crc.h"

using namespace png_detail;

#if defined(__x86_64__)

#include <wmmintrin.h>

namespace {

constexpr uint64_t kBlock = 16;

// x^n modulo the polynomial, bits reversed, at bits 1 to 32.
consteval int64_t power(int n) {
    uint32_t remainder = 0x80000000; // x^0
    for (int i = 0; i < n; ++i) {
        remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kCrcPolynomial : 0);
    }
    return static_cast<int64_t>(remainder) << 1;
}

// The factors that move a block on by n bits. The low half of a register is the block's first half, A.
struct powers_t {
    int64_t low, high;
};

constexpr powers_t kByOneBlock = {power(128 + 32), power(128 - 32)};
constexpr powers_t kByFourBlocks = {power(4 * 128 + 32), power(4 * 128 - 32)};

[[gnu::target("pclmul")]] inline __m128i fold(__m128i block, __m128i next, const powers_t& powers) {
    const __m128i factors = _mm_set_epi64x(powers.high, powers.low);
    const __m128i low = _mm_clmulepi64_si128(block, factors, 0x00);
    const __m128i high = _mm_clmulepi64_si128(block, factors, 0x11);
    return _mm_xor_si128(next, _mm_xor_si128(low, high));
}

__m128i load(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

} // namespace

[[gnu::target("pclmul")]] uint64_t
png_detail::carry_less_crc(const uint8_t* bytes, uint64_t length, uint32_t crc,
                           uint8_t (&rest)[kCarryLessRestBytes]) {
    __m128i first = _mm_xor_si128(load(bytes), _mm_cvtsi32_si128(static_cast<int>(crc)));
    __m128i second = load(bytes + kBlock);
    __m128i third = load(bytes + 2 * kBlock);
    __m128i fourth = load(bytes + 3 * kBlock);
    uint64_t done = 4 * kBlock;
    for (; length - done >= 4 * kBlock; done += 4 * kBlock) {
        first = fold(first, load(bytes + done), kByFourBlocks);
        second = fold(second, load(bytes + done + kBlock), kByFourBlocks);
        third = fold(third, load(bytes + done + 2 * kBlock), kByFourBlocks);
        fourth = fold(fourth, load(bytes + done + 3 * kBlock), kByFourBlocks);
    }
    second = fold(first, second, kByOneBlock);
    third = fold(second, third, kByOneBlock);
    fourth = fold(third, fourth, kByOneBlock);
    for (; length - done >= kBlock; done += kBlock) {
        fourth = fold(fourth, load(bytes + done), kByOneBlock);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rest), fourth);
    return done;
}

#else

uint64_t png_detail::carry_less_crc(const uint8_t*, uint64_t, uint32_t,
                                    uint8_t (&)[kCarryLessRestBytes]) {
    return 0;
}

#endif
