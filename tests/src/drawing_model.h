// A model of drawing, one pixel at a time in the caller's coordinates. Tests draw on a copy of a surface's
// pixels and compare it with the result of the drawing operations.
#pragma once

#include "src/ds_surface.h"
#include "tests/src/pixel_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/test_bytes.h"

#include <cstdint>
#include <vector>

inline constexpr uint32_t kRotations[] = {0, 90, 180, 270};

struct ModelPoint {
    int64_t x, y;
};

/// The pixels from (x, y) on, in 64 bits, which cannot wrap.
struct ModelArea {
    int64_t x, y, width, height;

    bool holds(const ModelPoint& p) const {
        return p.x >= x && p.x < x + width && p.y >= y && p.y < y + height;
    }
};

ModelArea modelArea(const DsRect& rect);
/// The intersection of two areas. Sizes below 0 become 0.
ModelArea overlap(const ModelArea& a, const ModelArea& b);

/// A copy of a surface's pixel buffer, by default all of it, with padding and extra bytes.
class ModelPicture {
public:
    explicit ModelPicture(const DsSurface& surface)
        : ModelPicture(surface, surface.getDataSize()) {}
    ModelPicture(const DsSurface& surface, uint64_t bufferSize);

    /// All pixels, in caller coordinates.
    const std::vector<ModelPoint>& pixels() const { return mPixels; }
    bool holds(const ModelPoint& p) const;

    /// The stored position of a caller's pixel or rectangle.
    ModelPoint stored(const ModelPoint& p) const;
    ModelArea stored(const ModelArea& area) const;

    uint32_t get(const ModelPoint& p) const { return getStored(stored(p)); }
    uint32_t getStored(const ModelPoint& storedPoint) const;
    void set(const ModelPoint& p, uint32_t value);

    const byte_vector& buffer() const { return mBuffer; }
    DsColorMode mode() const { return mMode; }
    ModelArea storedArray() const { return {0, 0, mWidth, mHeight}; }

private:
    size_t offsetOf(const ModelPoint& storedPoint) const;

    uint32_t mRotation;
    int64_t mWidth, mHeight;
    DsColorMode mMode;
    uint64_t mStride;
    byte_vector mBuffer;
    std::vector<ModelPoint> mPixels;
};

/// A view over a surface file that ends with its last pixel, without the padding of its last row, so that
/// AddressSanitizer detects reads after it.
class TightSurface {
public:
    TightSurface(int32_t width, int32_t height, DsColorMode mode, uint32_t rotation, uint32_t seed);

private:
    byte_vector mFile;

public:
    DsSurface surface;
};

/// Copies `source` to (x, y) of `target` inside `clip`, a caller's rectangle. A source pixel is copied to the
/// stored pixel at the same distance from the stored corner of the target's rectangle. If the rotations are
/// equal, that is the pixel at the same distance from (x, y).
using ModelCopyRule = uint32_t (ModelCopy::*)(uint32_t, uint32_t) const;
void copyByModel(ModelPicture& target, const ModelArea& clip, const ModelPoint& position,
                 const DsSurface& source, ModelCopyRule rule, uint32_t alphaMode, uint32_t color);
