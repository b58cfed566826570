// The NEON backend: rows in registers of 16 bytes.
#include "src/internal/pixel_backend.h"

#if defined(DS_HAS_NEON)

#include <algorithm>
#include <arm_neon.h>
#include <array>
#include <cstring>
#include <utility>

namespace ds_detail {

namespace neon {
namespace {

using Mode = DsColorMode;

#include "src/simd/vec_neon.h"
// The shared bodies need the vectors above.
#include "src/simd/fill_row.inl.h"
#include "src/simd/pixel_rows.inl.h"
#include "src/simd/rotate_tiles.inl.h"

} // namespace
} // namespace neon

constinit const PixelRows kNeonPixelRows = {neon::kConvertRows, neon::kBlendRows, neon::fillRow};
constinit const RotateTilesBySize kNeonRotateTiles = neon::kRotateTiles;

} // namespace ds_detail

#endif
