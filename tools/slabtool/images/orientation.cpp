// The Exif standard says where row 0 and column 0 of the stored image lie in the picture:
//
//     1 top, left       2 top, right      3 bottom, right    4 bottom, left
//     5 left, top       6 right, top      7 right, bottom    8 left, bottom
//
// From 5 on rows and columns are exchanged.
#include "tools/slabtool/images/orientation.h"

#include <cstring>
#include <utility>

void applyOrientation(PngImage& image, uint32_t orientation) {
    constexpr uint32_t kUnchanged = 1, kFirstExchanged = 5;
    if (orientation == kUnchanged) {
        return;
    }
    const size_t pixelBytes = channelsOf(image.colorType);
    const bool isExchanged = orientation >= kFirstExchanged;
    const bool isMirrored =
        orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
    const bool isFlipped =
        orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
    const size_t width = isExchanged ? image.height : image.width;
    const size_t height = isExchanged ? image.width : image.height;
    Bytes turned(image.samples.size());
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            const size_t column = isMirrored ? width - 1 - x : x;
            const size_t row = isFlipped ? height - 1 - y : y;
            const size_t source =
                isExchanged ? column * image.width + row : row * image.width + column;
            std::memcpy(turned.data() + (y * width + x) * pixelBytes,
                        image.samples.data() + source * pixelBytes, pixelBytes);
        }
    }
    image.samples = std::move(turned);
    image.width = static_cast<uint32_t>(width);
    image.height = static_cast<uint32_t>(height);
}
