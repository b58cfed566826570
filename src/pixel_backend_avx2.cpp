// The AVX2 backend: rows in registers of 32 bytes. SSE2 does the rotation, in registers of 16 bytes.
#include "src/internal/pixel_backend.h"

#if defined(DS_HAS_AVX2_AND_SSE2)

#include "src/simd/target.h"

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace ds_detail {

DS_BEGIN_TARGET("avx2")
namespace avx2 {
namespace {

using Mode = DsColorMode;

#include "src/simd/vec_avx2.h"
// The shared bodies need the vectors above.
#include "src/simd/fill_row.inl.h"
#include "src/simd/pixel_rows.inl.h"

} // namespace
} // namespace avx2
DS_END_TARGET

constinit const PixelRows kAvx2PixelRows = {avx2::kConvertRows, avx2::kBlendRows, avx2::fillRow};

} // namespace ds_detail

#endif
