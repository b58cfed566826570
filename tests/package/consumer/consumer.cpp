// Uses every library: prints the size of the surface of a PNG image, and results of other functions.
#include "inflate/src/streams.h"
#include "png/png_crc32.h"
#include "png/surface_from_png.h"
#include "src/ds_ellipse.h"
#include "src/ds_surface.h"
#include "src/pixel_kernels.h"
#include "src/span_fill.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

int main(int, char** argv) {
    std::ifstream file(argv[1], std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    const auto* const data = reinterpret_cast<const uint8_t*>(bytes.data());
    const std::unique_ptr<DsSurface> surface(surface_from_png(data, bytes.size(), false, 0));
    if (surface == nullptr) {
        return 1;
    }
    surface->fill(0x0000FFFF);
    bitstream_t stream = {data, 1, 0, 0};
    const DsEllipse ellipse({4, 4}, {2, 2});
    std::printf("%d x %d, checksum %08x, first bits %u, radius %.0f\n", surface->getWidth(),
                surface->getHeight(), png_crc32(data, bytes.size(), 0),
                bitstream_extract(&stream, 4), static_cast<double>(ellipse.radiusAt(0)));
    return 0;
}
