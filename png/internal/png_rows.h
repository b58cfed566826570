// Row reconstruction: converts the inflated, filtered rows of a PNG image to the rows of pixels of a
// surface, in place inside one buffer.
#pragma once

#include "png/internal/png_fault.h"

#include <cstdint>

namespace png_detail {

/// Filtered rows at the end of a buffer. Their pixels are written to its start.
struct png_rows_t {
    uint8_t* buffer;
    uint64_t bufferSize;   ///< bytes
    uint64_t sourceOffset; ///< offset of the first row's filter type
    uint64_t stride; ///< bytes from one row of pixels to the next; the first row is at the start
    uint32_t width;  ///< pixels
    uint32_t height; ///< rows
    uint32_t bytesPerPixel; ///< 1 to 4, one byte per sample
};

/// Converts all rows, first to last. The result is that of a loop pixel by pixel, which reads all source bytes of a
/// pixel before it writes the pixel. This holds even if the pixels overtake their own source. (A row with a filter type
/// above 4 uses one byte of source and leaves its pixels unchanged.)
/// @return fault_t::none; rows_truncated if the source ends outside the buffer; rows_do_not_fit if the
///         pixels do.
fault_t png_convert_rows(const png_rows_t& rows);

} // namespace png_detail
