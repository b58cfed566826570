// Helpers for the surface tests: make surfaces and surface files from a few numbers, a model of the stride, and
// comparison of rectangles.
#pragma once

#include "src/ds_surface.h"
#include "tests/src/tracked_buffers.h"
#include "tests/support/test_bytes.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>

inline constexpr std::array kModesWithPixels = {
    DsColorMode::ARGB8888, DsColorMode::RGB888, DsColorMode::RGB565, DsColorMode::ARGB1555,
    DsColorMode::ARGB4444, DsColorMode::I8,     DsColorMode::AI88,   DsColorMode::A8};

inline constexpr std::array kModesWithoutPixels = {DsColorMode::Reserved6, DsColorMode::Reserved8,
                                                   DsColorMode{10}, DsColorMode{0xFFFFFFFF}};

/// An owning surface without palette entries, with the callbacks of the current TrackedBuffers.
inline DsSurface makeSurface(int32_t width, int32_t height, DsColorMode mode,
                             uint32_t alignment = 1, uint32_t rotation = 0,
                             uint64_t extraBytes = 0) {
    return DsSurface(width, height, rotation, mode, 0, 0, TrackedBuffers::allocate,
                     TrackedBuffers::release, alignment, extraBytes);
}

/// The 20 header bytes of a surface file.
inline byte_vector makeFileHeader(uint32_t rotation, DsColorMode mode, uint32_t width,
                                  uint32_t height, uint32_t stride) {
    byte_vector header;
    for (const uint32_t word : {rotation, static_cast<uint32_t>(mode), width, height, stride}) {
        for (uint32_t shift = 0; shift < 32; shift += 8) {
            header.push_back(static_cast<uint8_t>(word >> shift));
        }
    }
    return header;
}

/// A surface of any stored size without memory for pixels, for operations that access no pixel.
class SurfaceShape {
public:
    SurfaceShape(uint32_t rotation, int32_t width, int32_t height)
        : mHeader(makeFileHeader(rotation, DsColorMode::I8, static_cast<uint32_t>(width),
                                 static_cast<uint32_t>(height), static_cast<uint32_t>(width)))
        , surface(mHeader.data()) {}

private:
    byte_vector mHeader;

public:
    DsSurface surface;
};

/// The stride: the bytes of a row, rounded up to a unit. The unit is the alignment multiplied by the pixel size
/// without their common factors of two.
inline uint64_t modelStride(uint64_t width, uint64_t bytesPerPixel, uint64_t alignment) {
    uint64_t unit = bytesPerPixel;
    for (uint64_t rest = alignment; unit % 2 == 0 && rest % 2 == 0; rest /= 2) {
        unit /= 2;
    }
    unit *= alignment;
    return (width * bytesPerPixel + unit - 1) / unit * unit;
}

/// A copy of a surface's whole pixel buffer.
inline byte_vector pixelBuffer(const DsSurface& surface) {
    return {surface.getPixels(), surface.getPixels() + surface.getDataSize()};
}

/// Fills the whole pixel buffer with noise, and returns a copy of it.
inline byte_vector fillWithNoise(DsSurface& surface, uint32_t seed) {
    const byte_vector noise = make_bytes(data_kind::noise, surface.getDataSize(), seed);
    if (!noise.empty()) {
        std::memcpy(surface.getPixels(), noise.data(), noise.size());
    }
    return noise;
}

inline void expectRect(int32_t x, int32_t y, int32_t width, int32_t height, const DsRect& rect) {
    EXPECT_EQ(x, rect.mX);
    EXPECT_EQ(y, rect.mY);
    EXPECT_EQ(width, rect.mWidth);
    EXPECT_EQ(height, rect.mHeight);
}
