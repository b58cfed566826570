// Row reconstruction: from the inflated, filtered rows of a PNG image to the rows of pixels of a
// surface, in place inside one block.
#pragma once

#include "png/internal/png_fault.h"

#include <cstdint>

namespace png_detail {

/// Filtered rows at the tail of a block, and where their pixels go at its front.
struct png_rows_t {
    uint8_t* block;
    uint64_t blockSize;    ///< bytes
    uint64_t sourceOffset; ///< byte of the first row's filter type
    uint64_t stride; ///< bytes from one row of pixels to the next, the first being at the front
    uint32_t width;  ///< pixels
    uint32_t height; ///< rows
    uint32_t bytesPerPixel; ///< 1 to 4, a byte a sample
};

/// Converts all rows, first to last, with the result of going strictly pixel by pixel: a pixel's source
/// bytes are all read before any byte of it is written. That holds even where the pixels overtake their
/// own source, since a row with a filter type above 4 takes one byte and leaves its pixels as they are.
/// @return fault_t::none; rows_truncated where the source would run out of the block; rows_do_not_fit
///         where the pixels would.
fault_t png_convert_rows(const png_rows_t& rows);

} // namespace png_detail
