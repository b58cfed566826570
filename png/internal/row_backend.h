// The row functions of the filters, for each backend.
#pragma once

#include "png/internal/png_filter.h"
#include "src/simd/backend.h"

#include <array>
#include <cstdint>

namespace png_detail {

inline constexpr uint32_t kMaxPixelBytes = 4;

/// Samples have 8 bits. Red and blue exist in pixels of three and four bytes, and change places there.
template <uint32_t pixelBytes>
inline constexpr bool kExchangesRedAndBlue = pixelBytes >= 3;

/// Converts a row. Each byte of the source is read before a byte of the target is written over it, if the target
/// starts at least a byte before the source. A scalar row takes any target: it reads a pixel before it writes it.
/// @param above the finished row before it, not read for the first row
/// @param rowBytes whole pixels
using filter_row_t = void (*)(uint8_t* target, const uint8_t* source, const uint8_t* above,
                              uint64_t rowBytes);

/// How many rows a wavefront takes.
inline constexpr uint32_t kWavefrontRows = 4;

/// The most bytes that a row of a wavefront may have: bounds the copy of the rows in the call's own frame.
inline constexpr uint64_t kWavefrontRowBytes = uint64_t{16} * 1024;

/// Converts `kWavefrontRows` rows together.
/// @param target the first row of pixels; the one before it, `stride` bytes in front, is finished
/// @param source the first row's filter byte; the rows follow each other, and their filters are known ones.
///        No row's pixels lie behind its own source.
/// @param stride at least `rowBytes`
/// @param rowBytes whole pixels, at most kWavefrontRowBytes
using wavefront_t = void (*)(uint8_t* target, const uint8_t* source, uint64_t stride,
                             uint64_t rowBytes);

/// The functions for one size of pixels, the rows by their filter. Null where the next backend serves; the scalar
/// one has every row and no wavefront.
struct row_functions_t {
    std::array<filter_row_t, kFilterCount> first; ///< the first row of an image
    std::array<filter_row_t, kFilterCount> later; ///< every other row
    wavefront_t wavefront;
};

/// The functions of one backend by the bytes of a pixel, from 1 on.
using row_backend_t = std::array<row_functions_t, kMaxPixelBytes + 1>;

/// The active functions for pixels of `pixelBytes` bytes.
row_functions_t active_rows(uint32_t pixelBytes);

// What each backend brings.
extern const row_backend_t kScalarRows;
#if defined(DS_HAS_AVX2_AND_SSE2)
extern const row_backend_t kSse2Rows;
#elif defined(DS_HAS_NEON)
extern const row_backend_t kNeonRows;
#endif

} // namespace png_detail
