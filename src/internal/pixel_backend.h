// The row functions of the kernels, for each backend.
#pragma once

#include "src/internal/mode_traits.h"
#include "src/internal/pixel_loops.h"
#include "src/internal/pixel_rotation.h"
#include "src/simd/backend.h"

#include <array>
#include <cstdint>

namespace ds_detail {

/// Converts or blends a row of `count` pixels.
using PixelRow = void (*)(uint8_t* target, const uint8_t* source, uint32_t count,
                          const SourceRule& rule);

/// Writes `byteCount` bytes, a whole number of pixels. `pattern` is kFillPattern bytes of them.
using FillRow = void (*)(uint8_t* row, uint64_t byteCount, const uint8_t* pattern);

/// A pattern of three of the largest registers holds whole pixels of one to four bytes. Another register's worth
/// follows, so that the pattern may also be read from any byte of its first register on.
inline constexpr uint32_t kFillPattern = 4 * 32;

/// The rows of one backend, by target and source mode. Null where the next backend serves; the scalar one has
/// every row of targets with pixels.
struct PixelRows {
    ModePairTable<PixelRow> convert, blend;
    FillRow fill;
};

/// The active rows for a pair of modes; null if the target has no pixels.
PixelRow activeConvertRow(DsColorMode target, DsColorMode source);
PixelRow activeBlendRow(DsColorMode target, DsColorMode source);

/// Whether a row that blends is the scalar one, which reads and writes pixel by pixel.
bool isScalarBlendRow(PixelRow row, DsColorMode target, DsColorMode source);

FillRow activeFillRow();

/// The rows of each backend.
const BackendList<PixelRows>& pixelRows();

/// Turns pixels of one size by tiles. @return false, with nothing done, if the array is too small for its tiles.
using RotateTiles = bool (*)(const RotatedCopy& copy);

/// The tiles of one backend, by the size of a pixel; null where the scalar tiles serve.
inline constexpr uint32_t kMaxPixelBytes = 4;
using RotateTilesBySize = std::array<RotateTiles, kMaxPixelBytes + 1>;

// What each backend brings.
extern const PixelRows kScalarPixelRows;
#if defined(DS_HAS_AVX2_AND_SSE2)
extern const PixelRows kSse2PixelRows, kAvx2PixelRows;
extern const RotateTilesBySize kSse2RotateTiles;
#elif defined(DS_HAS_NEON)
extern const PixelRows kNeonPixelRows;
extern const RotateTilesBySize kNeonRotateTiles;
#endif

} // namespace ds_detail
