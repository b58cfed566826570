// Fenced buffers, and surfaces with such buffers.
#include "tests/support/fenced_surface.h"

#include "tests/support/same_bytes.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sanitizer/asan_interface.h>

namespace {

constexpr size_t kFenceSize = 256;
constexpr uint8_t kFenceByte = 0xFE;

// A buffer follows the front fence, whose first bytes have the buffer's size.
uint8_t* front_of(void* buffer) {
    return static_cast<uint8_t*>(buffer) - kFenceSize;
}

testing::AssertionResult is_unchanged(const uint8_t* begin, const uint8_t* end) {
    const byte_vector fence(begin, end);
    return same_bytes(byte_vector(fence.size(), kFenceByte), fence);
}

} // namespace

void* fenced_alloc(size_t byte_count) {
    auto* front = static_cast<uint8_t*>(std::malloc(byte_count + 2 * kFenceSize));
    uint8_t* buffer = front + kFenceSize;
    std::memset(front, kFenceByte, kFenceSize);
    std::memcpy(front, &byte_count, sizeof byte_count);
    std::memset(buffer, kFreshByte, byte_count);
    std::memset(buffer + byte_count, kFenceByte, kFenceSize);
    ASAN_POISON_MEMORY_REGION(front, kFenceSize);
    ASAN_POISON_MEMORY_REGION(buffer + byte_count, kFenceSize);
    return buffer;
}

void fenced_free(void* buffer) {
    uint8_t* front = front_of(buffer);
    ASAN_UNPOISON_MEMORY_REGION(front, kFenceSize);
    size_t byte_count = 0;
    std::memcpy(&byte_count, front, sizeof byte_count);
    uint8_t* back = front + kFenceSize + byte_count;
    ASAN_UNPOISON_MEMORY_REGION(back, kFenceSize);
    EXPECT_TRUE(is_unchanged(front + sizeof byte_count, front + kFenceSize))
        << "before a buffer of " << byte_count << " bytes";
    EXPECT_TRUE(is_unchanged(back, back + kFenceSize))
        << "after a buffer of " << byte_count << " bytes";
    std::free(front);
}

DsSurface fenced_surface(const surface_shape_t& shape) {
    return DsSurface(shape.width, shape.height, 0, shape.mode, shape.palette_has_alpha,
                     shape.palette_size, fenced_alloc, fenced_free, shape.alignment,
                     shape.extra_bytes);
}

DsSurface fenced_surface_for(const png_info_t& info) {
    return fenced_surface({static_cast<int32_t>(info.width), static_cast<int32_t>(info.height),
                           info.colorMode, info.paletteHasAlpha, info.paletteSize, info.height});
}

DsSurface roomy_surface() {
    return fenced_surface({256, 64, DsColorMode::I8, 1, 256, 64});
}

byte_vector pixel_buffer(const DsSurface& surface) {
    return {surface.getPixels(), surface.getPixels() + surface.getDataSize()};
}

byte_vector palette_buffer(const DsSurface& surface) {
    const uint64_t size = (3ULL + surface.getPaletteHasAlpha()) * surface.getPaletteSize();
    return {surface.getPalette(), surface.getPalette() + size};
}
