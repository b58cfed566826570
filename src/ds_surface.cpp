// Construction, release, clip, coordinate mapping and serialization of surfaces.
#include "src/ds_surface.h"

#include "src/internal/area.h"
#include "src/internal/little_endian.h"
#include "src/internal/mode_traits.h"
#include "src/internal/rotation_mapping.h"

#include <cstring>
#include <utility>

using namespace ds_detail;

namespace {

// The header of a surface file: five 32-bit words at these offsets, then the stored rows.
constexpr uint64_t kRotationOffset = 0;
constexpr uint64_t kColorModeOffset = 4;
constexpr uint64_t kWidthOffset = 8;
constexpr uint64_t kHeightOffset = 12;
constexpr uint64_t kStrideOffset = 16;
constexpr uint64_t kHeaderSize = 20;

// Sizes above the largest multiple of 4 are rounded down to it.
uint64_t roundUpToFour(uint64_t byteCount) {
    return byteCount > UINT64_MAX - 3 ? UINT64_MAX - 3 : (byteCount + 3) & ~uint64_t{3};
}

// count * size + extra, or SIZE_MAX (which no allocator can give) if that does not fit.
size_t saturatingBufferSize(uint64_t count, uint64_t size, uint64_t extra) {
    size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes) ||
        __builtin_add_overflow(bytes, extra, &bytes)) {
        return SIZE_MAX;
    }
    return bytes;
}

uint32_t wrapped(int32_t value) {
    return static_cast<uint32_t>(value);
}

// Maps an integer rectangle; sums wrap.
void mapWrapping(uint32_t rotation, int32_t width, int32_t height, DsRect& rect) {
    uint32_t x = wrapped(rect.mX);
    uint32_t y = wrapped(rect.mY);
    uint32_t sizeX = wrapped(rect.mWidth);
    uint32_t sizeY = wrapped(rect.mHeight);
    mapRectangle(rotation, wrapped(width), wrapped(height), x, y, sizeX, sizeY);
    rect = {static_cast<int32_t>(x), static_cast<int32_t>(y), static_cast<int32_t>(sizeX),
            static_cast<int32_t>(sizeY)};
}

} // namespace

DsSurface::DsSurface(int32_t callerWidth, int32_t callerHeight, const uint32_t& degrees,
                     DsColorMode colorMode, uint8_t entryAlpha, uint64_t entryCount,
                     DsAllocFn allocate, DsFreeFn release, uint32_t rowAlignment, uint64_t extra)
    : userData(0)
    , allocFn(allocate)
    , freeFn(release)
    , rotation(degrees)
    , width(callerWidth)
    , height(callerHeight)
    , mColorMode(colorMode)
    , extraBytes(roundUpToFour(extra))
    , alignment(rowAlignment)
    , bytesPerPixel(::bytesPerPixel(colorMode))
    , stride(0)
    , pitch(0)
    , paletteHasAlpha(entryAlpha)
    , paletteSize(entryCount)
    , pixels(nullptr)
    , palette(nullptr) {
    mapSize(width, height);
    resetClip();
    stride = computeStride(width);
    pitch = wholePixelsIn(stride);
    pixels = allocatePixels(height, width, stride, extraBytes);
    if (mayHavePalette(mColorMode)) {
        allocatePalette();
    }
}

DsSurface::DsSurface(const DsSurface& other)
    : userData(other.userData)
    , allocFn(nullptr)
    , freeFn(nullptr)
    , rotation(other.rotation)
    , width(other.width)
    , height(other.height)
    , mColorMode(other.mColorMode)
    , extraBytes(other.extraBytes)
    , alignment(0)
    , bytesPerPixel(other.bytesPerPixel)
    , stride(other.stride)
    , pitch(other.pitch)
    , paletteHasAlpha(other.paletteHasAlpha)
    , paletteSize(other.paletteSize)
    , clip(other.clip)
    , pixels(other.pixels)
    , palette(other.palette) {}

DsSurface::DsSurface(uint8_t* file)
    : userData(0)
    , allocFn(nullptr)
    , freeFn(nullptr)
    , rotation(loadLittleEndian<4>(file + kRotationOffset))
    , width(static_cast<int32_t>(loadLittleEndian<4>(file + kWidthOffset)))
    , height(static_cast<int32_t>(loadLittleEndian<4>(file + kHeightOffset)))
    , mColorMode(static_cast<DsColorMode>(loadLittleEndian<4>(file + kColorModeOffset)))
    , extraBytes(0)
    , alignment(0)
    , bytesPerPixel(::bytesPerPixel(mColorMode))
    , stride(loadLittleEndian<4>(file + kStrideOffset))
    , pitch(wholePixelsIn(stride))
    , paletteHasAlpha(0)
    , paletteSize(0)
    , clip(0, 0, width, height)
    , pixels(file + kHeaderSize)
    , palette(nullptr) {}

DsSurface::DsSurface(const DsSurface& parent, const DsRect& area)
    : DsSurface(parent) {
    const DsArea stored = storedAreaOf(area, rotation, parent.width, parent.height);
    width = area.mWidth;
    height = area.mHeight;
    mapSize(width, height);
    const DsArea visible =
        intersect(intersect(stored, {0, 0, parent.width, parent.height}), areaOf(parent.clip));
    clip = rectOf({visible.left - stored.left, visible.top - stored.top,
                   visible.right - stored.left, visible.bottom - stored.top});
    pixels = pixelAt(stored.left, stored.top);
}

DsSurface::~DsSurface() {
    if (freeFn == nullptr) {
        return;
    }
    if (palette != nullptr) {
        freeFn(palette);
    }
    freeFn(pixels);
}

uint64_t DsSurface::wholePixelsIn(uint64_t byteCount) const {
    return bytesPerPixel == 0 ? 0 : byteCount / bytesPerPixel;
}

uint8_t* DsSurface::pixelAt(int64_t x, int64_t y) const {
    // Computed as an integer: the origin of a sub-surface may lie far outside its parent's buffer,
    // where pointer arithmetic is undefined. The clip keeps every access inside.
    const uint64_t offset =
        static_cast<uint64_t>(y) * stride + static_cast<uint64_t>(x) * bytesPerPixel;
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(pixels) + offset);
}

uint8_t* DsSurface::allocatePixels(int32_t rowCount, int32_t rowWidth, uint64_t rowStride,
                                   uint64_t extra) const {
    const bool negative = rowCount < 0 || rowWidth < 0;
    const size_t size =
        negative ? SIZE_MAX
                 : saturatingBufferSize(static_cast<uint64_t>(rowCount), rowStride, extra);
    return static_cast<uint8_t*>(allocFn(size));
}

void DsSurface::allocatePalette() {
    try {
        palette = static_cast<uint8_t*>(
            allocFn(saturatingBufferSize(paletteSize, uint64_t{3} + paletteHasAlpha, 0)));
    } catch (...) {
        // The destructor does not run for a constructor that throws.
        if (freeFn != nullptr) {
            freeFn(pixels);
        }
        throw;
    }
}

uint64_t DsSurface::computeStride(int32_t rowWidth) const {
    if (bytesPerPixel == 0) {
        return 0;
    }
    // Aliases and views have no alignment of their own.
    const uint64_t rowAlignment = alignment == 0 ? 1 : alignment;
    uint64_t pixelPart = bytesPerPixel;
    for (uint64_t rest = rowAlignment; pixelPart % 2 == 0 && rest % 2 == 0; rest /= 2) {
        pixelPart /= 2;
    }
    const uint64_t unit = pixelPart * rowAlignment;
    const uint64_t rowBytes = static_cast<uint64_t>(rowWidth) * bytesPerPixel;
    return (rowBytes + unit - 1) / unit * unit;
}

void DsSurface::getSize(int32_t& callerWidth, int32_t& callerHeight) const {
    callerWidth = width;
    callerHeight = height;
    mapSize(callerWidth, callerHeight);
}

DsRect DsSurface::getBounds() const {
    DsRect bounds;
    getSize(bounds.mWidth, bounds.mHeight);
    return bounds;
}

void DsSurface::setClip(const DsRect& area) {
    clip = rectOf(intersect(storedAreaOf(area, rotation, width, height), {0, 0, width, height}));
}

DsRect DsSurface::getClip() const {
    DsRect area = clip;
    unmapRect(area);
    return area;
}

void DsSurface::resetClip() {
    clip = {0, 0, width, height};
}

uint64_t DsSurface::serialize(void* buffer) const {
    const uint64_t pixelBytes = height < 1 ? 0 : static_cast<uint64_t>(height) * stride;
    if (buffer != nullptr) {
        auto* file = static_cast<uint8_t*>(buffer);
        storeLittleEndian<4>(file + kRotationOffset, rotation);
        storeLittleEndian<4>(file + kColorModeOffset, static_cast<uint32_t>(mColorMode));
        storeLittleEndian<4>(file + kWidthOffset, static_cast<uint32_t>(width));
        storeLittleEndian<4>(file + kHeightOffset, static_cast<uint32_t>(height));
        storeLittleEndian<4>(file + kStrideOffset, static_cast<uint32_t>(stride));
        if (pixelBytes > 0) {
            std::memcpy(file + kHeaderSize, pixels, static_cast<size_t>(pixelBytes));
        }
    }
    return roundUpToFour(kHeaderSize + pixelBytes);
}

void DsSurface::mapPoint(int32_t& x, int32_t& y) const {
    uint32_t mappedX = wrapped(x);
    uint32_t mappedY = wrapped(y);
    mapPosition(rotation, wrapped(width) - 1, wrapped(height) - 1, mappedX, mappedY);
    x = static_cast<int32_t>(mappedX);
    y = static_cast<int32_t>(mappedY);
}

void DsSurface::mapPointF(float& x, float& y) const {
    mapPosition(rotation, static_cast<float>(width), static_cast<float>(height), x, y);
}

void DsSurface::mapSize(int32_t& sizeX, int32_t& sizeY) const {
    if (exchangesAxes(rotation)) {
        std::swap(sizeX, sizeY);
    }
}

void DsSurface::mapSizeF(float& sizeX, float& sizeY) const {
    if (exchangesAxes(rotation)) {
        std::swap(sizeX, sizeY);
    }
}

void DsSurface::mapRect(DsRect& rect) const {
    mapWrapping(rotation, width, height, rect);
}

void DsSurface::unmapRect(DsRect& rect) const {
    // Seen from the stored array, the caller's picture is rotated the other way.
    int32_t callerWidth = 0;
    int32_t callerHeight = 0;
    getSize(callerWidth, callerHeight);
    mapWrapping(inverseRotation(rotation), callerWidth, callerHeight, rect);
}

void DsSurface::mapRectF(DsFRect& rect) const {
    mapRectangle(rotation, static_cast<float>(width), static_cast<float>(height), rect.mX, rect.mY,
                 rect.mWidth, rect.mHeight);
}
