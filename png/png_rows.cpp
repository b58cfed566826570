// The walk over the rows of an image, which chooses how each row is converted.
//
// In place works because pixels never lie behind their own source: a row loses its filter byte when it is
// converted, so the front of the block fills more slowly than the tail is used up. At the closest (the first row
// of an image whose block has no byte to spare) a pixel lies one byte before its source, so no store may run ahead
// of the bytes that have been read.
#include "png/internal/png_rows.h"

#include "png/internal/row_backend.h"

namespace png_detail {
namespace {

// `offset` lies within the block or at its end.
bool fits(uint64_t offset, uint64_t length, uint64_t blockSize) {
    return length <= blockSize - offset;
}

// Whether row `row` of a surface with that stride lies inside the block.
bool row_fits(uint32_t row, uint64_t stride, uint64_t rowBytes, uint64_t blockSize) {
    const bool startsInside =
        stride == 0 || row <= blockSize / stride; // no product can overflow then
    return startsInside && fits(row * stride, rowBytes, blockSize);
}

// Whether the next rows can go together as a wavefront: all of them are there, in their places, and the first of
// all is not among them. It takes as long as four rows of Average, so that it pays with one of Paeth.
bool can_go_together(const png_rows_t& rows, uint32_t row, uint64_t source) {
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    if (row == 0 || rows.height - row < kWavefrontRows || rows.stride < rowBytes ||
        rowBytes > kWavefrontRowBytes || row * rows.stride >= source + 1) {
        return false;
    }
    const uint32_t lastRow = row + kWavefrontRows - 1;
    const uint64_t lastSource = source + (kWavefrontRows - 1) * (rowBytes + 1) + 1;
    if (lastSource + rowBytes > rows.blockSize || lastRow * rows.stride >= lastSource ||
        !row_fits(lastRow, rows.stride, rowBytes, rows.blockSize)) {
        return false;
    }
    bool pays = false;
    for (uint32_t i = 0; i < kWavefrontRows; ++i) {
        const uint8_t filter = rows.block[source + i * (rowBytes + 1)];
        if (filter >= kFilterCount) {
            return false;
        }
        pays |= filter == kFilterPaeth;
    }
    return pays;
}

// Whether SIMD may convert a row: rows lie apart, and the pixels do not overtake their own source.
bool may_go_by_blocks(const png_rows_t& rows, uint32_t row, uint64_t source) {
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    return rows.stride >= rowBytes && row * rows.stride < source;
}

// The function for a row, whose source starts at `source`.
filter_row_t row_function(const row_functions_t& active, const row_functions_t& scalar,
                          const png_rows_t& rows, uint32_t row, uint64_t source, uint8_t filter) {
    const row_functions_t& chosen = may_go_by_blocks(rows, row, source) ? active : scalar;
    return (row == 0 ? chosen.first : chosen.later)[filter];
}

} // namespace

fault_t png_convert_rows(const png_rows_t& rows) {
    const row_functions_t active = active_rows(rows.bytesPerPixel);
    const row_functions_t& scalar = kScalarRows[rows.bytesPerPixel];
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    uint64_t source = rows.sourceOffset;
    for (uint32_t row = 0; row < rows.height; ++row) {
        if (!fits(source, 1, rows.blockSize)) {
            return fault_t::rows_truncated;
        }
        if (active.wavefront != nullptr && can_go_together(rows, row, source)) {
            active.wavefront(rows.block + row * rows.stride, rows.block + source, rows.stride,
                             rowBytes);
            row += kWavefrontRows - 1;
            source += kWavefrontRows * (rowBytes + 1);
            continue;
        }
        const uint8_t filter = rows.block[source++];
        if (filter >= kFilterCount) {
            // Kept on purpose: not an error, and the next row starts at the very next byte.
            continue;
        }
        if (!fits(source, rowBytes, rows.blockSize)) {
            return fault_t::rows_truncated;
        }
        if (!row_fits(row, rows.stride, rowBytes, rows.blockSize)) {
            return fault_t::rows_do_not_fit;
        }
        uint8_t* const target = rows.block + row * rows.stride;
        const uint8_t* const above = row == 0 ? nullptr : target - rows.stride;
        row_function(active, scalar, rows, row, source, filter)(target, rows.block + source, above,
                                                                rowBytes);
        source += rowBytes;
    }
    return fault_t::none;
}

} // namespace png_detail
