// The AVX2 backend: wavefronts of eight rows, in registers of 32 bytes. Single rows use SSE2.
#include "png/internal/row_backend.h"

#if defined(DS_HAS_AVX2_AND_SSE2)

#include "src/simd/target.h"

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace png_detail {

DS_BEGIN_TARGET("avx2")
namespace avx2 {
namespace {

// Four adjacent pixels of a row, in a register of 16 bytes.
namespace quads {
#include "src/simd/vec_sse2.h"
// The lanes need the vectors above.
#include "png/simd/pixel_lanes.inl.h"
} // namespace quads

#include "src/simd/vec_avx2.h"

// A register has the quads of two rows: of a row, and of the row four below.
using Quad = quads::U32;
inline constexpr uint32_t kQuads = 2;

inline U32 fromQuads(const Quad quads[kQuads]) {
    return __builtin_shufflevector(quads[0], quads[1], 0, 1, 2, 3, 4, 5, 6, 7);
}

inline void toQuads(U32 words, Quad quads[kQuads]) {
    quads[0] = __builtin_shufflevector(words, words, 0, 1, 2, 3);
    quads[1] = __builtin_shufflevector(words, words, 4, 5, 6, 7);
}

// Exchanges red and blue by one instruction: SSE2 needs six.
template <uint32_t pixelBytes>
U32 exchange_in_words(U32 pixels) {
    if constexpr (kExchangesRedAndBlue<pixelBytes>) {
        const U8 bytes = U8(pixels);
        return U32(__builtin_shufflevector(bytes, bytes, 2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14,
                                           13, 12, 15, 18, 17, 16, 19, 22, 21, 20, 23, 26, 25, 24,
                                           27, 30, 29, 28, 31));
    } else {
        return pixels;
    }
}

using quads::load_pixel;

// Pixels of three bytes by one shuffle. The four bytes after the quad are read, too: in the padding of the saved rows,
// or after the row above.
template <uint32_t pixelBytes>
Quad load_register(const uint8_t* bytes) {
    if constexpr (pixelBytes == 3) {
        const quads::U8 all = quads::loadBytes(bytes);
        return Quad(
            __builtin_shufflevector(all, all, 0, 1, 2, 0, 3, 4, 5, 3, 6, 7, 8, 6, 9, 10, 11, 9));
    } else {
        return quads::load_register<pixelBytes>(bytes);
    }
}

template <uint32_t pixelBytes>
void store_register(uint8_t* bytes, Quad pixels) {
    if constexpr (pixelBytes == 3) {
        const quads::U8 words = quads::U8(pixels);
        const Quad packed = Quad(__builtin_shufflevector(words, words, 0, 1, 2, 4, 5, 6, 8, 9, 10,
                                                         12, 13, 14, 0, 0, 0, 0));
        const uint64_t first = quads::U64(packed)[0];
        const uint32_t last = packed[2];
        std::memcpy(bytes, &first, sizeof first);
        std::memcpy(bytes + sizeof first, &last, sizeof last);
    } else {
        quads::store_register<pixelBytes>(bytes, pixels);
    }
}

// The wavefront needs the quads above.
#include "png/simd/paeth.inl.h"
#include "png/simd/wavefront.inl.h"

template <uint32_t pixelBytes>
constexpr row_functions_t kFunctions = {{}, {}, {wavefront<pixelBytes>, nullptr}};
static_assert(kWavefrontSizes[0] == kPixels);

} // namespace
} // namespace avx2
DS_END_TARGET

constinit const row_backend_t kAvx2Rows = {
    {{}, avx2::kFunctions<1>, avx2::kFunctions<2>, avx2::kFunctions<3>, avx2::kFunctions<4>}};

} // namespace png_detail

#endif
