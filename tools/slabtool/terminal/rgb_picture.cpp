// The means are computed from the samples as they are: a copy of 48 megapixels with four channels would take 192 MB.
#include "tools/slabtool/terminal/rgb_picture.h"

#include <algorithm>
#include <cassert>

namespace {

// Pixels of an image from `begin` to before `end`, in one direction.
struct Range {
    uint32_t begin, end;

    uint32_t size() const { return end - begin; }
};

// The place of pixel `index` of `scaledSize` pixels in `size` pixels. It has at least one pixel.
Range rangeOf(uint32_t index, uint32_t scaledSize, uint32_t size) {
    const auto edge = [&](uint32_t i) {
        return static_cast<uint32_t>(uint64_t{i} * size / scaledSize);
    };
    const uint32_t begin = edge(index);
    return {begin, std::max(edge(index + 1), begin + 1)};
}

// Samples times alpha. A file has less than 2^31 pixels, so these sums and the later ones fit 64 bits.
struct Sums {
    uint64_t red = 0, green = 0, blue = 0, alpha = 0;
};

template <uint32_t channels>
Sums sumsOf(const PngImage& image, const Range& columns, const Range& rows) {
    constexpr bool kHasAlpha = channels % 2 == 0;
    constexpr uint32_t kGreen = channels > 2 ? 1 : 0, kBlue = channels > 2 ? 2 : 0;
    Sums sums;
    for (uint32_t y = rows.begin; y < rows.end; ++y) {
        const uint8_t* sample =
            image.samples.data() + y * image.rowBytes() + size_t{columns.begin} * channels;
        for (uint32_t x = columns.begin; x < columns.end; ++x, sample += channels) {
            const uint32_t alpha = kHasAlpha ? sample[channels - 1] : 255;
            sums.red += sample[0] * alpha;
            sums.green += sample[kGreen] * alpha;
            sums.blue += sample[kBlue] * alpha;
            sums.alpha += alpha;
        }
    }
    return sums;
}

// Neither black nor white, so that icons of both colors are visible.
uint64_t checkerboard(uint32_t x, uint32_t y, uint32_t side) {
    constexpr uint64_t kDark = 102, kLight = 153;
    return (x / side + y / side) % 2 == 0 ? kDark : kLight;
}

template <uint32_t channels>
RgbPicture pictureOf(const PngImage& image, uint32_t width, uint32_t height, uint32_t checkSide) {
    RgbPicture picture = {width, height, {}};
    picture.bytes.reserve(size_t{width} * height * 3);
    for (uint32_t y = 0; y < height; ++y) {
        const Range rows = rangeOf(y, height, image.height);
        for (uint32_t x = 0; x < width; ++x) {
            const Range columns = rangeOf(x, width, image.width);
            const Sums sums = sumsOf<channels>(image, columns, rows);
            const uint64_t fullAlpha = uint64_t{columns.size()} * rows.size() * 255;
            const uint64_t under = checkerboard(x, y, checkSide) * (fullAlpha - sums.alpha);
            for (const uint64_t sum : {sums.red, sums.green, sums.blue}) {
                const uint64_t rounded = (sum + under + fullAlpha / 2) / fullAlpha;
                picture.bytes.push_back(static_cast<uint8_t>(rounded));
            }
        }
    }
    return picture;
}

} // namespace

RgbPicture rgbPicture(const PngImage& image, uint32_t width, uint32_t height, uint32_t checkSide) {
    assert(image.colorType != kIndexedType);
    constexpr decltype(&pictureOf<1>) kByChannels[] = {pictureOf<1>, pictureOf<2>, pictureOf<3>,
                                                       pictureOf<4>};
    return kByChannels[channelsOf(image.colorType) - 1](image, width, height, checkSide);
}
