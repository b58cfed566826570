// Rotates pixels tile by tile. Tiles are transposed in 16-byte registers. If a cache line holds whole pixels, tiles
// consist of whole cache lines.
//
// Included inside a namespace after a src/simd/vec_<isa>.h with registers of 16 bytes; the includer has
// src/internal/pixel_rotation.h and <algorithm>.
//
//     source, a tile of kTileSide rows            target: source columns as rows, the last one first
//        a0 a1 a2 a3                                 a3 b3 c3 d3
//        b0 b1 b2 b3                                 a2 b2 c2 d2
//        c0 c1 c2 c3                                 a1 b1 c1 d1
//        d0 d1 d2 d3                                 a0 b0 c0 d0

constexpr uint32_t kRegisterBytes = 16;
constexpr uint32_t kCacheLine = 64;
static_assert(sizeof(U8) == kRegisterBytes);

// Interleaves the pixels of the lower halves of two registers, or of the upper halves.
template <uint32_t pixelSize>
struct Interleave;

template <>
struct Interleave<1> {
    using Pixels = U8;
    static Pixels low(Pixels a, Pixels b) {
        return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7,
                                       23);
    }
    static Pixels high(Pixels a, Pixels b) {
        return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30,
                                       15, 31);
    }
};

template <>
struct Interleave<2> {
    using Pixels = U16;
    static Pixels low(Pixels a, Pixels b) {
        return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
    }
    static Pixels high(Pixels a, Pixels b) {
        return __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
    }
};

template <>
struct Interleave<4> {
    using Pixels = U32;
    static Pixels low(Pixels a, Pixels b) { return __builtin_shufflevector(a, b, 0, 4, 1, 5); }
    static Pixels high(Pixels a, Pixels b) { return __builtin_shufflevector(a, b, 2, 6, 3, 7); }
};

// In registers, pixels of three bytes are words.
template <>
struct Interleave<3> : Interleave<4> {};

// Rows of a square of pixels, one per register. All steps are fold expressions over row numbers, so that the rows
// stay in registers at every optimization level.
template <uint32_t pixelSize, uint32_t... i>
struct Square {
    using Pixels = typename Interleave<pixelSize>::Pixels;

    Pixels rows[sizeof...(i)];

    void load(const uint8_t* from, uint64_t stride) {
        ((rows[i] = loadRow(from + i * stride)), ...);
    }

    /// Stores row 0 at `to` and each following row one stride before it.
    void storeUpwards(uint8_t* to, uint64_t stride) const {
        (storeRow(rows[i], to - i * stride), ...);
    }

    // Each round interleaves the first half of the rows with the second: one bit of a pixel's row number moves to
    // its column number. log2(row count) rounds exchange rows and columns.
    template <uint32_t rounds = sizeof...(i)>
    void transpose() {
        constexpr uint32_t kHalf = sizeof...(i) / 2;
        const Square before = *this;
        ((rows[i] =
              i % 2 == 0
                  ? Interleave<pixelSize>::low(before.rows[i / 2], before.rows[i / 2 + kHalf])
                  : Interleave<pixelSize>::high(before.rows[i / 2], before.rows[i / 2 + kHalf])),
         ...);
        if constexpr (rounds > 2) {
            transpose<rounds / 2>();
        }
    }

private:
    static Pixels loadRow(const uint8_t* from) {
        if constexpr (pixelSize == 3) {
            return loadU24(from);
        } else {
            return Pixels(loadBytes(from));
        }
    }

    static void storeRow(Pixels row, uint8_t* to) {
        if constexpr (pixelSize == 3) {
            storeU24(row, to);
        } else {
            storeBytes(U8(row), to);
        }
    }
};

template <uint32_t pixelSize, uint32_t... i>
Square<pixelSize, i...> squareOf(std::integer_sequence<uint32_t, i...>);

// The side of a tile in pixels: its rows and its source rows are one cache line each. For pixels of three bytes they
// are 48 bytes. Tiles of three cache lines took a third longer, because they access more pages of memory.
template <uint32_t pixelSize>
constexpr int64_t kTileSide = pixelSize == 3 ? 16 : kCacheLine / pixelSize;

// Rotates a tile through a buffer. A cache line of source and target that is in the tile is used once, as a whole. If
// the stride is a power of two, all rows of a tile share a few cache sets, and a line that is used in parts is evicted
// in between. 4096 by 4096 pixels take half the time of the scalar tiles, or a third for pixels of one byte.
// `nextColumn` is the first column of the next tile. Prefetching its source rows saves another third on a screenful
// of four-byte pixels, because hardware prefetchers do not predict steps of a stride.
template <uint32_t pixelSize>
[[gnu::flatten]] void rotateTile(const RotatedCopy& copy, int64_t firstRow, int64_t firstColumn,
                                 int64_t nextColumn) {
    constexpr uint32_t kCount = pixelSize == 3 ? 4 : kRegisterBytes / pixelSize;
    constexpr uint32_t kBlockBytes = kCount * pixelSize;
    constexpr int64_t kSide = kTileSide<pixelSize>;
    constexpr uint32_t kRowBytes = kSide * pixelSize;
    alignas(kCacheLine) uint8_t buffer[kSide * kRowBytes];
    for (uint32_t group = 0; group < kRowBytes; group += kBlockBytes) {
        const uint8_t* const source =
            sourceOf<pixelSize>(copy, firstRow + kSide - 1, firstColumn + group / pixelSize);
        for (uint32_t part = 0; part < kRowBytes; part += kBlockBytes) {
            decltype(squareOf<pixelSize>(std::make_integer_sequence<uint32_t, kCount>())) square;
            square.load(source + part, copy.sourceStride);
            square.transpose();
            // The leftmost column of the source is the lowest row of the target.
            square.storeUpwards(buffer + (kSide - 1 - part / pixelSize) * kRowBytes + group,
                                kRowBytes);
        }
    }
    for (int64_t i = 0; i < kSide; ++i) {
        __builtin_prefetch(sourceOf<pixelSize>(copy, firstRow + kSide - 1, nextColumn + i));
    }
    for (int64_t i = 0; i < kSide; ++i) {
        std::memcpy(targetOf<pixelSize>(copy, firstRow + i, firstColumn), buffer + i * kRowBytes,
                    kRowBytes);
    }
}

// The first row or column of the tile that starts at `start` in the grid. The first and the last tile are moved inside
// the array. They rotate some pixels of their neighbors again.
template <uint32_t pixelSize>
int64_t tileStart(int64_t start, int64_t size) {
    return std::clamp<int64_t>(start, 0, size - kTileSide<pixelSize>);
}

// The number of pixels between the start of a cache line and an address in it; 0 if cache lines start inside pixels.
template <uint32_t pixelSize>
int64_t pixelsIntoCacheLine(const uint8_t* address) {
    if constexpr (kCacheLine % pixelSize != 0) {
        return 0;
    }
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(address) % kCacheLine / pixelSize);
}

// For pixels of 1, 2 and 4 bytes, the grid starts so that tiles consist of whole cache lines of both arrays. This needs
// strides that are multiples of a cache line. Buffers from an allocator mostly start inside a cache line. Tiles across
// two cache lines would cost a quarter more on a screenful of four-byte pixels.
template <uint32_t pixelSize>
bool rotateTiles(const RotatedCopy& copy) {
    constexpr int64_t kSide = kTileSide<pixelSize>;
    if (std::min(copy.sourceWidth, copy.sourceHeight) < kSide) {
        return false;
    }
    const uint8_t* const endOfRow =
        copy.source + static_cast<uint64_t>(copy.sourceWidth) * pixelSize;
    const int64_t firstRow = (pixelsIntoCacheLine<pixelSize>(endOfRow) - kSide) % kSide;
    const int64_t firstColumn = -pixelsIntoCacheLine<pixelSize>(copy.target);
    for (int64_t row = firstRow; row < copy.sourceWidth; row += kSide) {
        for (int64_t column = firstColumn; column < copy.sourceHeight; column += kSide) {
            rotateTile<pixelSize>(copy, tileStart<pixelSize>(row, copy.sourceWidth),
                                  tileStart<pixelSize>(column, copy.sourceHeight),
                                  tileStart<pixelSize>(column + kSide, copy.sourceHeight));
        }
    }
    return true;
}

constexpr RotateTilesBySize kRotateTiles = {nullptr, rotateTiles<1>, rotateTiles<2>, rotateTiles<3>,
                                            rotateTiles<4>};
