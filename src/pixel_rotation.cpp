// Rotation of pixels: the scalar tiles, and the choice between them and those of a backend.
#include "src/internal/pixel_rotation.h"

#include "src/internal/pixel_backend.h"

#include <algorithm>
#include <cstring>

using namespace ds_detail;

namespace {

// A rectangle of target pixels, from the first row and column up to but not including the end.
struct Tile {
    int64_t firstRow, firstColumn, endRow, endColumn;
};

template <uint32_t pixelSize>
void rotateTile(const RotatedCopy& copy, const Tile& tile) {
    for (int64_t row = tile.firstRow; row < tile.endRow; ++row) {
        for (int64_t column = tile.firstColumn; column < tile.endColumn; ++column) {
            std::memcpy(targetOf<pixelSize>(copy, row, column),
                        sourceOf<pixelSize>(copy, row, column), pixelSize);
        }
    }
}

// A tile is read column by column, so its source rows must stay in the first-level cache until all columns are
// read: 32 rows of at most three cache lines each.
constexpr int64_t kTileSide = 32;

template <uint32_t pixelSize>
void rotateByTiles(const RotatedCopy& copy) {
    for (int64_t row = 0; row < copy.sourceWidth; row += kTileSide) {
        const int64_t endRow = std::min(row + kTileSide, copy.sourceWidth);
        for (int64_t column = 0; column < copy.sourceHeight; column += kTileSide) {
            const int64_t endColumn = std::min(column + kTileSide, copy.sourceHeight);
            rotateTile<pixelSize>(copy, {row, column, endRow, endColumn});
        }
    }
}

// AVX2 leaves rotation to SSE2.
constexpr BackendList<RotateTilesBySize> kRotateTiles = [] {
    BackendList<RotateTilesBySize> list = {};
#if defined(DS_HAS_AVX2_AND_SSE2)
    list[kSse2] = &kSse2RotateTiles;
#elif defined(DS_HAS_NEON)
    list[kNeon] = &kNeonRotateTiles;
#endif
    return list;
}();

template <uint32_t pixelSize>
void rotate(const RotatedCopy& copy) {
    const RotateTiles tiles =
        activeValue(kRotateTiles, [](const RotateTilesBySize& each) { return each[pixelSize]; });
    if (tiles == nullptr || !tiles(copy)) {
        rotateByTiles<pixelSize>(copy);
    }
}

} // namespace

void ds_detail::rotatePixels(const RotatedCopy& copy, uint64_t pixelSize) {
    switch (pixelSize) {
    case 4:
        return rotate<4>(copy);
    case 3:
        return rotate<3>(copy);
    case 2:
        return rotate<2>(copy);
    case 1:
        return rotate<1>(copy);
    default:
        return;
    }
}
