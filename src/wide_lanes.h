// Registers of four and of eight pixels, one 32-bit word each, and the moves between their bytes
// that the two widths need different instructions for. Written with the compiler's vector types, so
// that the same text serves every machine; everything is inlined into the loops of wide_loops.cpp.
#pragma once

#include <cstdint>
#include <cstring>

// Vectors are passed by reference throughout: passing wide ones by value would depend on what the
// caller was compiled for.
#define DS_INLINE [[gnu::always_inline]] inline

// Marks the functions that everything of 32-byte registers is inlined into.
#if defined(__x86_64__)
#define DS_TARGET_256 [[gnu::target("avx2")]]
#else
#define DS_TARGET_256
#endif

// Every load and store keeps to the bytes of its pixels: blocks may end with them.

/// Four pixels, by moves that 16-byte registers have had from the start.
struct FourLanes {
    static constexpr uint32_t kCount = 4;
    using Words = uint32_t __attribute__((vector_size(16)));
    using Halves = uint16_t __attribute__((vector_size(16)));
    using Bytes = uint8_t __attribute__((vector_size(16)));
    using Products = uint32_t __attribute__((vector_size(32))); // of halves
    using Quads = uint64_t __attribute__((vector_size(16)));

    /// The upper 16 bits of each product of halves: one instruction, for which neither compiler has a
    /// text that it recognises everywhere. It takes a third off composing over translucent pixels.
    DS_INLINE static void multiplyHigh(const Halves& a, const Halves& b, Halves& to) {
#if defined(__x86_64__)
        to = a;
        asm("pmulhuw %1, %0" : "+x"(to) : "x"(b));
#else
        to = __builtin_convertvector(
            __builtin_convertvector(a, Products) * __builtin_convertvector(b, Products) >> 16,
            Halves);
#endif
    }

    /// Each byte in all four bytes of its word.
    DS_INLINE static void loadBytes(const uint8_t* from, Words& to) {
        uint32_t four;
        std::memcpy(&four, from, sizeof four);
        const Bytes single = Bytes(Words{four});
        const Halves twice = Halves(__builtin_shufflevector(single, single, 0, 16, 1, 17, 2, 18, 3,
                                                            19, 4, 20, 5, 21, 6, 22, 7, 23));
        to = Words(__builtin_shufflevector(twice, twice, 0, 8, 1, 9, 2, 10, 3, 11));
    }

    /// Each pixel of two bytes in both halves of its word.
    DS_INLINE static void loadHalves(const uint8_t* from, Words& to) {
        uint64_t four;
        std::memcpy(&four, from, sizeof four);
        const Halves halves = Halves(Quads{four});
        to = Words(__builtin_shufflevector(halves, halves, 0, 8, 1, 9, 2, 10, 3, 11));
    }

    /// Pixels of two bytes, each byte in both bytes of its half.
    DS_INLINE static void loadBytesOfHalves(const uint8_t* from, Words& to) {
        uint64_t eight;
        std::memcpy(&eight, from, sizeof eight);
        const Bytes bytes = Bytes(Quads{eight});
        to = Words(__builtin_shufflevector(bytes, bytes, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21,
                                           6, 22, 7, 23));
    }

    /// Pixels of three bytes as words, in whose upper byte anything may stand.
    DS_INLINE static void loadTriples(const uint8_t* from, Words& to) {
        uint64_t first;
        uint32_t last;
        std::memcpy(&first, from, sizeof first);
        std::memcpy(&last, from + sizeof first, sizeof last);
        const Quads pairs = {first, first >> 48 | uint64_t{last} << 16};
        to = Words((pairs & 0xFFFFFFU) | pairs >> 24 << 32);
    }

    /// The low byte of each word.
    DS_INLINE static void storeBytes(const Words& from, uint8_t* to) {
        const Quads pairs = Quads(from & 0xFFU);
        const Quads joined = pairs | pairs >> 24;
        const auto four = static_cast<uint32_t>((joined[0] & 0xFFFFU) | joined[1] << 16);
        std::memcpy(to, &four, sizeof four);
    }

    /// The low half of each word.
    DS_INLINE static void storeHalves(const Words& from, uint8_t* to) {
        const Quads pairs = Quads(from & 0xFFFFU);
        const Quads joined = pairs | pairs >> 16;
        const uint64_t low = (joined[0] & 0xFFFFFFFFU) | joined[1] << 32;
        std::memcpy(to, &low, sizeof low);
    }

    /// The low three bytes of each word.
    DS_INLINE static void storeTriples(const Words& from, uint8_t* to) {
        const Quads pairs = Quads(from & 0xFFFFFFU);
        const Quads joined = (pairs & 0xFFFFFFU) | pairs >> 32 << 24;
        const uint64_t first = joined[0] | joined[1] << 48;
        const auto last = static_cast<uint32_t>(joined[1] >> 16);
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + sizeof first, &last, sizeof last);
    }

    /// The upper byte of each word in the lower bytes of both halves; anything may stand above.
    DS_INLINE static void spreadAlpha(const Words& from, Halves& to) {
        const Words alpha = from >> 24;
        to = Halves(alpha | alpha << 16);
    }
};

/// Eight pixels. Bytes move inside each half of the register by one shuffle, and then whole words
/// across. (Not one template of both: g++ 12 converts no vectors whose type depends on a
/// parameter.)
struct EightLanes {
    static constexpr uint32_t kCount = 8;
    using Words = uint32_t __attribute__((vector_size(32)));
    using Halves = uint16_t __attribute__((vector_size(32)));
    using Bytes = uint8_t __attribute__((vector_size(32)));
    using Products = uint32_t __attribute__((vector_size(64))); // of halves
    using Quads = uint64_t __attribute__((vector_size(32)));
    using NarrowBytes = uint8_t __attribute__((vector_size(16)));

    DS_INLINE static void multiplyHigh(const Halves& a, const Halves& b, Halves& to) {
#if defined(__x86_64__) && !defined(__clang__) // which knows no such registers here
        asm("vpmulhuw %2, %1, %0" : "=x"(to) : "x"(a), "x"(b));
#else
        to = __builtin_convertvector(
            __builtin_convertvector(a, Products) * __builtin_convertvector(b, Products) >> 16,
            Halves);
#endif
    }

    DS_INLINE static void loadBytes(const uint8_t* from, Words& to) {
        uint64_t eight;
        std::memcpy(&eight, from, sizeof eight);
        const Bytes bytes = Bytes(Quads{eight, eight, eight, eight});
        to = Words(__builtin_shufflevector(bytes, bytes, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3,
                                           3, 3, 20, 20, 20, 20, 21, 21, 21, 21, 22, 22, 22, 22, 23,
                                           23, 23, 23));
    }

    DS_INLINE static void loadHalves(const uint8_t* from, Words& to) {
        Bytes bytes;
        loadTwice(from, bytes);
        to = Words(__builtin_shufflevector(bytes, bytes, 0, 1, 0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7,
                                           6, 7, 24, 25, 24, 25, 26, 27, 26, 27, 28, 29, 28, 29, 30,
                                           31, 30, 31));
    }

    DS_INLINE static void loadBytesOfHalves(const uint8_t* from, Words& to) {
        Bytes bytes;
        loadTwice(from, bytes);
        to = Words(__builtin_shufflevector(bytes, bytes, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6,
                                           7, 7, 24, 24, 25, 25, 26, 26, 27, 27, 28, 28, 29, 29, 30,
                                           30, 31, 31));
    }

    /// By two loads that overlap in the middle: four pixels from the start of the one, four up to
    /// the end of the other.
    DS_INLINE static void loadTriples(const uint8_t* from, Words& to) {
        NarrowBytes first;
        NarrowBytes last;
        std::memcpy(&first, from, sizeof first);
        std::memcpy(&last, from + 8, sizeof last);
        const Bytes both = __builtin_shufflevector(first, last, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10,
                                                   11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                                                   23, 24, 25, 26, 27, 28, 29, 30, 31);
        to = Words(__builtin_shufflevector(both, both, 0, 1, 2, 0, 3, 4, 5, 3, 6, 7, 8, 6, 9, 10,
                                           11, 9, 20, 21, 22, 20, 23, 24, 25, 23, 26, 27, 28, 26,
                                           29, 30, 31, 29));
    }

    DS_INLINE static void storeBytes(const Words& from, uint8_t* to) {
        const Bytes bytes = Bytes(from);
        const Words joined = Words(__builtin_shufflevector(
            bytes, bytes, 0, 4, 8, 12, 0, 4, 8, 12, 0, 4, 8, 12, 0, 4, 8, 12, 16, 20, 24, 28, 16,
            20, 24, 28, 16, 20, 24, 28, 16, 20, 24, 28));
        const Quads all = Quads(__builtin_shufflevector(joined, joined, 0, 4, 0, 4, 0, 4, 0, 4));
        const uint64_t eight = all[0];
        std::memcpy(to, &eight, sizeof eight);
    }

    DS_INLINE static void storeHalves(const Words& from, uint8_t* to) {
        const Bytes bytes = Bytes(from);
        const Quads joined = Quads(__builtin_shufflevector(
            bytes, bytes, 0, 1, 4, 5, 8, 9, 12, 13, 0, 1, 4, 5, 8, 9, 12, 13, 16, 17, 20, 21, 24,
            25, 28, 29, 16, 17, 20, 21, 24, 25, 28, 29));
        const auto halves = __builtin_shufflevector(joined, joined, 0, 2);
        std::memcpy(to, &halves, sizeof halves);
    }

    DS_INLINE static void storeTriples(const Words& from, uint8_t* to) {
        const Bytes bytes = Bytes(from);
        const Words joined = Words(__builtin_shufflevector(
            bytes, bytes, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0, 16, 17, 18, 20, 21,
            22, 24, 25, 26, 28, 29, 30, 16, 16, 16, 16));
        const Quads all = Quads(__builtin_shufflevector(joined, joined, 0, 1, 2, 4, 5, 6, 0, 0));
        const auto first = __builtin_shufflevector(all, all, 0, 1);
        const uint64_t last = all[2];
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + sizeof first, &last, sizeof last);
    }

    DS_INLINE static void spreadAlpha(const Words& from, Halves& to) {
        const Bytes bytes = Bytes(from);
        to = Halves(__builtin_shufflevector(bytes, bytes, 3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11,
                                            15, 15, 15, 15, 19, 19, 19, 19, 23, 23, 23, 23, 27, 27,
                                            27, 27, 31, 31, 31, 31));
    }

private:
    // Sixteen bytes in both halves of the register.
    DS_INLINE static void loadTwice(const uint8_t* from, Bytes& to) {
        NarrowBytes bytes;
        std::memcpy(&bytes, from, sizeof bytes);
        to = __builtin_shufflevector(bytes, bytes, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
                                     15, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    }
};
