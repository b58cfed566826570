// convertPixels reads the rows if a color mode has their layout.
#include "tools/slabtool/surfaces/samples.h"

#include "src/pixel_kernels.h"

#include <algorithm>
#include <cstring>

namespace {

void readAs(DsColorMode mode, const uint8_t* row, std::span<Rgba> colors) {
    const auto count = static_cast<uint32_t>(colors.size());
    convertPixels(reinterpret_cast<uint8_t*>(colors.data()), count, DsColorMode::ARGB8888, row,
                  count, mode, count, 1, 0, 0);
}

void readIndices(const uint8_t* row, ByteView paletteAlpha, std::span<Rgba> colors) {
    for (Rgba& color : colors) {
        const uint8_t index = *row++;
        color = {index, index, index, entryAlpha(paletteAlpha, index)};
    }
}

uint8_t blendOver(uint32_t background, uint32_t value, uint32_t alpha) {
    return static_cast<uint8_t>(dividedBy255(value * alpha + background * (255 - alpha) + 127));
}

} // namespace

uint32_t Samples::channels() const {
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

bool Samples::hasTranslucentPixels() const {
    if (isIndexed()) {
        return std::any_of(bytes.begin(), bytes.end(),
                           [&](uint8_t index) { return entryAlpha(paletteAlpha, index) != 255; });
    }
    if (kind == Kind::GrayAlpha || kind == Kind::Rgba) {
        for (size_t i = channels() - 1; i < bytes.size(); i += channels()) {
            if (bytes[i] != 255) {
                return true;
            }
        }
    }
    return false;
}

void readRow(const Samples& samples, uint32_t y, std::span<Rgba> colors) {
    using Kind = Samples::Kind;
    const uint8_t* const row =
        samples.bytes.data() + size_t{y} * samples.width * samples.channels();
    switch (samples.kind) {
    case Kind::Gray:
        return readAs(DsColorMode::I8, row, colors);
    case Kind::GrayAlpha:
        return readAs(DsColorMode::AI88, row, colors);
    case Kind::Rgb:
        // Both modes have blue where the samples have red, so the conversion keeps the order.
        return readAs(DsColorMode::RGB888, row, colors);
    case Kind::Rgba:
        std::memcpy(colors.data(), row, colors.size_bytes());
        return;
    case Kind::Indexed:
        return readIndices(row, samples.paletteAlpha, colors);
    }
}

void flatten(std::span<Rgba> colors, uint32_t background) {
    const uint32_t red = background >> 16 & 255;
    const uint32_t green = background >> 8 & 255;
    const uint32_t blue = background & 255;
    for (Rgba& color : colors) {
        color = {blendOver(red, color.red, color.alpha), blendOver(green, color.green, color.alpha),
                 blendOver(blue, color.blue, color.alpha), 255};
    }
}
