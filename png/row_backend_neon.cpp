// The NEON backend: rows in registers of 16 bytes.
#include "png/internal/row_backend.h"

#if defined(DS_HAS_NEON)

#include "png/internal/scalar_rows.h"

#include <algorithm>
#include <arm_neon.h>
#include <cstring>
#include <utility>

namespace png_detail {

namespace neon {
namespace {

#include "src/simd/vec_neon.h"
// The shared bodies need the vectors above.
#include "png/simd/row_functions.inl.h"

} // namespace
} // namespace neon

constinit const row_backend_t kNeonRows = neon::kRows;

} // namespace png_detail

#endif
