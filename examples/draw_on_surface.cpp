// Draws on a surface file without decoding or copying: maps the file into memory, makes a view of it, fills a clip,
// blends a sprite from a second surface file, and paints an anti-aliased ellipse. The result is the changed file.
//
//     draw_on_surface PICTURE.surface SPRITE.surface
#include "src/ds_ellipse.h"
#include "src/ds_surface.h"
#include "src/span_fill.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// A color word: alpha, red, green and blue from the least significant byte.
constexpr uint32_t colorWord(uint32_t alpha, uint32_t red, uint32_t green, uint32_t blue) {
    return alpha | red << 8 | green << 16 | blue << 24;
}

constexpr uint32_t kBand = colorWord(255, 46, 34, 74);
constexpr uint32_t kRing = colorWord(160, 255, 216, 150);

/// A file that is mapped so that writes change it. Empty if that failed.
class MappedFile {
public:
    explicit MappedFile(const char* path) {
        const int file = open(path, O_RDWR);
        struct stat status;
        if (file >= 0 && fstat(file, &status) == 0 && status.st_size > 0) {
            mSize = static_cast<uint64_t>(status.st_size);
            mBytes = mmap(nullptr, mSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        }
        if (file >= 0) {
            close(file); // the mapping stays valid
        }
    }
    ~MappedFile() {
        if (mBytes != MAP_FAILED) {
            munmap(mBytes, mSize);
        }
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    uint8_t* bytes() const { return static_cast<uint8_t*>(mBytes); }

    /// Whether the header is valid and the file contains all rows. A view trusts the header, so untrusted files need
    /// this check.
    bool isSurfaceFile() const {
        constexpr uint64_t kHeaderSize = 20;
        if (mBytes == MAP_FAILED || mSize < kHeaderSize) {
            return false;
        }
        uint32_t header[5];
        std::memcpy(header, mBytes, sizeof header);
        const auto [rotation, mode, width, height, stride] = header;
        const uint64_t pixelSize = bytesPerPixel(DsColorMode{mode});
        return pixelSize != 0 && width >= 1 && width <= INT32_MAX && height >= 1 &&
               height <= INT32_MAX && stride >= width * pixelSize &&
               uint64_t{height} * stride <= mSize - kHeaderSize;
    }

private:
    void* mBytes = MAP_FAILED;
    uint64_t mSize = 0;
};

/// The coverage of one row of pixels by a region: the mean of the region's spans at several heights in the row.
void coverRow(const DsRegion& region, int32_t row, std::vector<uint8_t>& coverage) {
    constexpr int kSpans = 8;
    std::vector<float> covered(coverage.size(), 0.0F);
    for (int i = 0; i < kSpans; ++i) {
        const float y = static_cast<float>(row) + (static_cast<float>(i) + 0.5F) / kSpans;
        const DsFSpan span = region.horizontalSpanAt(y);
        const float first = std::max(span.first, 0.0F);
        const float last = std::min(span.last, static_cast<float>(covered.size()));
        if (!(first < last)) { // an empty span has infinite ends, or NaN at the edge of an ellipse
            continue;
        }
        const auto end = static_cast<size_t>(std::ceil(last));
        for (auto column = static_cast<size_t>(first); column < end; ++column) {
            const auto x = static_cast<float>(column);
            covered[column] += std::max(0.0F, std::min(x + 1, last) - std::max(x, first));
        }
    }
    for (size_t x = 0; x < coverage.size(); ++x) {
        coverage[x] = static_cast<uint8_t>(std::lround(covered[x] * 255 / kSpans));
    }
}

/// Paints an ellipse, given in caller coordinates, into the stored rows of the surface.
void paintEllipse(const DsSurface& surface, DsEllipse ellipse, uint32_t color) {
    ellipse.mapToSurface(surface);
    setBlendColor(surface.getColorMode(), color);
    std::vector<uint8_t> coverage(static_cast<size_t>(surface.getWidth()));
    const DsFRect bounds = ellipse.bounds();
    const int32_t top = std::max(0, static_cast<int32_t>(std::floor(bounds.mY)));
    const int32_t bottom =
        std::min(surface.getHeight(), static_cast<int32_t>(std::ceil(bounds.mY + bounds.mHeight)));
    for (int32_t row = top; row < bottom; ++row) {
        coverRow(ellipse, row, coverage);
        // Coverage 0 changes translucent pixels too, so only the pixels that the ellipse touches are blended.
        const auto first =
            std::find_if(coverage.begin(), coverage.end(), [](uint8_t c) { return c > 0; });
        const auto last =
            std::find_if(coverage.rbegin(), coverage.rend(), [](uint8_t c) { return c > 0; });
        const auto from = static_cast<uint64_t>(first - coverage.begin());
        const auto to = static_cast<uint64_t>(coverage.rend() - last);
        if (from < to) {
            blendSpan(surface.getPixels() + static_cast<uint64_t>(row) * surface.getStride() +
                          from * surface.getBytesPerPixel(),
                      coverage.data() + from, static_cast<uint32_t>(to - from));
        }
    }
}

void draw(DsSurface& picture, const DsSurface& sprite) {
    int32_t width = 0;
    int32_t height = 0;
    picture.getSize(width, height);

    // A band at the bottom.
    picture.setClip({0, height - height / 8, width, height / 8});
    picture.fill(kBand);
    picture.resetClip();

    // The sprite in the lower right corner, four pixels from both edges.
    constexpr uint32_t kAlphaAsDecoded = 0;
    constexpr uint8_t kRightAndBottom = 2 | 8;
    picture.blendAligned(sprite, kAlphaAsDecoded, 0, picture.getBounds(), kRightAndBottom, 4, 4);

    // A translucent ellipse in the upper left quarter.
    const auto w = static_cast<float>(width);
    const auto h = static_cast<float>(height);
    paintEllipse(picture, DsEllipse({w * 0.3F, h * 0.3F}, {w * 0.2F, h * 0.15F}), kRing);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::puts("usage: draw_on_surface PICTURE.surface SPRITE.surface");
        return 2;
    }
    const MappedFile pictureFile(argv[1]);
    const MappedFile spriteFile(argv[2]);
    if (!pictureFile.isSurfaceFile() || !spriteFile.isSurfaceFile()) {
        std::puts("not a surface file");
        return 1;
    }
    DsSurface picture(pictureFile.bytes());
    const DsSurface sprite(spriteFile.bytes());
    draw(picture, sprite);
    return 0;
}
