// The PNG decoders that ours is compared with, each used as its documentation advises, and behind one
// signature. None is asked for anything that ours does not do: no expansion of palettes, no scaling.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// Decoded pixels, lines without gaps. `pixels` is null for an image that the decoder refuses;
/// otherwise it goes back by std::free.
struct peer_image_t {
    uint8_t* pixels;
    uint32_t width;
    uint32_t height;
    uint32_t channels; ///< bytes a pixel
    bool redFirst;     ///< red, green, blue; else blue, green, red
};

inline size_t pixel_bytes(const peer_image_t& image) {
    return size_t{image.height} * image.width * image.channels;
}

/// Decodes a PNG file of 8 bits a sample, without interlacing, that stands in memory. The pixels are
/// the file's own samples or palette indices.
using peer_decoder_t = peer_image_t (*)(const uint8_t* data, size_t size);

peer_image_t decode_by_libpng(const uint8_t* data, size_t size);
peer_image_t decode_by_libspng(const uint8_t* data, size_t size);
peer_image_t decode_by_lodepng(const uint8_t* data, size_t size);
/// Palettes cannot be left alone by this one: indexed images come out in three or four channels.
peer_image_t decode_by_stb_image(const uint8_t* data, size_t size);

/// The same by libpng's own reading from a file.
peer_image_t decode_file_by_libpng(std::FILE* file);
