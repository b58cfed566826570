// libpng's sequential interface, for whole images. libpng itself exchanges red and blue.
#include "bench/peers/peer_decoders.h"

#include <png.h>

#include <cstdlib>
#include <cstring>

namespace {

struct source_t {
    const uint8_t* data;
    size_t left;
};

void read_from_memory(png_structp png, png_bytep target, size_t count) {
    auto* const source = static_cast<source_t*>(png_get_io_ptr(png));
    if (count > source->left) {
        png_error(png, "end of file");
    }
    std::memcpy(target, source->data, count);
    source->data += count;
    source->left -= count;
}

// The memory to free or return, also after an error.
struct decoding_t {
    peer_image_t image;
    png_bytep* rows;
};

void read_image(png_structp png, png_infop info, decoding_t* decoding) {
    png_read_info(png, info);
    if (png_get_bit_depth(png, info) != 8) {
        png_error(png, "not 8 bits per sample");
    }
    png_set_bgr(png);
    png_read_update_info(png, info);
    peer_image_t& image = decoding->image;
    image.width = png_get_image_width(png, info);
    image.height = png_get_image_height(png, info);
    image.channels = png_get_channels(png, info);
    image.pixels = static_cast<uint8_t*>(std::malloc(pixel_bytes(image)));
    decoding->rows = static_cast<png_bytep*>(std::malloc(image.height * sizeof(png_bytep)));
    if (image.pixels == nullptr || decoding->rows == nullptr) {
        png_error(png, "no memory");
    }
    const size_t rowBytes = size_t{image.width} * image.channels;
    for (uint32_t y = 0; y < image.height; ++y) {
        decoding->rows[y] = image.pixels + y * rowBytes;
    }
    png_read_image(png, decoding->rows);
    png_read_end(png, nullptr);
}

// Returns false after an error, which libpng reports by a long jump.
bool read_or_fail(png_structp png, png_infop info, decoding_t* decoding) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    read_image(png, info, decoding);
    return true;
}

void ignore_warning(png_structp, png_const_charp) {}

// A null `reader` selects libpng's function for a std::FILE.
peer_image_t decode(void* source, png_rw_ptr reader) {
    png_structp png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, ignore_warning);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, source, reader);
    decoding_t decoding = {};
    if (!read_or_fail(png, info, &decoding)) {
        std::free(decoding.image.pixels);
        decoding.image.pixels = nullptr;
    }
    std::free(decoding.rows);
    png_destroy_read_struct(&png, &info, nullptr);
    return decoding.image;
}

} // namespace

peer_image_t decode_by_libpng(const uint8_t* data, size_t size) {
    source_t source = {data, size};
    return decode(&source, read_from_memory);
}

peer_image_t decode_file_by_libpng(std::FILE* file) {
    return decode(file, nullptr);
}
