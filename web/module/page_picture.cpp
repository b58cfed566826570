#include "web/module/page_picture.h"

#include <algorithm>
#include <array>

namespace {

constexpr size_t kPixelBytes = 4;
using Pixel = std::array<uint8_t, kPixelBytes>;

Pixel pixelAt(const PngImage& image, uint32_t x, uint32_t y) {
    const uint32_t channels = channelsOf(image.colorType);
    const uint8_t* const sample = image.samples.data() + (size_t{y} * image.width + x) * channels;
    const bool isGray = channels <= 2;
    const bool hasAlpha = channels % 2 == 0;
    return {sample[0], sample[isGray ? 0 : 1], sample[isGray ? 0 : 2],
            hasAlpha ? sample[channels - 1] : uint8_t{255}};
}

// The mean of the pixels in a section.
Pixel meanOf(const PngImage& image, const Section& section) {
    uint64_t alphas = 0;
    std::array<uint64_t, 3> colors = {};
    for (uint32_t y = section.y; y < section.y + section.height; ++y) {
        for (uint32_t x = section.x; x < section.x + section.width; ++x) {
            const Pixel pixel = pixelAt(image, x, y);
            alphas += pixel[3];
            for (size_t i = 0; i < colors.size(); ++i) {
                colors[i] += uint64_t{pixel[i]} * pixel[3];
            }
        }
    }
    const uint64_t count = uint64_t{section.width} * section.height;
    Pixel mean = {0, 0, 0, static_cast<uint8_t>((alphas + count / 2) / count)};
    for (size_t i = 0; i < colors.size() && alphas > 0; ++i) {
        mean[i] = static_cast<uint8_t>((colors[i] + alphas / 2) / alphas);
    }
    return mean;
}

} // namespace

PagePicture sectionOf(const PngImage& image, const Section& section) {
    const uint32_t left = std::min(section.x, image.width);
    const uint32_t top = std::min(section.y, image.height);
    PagePicture picture = {std::min(section.width, image.width - left),
                           std::min(section.height, image.height - top),
                           {}};
    picture.pixels.reserve(size_t{picture.width} * picture.height * kPixelBytes);
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            const Pixel pixel = pixelAt(image, left + x, top + y);
            picture.pixels.insert(picture.pixels.end(), pixel.begin(), pixel.end());
        }
    }
    return picture;
}

PagePicture reduced(const PngImage& image, uint32_t maxSide) {
    const uint32_t divisor = (std::max(image.width, image.height) - 1) / maxSide + 1;
    if (divisor == 1) {
        return sectionOf(image, {0, 0, image.width, image.height});
    }
    PagePicture picture = {(image.width - 1) / divisor + 1, (image.height - 1) / divisor + 1, {}};
    picture.pixels.reserve(size_t{picture.width} * picture.height * kPixelBytes);
    for (uint32_t y = 0; y < image.height; y += divisor) {
        for (uint32_t x = 0; x < image.width; x += divisor) {
            const Pixel mean = meanOf(image, {x, y, std::min(divisor, image.width - x),
                                              std::min(divisor, image.height - y)});
            picture.pixels.insert(picture.pixels.end(), mean.begin(), mean.end());
        }
    }
    return picture;
}
