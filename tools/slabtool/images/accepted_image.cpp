// The decoder writes samples in the byte order of surfaces, so red and blue are swapped here.
#include "tools/slabtool/images/accepted_image.h"

#include "png/internal/png_decoder.h"
#include "png/internal/surface_buffer.h"
#include "png/png_decode.h"
#include "src/ds_surface.h"
#include "tools/slabtool/images/png_facts.h"
#include "tools/slabtool/large_bytes.h"

#include <algorithm>

namespace {

bool hasKeyColor(const png_info_t& info) {
    return (info.colorType == kGrayType && info.colorMode == DsColorMode::AI88) ||
           (info.colorType == kRgbType && info.colorMode == DsColorMode::ARGB8888);
}

// Whether the filtered rows fit the decoder's 32-bit count, and the file is large enough to fill them.
bool hasPlausibleSize(const png_info_t& info, size_t fileSize) {
    const uint64_t bytes = png_detail::full_filtered_size(info);
    return bytes == png_detail::filtered_size(info) && bytes / kMaxExpansion <= fileSize;
}

// Copies `count` samples of a row, red before blue.
void copySamples(const uint8_t* row, size_t count, size_t pixelBytes, uint8_t* samples) {
    std::copy_n(row, count, samples);
    if (pixelBytes >= 3) {
        for (size_t i = 0; i < count; i += pixelBytes) {
            std::swap(samples[i], samples[i + 2]);
        }
    }
}

Bytes samplesOf(const DsSurface& surface) {
    const size_t pixelBytes = surface.getBytesPerPixel();
    const size_t rowBytes = static_cast<size_t>(surface.getWidth()) * pixelBytes;
    Bytes samples = largeBytes(rowBytes * static_cast<size_t>(surface.getHeight()));
    for (size_t y = 0; y < static_cast<size_t>(surface.getHeight()); ++y) {
        copySamples(surface.getPixels() + y * surface.getStride(), rowBytes, pixelBytes,
                    samples.data() + y * rowBytes);
    }
    return samples;
}

// Like libpng: indices beyond the palette become opaque black.
void applyPalette(PngImage& image) {
    const bool hasAlpha = !image.paletteAlpha.empty();
    std::array<std::array<uint8_t, 4>, 256> entries = {};
    for (size_t i = 0; i < entries.size(); ++i) {
        const auto [red, green, blue] =
            i < image.palette.size() ? image.palette[i] : std::array<uint8_t, 3>{};
        const uint8_t alpha = i < image.paletteAlpha.size() ? image.paletteAlpha[i] : 255;
        entries[i] = {red, green, blue, alpha};
    }
    image.colorType = hasAlpha ? kRgbaType : kRgbType;
    const size_t pixelBytes = channelsOf(image.colorType);
    Bytes colors(image.samples.size() * pixelBytes);
    uint8_t* target = colors.data();
    for (const uint8_t index : image.samples) {
        target = std::copy_n(entries[index].data(), pixelBytes, target);
    }
    image.samples = std::move(colors);
    image.palette.clear();
    image.paletteAlpha.clear();
}

} // namespace

std::optional<PngImage> decodeAccepted(ByteView file, const PngChanges& changes) {
    png_info_t info = {};
    if (png_decode(file.data(), file.size(), &info, nullptr) != kPngOk || hasKeyColor(info) ||
        !hasPlausibleSize(info, file.size())) {
        return std::nullopt;
    }
    DsSurface surface(static_cast<int32_t>(info.width), static_cast<int32_t>(info.height), 0,
                      info.colorMode, info.paletteHasAlpha, info.paletteSize,
                      png_detail::allocate_zeroed, png_detail::release, 1, info.height);
    if (png_decode(file.data(), file.size(), &info, &surface) != kPngOk) {
        return std::nullopt;
    }
    PngImage image = {info.width, info.height, info.colorType, samplesOf(surface), {}, {}, {}};
    if (info.colorType == kIndexedType) {
        const PngFacts facts = factsOf(file);
        image.palette = facts.palette;
        image.paletteAlpha = facts.transparency;
        if (changes.expandPalette) {
            applyPalette(image);
        }
    }
    return image;
}
