// The PNG decoders that ours is compared with, each used as its documentation recommends, with one
// signature. They do the same work as ours: no expansion of palettes, no scaling.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// Decoded pixels, rows without padding. `pixels` is null for an image that the decoder rejects. The caller
/// frees it by std::free.
struct peer_image_t {
    uint8_t* pixels;
    uint32_t width;
    uint32_t height;
    uint32_t channels; ///< bytes per pixel
    bool redFirst;     ///< red, green, blue; else blue, green, red
};

inline size_t pixel_bytes(const peer_image_t& image) {
    return size_t{image.height} * image.width * image.channels;
}

/// Decodes a PNG file in memory, with 8 bits per sample and without interlacing. The pixels are the file's
/// samples or palette indices.
using peer_decoder_t = peer_image_t (*)(const uint8_t* data, size_t size);

peer_image_t decode_by_libpng(const uint8_t* data, size_t size);
peer_image_t decode_by_libspng(const uint8_t* data, size_t size);
peer_image_t decode_by_lodepng(const uint8_t* data, size_t size);
/// Always expands palettes: indexed images get three or four channels.
peer_image_t decode_by_stb_image(const uint8_t* data, size_t size);

/// The same, but libpng reads the file.
peer_image_t decode_file_by_libpng(std::FILE* file);
