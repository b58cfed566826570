// Rows of one filter, in registers of 16 bytes.
//
// Included inside a namespace after src/simd/vec_sse2.h or vec_neon.h, png/simd/paeth.inl.h and
// png/simd/pixel_lanes.inl.h; the includer has png/internal/scalar_rows.h and <utility>.
//
// In None and Up, pixels do not depend on each other. Sub is a running sum, computed by prefix sums. For pixels a, b,
// c, d of four bytes:
//
//     block                        a     b     c      d
//     + block moved up by 1        a    ab    bc     cd
//     + result moved up by 2       a    ab   abc   abcd
//     + last pixel so far          the pixels
//
// so that only one addition depends on the block before. Average and Paeth run pixel by pixel, with all samples at
// once.
//
// copy_row() and sub_row() do not read the row above, so they also convert the first row of an image.
//
// Every loop reads a block before it writes the same block of the row, because the target may start a single byte
// before the source.

constexpr uint64_t kBlockBytes = 16;
static_assert(sizeof(U8) == kBlockBytes);

// With pixels of three bytes, the last byte of a block is unused but still stored. It is inside the row, and the next
// block or the tail overwrites it. It overwrites no unread source, because the target starts at least one byte lower.
template <uint32_t pixelBytes>
constexpr uint64_t kStep = (kBlockBytes / pixelBytes) * pixelBytes;

// Exchanges red and blue in a block of adjacent pixels. An unused last byte becomes zero.
template <uint32_t pixelBytes>
U8 exchange_in_block(U8 block) {
    if constexpr (pixelBytes == 3) {
        constexpr U8 kFirst = {255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0};
        constexpr U8 kSecond = {0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0};
        return (block & kSecond) | moveUp<2>(block & kFirst) | (moveDown<2>(block) & kFirst);
    } else {
        return U8(exchange_in_words<pixelBytes>(U32(block)));
    }
}

// ---- Filters without dependencies between pixels

template <uint32_t pixelBytes>
void copy_row(uint8_t* target, const uint8_t* source, const uint8_t* above, uint64_t rowBytes) {
    uint64_t x = 0;
    for (; x + kBlockBytes <= rowBytes; x += kStep<pixelBytes>) {
        storeBytes(exchange_in_block<pixelBytes>(loadBytes(source + x)), target + x);
    }
    convert_rest_of_row<pixelBytes, no_filter_t, false>(target, source, above, x, rowBytes);
}

template <uint32_t pixelBytes>
void up_row(uint8_t* target, const uint8_t* source, const uint8_t* above, uint64_t rowBytes) {
    uint64_t x = 0;
    for (; x + kBlockBytes <= rowBytes; x += kStep<pixelBytes>) {
        const U8 filtered = exchange_in_block<pixelBytes>(loadBytes(source + x));
        storeBytes(filtered + loadBytes(above + x), target + x);
    }
    convert_rest_of_row<pixelBytes, up_filter_t, true>(target, source, above, x, rowBytes);
}

// ---- Sub

// The sums of all pixels of the block up to each one.
template <uint32_t pixelBytes>
U8 prefix_sums(U8 block) {
    block += moveUp<pixelBytes>(block);
    block += moveUp<2 * pixelBytes>(block);
    if constexpr (4 * pixelBytes < kBlockBytes) {
        block += moveUp<4 * pixelBytes>(block);
    }
    if constexpr (8 * pixelBytes < kBlockBytes) {
        block += moveUp<8 * pixelBytes>(block);
    }
    return block;
}

// The block's last pixel, repeated.
template <uint32_t pixelBytes>
U8 last_pixel(U8 block) {
    if constexpr (pixelBytes == 1) {
        return __builtin_shufflevector(block, block, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 15,
                                       15, 15, 15, 15);
    } else if constexpr (pixelBytes == 2) {
        return U8(__builtin_shufflevector(U16(block), U16(block), 7, 7, 7, 7, 7, 7, 7, 7));
    } else if constexpr (pixelBytes == 3) {
        const U8 one = moveDown<13>(moveUp<1>(block));
        const U8 two = one | moveUp<3>(one);
        return two | moveUp<6>(two) | moveUp<12>(one);
    } else {
        return U8(__builtin_shufflevector(U32(block), U32(block), 3, 3, 3, 3));
    }
}

template <uint32_t pixelBytes>
void sub_row(uint8_t* target, const uint8_t* source, const uint8_t* above, uint64_t rowBytes) {
    U8 left = {};
    uint64_t x = 0;
    for (; x + kBlockBytes <= rowBytes; x += kStep<pixelBytes>) {
        const U8 sums =
            prefix_sums<pixelBytes>(exchange_in_block<pixelBytes>(loadBytes(source + x)));
        storeBytes(sums + left, target + x);
        left += last_pixel<pixelBytes>(sums);
    }
    convert_rest_of_row<pixelBytes, sub_filter_t, false>(target, source, above, x, rowBytes);
}

// ---- Average

// The first `bytes` bytes of both registers, side by side. The bytes after them are unspecified.
template <uint32_t bytes>
U8 join(U8 a, U8 b) {
    if constexpr (bytes == 1) {
        return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7,
                                       23);
    } else if constexpr (bytes == 2) {
        return U8(__builtin_shufflevector(U16(a), U16(b), 0, 8, 1, 9, 2, 10, 3, 11));
    } else if constexpr (bytes == 4) {
        return U8(interleaveLow(U32(a), U32(b)));
    } else {
        return U8(interleavePairsLow(U32(a), U32(b)));
    }
}

// The first pixels of `count` registers, side by side.
template <uint32_t pixelBytes, uint32_t count>
U8 join_pixels(const U8* pixels) {
    if constexpr (count == 1) {
        return pixels[0];
    } else {
        constexpr uint32_t kHalf = count / 2;
        return join<kHalf * pixelBytes>(join_pixels<pixelBytes, kHalf>(pixels),
                                        join_pixels<pixelBytes, kHalf>(pixels + kHalf));
    }
}

// The prediction is (left + up) / 2, rounded down, but the instruction rounds up. With complements it rounds down:
//
//     (left + up) / 2 = ~averageUp(~left, ~up)
//     pixel = filtered + ~averageUp(~left, ~up)     and by ~(x + ~y) = y - x:
//     ~pixel = averageUp(~left, ~up) - filtered
//
// so that there are only two instructions between a pixel and the next one.

// Converts the blocks of a row of pixels of one or two bytes. Loads and stores of such pixels would take longer than a
// pixel waits for the one before. Returns the number of finished bytes. `pixel` has the indices of a block's pixels.
template <uint32_t pixelBytes, uint32_t... pixel>
uint64_t average_blocks(uint8_t* target, const uint8_t* source, const uint8_t* above,
                        uint64_t rowBytes, std::integer_sequence<uint32_t, pixel...>) {
    U8 notLeft = ~U8{};
    uint64_t x = 0;
    for (; x + kBlockBytes <= rowBytes; x += kBlockBytes) {
        const U8 filtered = loadBytes(source + x);
        const U8 notUp = ~loadBytes(above + x);
        const U8 notPixels[] = {(notLeft = averageUp(notLeft, moveDown<pixel * pixelBytes>(notUp)) -
                                           moveDown<pixel * pixelBytes>(filtered))...};
        storeBytes(~join_pixels<pixelBytes, sizeof...(pixel)>(notPixels), target + x);
    }
    return x;
}

// Converts the pixels of a row but the last, because pixels of three bytes are read and written as four. Returns the
// number of finished bytes.
template <uint32_t pixelBytes>
uint64_t average_pixels(uint8_t* target, const uint8_t* source, const uint8_t* above,
                        uint64_t rowBytes) {
    U8 notLeft = ~U8{};
    uint64_t x = 0;
    for (; x + pixelBytes < rowBytes; x += pixelBytes) {
        const U32 filtered = exchange_in_words<pixelBytes>(U32{load_pixel<pixelBytes>(source + x)});
        const U32 up = {load_pixel<pixelBytes>(above + x)};
        notLeft = averageUp(notLeft, ~U8(up)) - U8(filtered);
        store_pixel<pixelBytes>(target + x, U32(~notLeft)[0]);
    }
    return x;
}

template <uint32_t pixelBytes>
void average_row(uint8_t* target, const uint8_t* source, const uint8_t* above, uint64_t rowBytes) {
    uint64_t x = 0;
    if constexpr (pixelBytes <= 2) {
        constexpr std::make_integer_sequence<uint32_t, kBlockBytes / pixelBytes> kAll;
        x = average_blocks<pixelBytes>(target, source, above, rowBytes, kAll);
    } else {
        x = average_pixels<pixelBytes>(target, source, above, rowBytes);
    }
    convert_rest_of_row<pixelBytes, average_filter_t, true>(target, source, above, x, rowBytes);
}

// ---- Paeth

// The loop leaves out the last pixel, because pixels of three bytes are read and written as four.
template <uint32_t pixelBytes>
void paeth_row(uint8_t* target, const uint8_t* source, const uint8_t* above, uint64_t rowBytes) {
    U8 left = {};
    U8 upLeft = {};
    uint64_t x = 0;
    for (; x + pixelBytes < rowBytes; x += pixelBytes) {
        const U32 filtered = exchange_in_words<pixelBytes>(U32{load_pixel<pixelBytes>(source + x)});
        const U8 up = U8(U32{load_pixel<pixelBytes>(above + x)});
        left = U8(filtered) + predict_paeth(left, up, upLeft);
        upLeft = up;
        store_pixel<pixelBytes>(target + x, U32(left)[0]);
    }
    convert_rest_of_row<pixelBytes, paeth_filter_t, true>(target, source, above, x, rowBytes);
}
