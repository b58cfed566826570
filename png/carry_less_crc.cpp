// A block of 128 bits that n more bits follow has the same remainder as the sum of its halves, each
// multiplied by the remainder of the power of x at its distance; the products are 96 bits, so that
// they fit the block at the end of those n bits. Four blocks side by side hide the multiplier's latency.
#include "png/internal/carry_less_crc.h"

using namespace png_detail;

#if defined(__x86_64__)

#include <wmmintrin.h>

namespace {

constexpr uint64_t kBlock = 16;

// x^n modulo the polynomial, bits reversed; one more bit up, since the product of two
// reversed numbers comes out one bit low.
consteval int64_t power(int n) {
    uint32_t remainder = 0x80000000; // x^0
    for (int i = 0; i < n; ++i) {
        remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kCrcPolynomial : 0);
    }
    return static_cast<int64_t>(remainder) << 1;
}

// What moves a block on by a number of bits. Its low half, which came first, is 64 bits further away,
// and the 32 are what the checksum's own width takes.
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
