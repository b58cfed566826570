// The pixels of every mode as PNG samples.
#include "tools/slabtool/runs/drawing.h"

#include "src/internal/mode_traits.h"
#include "tools/slabtool/surfaces/surface_maker.h"

#include <utility>

using namespace ds_detail;

namespace {

using Mode = DsColorMode;

// How one mode is drawn.
struct Drawing {
    uint8_t colorType;
    void (*row)(const SurfacePicture& picture, uint32_t y, uint8_t* samples);
};

template <Mode mode>
DsColor colorOf(const uint8_t* pixel) {
    const uint32_t stored = loadPixel<mode>(pixel);
    DsColor color = ModeTraits<mode>::decode(stored, {});
    if constexpr (mode == Mode::ARGB1555) {
        color.alpha =
            (stored >> 15) * 255; // decode(), like every drawing operation, ignores the alpha bit
    }
    return color;
}

template <Mode mode, uint8_t colorType>
void drawRow(const SurfacePicture& picture, uint32_t y, uint8_t* samples) {
    for (uint32_t x = 0; x < picture.width(); ++x) {
        const DsColor color = colorOf<mode>(picture.pixel(x, y));
        if constexpr (colorType == kRgbType || colorType == kRgbaType) {
            *samples++ = static_cast<uint8_t>(color.red);
            *samples++ = static_cast<uint8_t>(color.green);
        }
        *samples++ = static_cast<uint8_t>(mode == Mode::A8 ? color.alpha : color.blue);
        if constexpr (colorType == kGrayAlphaType || colorType == kRgbaType) {
            *samples++ = static_cast<uint8_t>(color.alpha);
        }
    }
}

template <Mode mode>
constexpr uint8_t colorTypeOf() {
    using Traits = ModeTraits<mode>;
    if constexpr (mode == Mode::A8) {
        return kGrayType;
    } else if constexpr (Traits::kHasPalette) {
        return Traits::kHasAlpha ? kGrayAlphaType : kGrayType;
    } else {
        return Traits::kHasAlpha ? kRgbaType : kRgbType;
    }
}

template <Mode mode>
constexpr Drawing drawingOf() {
    return {colorTypeOf<mode>(), drawRow<mode, colorTypeOf<mode>()>};
}

// Entries of modes without pixels are empty and unused.
constexpr auto kDrawings =
    makePixelModeTable<Drawing>([]<Mode mode>() { return drawingOf<mode>(); });

// The alpha of an AI88 pixel already includes that of the palette entry.
uint8_t alphaOf(const uint8_t* pixel, bool hasOwnAlpha, const uint8_t* entry, size_t entryBytes) {
    constexpr uint8_t kOpaque = 255;
    if (hasOwnAlpha) {
        return pixel[1];
    }
    return entryBytes == 4 ? entry[3] : kOpaque;
}

} // namespace

Palette paletteOf(Bytes file) {
    Palette palette = {std::move(file), 0};
    palette.entryBytes = palette.entries.size() / kPaletteEntries;
    if (palette.entries.size() != kPaletteEntries * 3 &&
        palette.entries.size() != kPaletteEntries * 4) {
        throw Rejection("is not a palette file of 768 or 1024 bytes");
    }
    return palette;
}

PngImage drawPicture(const SurfacePicture& picture) {
    const Drawing& drawing = kDrawings.at(picture.header().mode);
    PngImage image = {};
    image.width = picture.width();
    image.height = picture.height();
    image.colorType = drawing.colorType;
    image.samples.resize(image.rowBytes() * image.height);
    for (uint32_t y = 0; y < image.height; ++y) {
        drawing.row(picture, y, image.samples.data() + y * image.rowBytes());
    }
    return image;
}

PngImage drawWithPalette(const SurfacePicture& picture, const Palette& palette) {
    const bool hasOwnAlpha = picture.header().colorMode() == Mode::AI88;
    if (!hasOwnAlpha && picture.header().colorMode() != Mode::I8) {
        throw Rejection(std::string(colorModeName(picture.header().mode)) +
                        " has no palette indices: leave --palette out");
    }
    PngImage image = {picture.width(), picture.height(), kRgbaType, {}, {}, {}, {}};
    image.samples.reserve(image.rowBytes() * image.height);
    for (uint32_t y = 0; y < image.height; ++y) {
        for (uint32_t x = 0; x < image.width; ++x) {
            const uint8_t* const pixel = picture.pixel(x, y);
            const uint8_t* const entry = palette.entries.data() + pixel[0] * palette.entryBytes;
            image.samples.insert(image.samples.end(),
                                 {entry[2], entry[1], entry[0],
                                  alphaOf(pixel, hasOwnAlpha, entry, palette.entryBytes)});
        }
    }
    return image;
}
