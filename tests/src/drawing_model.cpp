// The drawing model.
#include "tests/src/drawing_model.h"

#include <algorithm>

namespace {

// Bytes up to the last pixel. The padding of the last row may be missing.
size_t bytesOfPixels(const DsSurface& surface) {
    return surface.getHeight() < 1 || surface.getWidth() < 1
               ? 0
               : static_cast<size_t>(surface.getHeight() - 1) * surface.getStride() +
                     static_cast<size_t>(surface.getWidth()) * surface.getBytesPerPixel();
}

byte_vector makeTightFile(int32_t width, int32_t height, DsColorMode mode, uint32_t rotation,
                          uint32_t seed) {
    const uint32_t stride = (static_cast<uint32_t>(width) + seed % 5) * modelPixelSize(mode);
    byte_vector file = makeFileHeader(rotation, mode, static_cast<uint32_t>(width),
                                      static_cast<uint32_t>(height), stride);
    append(file, make_bytes(data_kind::noise, bytesOfPixels(DsSurface(file.data())), seed));
    return byte_vector(file.begin(), file.end()); // without spare capacity
}

} // namespace

ModelArea modelArea(const DsRect& rect) {
    return {rect.mX, rect.mY, rect.mWidth, rect.mHeight};
}

ModelArea overlap(const ModelArea& a, const ModelArea& b) {
    const int64_t x = std::max(a.x, b.x);
    const int64_t y = std::max(a.y, b.y);
    const int64_t right = std::min(a.x + a.width, b.x + b.width);
    const int64_t bottom = std::min(a.y + a.height, b.y + b.height);
    return {x, y, std::max<int64_t>(right - x, 0), std::max<int64_t>(bottom - y, 0)};
}

ModelPicture::ModelPicture(const DsSurface& surface, uint64_t bufferSize)
    : mRotation(surface.getRotation())
    , mWidth(surface.getWidth())
    , mHeight(surface.getHeight())
    , mMode(surface.getColorMode())
    , mStride(surface.getStride())
    , mBuffer(surface.getPixels(), surface.getPixels() + bufferSize) {
    const bool turned = mRotation == 90 || mRotation == 270;
    for (int64_t y = 0; y < (turned ? mWidth : mHeight); ++y) {
        for (int64_t x = 0; x < (turned ? mHeight : mWidth); ++x) {
            mPixels.push_back({x, y});
        }
    }
}

bool ModelPicture::holds(const ModelPoint& p) const {
    return storedArray().holds(stored(p));
}

ModelPoint ModelPicture::stored(const ModelPoint& p) const {
    switch (mRotation) {
    case 90:
        return {p.y, mHeight - 1 - p.x};
    case 180:
        return {mWidth - 1 - p.x, mHeight - 1 - p.y};
    case 270:
        return {mWidth - 1 - p.y, p.x};
    default:
        return p;
    }
}

ModelArea ModelPicture::stored(const ModelArea& area) const {
    const auto& [x, y, w, h] = area;
    switch (mRotation) {
    case 90:
        return {y, mHeight - x - w, h, w};
    case 180:
        return {mWidth - x - w, mHeight - y - h, w, h};
    case 270:
        return {mWidth - y - h, x, h, w};
    default:
        return area;
    }
}

size_t ModelPicture::offsetOf(const ModelPoint& storedPoint) const {
    return static_cast<size_t>(storedPoint.y) * mStride +
           static_cast<size_t>(storedPoint.x) * modelPixelSize(mMode);
}

uint32_t ModelPicture::getStored(const ModelPoint& storedPoint) const {
    return modelLoad(mMode, mBuffer.data() + offsetOf(storedPoint));
}

void ModelPicture::set(const ModelPoint& p, uint32_t value) {
    modelStore(mMode, mBuffer.data() + offsetOf(stored(p)), value);
}

TightSurface::TightSurface(int32_t width, int32_t height, DsColorMode mode, uint32_t rotation,
                           uint32_t seed)
    : mFile(makeTightFile(width, height, mode, rotation, seed))
    , surface(mFile.data()) {}

void copyByModel(ModelPicture& target, const ModelArea& clip, const ModelPoint& position,
                 const DsSurface& source, ModelCopyRule rule, uint32_t alphaMode, uint32_t color) {
    const ModelPicture from(source, bytesOfPixels(source));
    const ModelCopy copy = {target.mode(), from.mode(), alphaMode, color};
    int32_t width = 0, height = 0;
    source.getSize(width, height);
    const ModelArea drawn = target.stored(ModelArea{position.x, position.y, width, height});
    for (const ModelPoint& p : target.pixels()) {
        const ModelPoint stored = target.stored(p);
        const ModelPoint taken = {stored.x - drawn.x, stored.y - drawn.y};
        if (clip.holds(p) && drawn.holds(stored) && from.storedArray().holds(taken)) {
            target.set(p, (copy.*rule)(target.get(p), from.getStored(taken)));
        }
    }
}
