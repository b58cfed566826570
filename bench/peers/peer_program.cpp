// A simple converter with a peer library: decodes a PNG file and writes the same surface file as ours, to
// the byte.
//
//     PROGRAM --image IMAGE --output OUTPUT
//
// Compiled once for each library, with its function as PEER_DECODER.
#include "bench/peers/peer_decoders.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

// The file's pixels. libpng reads files itself, the others decode from memory.
peer_image_t decode(std::FILE* file) {
#ifdef PEER_READS_FILE
    return PEER_DECODER(file);
#else
    std::fseek(file, 0, SEEK_END);
    const auto size = static_cast<size_t>(std::ftell(file));
    std::rewind(file);
    auto* const data = static_cast<uint8_t*>(std::malloc(size));
    peer_image_t image = {};
    if (data != nullptr && std::fread(data, 1, size, file) == size) {
        image = PEER_DECODER(data, size);
    }
    std::free(data);
    return image;
#endif
}

void exchange_red_and_blue(const peer_image_t& image) {
    uint8_t* const end = image.pixels + pixel_bytes(image);
    for (uint8_t* pixel = image.pixels; pixel != end; pixel += image.channels) {
        std::swap(pixel[0], pixel[2]);
    }
}

void write_surface(const peer_image_t& image, std::FILE* file) {
    constexpr uint32_t kColorModes[] = {5, 7, 1, 0}; // I8, AI88, RGB888, ARGB8888
    const size_t byteCount = pixel_bytes(image);
    const uint32_t header[] = {0, kColorModes[image.channels - 1], image.width, image.height,
                               image.width * image.channels};
    constexpr uint8_t kPadding[4] = {};
    std::fwrite(header, sizeof(header), 1, file);
    std::fwrite(image.pixels, byteCount, 1, file);
    std::fwrite(kPadding, (4 - byteCount % 4) % 4, 1, file);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5 || std::strcmp(argv[1], "--image") != 0 ||
        std::strcmp(argv[3], "--output") != 0) {
        return 2;
    }
    std::FILE* const input = std::fopen(argv[2], "rb");
    if (input == nullptr) {
        return 1;
    }
    const peer_image_t image = decode(input);
    std::fclose(input);
    if (image.pixels == nullptr) {
        return 1;
    }
    if (image.redFirst && image.channels >= 3) {
        exchange_red_and_blue(image);
    }
    std::FILE* const output = std::fopen(argv[4], "wb");
    if (output == nullptr) {
        return 1;
    }
    write_surface(image, output);
    std::fclose(output);
    std::free(image.pixels);
    return 0;
}
