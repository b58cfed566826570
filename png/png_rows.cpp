// The loop over the rows of an image. It chooses how to convert each row.
//
// Conversion in place works because every pixel is at a lower address than its own source: a converted row has no
// filter byte, so the target advances more slowly than the source. The min distance is one byte: for the first row,
// in a buffer of exactly the size of the filtered rows. So a store must not write beyond the bytes that have been read.
#include "png/internal/png_rows.h"

#include "png/internal/row_backend.h"

#include <array>

namespace png_detail {
namespace {

// `offset` is inside the buffer or at its end.
bool fits(uint64_t offset, uint64_t length, uint64_t bufferSize) {
    return length <= bufferSize - offset;
}

// Whether row `row` of a surface with that stride is inside the buffer.
bool row_fits(uint32_t row, uint64_t stride, uint64_t rowBytes, uint64_t bufferSize) {
    const bool startsInside =
        stride == 0 || row <= bufferSize / stride; // then the product does not overflow
    return startsInside && fits(row * stride, rowBytes, bufferSize);
}

// The time of a single row with each filter, in units of about 0.2 ns a pixel.
constexpr std::array<uint32_t, kFilterCount> kRowTimes = {1, 1, 1, 5, 15};

// The time of each wavefront in the same unit, in the order of kWavefrontSizes. It is nearly the same for all rows of
// mixed filters. Eight rows take little longer than four, because they use AVX2.
constexpr std::array<uint32_t, kWavefrontSizes.size()> kWavefrontTimes = {36, 32};

// Whether a wavefront of `size` rows can and should convert the next rows: they are complete, the image's first row is
// not among them, and single rows would take longer.
bool should_use_wavefront(const png_rows_t& rows, uint32_t row, uint64_t source, uint32_t size,
                          uint32_t time) {
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    if (row == 0 || rows.height - row < size || rows.stride < rowBytes ||
        row * rows.stride >= source + 1) {
        return false;
    }
    const uint32_t lastRow = row + size - 1;
    const uint64_t lastSource = source + (size - 1) * (rowBytes + 1) + 1;
    if (lastSource + rowBytes > rows.bufferSize || lastRow * rows.stride >= lastSource ||
        !row_fits(lastRow, rows.stride, rowBytes, rows.bufferSize)) {
        return false;
    }
    if (rowBytes > wavefront_row_bytes(size) &&
        wavefront_distance(rows.buffer + row * rows.stride, rows.buffer + source + 1, rows.stride,
                           rowBytes, size) > wavefront_max_distance(size)) {
        return false;
    }
    uint32_t timeOfSingleRows = 0;
    for (uint32_t i = 0; i < size; ++i) {
        const uint8_t filter = rows.buffer[source + i * (rowBytes + 1)];
        if (filter >= kFilterCount) {
            return false;
        }
        timeOfSingleRows += kRowTimes[filter];
    }
    return timeOfSingleRows > time;
}

// Converts rows in a wavefront. Returns the number of rows: 0 if no wavefront can or should convert the next rows.
uint32_t convert_in_wavefront(const row_functions_t& active, const png_rows_t& rows, uint32_t row,
                              uint64_t source) {
    for (uint32_t i = 0; i < kWavefrontSizes.size(); ++i) {
        const wavefront_t wavefront = active.wavefronts[i];
        if (wavefront != nullptr &&
            should_use_wavefront(rows, row, source, kWavefrontSizes[i], kWavefrontTimes[i])) {
            wavefront(rows.buffer + row * rows.stride, rows.buffer + source, rows.stride,
                      uint64_t{rows.width} * rows.bytesPerPixel);
            return kWavefrontSizes[i];
        }
    }
    return 0;
}

// Whether SIMD may convert a row: rows do not overlap, and the pixels do not overtake their own source.
bool can_use_simd(const png_rows_t& rows, uint32_t row, uint64_t source) {
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    return rows.stride >= rowBytes && row * rows.stride < source;
}

// The function for a row whose source starts at `source`.
filter_row_t row_function(const row_functions_t& active, const row_functions_t& scalar,
                          const png_rows_t& rows, uint32_t row, uint64_t source, uint8_t filter) {
    const row_functions_t& chosen = can_use_simd(rows, row, source) ? active : scalar;
    return (row == 0 ? chosen.first : chosen.later)[filter];
}

} // namespace

fault_t png_convert_rows(const png_rows_t& rows) {
    const row_functions_t active = active_rows(rows.bytesPerPixel);
    const row_functions_t& scalar = kScalarRows[rows.bytesPerPixel];
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    uint64_t source = rows.sourceOffset;
    for (uint32_t row = 0; row < rows.height; ++row) {
        if (!fits(source, 1, rows.bufferSize)) {
            return fault_t::rows_truncated;
        }
        if (const uint32_t converted = convert_in_wavefront(active, rows, row, source)) {
            row += converted - 1;
            source += converted * (rowBytes + 1);
            continue;
        }
        const uint8_t filter = rows.buffer[source++];
        if (filter >= kFilterCount) {
            // Kept on purpose: this is no error, and the next row starts at the next byte.
            continue;
        }
        if (!fits(source, rowBytes, rows.bufferSize)) {
            return fault_t::rows_truncated;
        }
        if (!row_fits(row, rows.stride, rowBytes, rows.bufferSize)) {
            return fault_t::rows_do_not_fit;
        }
        uint8_t* const target = rows.buffer + row * rows.stride;
        const uint8_t* const above = row == 0 ? nullptr : target - rows.stride;
        row_function(active, scalar, rows, row, source, filter)(target, rows.buffer + source, above,
                                                                rowBytes);
        source += rowBytes;
    }
    return fault_t::none;
}

} // namespace png_detail
