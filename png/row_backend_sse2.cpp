// The SSE2 backend: rows in registers of 16 bytes.
#include "png/internal/row_backend.h"

#if defined(DS_HAS_AVX2_AND_SSE2)

#include "png/internal/scalar_rows.h"

#include <algorithm>
#include <cstring>
#include <emmintrin.h>
#include <utility>

namespace png_detail {

namespace sse2 {
namespace {

#include "src/simd/vec_sse2.h"
// The shared bodies need the vectors above.
#include "png/simd/row_functions.inl.h"

} // namespace
} // namespace sse2

constinit const row_backend_t kSse2Rows = sse2::kRows;

} // namespace png_detail

#endif
