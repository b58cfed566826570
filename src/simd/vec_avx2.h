// Registers of 32 bytes: AVX2. One shuffle moves bytes inside each half of a register, a second one moves words
// between the halves.
//
// Included inside a namespace and a region for AVX2; the includer has <immintrin.h>, <cstdint> and <cstring>.
// No load or store accesses a byte outside its pixels, because a buffer may end there.

using U8 = uint8_t __attribute__((vector_size(32)));
using U16 = uint16_t __attribute__((vector_size(32)));
using U32 = uint32_t __attribute__((vector_size(32)));
using U64 = uint64_t __attribute__((vector_size(32)));
using HalfU8 = uint8_t __attribute__((vector_size(16)));

inline constexpr uint32_t kPixels = 8; // words of a register

/// The upper 16 bits of each product. Composing over translucent pixels takes a third less time than with 32-bit
/// products.
inline U16 mulHigh(U16 a, U16 b) {
    return U16(_mm256_mulhi_epu16(__m256i(a), __m256i(b)));
}

// Sixteen bytes in both halves of the register.
inline U8 loadTwice(const uint8_t* from) {
    HalfU8 bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return __builtin_shufflevector(bytes, bytes, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
                                   15, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

inline U32 loadU8(const uint8_t* from) {
    uint64_t eight;
    std::memcpy(&eight, from, sizeof eight);
    const U8 bytes = U8(U64{eight, eight, eight, eight});
    return U32(__builtin_shufflevector(bytes, bytes, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3,
                                       20, 20, 20, 20, 21, 21, 21, 21, 22, 22, 22, 22, 23, 23, 23,
                                       23));
}

inline U32 loadU16(const uint8_t* from) {
    const U8 bytes = loadTwice(from);
    return U32(__builtin_shufflevector(bytes, bytes, 0, 1, 0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7, 6, 7,
                                       24, 25, 24, 25, 26, 27, 26, 27, 28, 29, 28, 29, 30, 31, 30,
                                       31));
}

// The interleaving functions move words inside each half of a register, so quarters are exchanged before.
inline U16 loadU16Lanes(const uint8_t* from) {
    U64 quarters;
    std::memcpy(&quarters, from, sizeof quarters);
    return U16(__builtin_shufflevector(quarters, quarters, 0, 2, 1, 3));
}

inline U32 interleaveLanesLow(U16 a, U16 b) {
    return U32(
        __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 8, 24, 9, 25, 10, 26, 11, 27));
}

inline U32 interleaveLanesHigh(U16 a, U16 b) {
    return U32(
        __builtin_shufflevector(a, b, 4, 20, 5, 21, 6, 22, 7, 23, 12, 28, 13, 29, 14, 30, 15, 31));
}

inline U32 loadU8Pairs(const uint8_t* from) {
    const U8 bytes = loadTwice(from);
    return U32(__builtin_shufflevector(bytes, bytes, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7,
                                       24, 24, 25, 25, 26, 26, 27, 27, 28, 28, 29, 29, 30, 30, 31,
                                       31));
}

/// Two loads overlap in the middle: the first four pixels come from the start of one, the last four from the end of
/// the other.
inline U32 loadU24(const uint8_t* from) {
    HalfU8 first;
    HalfU8 last;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + 8, sizeof last);
    const U8 both =
        __builtin_shufflevector(first, last, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15,
                                16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
    return U32(__builtin_shufflevector(both, both, 0, 1, 2, 0, 3, 4, 5, 3, 6, 7, 8, 6, 9, 10, 11, 9,
                                       20, 21, 22, 20, 23, 24, 25, 23, 26, 27, 28, 26, 29, 30, 31,
                                       29));
}

inline void storeU8(U32 from, uint8_t* to) {
    const U8 bytes = U8(from);
    const U32 packed = U32(__builtin_shufflevector(bytes, bytes, 0, 4, 8, 12, 0, 4, 8, 12, 0, 4, 8,
                                                   12, 0, 4, 8, 12, 16, 20, 24, 28, 16, 20, 24, 28,
                                                   16, 20, 24, 28, 16, 20, 24, 28));
    const U64 all = U64(__builtin_shufflevector(packed, packed, 0, 4, 0, 4, 0, 4, 0, 4));
    const uint64_t eight = all[0];
    std::memcpy(to, &eight, sizeof eight);
}

inline void storeU16(U32 from, uint8_t* to) {
    const U8 bytes = U8(from);
    const U64 packed = U64(__builtin_shufflevector(bytes, bytes, 0, 1, 4, 5, 8, 9, 12, 13, 0, 1, 4,
                                                   5, 8, 9, 12, 13, 16, 17, 20, 21, 24, 25, 28, 29,
                                                   16, 17, 20, 21, 24, 25, 28, 29));
    const auto all = __builtin_shufflevector(packed, packed, 0, 2);
    std::memcpy(to, &all, sizeof all);
}

inline void storeU24(U32 from, uint8_t* to) {
    const U8 bytes = U8(from);
    const U32 packed = U32(__builtin_shufflevector(bytes, bytes, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13,
                                                   14, 0, 0, 0, 0, 16, 17, 18, 20, 21, 22, 24, 25,
                                                   26, 28, 29, 30, 16, 16, 16, 16));
    const U64 all = U64(__builtin_shufflevector(packed, packed, 0, 1, 2, 4, 5, 6, 0, 0));
    const auto first = __builtin_shufflevector(all, all, 0, 1);
    const uint64_t last = all[2];
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + sizeof first, &last, sizeof last);
}

inline U16 spreadAlpha(U32 from) {
    const U8 bytes = U8(from);
    return U16(__builtin_shufflevector(bytes, bytes, 3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15,
                                       15, 15, 19, 19, 19, 19, 23, 23, 23, 23, 27, 27, 27, 27, 31,
                                       31, 31, 31));
}

// ---- Bytes

inline U8 min(U8 a, U8 b) {
    return U8(_mm256_min_epu8(__m256i(a), __m256i(b)));
}

inline U8 max(U8 a, U8 b) {
    return U8(_mm256_max_epu8(__m256i(a), __m256i(b)));
}

inline U8 averageUp(U8 a, U8 b) {
    return U8(_mm256_avg_epu8(__m256i(a), __m256i(b)));
}

// ---- Words: the functions of the smaller registers, in each half of the register.

inline U32 interleaveLow(U32 a, U32 b) {
    return __builtin_shufflevector(a, b, 0, 8, 1, 9, 4, 12, 5, 13);
}

inline U32 interleaveHigh(U32 a, U32 b) {
    return __builtin_shufflevector(a, b, 2, 10, 3, 11, 6, 14, 7, 15);
}

inline U32 interleavePairsLow(U32 a, U32 b) {
    return U32(__builtin_shufflevector(U64(a), U64(b), 0, 4, 2, 6));
}

inline U32 interleavePairsHigh(U32 a, U32 b) {
    return U32(__builtin_shufflevector(U64(a), U64(b), 1, 5, 3, 7));
}

/// Moves each word up by one, also from half to half. The lowest word becomes 0.
inline U32 moveWordsUp(U32 words) {
    return __builtin_shufflevector(words, U32{}, 8, 0, 1, 2, 3, 4, 5, 6);
}
