// Every row becomes colors, is flattened if need be, and is packed. Gray values and indices travel as gray
// colors, of which the core's palette modes store one channel.
#include "tools/slabtool/surfaces/surface_maker.h"

#include "src/ds_surface.h"
#include "src/internal/mode_traits.h"
#include "src/pixel_kernels.h"

#include <cassert>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace {

using Kind = Samples::Kind;

bool isGray(Kind kind) {
    return kind == Kind::Gray || kind == Kind::GrayAlpha;
}

size_t channelsOf(Kind kind) {
    switch (kind) {
    case Kind::Gray:
    case Kind::Indexed:
        return 1;
    case Kind::GrayAlpha:
        return 2;
    case Kind::Rgb:
        return 3;
    case Kind::Rgba:
        return 4;
    }
    return 0;
}

/// Whether A8 holds gray values here.
bool takesGrayValues(const SurfaceRequest& request) {
    return request.mode == DsColorMode::A8 && request.alphaOnly;
}

/// Whether alpha has no place in the surface.
bool dropsAlpha(const SurfaceRequest& request) {
    constexpr auto kHasAlpha = ds_detail::makeModeTable<bool>(
        []<DsColorMode mode>() { return ds_detail::ModeTraits<mode>::kHasAlpha; });
    return !kHasAlpha[static_cast<uint32_t>(request.mode)] || takesGrayValues(request);
}

uint8_t entryAlpha(ByteView paletteAlpha, size_t index) {
    return index < paletteAlpha.size() ? paletteAlpha[index] : 255;
}

bool hasTranslucentPixels(const Samples& samples) {
    switch (samples.kind) {
    case Kind::Gray:
    case Kind::Rgb:
        return false;
    case Kind::Indexed:
        for (const uint8_t index : samples.bytes) {
            if (entryAlpha(samples.paletteAlpha, index) != 255) {
                return true;
            }
        }
        return false;
    case Kind::GrayAlpha:
    case Kind::Rgba:
        const size_t channels = channelsOf(samples.kind);
        for (size_t i = channels - 1; i < samples.bytes.size(); i += channels) {
            if (samples.bytes[i] != 255) {
                return true;
            }
        }
        return false;
    }
    return false;
}

bool isGrayColor(uint32_t color) {
    return color % 256 == color / 256 % 256 && color % 256 == color / 65536;
}

void checkKind(const Samples& samples, const SurfaceRequest& request) {
    const std::string mode = ds_detail::kModeNames[static_cast<uint32_t>(request.mode)];
    const bool isIndexed = samples.kind == Kind::Indexed;
    if (ds_detail::mayHavePalette(request.mode) && !isGray(samples.kind) && !isIndexed) {
        throw Refusal(mode + " holds gray values or palette indices, and this image has colors; "
                             "choose a mode with colors, such as RGB565");
    }
    if (takesGrayValues(request) && !isGray(samples.kind)) {
        throw Refusal("--alphaonly takes the values of a grayscale image, and this image has "
                      "colors; without it, A8 takes the alpha channel");
    }
    assert(!isIndexed || ds_detail::mayHavePalette(request.mode));
}

/// The background can lie under translucent pixels.
void checkBackground(const Samples& samples, const SurfaceRequest& request) {
    if (samples.kind == Kind::Indexed) {
        throw Refusal("a background cannot lie under palette indices, and some pixels are "
                      "translucent; choose a mode with colors, such as RGB565");
    }
    const bool wantsGray = request.mode == DsColorMode::I8 || takesGrayValues(request);
    if (wantsGray && !isGrayColor(*request.background)) {
        throw Refusal("the background is not gray, and the surface holds gray values; choose a "
                      "gray background, or a mode with colors");
    }
}

// ---- The surface

// Zeroed, because padding goes into the file too.
void* allocateZeroed(size_t byteCount) {
    void* const block = std::calloc(1, byteCount);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

/// An empty surface; no rotation yet.
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

/// Refuses a stride that the header cannot hold, before anything is allocated.
void checkStride(const Samples& samples, const SurfaceRequest& request) {
    const DsSurface shape = surfaceFor(
        samples, request, [](size_t) -> void* { return nullptr; }, nullptr);
    const uint32_t storedWidth = request.rotation == kQuarterTurn ? samples.height : samples.width;
    const uint64_t stride = shape.computeStride(static_cast<int32_t>(storedWidth));
    if (stride > UINT32_MAX) {
        throw Refusal("a row of " + std::to_string(stride) +
                      " bytes is more than a surface file can say; choose a smaller row alignment");
    }
}

Bytes fileOf(const DsSurface& surface) {
    Bytes file(surface.serialize(nullptr));
    surface.serialize(file.data());
    return file;
}

// ---- Rows

void readGray(const uint8_t* samples, DsColorMode mode, std::span<Bgra> colors) {
    const auto count = static_cast<uint32_t>(colors.size());
    convertPixels(reinterpret_cast<uint8_t*>(colors.data()), count, DsColorMode::ARGB8888, samples,
                  count, mode, count, 1, 0, 0);
}

void readIndices(const uint8_t* samples, ByteView paletteAlpha, std::span<Bgra> colors) {
    for (Bgra& color : colors) {
        const uint8_t index = *samples++;
        color = {index, index, index, entryAlpha(paletteAlpha, index)};
    }
}

template <bool hasAlpha>
void readColors(const uint8_t* samples, std::span<Bgra> colors) {
    for (Bgra& color : colors) {
        color = {samples[2], samples[1], samples[0], hasAlpha ? samples[3] : uint8_t{255}};
        samples += hasAlpha ? 4 : 3;
    }
}

void readRow(const Samples& samples, uint32_t y, std::span<Bgra> colors) {
    const uint8_t* const row =
        samples.bytes.data() + size_t{y} * samples.width * channelsOf(samples.kind);
    switch (samples.kind) {
    case Kind::Gray: // the layout of I8
        return readGray(row, DsColorMode::I8, colors);
    case Kind::GrayAlpha: // the layout of AI88
        return readGray(row, DsColorMode::AI88, colors);
    case Kind::Rgb:
        return readColors<false>(row, colors);
    case Kind::Rgba:
        return readColors<true>(row, colors);
    case Kind::Indexed:
        return readIndices(row, samples.paletteAlpha, colors);
    }
}

uint8_t over(uint32_t background, uint32_t value, uint32_t alpha) {
    return static_cast<uint8_t>((value * alpha + background * (255 - alpha) + 127) / 255);
}

void flatten(std::span<Bgra> colors, uint32_t background) {
    const uint32_t red = background >> 16 & 255, green = background >> 8 & 255,
                   blue = background & 255;
    for (Bgra& color : colors) {
        color = {over(blue, color.blue, color.alpha), over(green, color.green, color.alpha),
                 over(red, color.red, color.alpha), 255};
    }
}

} // namespace

MadeSurface makeSurface(const Samples& samples, const SurfaceRequest& request) {
    assert(samples.bytes.size() ==
           size_t{samples.width} * samples.height * channelsOf(samples.kind));
    checkKind(samples, request);
    const bool isTranslucent = dropsAlpha(request) && hasTranslucentPixels(samples);
    const bool isFlattened = isTranslucent && request.background;
    if (isFlattened) {
        checkBackground(samples, request);
    }
    checkStride(samples, request);

    DsSurface surface = surfaceFor(samples, request, allocateZeroed, std::free);
    // Gray values pass as I8, which stores them, into the bytes of A8.
    const auto packer = makeRowPacker(takesGrayValues(request) ? DsColorMode::I8 : request.mode,
                                      request.dither, samples.width);
    std::vector<Bgra> colors(samples.width);
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

Bytes paletteBlock(std::span<const std::array<uint8_t, 3>> colors, ByteView alpha) {
    Bytes block;
    block.reserve(colors.size() * (alpha.empty() ? 3 : 4));
    for (size_t i = 0; i < colors.size(); ++i) {
        const auto& [red, green, blue] = colors[i];
        block.insert(block.end(), {blue, green, red});
        if (!alpha.empty()) {
            block.push_back(entryAlpha(alpha, i));
        }
    }
    return block;
}
