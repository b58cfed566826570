// Rows that go together, a word of the register each.
//
// Included inside a namespace after src/simd/vec_sse2.h or vec_neon.h and png/simd/pixel_lanes.inl.h; the
// includer has png/internal/row_backend.h.
//
// Sub, Average and Paeth make a chain of a row's pixels: each needs the one before it, so that one row alone waits
// most of the time. kPixels rows run side by side, each kLag pixels behind the row above it. In the step s:
//
//     row 0    . . . . . . . s          the words of the register, one a row
//     row 1    . . . . . s              its upper neighbor is what row 0 gave two steps ago,
//     row 2    . . . s                  its upper left one what row 0 gave three steps ago
//     row 3    . s
//
// With a lag of two pixels, the chain from step to step is the prediction alone. Tried and rejected: a lag of one, with
// which the move of row 0's result into the word of row 1 is part of the chain (10 to 25 % longer).

constexpr uint64_t kLag = 2;
constexpr uint64_t kPadding = 4; // pixels of three bytes are read as four
static_assert(kPixels == kWavefrontRows);

struct wavefront_rows_t {
    uint8_t* target[kPixels];
    const uint8_t* source[kPixels]; // without the filter byte
    const uint8_t* above;           // of the first row
};

constexpr auto kEachRow = std::make_integer_sequence<uint32_t, kPixels>();

// Written as a fold, because not every level of optimization unrolls a loop over the rows.
template <uint32_t pixelBytes, uint32_t... row>
U32 load_words(const wavefront_rows_t& rows, uint64_t offset,
               std::integer_sequence<uint32_t, row...>) {
    return U32{load_pixel<pixelBytes>(rows.source[row] + offset - row * kLag * pixelBytes)...};
}

template <uint32_t pixelBytes, uint32_t... row>
void store_words(const wavefront_rows_t& rows, uint64_t offset, U32 pixels,
                 std::integer_sequence<uint32_t, row...>) {
    (store_pixel<pixelBytes>(rows.target[row] + offset - row * kLag * pixelBytes, pixels[row]),
     ...);
}

// What the filter Paeth adds, in bytes. The standard takes the nearest of a, b and c to p = a + b - c, where
// |p - a| = |b - c|, |p - b| = |a - c| and |p - c| = |(a - c) + (b - c)|. Let lower and upper be a and b sorted:
//
//     c between them:     lower <---- toLower ----> c <---- toUpper ----> upper
//                         |p - lower| = toUpper, |p - upper| = toLower, |p - c| = |toUpper - toLower|
//
// Lower is the nearest where toUpper <= toLower - toUpper, which is 2 toUpper <= toLower; upper where
// 2 toLower <= toUpper; else c. Where c lies beyond one of them, that distance saturates to zero, and the same
// rule gives the far one of the two, as the standard does. Sums that saturate at 255 compare with at most 255.
// Ties that the standard breaks towards a have a = b, or the choice that this rule makes as well.
inline U8 predict_paeth(U8 left, U8 up, U8 upLeft) {
    const U8 low = lower(left, up);
    const U8 high = upper(left, up);
    const U8 toLower = subtractSaturating(upLeft, low);
    const U8 toUpper = subtractSaturating(high, upLeft);
    const U8 takesLower = U8(subtractSaturating(addSaturating(toUpper, toUpper), toLower) == 0);
    const U8 takesUpper = U8(subtractSaturating(addSaturating(toLower, toLower), toUpper) == 0);
    return upLeft + ((takesUpper & toUpper) - (takesLower & toLower));
}

struct all_paeth_t {
    U8 predict(U8 left, U8 up, U8 upLeft) const { return predict_paeth(left, up, upLeft); }
};

// The words of the rows that have the filter.
inline U8 words_of(U32 filters, png_filter_t filter) {
    return U8(filters == uint32_t{filter});
}

// Any filters: each row's word is chosen by masks.
struct mixed_filters_t {
    U8 isSub, isUp, isAverage, isPaeth;

    explicit mixed_filters_t(U32 filters)
        : isSub(words_of(filters, kFilterSub))
        , isUp(words_of(filters, kFilterUp))
        , isAverage(words_of(filters, kFilterAverage))
        , isPaeth(words_of(filters, kFilterPaeth)) {}

    U8 predict(U8 left, U8 up, U8 upLeft) const {
        return ((isSub & left) | (isUp & up)) |
               ((isAverage & ~averageUp(~left, ~up)) | (isPaeth & predict_paeth(left, up, upLeft)));
    }
};

// The pixels of the last steps, a word each row.
struct front_t {
    U8 left = {};   // of the step before
    U8 before = {}; // of the step before that
    U8 upLeft = {};

    template <typename filters_t>
    U8 advance(const filters_t& filters, U32 filtered, uint32_t abovePixel) {
        const U8 up = moveUp<4>(before) | U8(U32{abovePixel});
        const U8 pixels = U8(filtered) + filters.predict(left, up, upLeft);
        before = left;
        left = pixels;
        upLeft = up;
        return pixels;
    }
};

// A step in which rows have not begun or have ended, or are at a pixel whose neighbor in memory must not be
// touched.
template <uint32_t pixelBytes, typename filters_t>
void careful_step(front_t* front, const filters_t& filters, const wavefront_rows_t& rows,
                  uint64_t step, uint64_t width) {
    U32 filtered = {};
    U32 active = {};
    for (uint64_t row = 0; row < kPixels; ++row) {
        const uint64_t x = step - row * kLag;
        if (step >= row * kLag && x < width) {
            filtered[row] = load_pixel<pixelBytes>(rows.source[row] + x * pixelBytes);
            active[row] = 0xFFFFFFFF;
        }
    }
    uint32_t above = 0;
    if (step < width) {
        std::memcpy(&above, rows.above + step * pixelBytes, pixelBytes);
    }
    front->advance(filters, exchange_in_words<pixelBytes>(filtered), above);
    front->left &= U8(active);
    for (uint64_t row = 0; row < kPixels; ++row) {
        if (active[row] != 0) {
            const uint32_t pixel = U32(front->left)[row];
            std::memcpy(rows.target[row] + (step - row * kLag) * pixelBytes, &pixel, pixelBytes);
        }
    }
}

template <uint32_t pixelBytes, typename filters_t>
void convert_together(const filters_t& filters, const wavefront_rows_t& rows, uint64_t width) {
    constexpr uint64_t kLastBegins = (kPixels - 1) * kLag;
    front_t front;
    uint64_t step = 0;
    for (; step < kLastBegins; ++step) {
        careful_step<pixelBytes>(&front, filters, rows, step, width);
    }
    for (; step + 1 < width; ++step) {
        const uint64_t offset = step * pixelBytes;
        const U32 filtered =
            exchange_in_words<pixelBytes>(load_words<pixelBytes>(rows, offset, kEachRow));
        const uint32_t above = load_pixel<pixelBytes>(rows.above + offset);
        store_words<pixelBytes>(rows, offset, U32(front.advance(filters, filtered, above)),
                                kEachRow);
    }
    for (; step < width + kLastBegins; ++step) {
        careful_step<pixelBytes>(&front, filters, rows, step, width);
    }
}

template <uint32_t pixelBytes>
void wavefront(uint8_t* target, const uint8_t* source, uint64_t stride, uint64_t rowBytes) {
    // The pixels of a row overwrite the end of the source of the row above, which is not used up yet: all rows are
    // saved before.
    uint8_t saved[kPixels * (kWavefrontRowBytes + kPadding)];
    uint8_t* next = saved; // one row behind the other, so that short ones touch little memory
    U32 filters = {};
    bool allPaeth = true;
    wavefront_rows_t rows;
    rows.above = target - stride;
    for (uint32_t row = 0; row < kPixels; ++row) {
        allPaeth &= *source == kFilterPaeth;
        filters[row] = *source++;
        std::memcpy(next, source, rowBytes);
        std::memset(next + rowBytes, 0, kPadding);
        rows.source[row] = next;
        rows.target[row] = target + row * stride;
        source += rowBytes;
        next += rowBytes + kPadding;
    }
    const uint64_t width = rowBytes / pixelBytes;
    if (allPaeth) {
        convert_together<pixelBytes>(all_paeth_t(), rows, width);
    } else {
        convert_together<pixelBytes>(mixed_filters_t(filters), rows, width);
    }
}
