// Pixels in the words of a register: loads, stores and the exchange of red and blue.
//
// Included inside a namespace after src/simd/vec_sse2.h or vec_neon.h; the includer has png/internal/row_backend.h.

/// Loads a pixel. For a pixel of three bytes the byte after it is read, too.
template <uint32_t pixelBytes>
uint32_t load_pixel(const uint8_t* bytes) {
    uint32_t pixel = 0;
    std::memcpy(&pixel, bytes, pixelBytes == 3 ? 4 : pixelBytes);
    return pixel;
}

/// Stores a pixel. For a pixel of three bytes the byte after it is written, too.
template <uint32_t pixelBytes>
void store_pixel(uint8_t* bytes, uint32_t pixel) {
    std::memcpy(bytes, &pixel, pixelBytes == 3 ? 4 : pixelBytes);
}

/// Loads a register of adjacent pixels, each in a word. The other bytes of the words are unspecified.
template <uint32_t pixelBytes>
U32 load_register(const uint8_t* bytes) {
    if constexpr (pixelBytes == 1) {
        return loadU8(bytes);
    } else if constexpr (pixelBytes == 2) {
        return loadU16(bytes);
    } else if constexpr (pixelBytes == 3) {
        return loadU24(bytes);
    } else {
        return U32(loadBytes(bytes));
    }
}

/// Stores the pixels of a register.
template <uint32_t pixelBytes>
void store_register(uint8_t* bytes, U32 pixels) {
    if constexpr (pixelBytes == 1) {
        storeU8(pixels, bytes);
    } else if constexpr (pixelBytes == 2) {
        storeU16(pixels, bytes);
    } else if constexpr (pixelBytes == 3) {
        storeU24(pixels, bytes);
    } else {
        storeBytes(U8(pixels), bytes);
    }
}

/// Exchanges red and blue, if the pixels have them. Each pixel has a word.
template <uint32_t pixelBytes>
U32 exchange_in_words(U32 pixels) {
    if constexpr (kExchangesRedAndBlue<pixelBytes>) {
        return (pixels & 0xFF00FF00U) | (pixels >> 16 & 0xFFU) | (pixels & 0xFFU) << 16;
    } else {
        return pixels;
    }
}
