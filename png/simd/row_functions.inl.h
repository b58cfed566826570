// The row functions that the backends with registers of 16 bytes have.
//
// Included inside a namespace after src/simd/vec_sse2.h or vec_neon.h; the includer has
// png/internal/scalar_rows.h, <cstring> and <utility>.

#include "png/simd/pixel_lanes.inl.h"
// The lanes come first.
#include "png/simd/filter_rows.inl.h"
#include "png/simd/wavefront.inl.h"

// Single Paeth rows are left to the scalar backend, and those of Average with one or two bytes a pixel, which take as
// long there.
template <uint32_t pixelBytes>
constexpr row_functions_t kFunctions = {
    {},
    {copy_row<pixelBytes>, sub_row<pixelBytes>, up_row<pixelBytes>,
     pixelBytes >= 3 ? average_row<pixelBytes> : nullptr, nullptr},
    wavefront<pixelBytes>};

constexpr row_backend_t kRows = {{{}, kFunctions<1>, kFunctions<2>, kFunctions<3>, kFunctions<4>}};
