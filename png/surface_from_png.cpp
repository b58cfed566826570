// Header pass, a surface that fits, full pass, rotation.
#include "png/surface_from_png.h"

#include "png/internal/surface_buffer.h"
#include "png/png_decode.h"
#include "src/ds_surface.h"

#include <memory>

namespace {

constexpr uint8_t kGrayType = 0; // the PNG color type

std::unique_ptr<DsSurface> make_surface(const png_info_t& info, bool alphaOnly) {
    const DsColorMode colorMode = alphaOnly ? DsColorMode::A8 : info.colorMode;
    const uint64_t paletteSize = alphaOnly ? 0 : info.paletteSize;
    constexpr uint32_t kNoRotation = 0;
    constexpr uint32_t kRowAlignment = 1;
    // The filtered rows are inflated into the pixel buffer. They need one byte per row more than the
    // pixels.
    const uint64_t filterBytes = info.height;
    // Sizes beyond 31 bits become negative, for which the allocation fails.
    return std::make_unique<DsSurface>(
        static_cast<int32_t>(info.width), static_cast<int32_t>(info.height), kNoRotation, colorMode,
        info.paletteHasAlpha, paletteSize, png_detail::allocate_zeroed, png_detail::release,
        kRowAlignment, filterBytes);
}

} // namespace

DsSurface* surface_from_png(const uint8_t* data, uint64_t size, bool alphaOnly, int32_t rotation) {
    png_info_t info = {};
    if (png_decode(data, size, &info, nullptr) != kPngOk) {
        return nullptr;
    }
    if (alphaOnly && info.colorType != kGrayType) {
        return nullptr;
    }
    std::unique_ptr<DsSurface> surface = make_surface(info, alphaOnly);
    if (png_decode(data, size, &info, surface.get()) != kPngOk) {
        return nullptr;
    }
    surface->rotate(rotation);
    return surface.release();
}
