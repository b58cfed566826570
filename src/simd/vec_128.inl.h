// Moves between the bytes of 16-byte registers, in the compiler's vector types: both instruction sets with such
// registers compile these to a few instructions.
//
// Included inside a namespace after U8, U16, U32 and U64. Every load and store keeps to the bytes of its pixels,
// because a buffer may end with them.

/// Each byte in all four bytes of its word.
inline U32 loadU8(const uint8_t* from) {
    uint32_t four;
    std::memcpy(&four, from, sizeof four);
    const U8 single = U8(U32{four});
    const U16 twice = U16(__builtin_shufflevector(single, single, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20,
                                                  5, 21, 6, 22, 7, 23));
    return U32(__builtin_shufflevector(twice, twice, 0, 8, 1, 9, 2, 10, 3, 11));
}

/// Each pixel of two bytes in both halves of its word.
inline U32 loadU16(const uint8_t* from) {
    uint64_t four;
    std::memcpy(&four, from, sizeof four);
    const U16 halves = U16(U64{four});
    return U32(__builtin_shufflevector(halves, halves, 0, 8, 1, 9, 2, 10, 3, 11));
}

/// Pixels of two bytes, each byte in both bytes of its half.
inline U32 loadU8Pairs(const uint8_t* from) {
    uint64_t eight;
    std::memcpy(&eight, from, sizeof eight);
    const U8 bytes = U8(U64{eight});
    return U32(__builtin_shufflevector(bytes, bytes, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6,
                                       22, 7, 23));
}

/// Pixels of three bytes as words, in whose upper byte anything may stand.
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
    const U64 joined = pairs | pairs >> 24;
    const auto four = static_cast<uint32_t>((joined[0] & 0xFFFFU) | joined[1] << 16);
    std::memcpy(to, &four, sizeof four);
}

/// The low half of each word.
inline void storeU16(U32 from, uint8_t* to) {
    const U64 pairs = U64(from & 0xFFFFU);
    const U64 joined = pairs | pairs >> 16;
    const uint64_t low = (joined[0] & 0xFFFFFFFFU) | joined[1] << 32;
    std::memcpy(to, &low, sizeof low);
}

/// The low three bytes of each word.
inline void storeU24(U32 from, uint8_t* to) {
    const U64 pairs = U64(from & 0xFFFFFFU);
    const U64 joined = (pairs & 0xFFFFFFU) | pairs >> 32 << 24;
    const uint64_t first = joined[0] | joined[1] << 48;
    const auto last = static_cast<uint32_t>(joined[1] >> 16);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + sizeof first, &last, sizeof last);
}

/// The upper byte of each word in the lower bytes of both halves; anything may stand above.
inline U16 spreadAlpha(U32 from) {
    const U32 alpha = from >> 24;
    return U16(alpha | alpha << 16);
}
