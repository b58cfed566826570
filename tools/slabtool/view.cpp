// Pixels of every mode as PNG samples. Indexes and lone alpha values are drawn as grey.
#include "tools/slabtool/view.h"

#include "tools/slabtool/png_image.h"
#include "tools/slabtool/surface_file.h"

#include <cstdio>

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
    DsColor color = decodePixel<mode>(stored);
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

Drawing drawingOf(Mode mode) {
    switch (mode) {
    case Mode::ARGB8888:
        return {kRgbaType, drawLine<Mode::ARGB8888, kRgbaType>, nullptr};
    case Mode::RGB888:
        return {kRgbType, drawLine<Mode::RGB888, kRgbType>, nullptr};
    case Mode::RGB565:
        return {kRgbType, drawLine<Mode::RGB565, kRgbType>, nullptr};
    case Mode::ARGB1555:
        return {kRgbaType, drawLine<Mode::ARGB1555, kRgbaType>, nullptr};
    case Mode::ARGB4444:
        return {kRgbaType, drawLine<Mode::ARGB4444, kRgbaType>, nullptr};
    case Mode::I8:
        return {kGreyType, drawLine<Mode::I8, kGreyType>, kIndexNote};
    case Mode::AI88:
        return {kGreyAlphaType, drawLine<Mode::AI88, kGreyAlphaType>, kIndexNote};
    default:
        return {kGreyType, drawLine<Mode::A8, kGreyType>, kAlphaNote};
    }
}

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
    const Drawing drawing = drawingOf(picture.header().colorMode());
    const Bytes png = about(request.surfacePath,
                            [&] { return encodePng(draw(picture, drawing), kEfforts.front()); });
    about(request.pngPath, [&] { writeFile(request.pngPath, png); });
    if (drawing.note != nullptr) {
        std::fprintf(stderr, "slabtool: %s: %s\n", printable(request.surfacePath).c_str(),
                     drawing.note);
    }
    return 0;
}
