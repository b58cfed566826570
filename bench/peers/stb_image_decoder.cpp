// stb_image, with the number of channels of the file.
#include "bench/peers/peer_decoders.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

peer_image_t decode_by_stb_image(const uint8_t* data, size_t size) {
    peer_image_t image = {};
    image.redFirst = true;
    int width = 0;
    int height = 0;
    int channels = 0;
    image.pixels =
        stbi_load_from_memory(data, static_cast<int>(size), &width, &height, &channels, 0);
    image.width = static_cast<uint32_t>(width);
    image.height = static_cast<uint32_t>(height);
    image.channels = static_cast<uint32_t>(channels);
    return image;
}
