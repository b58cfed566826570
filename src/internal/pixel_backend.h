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

/// Writes `byteCount` bytes, a whole number of pixels. `pattern` holds kFillPatternBytes of these.
using FillRow = void (*)(uint8_t* row, uint64_t byteCount, const uint8_t* pattern);

/// Three of the largest registers hold a whole number of pixels of one to four bytes. One more register follows,
/// so that a read of three registers may start at any byte of the first one.
inline constexpr uint32_t kFillPatternBytes = 4 * 32;

/// The row functions of one backend, by target and source mode. Null where the next backend's function is used.
/// The scalar backend has every row function of targets with pixels.
struct PixelRows {
    ModePairTable<PixelRow> convert, blend;
    FillRow fill;
};

/// The active row functions for a pair of modes; null if the target has no pixels.
PixelRow activeConvertRow(DsColorMode target, DsColorMode source);
PixelRow activeBlendRow(DsColorMode target, DsColorMode source);

/// Whether a blending row function is the scalar one, which reads and writes pixel by pixel.
bool isScalarBlendRow(PixelRow row, DsColorMode target, DsColorMode source);

FillRow activeFillRow();

/// The row functions of each backend.
const BackendList<PixelRows>& pixelRows();

/// Rotates pixels of one size by tiles. @return false, with nothing done, if the array is too small for the tiles.
using RotateTiles = bool (*)(const RotatedCopy& copy);

/// The tile functions of one backend, by bytes per pixel; null where the scalar tiles are used.
inline constexpr uint32_t kMaxPixelBytes = 4;
using RotateTilesBySize = std::array<RotateTiles, kMaxPixelBytes + 1>;

// The functions of each backend.
extern const PixelRows kScalarPixelRows;
#if defined(DS_HAS_AVX2_AND_SSE2)
extern const PixelRows kSse2PixelRows, kAvx2PixelRows;
extern const RotateTilesBySize kSse2RotateTiles;
#elif defined(DS_HAS_NEON)
extern const PixelRows kNeonPixelRows;
extern const RotateTilesBySize kNeonRotateTiles;
#endif

} // namespace ds_detail
