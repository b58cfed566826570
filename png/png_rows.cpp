// One loop for each pixel size and filter, and the walk that chooses among them line by line.
//
// In place works because pixels never lie behind their own source: a line loses its filter byte
// when it is converted, so the front of the block fills more slowly than the tail is used up. At
// the closest (the first line of an image whose block has no byte to spare) a pixel lies one byte
// before its source, so no store may run ahead of the bytes that have been read.
#include "png/internal/png_rows.h"

#include "png/internal/png_fast_paths.h"
#include "png/internal/png_filter.h"
#include "png/internal/row_wavefront.h"
#include "png/internal/wide_rows.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

namespace png_detail {
namespace {

// The filters of the PNG standard: what is added to a sample, given its neighbours.
struct no_filter_t {
    static uint32_t predict(uint32_t, uint32_t, uint32_t) { return 0; }
};

struct sub_filter_t {
    static uint32_t predict(uint32_t left, uint32_t, uint32_t) { return left; }
};

struct up_filter_t {
    static uint32_t predict(uint32_t, uint32_t up, uint32_t) { return up; }
};

struct average_filter_t {
    static uint32_t predict(uint32_t left, uint32_t up, uint32_t) { return (left + up) / 2; }
};

struct paeth_filter_t {
    static uint32_t predict(uint32_t left, uint32_t up, uint32_t upLeft) {
        const auto toUp = static_cast<int32_t>(up) - static_cast<int32_t>(upLeft);
        const auto toLeft = static_cast<int32_t>(left) - static_cast<int32_t>(upLeft);
        const int32_t distanceLeft = std::abs(toUp);
        const int32_t distanceUp = std::abs(toLeft);
        const int32_t distanceUpLeft = std::abs(toUp + toLeft);
        if (distanceLeft <= distanceUp && distanceLeft <= distanceUpLeft) {
            return left;
        }
        return distanceUp <= distanceUpLeft ? up : upLeft;
    }
};

// Where a PNG sample goes inside its pixel: red and blue may change places.
template <bool exchangesRedAndBlue>
constexpr uint32_t target_channel(uint32_t channel) {
    return exchangesRedAndBlue && channel < 3 ? 2 - channel : channel;
}

// Converts one line from its byte `done` on; `above` is the finished line before it, which the first
// line does not have.
template <uint32_t samples, bool exchangesRedAndBlue, typename filter_t, bool hasAbove>
void convert_row(uint8_t* target, const uint8_t* source, const uint8_t* above, uint64_t done,
                 uint64_t rowBytes) {
    constexpr uint32_t kBytesPerPixel = samples; // of 8 bits each
    uint32_t left[samples] = {};
    uint32_t upLeft[samples] = {};
    for (uint32_t c = 0; done != 0 && c < samples; ++c) {
        const uint64_t before = done - kBytesPerPixel + target_channel<exchangesRedAndBlue>(c);
        left[c] = target[before];
        upLeft[c] = hasAbove ? above[before] : 0;
    }
    for (uint64_t x = done; x < rowBytes; x += kBytesPerPixel) {
        for (uint32_t c = 0; c < samples; ++c) {
            const uint32_t up = hasAbove ? above[x + target_channel<exchangesRedAndBlue>(c)] : 0;
            left[c] = (source[x + c] + filter_t::predict(left[c], up, upLeft[c])) & 255;
            upLeft[c] = up;
        }
        for (uint32_t c = 0; c < samples; ++c) {
            target[x + target_channel<exchangesRedAndBlue>(c)] = static_cast<uint8_t>(left[c]);
        }
    }
}

using row_loop_t = void (*)(uint8_t* target, const uint8_t* source, const uint8_t* above,
                            uint64_t done, uint64_t rowBytes);

struct row_loops_t {
    row_loop_t first[kFilterCount]; // for the first line
    row_loop_t later[kFilterCount]; // for every other
};

template <uint32_t samples, bool exchanges>
constexpr row_loops_t kLoopsFor = {{convert_row<samples, exchanges, no_filter_t, false>,
                                    convert_row<samples, exchanges, sub_filter_t, false>,
                                    convert_row<samples, exchanges, up_filter_t, false>,
                                    convert_row<samples, exchanges, average_filter_t, false>,
                                    convert_row<samples, exchanges, paeth_filter_t, false>},
                                   {convert_row<samples, exchanges, no_filter_t, true>,
                                    convert_row<samples, exchanges, sub_filter_t, true>,
                                    convert_row<samples, exchanges, up_filter_t, true>,
                                    convert_row<samples, exchanges, average_filter_t, true>,
                                    convert_row<samples, exchanges, paeth_filter_t, true>}};

const row_loops_t& loops_for(const png_rows_t& rows) {
    if (rows.exchangesRedAndBlue) {
        return rows.samplesPerPixel == 3 ? kLoopsFor<3, true> : kLoopsFor<4, true>;
    }
    return rows.samplesPerPixel == 1 ? kLoopsFor<1, false> : kLoopsFor<2, false>;
}

// `offset` lies within the block or at its end.
bool fits(uint64_t offset, uint64_t length, uint64_t blockSize) {
    return length <= blockSize - offset;
}

// Whether line `row` of a surface with that stride lies inside the block.
bool row_fits(uint32_t row, uint64_t stride, uint64_t rowBytes, uint64_t blockSize) {
    const bool startsInside =
        stride == 0 || row <= blockSize / stride; // no product can overflow then
    return startsInside && fits(row * stride, rowBytes, blockSize);
}

// ---- Fast paths, for lines that lie apart and do not overtake their own source

// Whether the next lines can go together as a wavefront: all of them there, in their places, and not
// the first of all. It takes as long as four lines of Average, so that it pays with one of Paeth.
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

// Converts what a wide loop can of a line; returns how many bytes that were.
uint64_t take_wide_row(const png_rows_t& rows, uint32_t row, uint8_t filter, uint64_t source) {
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    const wide_row_t loop = png_wide_row(rows.bytesPerPixel, filter);
    if (loop == nullptr || row == 0 || rows.stride < rowBytes || row * rows.stride >= source) {
        return 0;
    }
    uint8_t* const target = rows.block + row * rows.stride;
    return loop(target, rows.block + source, target - rows.stride, rowBytes);
}

} // namespace

fault_t png_convert_rows(const png_rows_t& rows) {
    // Samples have 8 bits, and the SIMD rows exchange red and blue wherever there are both.
    assert(rows.bytesPerPixel == rows.samplesPerPixel);
    assert(rows.exchangesRedAndBlue == (rows.samplesPerPixel >= 3));
    const row_loops_t& loops = loops_for(rows);
    const uint64_t rowBytes = uint64_t{rows.width} * rows.bytesPerPixel;
    const bool wavefront = png_may_take(kPngWavefrontRows);
    const bool wide = png_may_take(kPngWideRows);
    uint64_t source = rows.sourceOffset;
    for (uint32_t row = 0; row < rows.height; ++row) {
        if (!fits(source, 1, rows.blockSize)) {
            return fault_t::rows_truncated;
        }
        if (wavefront && can_go_together(rows, row, source)) {
            png_convert_wavefront(rows.block + row * rows.stride, rows.block + source, rows.stride,
                                  rowBytes, rows.bytesPerPixel);
            row += kWavefrontRows - 1;
            source += kWavefrontRows * (rowBytes + 1);
            continue;
        }
        const uint8_t filter = rows.block[source++];
        if (filter >= kFilterCount) {
            // Kept on purpose: not an error, and the next line starts at the very next byte.
            continue;
        }
        if (!fits(source, rowBytes, rows.blockSize)) {
            return fault_t::rows_truncated;
        }
        if (!row_fits(row, rows.stride, rowBytes, rows.blockSize)) {
            return fault_t::rows_do_not_fit;
        }
        uint8_t* const target = rows.block + row * rows.stride;
        const uint64_t done = wide ? take_wide_row(rows, row, filter, source) : 0;
        const row_loop_t loop = (row == 0 ? loops.first : loops.later)[filter];
        loop(target, rows.block + source, row == 0 ? nullptr : target - rows.stride, done,
             rowBytes);
        source += rowBytes;
    }
    return fault_t::none;
}

} // namespace png_detail
