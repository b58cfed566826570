// The row functions of the filters, for each backend.
#pragma once

#include "png/internal/png_filter.h"
#include "src/simd/backend.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace png_detail {

inline constexpr uint32_t kMaxPixelBytes = 4;

/// Pixels of three and four bytes have red and blue, which are exchanged. Samples have 8 bits.
template <uint32_t pixelBytes>
inline constexpr bool kExchangesRedAndBlue = pixelBytes >= 3;

/// Converts a row. If the target starts at least one byte before the source, each source byte is read before it is
/// overwritten. A scalar function accepts any target: it reads each pixel before it writes it.
/// @param above the finished row before this one, not read for the first row
/// @param rowBytes a multiple of the pixel size
using filter_row_t = void (*)(uint8_t* target, const uint8_t* source, const uint8_t* above,
                              uint64_t rowBytes);

/// The numbers of rows that a wavefront may have, in the order of `row_functions_t::wavefronts`.
inline constexpr std::array<uint32_t, 2> kWavefrontSizes = {8, 4};

/// A wavefront copies source to the stack before it writes pixels. Its memory, without the padding.
inline constexpr uint64_t kWavefrontMemory = uint64_t{64} * 1024;

/// Max bytes of a row that is copied as a whole. Wider rows are copied in strips of about `kWavefrontStrip` bytes.
constexpr uint64_t wavefront_row_bytes(uint32_t rows) {
    return kWavefrontMemory / rows;
}
inline constexpr uint64_t kWavefrontStrip = 4096;

/// Max distance of wide rows from their source. At most as many bytes at the end of every row but the last are copied
/// as well.
constexpr uint64_t wavefront_max_distance(uint32_t rows) {
    return (kWavefrontMemory - rows * kWavefrontStrip) / (rows - 1);
}

/// The max distance of the pixels of a wavefront's rows from their source, in bytes. The distance of each row differs
/// from that of the row before by the same number, so the max is that of the first or the last row.
/// @param source the first row's source, without the filter byte
inline uint64_t wavefront_distance(const uint8_t* target, const uint8_t* source, uint64_t stride,
                                   uint64_t rowBytes, uint32_t rows) {
    const auto ofFirst = static_cast<uint64_t>(source - target);
    return std::max(ofFirst, ofFirst + (rows - 1) * (rowBytes + 1) - (rows - 1) * stride);
}

/// Converts several rows together. kWavefrontSizes has their number, at the function's index in `wavefronts`.
/// @param target the first row of pixels; the row before it, at `target` - `stride`, is finished
/// @param source the first row's filter byte; the rows are contiguous, and their filters are valid. Every row's pixels
///        are at lower addresses than its source.
/// @param stride at least `rowBytes`
/// @param rowBytes a multiple of the pixel size. Above wavefront_row_bytes(), wavefront_distance() is at most
///        wavefront_max_distance().
using wavefront_t = void (*)(uint8_t* target, const uint8_t* source, uint64_t stride,
                             uint64_t rowBytes);

/// The functions for one pixel size, by filter. Null where the next backend's function is used. The scalar backend has
/// every row function and no wavefronts.
struct row_functions_t {
    std::array<filter_row_t, kFilterCount> first; ///< the first row of an image
    std::array<filter_row_t, kFilterCount> later; ///< every other row
    std::array<wavefront_t, kWavefrontSizes.size()> wavefronts;
};

/// The functions of one backend, by bytes per pixel. Element 0 is unused.
using row_backend_t = std::array<row_functions_t, kMaxPixelBytes + 1>;

/// The active functions for pixels of `pixelBytes` bytes.
row_functions_t active_rows(uint32_t pixelBytes);

// The functions of each backend.
extern const row_backend_t kScalarRows;
#if defined(DS_HAS_AVX2_AND_SSE2)
extern const row_backend_t kAvx2Rows;
extern const row_backend_t kSse2Rows;
#elif defined(DS_HAS_NEON)
extern const row_backend_t kNeonRows;
#endif

} // namespace png_detail
