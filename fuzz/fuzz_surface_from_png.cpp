// The whole conversion from bytes to a surface file: no crash, and the same file every time.
#include "fuzz/fuzz_input.h"
#include "fuzz/png_mutator.h"
#include "png/png_decode.h"
#include "png/surface_from_png.h"
#include "src/ds_surface.h"

#include <new>

namespace {

constexpr uint64_t kMaxPixels = 1 << 17;
constexpr size_t kDecisionBytes = 2; // before the file

// The surface file; empty if there is none.
GuardedBytes convert(const GuardedBytes& png, bool alphaOnly, int32_t rotation) {
    const std::unique_ptr<DsSurface> surface(
        surface_from_png(png.data(), png.size(), alphaOnly, rotation));
    if (surface == nullptr) {
        return {};
    }
    GuardedBytes file(surface->serialize(nullptr));
    require(surface->serialize(file.data()) == file.size());
    return file;
}

bool isAffordable(const GuardedBytes& png) {
    png_info_t info = {};
    return png_decode(png.data(), png.size(), &info, nullptr) != kPngOk ||
           (info.width <= kMaxPixels && info.height <= kMaxPixels &&
            uint64_t{info.width} * info.height <= kMaxPixels);
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    return mutatePng(data, size, maxSize, seed, kDecisionBytes);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzInput input(bytes, size);
    const bool alphaOnly = input.flag();
    const int32_t rotation = input.take<uint8_t>() % 4 * 90;
    const GuardedBytes png = input.rest();
    if (isAffordable(png)) {
        require(convert(png, alphaOnly, rotation) == convert(png, alphaOnly, rotation));
    }
    return 0;
}
