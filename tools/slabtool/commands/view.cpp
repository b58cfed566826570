// slabtool view: pixels of every mode as PNG samples. Indexes and lone alpha values are drawn as grey.
#include "tools/slabtool/commands/commands.h"

#include "src/internal/mode_traits.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cstdio>

using namespace ds_detail;

namespace {

using Mode = DsColorMode;

// How one mode is drawn.
struct Drawing {
    uint8_t colorType;
    void (*line)(const SurfacePicture& picture, uint32_t y, uint8_t* samples);
    const char* note; // what the user is to know, or null
};

template <Mode mode>
DsColor colorOf(const uint8_t* pixel) {
    const uint32_t stored = loadPixel<mode>(pixel);
    DsColor color = ModeTraits<mode>::decode(stored, {});
    if constexpr (mode == Mode::ARGB1555) {
        color.alpha = (stored >> 15) * 255; // which drawing operations do not read
    }
    return color;
}

template <Mode mode, uint8_t colorType>
void drawLine(const SurfacePicture& picture, uint32_t y, uint8_t* samples) {
    for (uint32_t x = 0; x < picture.width(); ++x) {
        const DsColor color = colorOf<mode>(picture.pixel(x, y));
        if constexpr (colorType == kRgbType || colorType == kRgbaType) {
            *samples++ = static_cast<uint8_t>(color.red);
            *samples++ = static_cast<uint8_t>(color.green);
        }
        *samples++ = static_cast<uint8_t>(mode == Mode::A8 ? color.alpha : color.blue);
        if constexpr (colorType == kGreyAlphaType || colorType == kRgbaType) {
            *samples++ = static_cast<uint8_t>(color.alpha);
        }
    }
}

constexpr const char* kIndexNote = "palette indices (or grey values) are drawn as grey: surface "
                                   "files carry no palette";
constexpr const char* kAlphaNote = "alpha values are drawn as grey: the surface has no colours";

template <Mode mode>
constexpr Drawing drawingOf() {
    using Traits = ModeTraits<mode>;
    if constexpr (mode == Mode::A8) {
        return {kGreyType, drawLine<mode, kGreyType>, kAlphaNote};
    } else if constexpr (Traits::kHasPalette) {
        constexpr uint8_t kType = Traits::kHasAlpha ? kGreyAlphaType : kGreyType;
        return {kType, drawLine<mode, kType>, kIndexNote};
    } else {
        constexpr uint8_t kType = Traits::kHasAlpha ? kRgbaType : kRgbType;
        return {kType, drawLine<mode, kType>, nullptr};
    }
}

// Empty for modes without pixels, of which there are no pictures.
constexpr auto kDrawings =
    makePixelModeTable<Drawing>([]<Mode mode>() { return drawingOf<mode>(); });

PngImage draw(const SurfacePicture& picture, const Drawing& drawing) {
    PngImage image = {};
    image.width = picture.width();
    image.height = picture.height();
    image.colorType = drawing.colorType;
    image.samples.resize(image.lineBytes() * image.height);
    for (uint32_t y = 0; y < image.height; ++y) {
        drawing.line(picture, y, image.samples.data() + y * image.lineBytes());
    }
    return image;
}

} // namespace

int runView(const ViewRequest& request) {
    const SurfacePicture picture = readPicture(request.surfacePath);
    const Drawing& drawing = kDrawings.at(picture.header().mode);
    const Bytes png = about(request.surfacePath,
                            [&] { return encodePng(draw(picture, drawing), kEfforts.front()); });
    about(request.pngPath, [&] { writeFile(request.pngPath, png); });
    if (drawing.note != nullptr) {
        std::fprintf(stderr, "slabtool: %s: %s\n", printable(request.surfacePath).c_str(),
                     drawing.note);
    }
    return 0;
}
