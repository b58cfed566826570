// Converts several rows together, with one word of the register per row.
//
// Included inside a namespace after src/simd/vec_sse2.h or vec_neon.h and png/simd/pixel_lanes.inl.h; the
// includer has png/internal/row_backend.h.
//
// In Sub, Average and Paeth each pixel depends on the one before it, so that a single row mostly waits for results.
// kPixels rows run side by side, each kLag pixels after the row above it. In step s:
//
//     row 0    . . . . . . . s          the words of the register, one per row
//     row 1    . . . . . s              its upper neighbor is the result of row 0 two steps ago,
//     row 2    . . . s                  its upper left neighbor that of row 0 three steps ago
//     row 3    . s
//
// With a lag of two pixels, only the prediction depends on the step before. Tried and rejected: a lag of one pixel,
// which adds the move of row 0's result to that dependency (10 to 25 % slower).

constexpr uint64_t kLag = 2;
constexpr uint64_t kPadding = 4; // pixels of three bytes are read as four
static_assert(kPixels == kWavefrontRows);

struct wavefront_rows_t {
    uint8_t* target[kPixels];
    const uint8_t* source[kPixels]; // without the filter byte
    const uint8_t* above;           // of the first row
};

constexpr auto kEachRow = std::make_integer_sequence<uint32_t, kPixels>();

// A fold expression, because not every optimization level unrolls a loop over the rows.
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

// The prediction of the Paeth filter, for each byte. The standard chooses the one of a, b and c that is nearest to
// p = a + b - c, where |p - a| = |b - c|, |p - b| = |a - c| and |p - c| = |(a - c) + (b - c)|. Let low = min(a, b) and
// high = max(a, b):
//
//     c between them:     low <---- toLow ----> c <---- toHigh ----> high
//                         |p - low| = toHigh, |p - high| = toLow, |p - c| = |toHigh - toLow|
//
// The nearest is low if toHigh <= toLow - toHigh, which is 2 toHigh <= toLow. It is high if 2 toLow <= toHigh, else c.
// If c is not between them, one distance saturates to zero and the same rule chooses the one farther from c, as the
// standard does. A doubled distance may saturate at 255, but the other side of its comparison is at most 255. If the
// standard prefers a in a tie, either a = b or this rule makes the same choice.
inline U8 predict_paeth(U8 left, U8 up, U8 upLeft) {
    const U8 low = min(left, up);
    const U8 high = max(left, up);
    const U8 toLow = subtractSaturating(upLeft, low);
    const U8 toHigh = subtractSaturating(high, upLeft);
    const U8 choosesLow = U8(subtractSaturating(addSaturating(toHigh, toHigh), toLow) == 0);
    const U8 choosesHigh = U8(subtractSaturating(addSaturating(toLow, toLow), toHigh) == 0);
    return upLeft + ((choosesHigh & toHigh) - (choosesLow & toLow));
}

struct all_paeth_t {
    U8 predict(U8 left, U8 up, U8 upLeft) const { return predict_paeth(left, up, upLeft); }
};

// A mask of the words of the rows with the filter.
inline U8 words_of(U32 filters, png_filter_t filter) {
    return U8(filters == uint32_t{filter});
}

// Any filters: masks select the prediction of each row.
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

// The pixels of the last steps, one word per row.
struct front_t {
    U8 left = {};   // of the previous step
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

// A step at the start or the end of the rows. Some rows have no pixel in this step, or a pixel whose neighbor in memory
// must not be accessed.
template <uint32_t pixelBytes, typename filters_t>
void edge_step(front_t* front, const filters_t& filters, const wavefront_rows_t& rows,
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
void convert_rows(const filters_t& filters, const wavefront_rows_t& rows, uint64_t width) {
    constexpr uint64_t kLastRowStart = (kPixels - 1) * kLag;
    front_t front;
    uint64_t step = 0;
    for (; step < kLastRowStart; ++step) {
        edge_step<pixelBytes>(&front, filters, rows, step, width);
    }
    for (; step + 1 < width; ++step) {
        const uint64_t offset = step * pixelBytes;
        const U32 filtered =
            exchange_in_words<pixelBytes>(load_words<pixelBytes>(rows, offset, kEachRow));
        const uint32_t above = load_pixel<pixelBytes>(rows.above + offset);
        store_words<pixelBytes>(rows, offset, U32(front.advance(filters, filtered, above)),
                                kEachRow);
    }
    for (; step < width + kLastRowStart; ++step) {
        edge_step<pixelBytes>(&front, filters, rows, step, width);
    }
}

template <uint32_t pixelBytes>
void wavefront(uint8_t* target, const uint8_t* source, uint64_t stride, uint64_t rowBytes) {
    // A row's pixels overwrite source of rows that are still being read, so all rows are saved first.
    uint8_t saved[kPixels * (kWavefrontRowBytes + kPadding)];
    uint8_t* next = saved; // rows are contiguous, so that short ones use little memory
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
        convert_rows<pixelBytes>(all_paeth_t(), rows, width);
    } else {
        convert_rows<pixelBytes>(mixed_filters_t(filters), rows, width);
    }
}
