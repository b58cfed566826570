// Surfaces at the ends of the number range: origins outside any buffer, and heights without a single pixel.
// Sanitizers check the addresses.
#include "src/ds_surface.h"
#include "src/pixel_kernels.h"
#include "tests/src/surface_makers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

// A surface file of an array without columns.
byte_vector fileWithoutPixels(DsColorMode mode, int32_t height) {
    const uint32_t header[] = {0, static_cast<uint32_t>(mode), 0, static_cast<uint32_t>(height), 0};
    byte_vector file(sizeof header);
    std::memcpy(file.data(), header, sizeof header);
    return file;
}

TEST(FarSubSurface, DrawsOnlyInsideItsParent) {
    constexpr uint64_t kStride = 4 * 32768;
    byte_vector file(20 + 2 * kStride);
    const uint32_t header[] = {0, 0, 32768, 2, static_cast<uint32_t>(kStride)};
    std::memcpy(file.data(), header, sizeof header);
    const DsSurface parent(file.data());
    DsSurface part(parent, {0, -kMax + 1, 10, kMax});
    part.fill(0xFFFFFFFF);
    part.setPixel(0, kMax - 1, 0xFFFFFFFF);
    part.blend(0, kMax - 1, parent, 0, 0);
    // Its last row is the parent's first.
    for (size_t i = 20; i < file.size(); ++i) {
        ASSERT_EQ(i < 20 + 10 * 4 ? 255 : 0, file[i]) << i;
    }
}

TEST(SurfacesWithoutColumns, TakeNoTime) {
    byte_vector file = fileWithoutPixels(DsColorMode::ARGB8888, kMax);
    byte_vector alphaFile = fileWithoutPixels(DsColorMode::A8, kMax);
    const byte_vector before = file;
    DsSurface surface(file.data());
    surface.replaceColor(0, false, false, false, false, 0, true, true, true, true);
    surface.copyChannels(surface, true, true, true, true);
    surface.replaceAlpha(DsSurface(alphaFile.data()));
    surface.invert();
    surface.fill(0);
    EXPECT_EQ(before, file);
}

TEST(KernelsWithoutColumns, TakeNoTime) {
    uint8_t pixel[4] = {1, 2, 3, 4};
    const uint32_t height = std::numeric_limits<uint32_t>::max();
    const auto mode = DsColorMode::ARGB8888;
    convertPixels(pixel, 0, mode, pixel, 0, mode, 0, height, 0, 0);
    blendPixels(pixel, 0, mode, pixel, 0, mode, 0, height, 0, 0);
    fillPixels(pixel, 0, 0, height, mode, 0);
    EXPECT_EQ(1, pixel[0]);
}

} // namespace
