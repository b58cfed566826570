// Fenced blocks, and surfaces made of them.
#include "tests/support/fenced_surface.h"

#include "tests/support/same_bytes.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sanitizer/asan_interface.h>

namespace {

constexpr size_t kFenceSize = 256;
constexpr uint8_t kFenceByte = 0xFE;

// A block lies behind the front fence, whose first bytes hold the block's size.
uint8_t* front_of(void* block) {
    return static_cast<uint8_t*>(block) - kFenceSize;
}

testing::AssertionResult is_untouched(const uint8_t* begin, const uint8_t* end) {
    const byte_vector fence(begin, end);
    return same_bytes(byte_vector(fence.size(), kFenceByte), fence);
}

} // namespace

void* fenced_alloc(size_t byte_count) {
    auto* front = static_cast<uint8_t*>(std::malloc(byte_count + 2 * kFenceSize));
    uint8_t* block = front + kFenceSize;
    std::memset(front, kFenceByte, kFenceSize);
    std::memcpy(front, &byte_count, sizeof byte_count);
    std::memset(block, kFreshByte, byte_count);
    std::memset(block + byte_count, kFenceByte, kFenceSize);
    ASAN_POISON_MEMORY_REGION(front, kFenceSize);
    ASAN_POISON_MEMORY_REGION(block + byte_count, kFenceSize);
    return block;
}

void fenced_free(void* block) {
    uint8_t* front = front_of(block);
    ASAN_UNPOISON_MEMORY_REGION(front, kFenceSize);
    size_t byte_count = 0;
    std::memcpy(&byte_count, front, sizeof byte_count);
    uint8_t* back = front + kFenceSize + byte_count;
    ASAN_UNPOISON_MEMORY_REGION(back, kFenceSize);
    EXPECT_TRUE(is_untouched(front + sizeof byte_count, front + kFenceSize))
        << "in front of a block of " << byte_count << " bytes";
    EXPECT_TRUE(is_untouched(back, back + kFenceSize))
        << "behind a block of " << byte_count << " bytes";
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

byte_vector pixel_block(const DsSurface& surface) {
    return {surface.getPixels(), surface.getPixels() + surface.getDataSize()};
}

byte_vector palette_block(const DsSurface& surface) {
    const uint64_t size = (3ULL + surface.getPaletteHasAlpha()) * surface.getPaletteSize();
    return {surface.getPalette(), surface.getPalette() + size};
}
