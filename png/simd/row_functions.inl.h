// The row functions of the backends with registers of 16 bytes.
//
// Included inside a namespace after src/simd/vec_sse2.h or vec_neon.h; the includer has
// png/internal/scalar_rows.h, <algorithm>, <cstring> and <utility>.

#include "png/simd/paeth.inl.h"
#include "png/simd/pixel_lanes.inl.h"
// Four adjacent pixels of a row fill a register.
using Quad = U32;
inline constexpr uint32_t kQuads = 1;

inline U32 fromQuads(const Quad quads[kQuads]) {
    return quads[0];
}

inline void toQuads(U32 words, Quad quads[kQuads]) {
    quads[0] = words;
}

// The row functions need the lanes above.
#include "png/simd/filter_rows.inl.h"
#include "png/simd/wavefront.inl.h"

// Above the first row, all samples are 0. So Up is None there, and Paeth is Sub. Average would need a function of its
// own, and uses the scalar one.
template <uint32_t pixelBytes>
constexpr row_functions_t kFunctions = {
    {copy_row<pixelBytes>, sub_row<pixelBytes>, copy_row<pixelBytes>, nullptr, sub_row<pixelBytes>},
    {copy_row<pixelBytes>, sub_row<pixelBytes>, up_row<pixelBytes>, average_row<pixelBytes>,
     paeth_row<pixelBytes>},
    {nullptr, wavefront<pixelBytes>}};
static_assert(kWavefrontSizes[1] == kPixels);

constexpr row_backend_t kRows = {{{}, kFunctions<1>, kFunctions<2>, kFunctions<3>, kFunctions<4>}};
