// lodepng, without conversion of the file's colors.
#include "bench/peers/peer_decoders.h"

#include <lodepng.h>

peer_image_t decode_by_lodepng(const uint8_t* data, size_t size) {
    peer_image_t image = {};
    image.redFirst = true;
    LodePNGState state;
    lodepng_state_init(&state);
    state.decoder.color_convert = 0;
    state.decoder.read_text_chunks = 0;
    const unsigned error =
        lodepng_decode(&image.pixels, &image.width, &image.height, &state, data, size);
    image.channels = lodepng_get_bpp(&state.info_png.color) / 8;
    lodepng_state_cleanup(&state);
    if (error != 0) {
        image.pixels = nullptr; // lodepng has freed them
    }
    return image;
}
