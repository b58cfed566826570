// libspng, which decodes whole images in the format of the file.
#include "bench/peers/peer_decoders.h"

#include <spng.h>

#include <cstdlib>

namespace {

bool decode_into(spng_ctx* context, peer_image_t* image) {
    spng_ihdr header;
    size_t bytes = 0;
    if (spng_get_ihdr(context, &header) != 0 || header.bit_depth != 8 ||
        spng_decoded_image_size(context, SPNG_FMT_PNG, &bytes) != 0) {
        return false;
    }
    image->width = header.width;
    image->height = header.height;
    image->channels = static_cast<uint32_t>(bytes / header.height / header.width);
    image->pixels = static_cast<uint8_t*>(std::malloc(bytes));
    return image->pixels != nullptr &&
           spng_decode_image(context, image->pixels, bytes, SPNG_FMT_PNG, 0) == 0;
}

} // namespace

peer_image_t decode_by_libspng(const uint8_t* data, size_t size) {
    peer_image_t image = {};
    image.redFirst = true;
    spng_ctx* const context = spng_ctx_new(0);
    spng_set_png_buffer(context, data, size);
    if (!decode_into(context, &image)) {
        std::free(image.pixels);
        image.pixels = nullptr;
    }
    spng_ctx_free(context);
    return image;
}
