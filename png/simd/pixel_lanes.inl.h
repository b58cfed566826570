// Pixels in the words of a register, and their way in and out.
//
// Included inside a namespace after a src/simd/vec_<isa>.h; the includer has png/internal/row_backend.h.

/// A pixel from memory; one of three bytes is read together with the byte behind it.
template <uint32_t pixelBytes>
uint32_t load_pixel(const uint8_t* bytes) {
    uint32_t pixel = 0;
    std::memcpy(&pixel, bytes, pixelBytes == 3 ? 4 : pixelBytes);
    return pixel;
}

/// Writes a pixel; the byte behind one of three bytes is written too.
template <uint32_t pixelBytes>
void store_pixel(uint8_t* bytes, uint32_t pixel) {
    std::memcpy(bytes, &pixel, pixelBytes == 3 ? 4 : pixelBytes);
}

/// Exchanges red and blue in pixels that have a word each, if there are both.
template <uint32_t pixelBytes>
U32 exchange_in_words(U32 pixels) {
    if constexpr (kExchangesRedAndBlue<pixelBytes>) {
        return (pixels & 0xFF00FF00U) | (pixels >> 16 & 0xFFU) | (pixels & 0xFFU) << 16;
    } else {
        return pixels;
    }
}
