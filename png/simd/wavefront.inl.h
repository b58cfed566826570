// Converts several rows together, with one word of the register per row.
//
// Included inside a namespace after src/simd/vec_<isa>.h, png/simd/paeth.inl.h, the functions of
// png/simd/pixel_lanes.inl.h and those of quads (fromQuads(), toQuads()); the includer has
// png/internal/row_backend.h, <algorithm> and <cstring>.
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

// A row's pixels overwrite source that is still to be read: of its own row, and the end of the row before. So source is
// saved before a step writes pixels: short rows as a whole, wide rows in strips. A strip has the pixels of all steps
// from `first` to `last`, so the pixels that the next strip depends on stay in the register. The ends of wide rows are
// saved first, because the next rows overwrite them: a row overwrites at most the last `distance` bytes of the source
// of the row before it.
//
//     row 0    |strip|strip| ...        | end |
//     row 1   |strip|strip| ...        | end |       distance = source - target
//     row 2  |strip|strip| ...        | end |        `end` has as many bytes as the max distance of the rows
//     row 3 |strip|strip| ...              |

constexpr uint64_t kLag = 2;
constexpr uint64_t kLastRowStart = (kPixels - 1) * kLag; // the first step with a pixel of every row
constexpr uint64_t kPadding = 4;                         // pixels of three bytes are read as four
static_assert(kPixels == 4 * kQuads);

constexpr uint64_t kSavedBytes =
    kWavefrontMemory + kPixels * (kLastRowStart * kMaxPixelBytes + kPadding);
constexpr uint64_t kStripBytes = kWavefrontStrip - kWavefrontStrip % 12; // whole pixels of any size
// Ends are inside their rows.
static_assert(wavefront_max_distance(kPixels) <= wavefront_row_bytes(kPixels));
static_assert(kPixels * (kStripBytes + kPadding) +
                  (kPixels - 1) * wavefront_max_distance(kPixels) <=
              kSavedBytes);

// The source of the rows in the buffer.
struct wavefront_source_t {
    const uint8_t* row[kPixels]; // without the filter byte
    uint64_t rowBytes;
    const uint8_t* ends; // of all rows but the last, one after the other
    uint64_t endBytes;   // 0 if rows are saved as a whole

    // Copies the bytes from `first` to `last` of a row.
    void copy(uint8_t* target, uint32_t index, uint64_t first, uint64_t last) const {
        const uint64_t endStart = index + 1 < kPixels ? rowBytes - endBytes : rowBytes;
        const uint64_t split = std::clamp(endStart, first, last);
        std::memcpy(target, row[index] + first, split - first);
        if (split < last) {
            std::memcpy(target + (split - first), ends + index * endBytes + (split - endStart),
                        last - split);
        }
    }
};

struct wavefront_rows_t {
    uint8_t* target[kPixels];
    // Saved source of the current strip. The first pixel of each belongs to the first step, so it is kLag pixels
    // further left in each row than in the row above.
    uint8_t* saved[kPixels];
    const uint8_t* above; // of the first row
};

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

    // `above` has a pixel of the row above the first row in its first word, and zeros in the others.
    template <typename filters_t>
    U8 advance(const filters_t& filters, U32 filtered, U32 above) {
        const U8 up = U8(moveWordsUp(U32(before)) | above);
        const U8 pixels = U8(filtered) + filters.predict(left, up, upLeft);
        before = left;
        left = pixels;
        upLeft = up;
        return pixels;
    }
};

// A step at the start or the end of the rows. Some rows have no pixel in this step, or a pixel whose neighbor in memory
// must not be accessed. `first` is the first step of the strip.
template <uint32_t pixelBytes, typename filters_t>
void edge_step(front_t* front, const filters_t& filters, const wavefront_rows_t& rows,
               uint64_t first, uint64_t step, uint64_t width) {
    U32 filtered = {};
    U32 active = {};
    for (uint64_t row = 0; row < kPixels; ++row) {
        const uint64_t x = step - row * kLag;
        if (step >= row * kLag && x < width) {
            filtered[row] = load_pixel<pixelBytes>(rows.saved[row] + (step - first) * pixelBytes);
            active[row] = 0xFFFFFFFF;
        }
    }
    uint32_t above = 0;
    if (step < width) {
        std::memcpy(&above, rows.above + step * pixelBytes, pixelBytes);
    }
    front->advance(filters, exchange_in_words<pixelBytes>(filtered), U32{above});
    front->left &= U8(active);
    for (uint64_t row = 0; row < kPixels; ++row) {
        if (active[row] != 0) {
            const uint32_t pixel = U32(front->left)[row];
            std::memcpy(rows.target[row] + (step - row * kLag) * pixelBytes, &pixel, pixelBytes);
        }
    }
}

constexpr uint32_t kSteps = 4; // as many as a quad has pixels

// Exchanges rows and columns of four by four words in each quad of the registers.
inline void transpose(U32 matrix[kSteps]) {
    const U32 low01 = interleaveLow(matrix[0], matrix[1]);
    const U32 high01 = interleaveHigh(matrix[0], matrix[1]);
    const U32 low23 = interleaveLow(matrix[2], matrix[3]);
    const U32 high23 = interleaveHigh(matrix[2], matrix[3]);
    matrix[0] = interleavePairsLow(low01, low23);
    matrix[1] = interleavePairsHigh(low01, low23);
    matrix[2] = interleavePairsLow(high01, high23);
    matrix[3] = interleavePairsHigh(high01, high23);
}

// Four steps in which every row has a pixel. In a step, a register has a pixel of each row. In memory, a quad has four
// pixels of one row. So registers are transposed after loading and before storing.
template <uint32_t pixelBytes, typename filters_t>
[[gnu::always_inline]] inline void four_steps(front_t* front, const filters_t& filters,
                                              const wavefront_rows_t& rows, uint64_t first,
                                              uint64_t step) {
    U32 pixels[kSteps];
    Quad quads[kQuads] = {};
    for (uint32_t i = 0; i < kSteps; ++i) {
        for (uint32_t quad = 0; quad < kQuads; ++quad) {
            quads[quad] = load_register<pixelBytes>(rows.saved[i + quad * kSteps] +
                                                    (step - first) * pixelBytes);
        }
        pixels[i] = exchange_in_words<pixelBytes>(fromQuads(quads));
    }
    transpose(pixels);
    Quad aboveQuads[kQuads] = {load_register<pixelBytes>(rows.above + step * pixelBytes)};
    U32 above[kSteps] = {fromQuads(aboveQuads)};
    transpose(above);
    for (uint32_t i = 0; i < kSteps; ++i) {
        pixels[i] = U32(front->advance(filters, pixels[i], above[i]));
    }
    transpose(pixels);
    for (uint32_t i = 0; i < kSteps; ++i) {
        toQuads(pixels[i], quads);
        for (uint32_t quad = 0; quad < kQuads; ++quad) {
            const uint32_t row = i + quad * kSteps;
            store_register<pixelBytes>(rows.target[row] + (step - row * kLag) * pixelBytes,
                                       quads[quad]);
        }
    }
}

// The steps from `first` to `last`.
template <uint32_t pixelBytes, typename filters_t>
void convert_strip(front_t* result, const filters_t& filters, const wavefront_rows_t& rows,
                   uint64_t first, uint64_t last, uint64_t width) {
    front_t front = *result; // a local copy, so that it stays in registers
    uint64_t step = first;
    for (; step < std::min(last, kLastRowStart); ++step) {
        edge_step<pixelBytes>(&front, filters, rows, first, step, width);
    }
    for (; step + kSteps <= std::min(last, width); step += kSteps) {
        four_steps<pixelBytes>(&front, filters, rows, first, step);
    }
    for (; step < last; ++step) {
        edge_step<pixelBytes>(&front, filters, rows, first, step, width);
    }
    *result = front;
}

// Saves the source of the steps from `first` to `last`.
template <uint32_t pixelBytes>
void save_strip(const wavefront_rows_t& rows, const wavefront_source_t& source, uint64_t first,
                uint64_t last) {
    for (uint32_t row = 0; row < kPixels; ++row) {
        const uint64_t lag = row * kLag;
        const uint64_t begin = std::max(first, lag);
        const uint64_t end = std::min(last, source.rowBytes / pixelBytes + lag);
        uint8_t* const saved = rows.saved[row] + (begin - first) * pixelBytes;
        if (begin < end) {
            source.copy(saved, row, (begin - lag) * pixelBytes, (end - lag) * pixelBytes);
            std::memset(saved + (end - begin) * pixelBytes, 0, kPadding);
        }
    }
}

inline void save_ends(wavefront_source_t* source, uint8_t* ends, uint64_t endBytes) {
    source->ends = ends;
    source->endBytes = endBytes;
    for (uint32_t row = 0; row + 1 < kPixels; ++row) {
        std::memcpy(ends + row * endBytes, source->row[row] + source->rowBytes - endBytes,
                    endBytes);
    }
}

template <uint32_t pixelBytes>
void wavefront(uint8_t* target, const uint8_t* source, uint64_t stride, uint64_t rowBytes) {
    const uint64_t width = rowBytes / pixelBytes;
    const uint64_t steps = width + kLastRowStart;
    const bool isWide = rowBytes > wavefront_row_bytes(kPixels);
    const uint64_t stripSteps = isWide ? kStripBytes / pixelBytes : steps;
    const uint64_t savedBytes = stripSteps * pixelBytes + kPadding;
    uint8_t memory[kSavedBytes];
    uint8_t* const ends = memory + kPixels * savedBytes;
    wavefront_source_t from = {{}, rowBytes, nullptr, 0};
    wavefront_rows_t rows;
    rows.above = target - stride;
    U32 filters = {};
    bool allPaeth = true;
    for (uint32_t row = 0; row < kPixels; ++row) {
        allPaeth &= *source == kFilterPaeth;
        filters[row] = *source++;
        from.row[row] = source;
        rows.target[row] = target + row * stride;
        rows.saved[row] =
            memory + row * savedBytes; // adjacent, so that short rows use little memory
        source += rowBytes;
    }
    if (isWide) {
        save_ends(&from, ends, wavefront_distance(target, from.row[0], stride, rowBytes, kPixels));
    }
    const mixed_filters_t mixed(filters);
    front_t front;
    for (uint64_t first = 0; first < steps; first += stripSteps) {
        const uint64_t last = std::min(first + stripSteps, steps);
        save_strip<pixelBytes>(rows, from, first, last);
        if (allPaeth) {
            convert_strip<pixelBytes>(&front, all_paeth_t(), rows, first, last, width);
        } else {
            convert_strip<pixelBytes>(&front, mixed, rows, first, last, width);
        }
    }
}
