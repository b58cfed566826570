// The Exif standard defines on which side of the picture row 0 and column 0 of the stored image are:
//
//     1 top, left       2 top, right      3 bottom, right    4 bottom, left
//     5 left, top       6 right, top      7 right, bottom    8 left, bottom
//
// Orientations 5 to 8 swap rows and columns.
#include "tools/slabtool/images/orientation.h"

#include <cstring>
#include <utility>

void applyOrientation(PngImage& image, uint32_t orientation) {
    constexpr uint32_t kUnchanged = 1, kFirstSwapped = 5;
    if (orientation == kUnchanged) {
        return;
    }
    const size_t pixelBytes = channelsOf(image.colorType);
    const bool isSwapped = orientation >= kFirstSwapped;
    const bool isMirrored =
        orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
    const bool isFlipped =
        orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
    const size_t width = isSwapped ? image.height : image.width;
    const size_t height = isSwapped ? image.width : image.height;
    Bytes upright(image.samples.size());
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            const size_t column = isMirrored ? width - 1 - x : x;
            const size_t row = isFlipped ? height - 1 - y : y;
            const size_t source =
                isSwapped ? column * image.width + row : row * image.width + column;
            std::memcpy(upright.data() + (y * width + x) * pixelBytes,
                        image.samples.data() + source * pixelBytes, pixelBytes);
        }
    }
    image.samples = std::move(upright);
    image.width = static_cast<uint32_t>(width);
    image.height = static_cast<uint32_t>(height);
}
