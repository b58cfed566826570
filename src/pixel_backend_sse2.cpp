// The SSE2 backend: rows in registers of 16 bytes.
#include "src/internal/pixel_backend.h"

#if defined(DS_HAS_AVX2_AND_SSE2)

#include <algorithm>
#include <array>
#include <cstring>
#include <emmintrin.h>
#include <utility>

namespace ds_detail {

namespace sse2 {
namespace {

using Mode = DsColorMode;

#include "src/simd/vec_sse2.h"
// The shared bodies need the vectors above.
#include "src/simd/fill_row.inl.h"
#include "src/simd/pixel_rows.inl.h"
#include "src/simd/rotate_tiles.inl.h"

} // namespace
} // namespace sse2

constinit const PixelRows kSse2PixelRows = {sse2::kConvertRows, sse2::kBlendRows, sse2::fillRow};
constinit const RotateTilesBySize kSse2RotateTiles = sse2::kRotateTiles;

} // namespace ds_detail

#endif
