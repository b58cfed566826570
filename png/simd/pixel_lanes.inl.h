// Pixels in the words of a register: loads, stores and the exchange of red and blue.
//
// Included inside a namespace after a src/simd/vec_<isa>.h; the includer has png/internal/row_backend.h.

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

/// Exchanges red and blue, if the pixels have them. Each pixel has a word.
template <uint32_t pixelBytes>
U32 exchange_in_words(U32 pixels) {
    if constexpr (kExchangesRedAndBlue<pixelBytes>) {
        return (pixels & 0xFF00FF00U) | (pixels >> 16 & 0xFFU) | (pixels & 0xFFU) << 16;
    } else {
        return pixels;
    }
}
