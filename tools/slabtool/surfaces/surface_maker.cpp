// Each row is converted to colors, flattened onto the background if there is one, and packed. Gray values and indices
// become gray colors, of which I8 and AI88 store one channel.
#include "tools/slabtool/surfaces/surface_maker.h"

#include "src/ds_surface.h"
#include "src/internal/mode_traits.h"
#include "tools/slabtool/large_bytes.h"

#include <cassert>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace {

/// Whether the A8 surface stores gray values instead of alpha.
bool storesGrayValues(const SurfaceRequest& request) {
    return request.mode == DsColorMode::A8 && request.alphaOnly;
}

/// Whether the surface does not store the alpha of the image.
bool dropsAlpha(const SurfaceRequest& request) {
    constexpr auto kHasAlpha = ds_detail::makeModeTable<bool>(
        []<DsColorMode mode>() { return ds_detail::ModeTraits<mode>::kHasAlpha; });
    return !kHasAlpha[static_cast<uint32_t>(request.mode)] || storesGrayValues(request);
}

bool isGrayColor(uint32_t color) {
    return color % 256 == color / 256 % 256 && color % 256 == color / 65536;
}

void checkKind(const Samples& samples, const SurfaceRequest& request) {
    const std::string mode = ds_detail::kModeNames[static_cast<uint32_t>(request.mode)];
    if (ds_detail::mayHavePalette(request.mode) && !samples.isGray() && !samples.isIndexed()) {
        throw Rejection(mode + " holds gray values or palette indices, and this image has colors; "
                               "choose a mode with colors, such as RGB565");
    }
    if (storesGrayValues(request) && !samples.isGray()) {
        throw Rejection("--alphaonly needs a grayscale image, and this image has colors; without "
                        "--alphaonly, A8 stores the alpha channel");
    }
    assert(!samples.isIndexed() || ds_detail::mayHavePalette(request.mode));
}

/// Rejects a background that cannot be blended with the pixels.
void checkBackground(const Samples& samples, const SurfaceRequest& request) {
    if (samples.isIndexed()) {
        throw Rejection("a background cannot be blended with palette indices, and some pixels are "
                        "translucent; choose a mode with colors, such as RGB565");
    }
    const bool needsGray = request.mode == DsColorMode::I8 || storesGrayValues(request);
    if (needsGray && !isGrayColor(*request.background)) {
        throw Rejection("the background is not gray, and the surface holds gray values; choose a "
                        "gray background, or a mode with colors");
    }
}

// Zeroed, because the padding is written to the file.
void* allocateZeroed(size_t byteCount) {
    void* const buffer = std::calloc(1, byteCount);
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    return buffer;
}

/// An empty surface without rotation.
DsSurface surfaceFor(const Samples& samples, const SurfaceRequest& request, DsAllocFn allocate,
                     DsFreeFn release) {
    return {static_cast<int32_t>(samples.width),
            static_cast<int32_t>(samples.height),
            0,
            request.mode,
            0,
            0,
            allocate,
            release,
            request.rowAlignment,
            0};
}

constexpr uint32_t kQuarterTurn = 90;

/// Rejects a stride above 32 bits, before anything is allocated.
void checkStride(const Samples& samples, const SurfaceRequest& request) {
    const DsSurface shape = surfaceFor(
        samples, request, [](size_t) -> void* { return nullptr; }, nullptr);
    const uint32_t storedWidth = request.rotation == kQuarterTurn ? samples.height : samples.width;
    const uint64_t stride = shape.computeStride(static_cast<int32_t>(storedWidth));
    if (stride > UINT32_MAX) {
        throw Rejection("a row of " + std::to_string(stride) +
                        " bytes is too long for a surface file; choose a smaller row alignment");
    }
}

Bytes fileOf(const DsSurface& surface) {
    Bytes file = largeBytes(static_cast<size_t>(surface.serialize(nullptr)));
    surface.serialize(file.data());
    return file;
}

} // namespace

MadeSurface makeSurface(const Samples& samples, const SurfaceRequest& request) {
    assert(samples.bytes.size() == size_t{samples.width} * samples.height * samples.channels());
    checkKind(samples, request);
    const bool isTranslucent = dropsAlpha(request) && samples.hasTranslucentPixels();
    const bool isFlattened = isTranslucent && request.background;
    if (isFlattened) {
        checkBackground(samples, request);
    }
    checkStride(samples, request);

    DsSurface surface = surfaceFor(samples, request, allocateZeroed, std::free);
    // Gray values of an A8 surface are packed as I8, which has the same layout.
    const auto packer = makeRowPacker(storesGrayValues(request) ? DsColorMode::I8 : request.mode,
                                      request.dither, samples.width);
    std::vector<Rgba> colors(samples.width);
    for (uint32_t y = 0; y < samples.height; ++y) {
        readRow(samples, y, colors);
        if (isFlattened) {
            flatten(colors, *request.background);
        }
        packer->pack(colors, surface.getPixels() + y * surface.getStride());
    }
    surface.rotate(static_cast<int32_t>(request.rotation));
    return {fileOf(surface), surface.getStride(), isTranslucent && !isFlattened};
}

Bytes paletteBytes(std::span<const std::array<uint8_t, 3>> colors, ByteView alpha) {
    Bytes bytes;
    bytes.reserve(kPaletteEntries * (alpha.empty() ? 3 : 4));
    for (size_t i = 0; i < kPaletteEntries; ++i) {
        const auto [red, green, blue] = i < colors.size() ? colors[i] : std::array<uint8_t, 3>{};
        bytes.insert(bytes.end(), {blue, green, red});
        if (!alpha.empty()) {
            bytes.push_back(entryAlpha(alpha, i));
        }
    }
    return bytes;
}
