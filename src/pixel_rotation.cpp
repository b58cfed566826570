// Turning pixels tile by tile: the plain loop, and beside it tiles of whole cache lines that are
// transposed in registers.
#include "src/internal/pixel_rotation.h"

#include "src/fast_paths.h"
#include "src/wide_lanes.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace ds_detail;

namespace {

// Some pixels of the target, from the first line and column up to but not including the end.
struct Tile {
    int64_t firstLine, firstColumn, endLine, endColumn;
};

template <uint32_t pixelSize>
const uint8_t* sourceOf(const RotatedCopy& copy, int64_t line, int64_t column) {
    return copy.source + static_cast<uint64_t>(copy.sourceWidth - 1 - line) * pixelSize +
           static_cast<uint64_t>(column) * copy.sourceStride;
}

template <uint32_t pixelSize>
uint8_t* targetOf(const RotatedCopy& copy, int64_t line, int64_t column) {
    return copy.target + static_cast<uint64_t>(line) * copy.targetStride +
           static_cast<uint64_t>(column) * pixelSize;
}

template <uint32_t pixelSize>
void rotatePlainly(const RotatedCopy& copy, const Tile& tile) {
    for (int64_t line = tile.firstLine; line < tile.endLine; ++line) {
        for (int64_t column = tile.firstColumn; column < tile.endColumn; ++column) {
            std::memcpy(targetOf<pixelSize>(copy, line, column),
                        sourceOf<pixelSize>(copy, line, column), pixelSize);
        }
    }
}

// ---- Transposing in registers of 16 bytes, here as many pixels as fit.

template <uint32_t pixelSize>
struct Register;

template <>
struct Register<1> {
    using Pixels = uint8_t __attribute__((vector_size(16)));
    DS_INLINE static void interleaveLow(const Pixels& a, const Pixels& b, Pixels& mixed) {
        mixed =
            __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    }
    DS_INLINE static void interleaveHigh(const Pixels& a, const Pixels& b, Pixels& mixed) {
        mixed = __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30,
                                        15, 31);
    }
};

template <>
struct Register<2> {
    using Pixels = uint16_t __attribute__((vector_size(16)));
    DS_INLINE static void interleaveLow(const Pixels& a, const Pixels& b, Pixels& mixed) {
        mixed = __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
    }
    DS_INLINE static void interleaveHigh(const Pixels& a, const Pixels& b, Pixels& mixed) {
        mixed = __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
    }
};

template <>
struct Register<4> {
    using Pixels = uint32_t __attribute__((vector_size(16)));
    DS_INLINE static void interleaveLow(const Pixels& a, const Pixels& b, Pixels& mixed) {
        mixed = __builtin_shufflevector(a, b, 0, 4, 1, 5);
    }
    DS_INLINE static void interleaveHigh(const Pixels& a, const Pixels& b, Pixels& mixed) {
        mixed = __builtin_shufflevector(a, b, 2, 6, 3, 7);
    }
};

// Lines of a square block of pixels, one a register. All steps are unrolled by folding over line
// numbers, so that the lines stay in registers whatever the level of optimisation.
template <uint32_t pixelSize, uint32_t... i>
struct Block {
    using Pixels = typename Register<pixelSize>::Pixels;

    Pixels lines[sizeof...(i)];

    DS_INLINE void load(const uint8_t* from, uint64_t stride) {
        (std::memcpy(&lines[i], from + i * stride, sizeof(Pixels)), ...);
    }

    /// Stores the lines in ascending order from the lowest upwards.
    DS_INLINE void storeUpwards(uint8_t* to, uint64_t stride) const {
        (std::memcpy(to - i * stride, &lines[i], sizeof(Pixels)), ...);
    }

    // Interleaving the first half of the lines with the second exchanges rows and columns once it
    // has been done as often as their count can be halved: each time, one bit of a pixel's line
    // number becomes one of its column number.
    template <uint32_t rounds = sizeof...(i)>
    DS_INLINE void transpose() {
        constexpr uint32_t kHalf = sizeof...(i) / 2;
        const Block before = *this;
        (interleave<i % 2>(before.lines[i / 2], before.lines[i / 2 + kHalf], lines[i]), ...);
        if constexpr (rounds > 2) {
            transpose<rounds / 2>();
        }
    }

private:
    template <uint32_t isHigh>
    DS_INLINE static void interleave(const Pixels& a, const Pixels& b, Pixels& mixed) {
        if constexpr (isHigh == 0) {
            Register<pixelSize>::interleaveLow(a, b, mixed);
        } else {
            Register<pixelSize>::interleaveHigh(a, b, mixed);
        }
    }
};

template <uint32_t pixelSize, uint32_t... i>
Block<pixelSize, i...> blockOf(std::integer_sequence<uint32_t, i...>);

constexpr uint32_t kRegister = 16;
constexpr uint32_t kCacheLine = 64;

// Pixels of one side of a tile: a cache line of each of its lines and of its source lines.
template <uint32_t pixelSize>
constexpr int64_t kTileSide = kCacheLine / pixelSize;

// A tile by way of a buffer, so that every cache line of the source is read at once and every one
// of the target written at once. Where lines are a power of two apart, all of them fall on the same
// few places of the caches, and what is not used at once is lost before it is used again: 4096 by
// 4096 pixels take half the time of the plain tiles, those of one byte a third. `nextColumn` is
// where the next tile starts; asking for its source lines early saves another third on a screenful
// of pixels of four bytes, since no hardware foresees steps of a line.
template <uint32_t pixelSize>
void rotateTile(const RotatedCopy& copy, int64_t firstLine, int64_t firstColumn,
                int64_t nextColumn) {
    constexpr uint32_t kCount = kRegister / pixelSize;
    constexpr int64_t kSide = kTileSide<pixelSize>;
    alignas(kCacheLine) uint8_t buffer[kSide * kCacheLine];
    for (uint32_t group = 0; group < kCacheLine; group += kRegister) {
        const uint8_t* const source =
            sourceOf<pixelSize>(copy, firstLine + kSide - 1, firstColumn + group / pixelSize);
        for (uint32_t part = 0; part < kCacheLine; part += kRegister) {
            decltype(blockOf<pixelSize>(std::make_integer_sequence<uint32_t, kCount>())) block;
            block.load(source + part, copy.sourceStride);
            block.transpose();
            // The leftmost column of the source is the lowest line of the target.
            block.storeUpwards(buffer + (kSide - 1 - part / pixelSize) * kCacheLine + group,
                               kCacheLine);
        }
    }
    for (int64_t i = 0; i < kSide; ++i) {
        __builtin_prefetch(sourceOf<pixelSize>(copy, firstLine + kSide - 1, nextColumn + i));
    }
    for (int64_t i = 0; i < kSide; ++i) {
        std::memcpy(targetOf<pixelSize>(copy, firstLine + i, firstColumn), buffer + i * kCacheLine,
                    kCacheLine);
    }
}

// ---- Walking through the tiles

// Where the tile of the grid at `start` begins. The first and the last tile begin and end where the
// pixels do, even if they turn some of their neighbours' pixels once more.
template <uint32_t pixelSize>
int64_t tileStart(int64_t start, int64_t size) {
    return std::clamp<int64_t>(start, 0, size - kTileSide<pixelSize>);
}

// How many pixels lie between an address and the start of its cache line.
template <uint32_t pixelSize>
int64_t pixelsIntoCacheLine(const uint8_t* address) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(address) % kCacheLine / pixelSize);
}

// The grid starts such that tiles are made of whole cache lines of both arrays, as far as strides
// keep their lines alike: blocks from an allocator mostly start inside one, and touching two for
// each costs a quarter more on a screenful of pixels of four bytes.
template <uint32_t pixelSize>
void rotateByRegisters(const RotatedCopy& copy) {
    constexpr int64_t kSide = kTileSide<pixelSize>;
    const uint8_t* const endOfLine =
        copy.source + static_cast<uint64_t>(copy.sourceWidth) * pixelSize;
    const int64_t firstLine = (pixelsIntoCacheLine<pixelSize>(endOfLine) - kSide) % kSide;
    const int64_t firstColumn = -pixelsIntoCacheLine<pixelSize>(copy.target);
    for (int64_t line = firstLine; line < copy.sourceWidth; line += kSide) {
        for (int64_t column = firstColumn; column < copy.sourceHeight; column += kSide) {
            rotateTile<pixelSize>(copy, tileStart<pixelSize>(line, copy.sourceWidth),
                                  tileStart<pixelSize>(column, copy.sourceHeight),
                                  tileStart<pixelSize>(column + kSide, copy.sourceHeight));
        }
    }
}

// Reading runs down source columns, so a tile's lines must stay in the first-level cache until all
// their columns are read: 32 lines of at most three cache lines.
constexpr int64_t kPlainTileSide = 32;

template <uint32_t pixelSize>
void rotateByTiles(const RotatedCopy& copy) {
    for (int64_t line = 0; line < copy.sourceWidth; line += kPlainTileSide) {
        const int64_t endLine = std::min(line + kPlainTileSide, copy.sourceWidth);
        for (int64_t column = 0; column < copy.sourceHeight; column += kPlainTileSide) {
            const int64_t endColumn = std::min(column + kPlainTileSide, copy.sourceHeight);
            rotatePlainly<pixelSize>(copy, {line, column, endLine, endColumn});
        }
    }
}

template <uint32_t pixelSize>
void rotate(const RotatedCopy& copy) {
    if (std::min(copy.sourceWidth, copy.sourceHeight) >= kTileSide<pixelSize> &&
        mayTakeFastPath(DsFastPath::Wide128)) {
        rotateByRegisters<pixelSize>(copy);
    } else {
        rotateByTiles<pixelSize>(copy);
    }
}

} // namespace

void ds_detail::rotatePixels(const RotatedCopy& copy, uint64_t pixelSize) {
    switch (pixelSize) {
    case 4:
        return rotate<4>(copy);
    case 3:
        return rotateByTiles<3>(copy);
    case 2:
        return rotate<2>(copy);
    case 1:
        return rotate<1>(copy);
    default:
        return;
    }
}
