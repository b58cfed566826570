// Makes and checks kernel calls.
#include "tests/src/copy_case.h"

#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"

#include <sstream>
#include <string>

namespace {

constexpr uint32_t kPoolSize = 1 << 16;

// Slices of two pools that are made once: new random bytes for every case would take longer than the checks.
byte_vector randomBytes(test_rng& random, size_t size) {
    static const byte_vector noise = make_bytes(data_kind::noise, kPoolSize, 1);
    static const byte_vector extremes = [] {
        byte_vector bytes = make_bytes(data_kind::noise, kPoolSize, 2);
        for (uint8_t& byte : bytes) {
            constexpr uint8_t kExtremes[] = {0, 0, 255, 255, 1, 254, 127, 128};
            byte = kExtremes[byte % 8];
        }
        return bytes;
    }();
    return slice(random() % 2 == 0 ? noise : extremes,
                 random_between(random, 0, kPoolSize - static_cast<uint32_t>(size)), size);
}

// Makes pixels of four bytes opaque: all of them, or all but one in sixteen.
void makeOpaque(test_rng& random, PixelRect& rect) {
    const bool all = random() % 2 == 0;
    for (size_t i = rect.start + 3; i < rect.buffer.size(); i += 4) {
        if (all || random() % 16 != 0) {
            rect.buffer[i] = 255;
        }
    }
}

// The target's buffer after the rule.
byte_vector modelResult(const CopyKernel& kernel, const ModelCopy& copy, const PixelRect& target,
                        const PixelRect& source, uint32_t width, uint32_t height) {
    byte_vector buffer = target.buffer;
    const uint32_t targetSize = modelPixelSize(copy.target);
    const uint32_t sourceSize = modelPixelSize(copy.source);
    for (uint32_t y = 0; y < height && targetSize != 0; ++y) {
        uint8_t* pixel = buffer.data() + target.start + size_t{y} * target.pitch * targetSize;
        const uint8_t* from =
            source.buffer.data() + source.start + size_t{y} * source.pitch * sourceSize;
        for (uint32_t x = 0; x < width; ++x, pixel += targetSize, from += sourceSize) {
            modelStore(
                copy.target, pixel,
                (copy.*kernel.rule)(modelLoad(copy.target, pixel), modelLoad(copy.source, from)));
        }
    }
    return buffer;
}

std::string describe(const CopyKernel& kernel, const ModelCopy& copy, uint32_t width,
                     uint32_t height) {
    std::ostringstream text;
    text << modeName(copy.source) << (kernel.run == blendPixels ? " over " : " into ")
         << modeName(copy.target) << ", " << width << " x " << height << ", alpha mode "
         << copy.alphaMode << ", color 0x" << std::hex << copy.color;
    return text.str();
}

pixel_layout_t layoutOf(DsColorMode mode, const PixelRect& rect, uint32_t width, uint32_t height) {
    const uint64_t size = modelPixelSize(mode);
    return {width, height, rect.pitch * size, size, rect.start};
}

} // namespace

PixelRect randomRect(test_rng& random, DsColorMode mode, uint32_t width, uint32_t height,
                     Surroundings surroundings) {
    PixelRect rect;
    rect.start = random_between(random, 0, 17);
    rect.pitch = width + random_between(random, 0, 5);
    const size_t pixels = height == 0 ? 0 : size_t{height - 1} * rect.pitch + width;
    const size_t behind = surroundings == Surroundings::Tight ? 0 : random_between(random, 1, 40);
    rect.buffer = randomBytes(random, rect.start + pixels * modelPixelSize(mode) + behind);
    if (random() % 2 == 0) {
        makeOpaque(random, rect);
    }
    return rect;
}

void expectCopy(const CopyKernel& kernel, const ModelCopy& copy, const PixelRect& target,
                const PixelRect& source, uint32_t width, uint32_t height) {
    const byte_vector expected = modelResult(kernel, copy, target, source, width, height);
    const byte_vector tightSource = source.buffer; // without spare capacity
    forEachBackend([&] {
        byte_vector buffer = target.buffer;
        kernel.run(buffer.data() + target.start, target.pitch, copy.target,
                   tightSource.data() + source.start, source.pitch, copy.source, width, height,
                   copy.alphaMode, copy.color);
        EXPECT_TRUE(same_pixels(expected, buffer, layoutOf(copy.target, target, width, height)))
            << describe(kernel, copy, width, height);
    });
    EXPECT_TRUE(same_bytes(source.buffer, tightSource))
        << "the source, " << describe(kernel, copy, width, height);
}

void expectCopiesOfAllModes(const CopyKernel& kernel, uint32_t seed) {
    test_rng random(seed);
    for (const DsColorMode target : kAllModes) {
        for (const DsColorMode source : kAllModes) {
            for (const uint32_t alphaMode : kAlphaModes) {
                for (uint32_t width = 0; width <= 70; ++width) {
                    const uint32_t height = random_between(random, 0, 3);
                    const ModelCopy copy = {target, source, alphaMode, random()};
                    expectCopy(kernel, copy,
                               randomRect(random, target, width, height, Surroundings::Guarded),
                               randomRect(random, source, width, height, Surroundings::Tight),
                               width, height);
                    ASSERT_FALSE(testing::Test::HasFailure());
                }
            }
        }
    }
}

void expectCopiesInPlace(const CopyKernel& kernel, uint32_t seed) {
    test_rng random(seed);
    for (const DsColorMode mode : kAllModes) {
        for (const uint32_t alphaMode : kAlphaModes) {
            for (uint32_t width = 0; width <= 70; ++width) {
                const ModelCopy copy = {mode, mode, alphaMode, random()};
                const PixelRect rect = randomRect(random, mode, width, 2, Surroundings::Guarded);
                const byte_vector expected = modelResult(kernel, copy, rect, rect, width, 2);
                forEachBackend([&] {
                    byte_vector buffer = rect.buffer;
                    uint8_t* pixels = buffer.data() + rect.start;
                    kernel.run(pixels, rect.pitch, mode, pixels, rect.pitch, mode, width, 2,
                               alphaMode, copy.color);
                    EXPECT_TRUE(same_pixels(expected, buffer, layoutOf(mode, rect, width, 2)))
                        << "in place, " << describe(kernel, copy, width, 2);
                });
                ASSERT_FALSE(testing::Test::HasFailure());
            }
        }
    }
}

void expectCopyOfBuffers(const CopyKernel& kernel, const ModelCopy& copy, const byte_vector& target,
                         const byte_vector& source, uint32_t height) {
    expectCopy(kernel, copy, {target, 0, 256}, {source, 0, 256}, 256, height);
}

uint32_t copied(const CopyKernel& kernel, const ModelCopy& copy, uint32_t targetStored,
                uint32_t sourceStored) {
    uint8_t target[4] = {};
    uint8_t source[4] = {};
    modelStore(copy.target, target, targetStored);
    modelStore(copy.source, source, sourceStored);
    kernel.run(target, 1, copy.target, source, 1, copy.source, 1, 1, copy.alphaMode, copy.color);
    return modelLoad(copy.target, target);
}
