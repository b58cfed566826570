// slabtool compare: header words first, then the pixels of the upright pictures; padding does not count.
#include "tools/slabtool/commands/commands.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

struct Difference {
    uint64_t pixels = 0;
    uint32_t x = 0, y = 0; // the first one
};

Difference differenceOf(const SurfacePicture& first, const SurfacePicture& second) {
    const size_t pixelBytes = bytesPerPixel(first.header().colorMode());
    Difference difference;
    for (uint32_t y = 0; y < first.height(); ++y) {
        for (uint32_t x = 0; x < first.width(); ++x) {
            if (std::memcmp(first.pixel(x, y), second.pixel(x, y), pixelBytes) != 0 &&
                difference.pixels++ == 0) {
                difference.x = x;
                difference.y = y;
            }
        }
    }
    return difference;
}

void printBytes(const SurfacePicture& picture, const Difference& difference) {
    const uint8_t* const pixel = picture.pixel(difference.x, difference.y);
    for (uint32_t i = 0; i < bytesPerPixel(picture.header().colorMode()); ++i) {
        std::printf("%s%02x", i == 0 ? "" : " ", pixel[i]);
    }
}

// Whether the pixels can be compared at all.
bool printHeaderDifferences(const SurfacePicture& first, const SurfacePicture& second) {
    const SurfaceHeader& a = first.header();
    const SurfaceHeader& b = second.header();
    if (a.mode != b.mode) {
        std::printf("different colour modes: %s and %s\n", colorModeName(a.mode),
                    colorModeName(b.mode));
    }
    if (first.width() != second.width() || first.height() != second.height()) {
        std::printf("different sizes: %" PRIu32 " x %" PRIu32 " and %" PRIu32 " x %" PRIu32 "\n",
                    first.width(), first.height(), second.width(), second.height());
        return false;
    }
    if (a.rotation != b.rotation) {
        std::printf("different rotations: %" PRIu32 " and %" PRIu32 "\n", a.rotation, b.rotation);
    }
    return a.mode == b.mode;
}

bool printPixelDifferences(const SurfacePicture& first, const SurfacePicture& second) {
    const Difference difference = differenceOf(first, second);
    if (difference.pixels == 0) {
        return false;
    }
    std::printf(
        "%" PRIu64 " of %" PRIu64 " pixels differ, the first at x %" PRIu32 ", y %" PRIu32 ": ",
        difference.pixels, uint64_t{first.width()} * first.height(), difference.x, difference.y);
    printBytes(first, difference);
    std::printf(" and ");
    printBytes(second, difference);
    std::printf("\n");
    return true;
}

} // namespace

int runCompare(const CompareRequest& request) {
    const SurfacePicture first = readPicture(request.first);
    const SurfacePicture second = readPicture(request.second);
    if (!printHeaderDifferences(first, second) || printPixelDifferences(first, second)) {
        return 1;
    }
    const bool sameRotation = first.header().rotation == second.header().rotation;
    std::puts(sameRotation ? "equal" : "the same pixels once both are upright");
    return sameRotation ? 0 : 1;
}
