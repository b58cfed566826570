// Loads, stores and shuffles of words in registers of 16 bytes, by the compiler's vector types. They compile to a few
// instructions for both SSE2 and NEON.
//
// Included inside a namespace after U8, U16, U32, U64 and moveUp(). No load or store accesses a byte outside its
// pixels, because a buffer may end there.

/// Pixels of one byte, each repeated in all four bytes of a word.
inline U32 loadU8(const uint8_t* from) {
    uint32_t four;
    std::memcpy(&four, from, sizeof four);
    const U8 single = U8(U32{four});
    const U16 twice = U16(__builtin_shufflevector(single, single, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20,
                                                  5, 21, 6, 22, 7, 23));
    return U32(__builtin_shufflevector(twice, twice, 0, 8, 1, 9, 2, 10, 3, 11));
}

/// Pixels of two bytes, each repeated in both halves of a word.
inline U32 loadU16(const uint8_t* from) {
    uint64_t four;
    std::memcpy(&four, from, sizeof four);
    const U16 pixels = U16(U64{four});
    return U32(__builtin_shufflevector(pixels, pixels, 0, 8, 1, 9, 2, 10, 3, 11));
}

/// Twice as many pixels of two bytes, in the order that interleaveLanesLow() and interleaveLanesHigh() expect.
inline U16 loadU16Lanes(const uint8_t* from) {
    return U16(loadBytes(from));
}

/// Words of two 16-bit lanes, the lower lane from `a`: those of the first kPixels pixels of loadU16Lanes(), or those of
/// the others.
inline U32 interleaveLanesLow(U16 a, U16 b) {
    return U32(__builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11));
}

inline U32 interleaveLanesHigh(U16 a, U16 b) {
    return U32(__builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15));
}

/// Pixels of two bytes, each byte repeated in both bytes of a 16-bit lane.
inline U32 loadU8Pairs(const uint8_t* from) {
    uint64_t eight;
    std::memcpy(&eight, from, sizeof eight);
    const U8 bytes = U8(U64{eight});
    return U32(__builtin_shufflevector(bytes, bytes, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6,
                                       22, 7, 23));
}

/// Pixels of three bytes as words. The upper byte of each word is unspecified.
inline U32 loadU24(const uint8_t* from) {
    uint64_t first;
    uint32_t last;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + sizeof first, sizeof last);
    const U64 pairs = {first, first >> 48 | uint64_t{last} << 16};
    return U32((pairs & 0xFFFFFFU) | pairs >> 24 << 32);
}

/// The low byte of each word.
inline void storeU8(U32 from, uint8_t* to) {
    const U64 pairs = U64(from & 0xFFU);
    const U64 packed = pairs | pairs >> 24;
    const auto four = static_cast<uint32_t>((packed[0] & 0xFFFFU) | packed[1] << 16);
    std::memcpy(to, &four, sizeof four);
}

/// The low 16 bits of each word.
inline void storeU16(U32 from, uint8_t* to) {
    const U64 pairs = U64(from & 0xFFFFU);
    const U64 packed = pairs | pairs >> 16;
    const uint64_t low = (packed[0] & 0xFFFFFFFFU) | packed[1] << 32;
    std::memcpy(to, &low, sizeof low);
}

/// The low three bytes of each word.
inline void storeU24(U32 from, uint8_t* to) {
    const U64 pairs = U64(from & 0xFFFFFFU);
    const U64 packed = (pairs & 0xFFFFFFU) | pairs >> 32 << 24;
    const uint64_t first = packed[0] | packed[1] << 48;
    const auto last = static_cast<uint32_t>(packed[1] >> 16);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + sizeof first, &last, sizeof last);
}

/// The upper byte of each word in the lower byte of both its 16-bit lanes. Their upper bytes are unspecified.
inline U16 spreadAlpha(U32 from) {
    const U32 alpha = from >> 24;
    return U16(alpha | alpha << 16);
}

/// Words of the lower or the upper halves of two registers, in turns.
inline U32 interleaveLow(U32 a, U32 b) {
    return __builtin_shufflevector(a, b, 0, 4, 1, 5);
}

inline U32 interleaveHigh(U32 a, U32 b) {
    return __builtin_shufflevector(a, b, 2, 6, 3, 7);
}

/// Pairs of words of the lower or the upper halves of two registers.
inline U32 interleavePairsLow(U32 a, U32 b) {
    return U32(__builtin_shufflevector(U64(a), U64(b), 0, 2));
}

inline U32 interleavePairsHigh(U32 a, U32 b) {
    return U32(__builtin_shufflevector(U64(a), U64(b), 1, 3));
}

/// Moves each word up by one. The lowest word becomes 0.
inline U32 moveWordsUp(U32 words) {
    return U32(moveUp<4>(U8(words)));
}
