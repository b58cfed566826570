// Rotation of the stored pixels, compared with a pixel-by-pixel model, and everything that must not change
// without a rotation.
#include "src/ds_surface.h"
#include "tests/src/pixel_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <sstream>
#include <vector>

namespace {

using Mode = DsColorMode;

// One stored pixel's bytes.
byte_vector pixelAt(const DsSurface& surface, const byte_vector& buffer, int32_t x, int32_t y) {
    const uint64_t size = surface.getBytesPerPixel();
    return slice(buffer,
                 static_cast<uint64_t>(y) * surface.getStride() + static_cast<uint64_t>(x) * size,
                 size);
}

// Everything that rotate may change.
struct State {
    uint32_t rotation;
    int32_t width, height;
    uint64_t stride, pitch, dataSize;
    int32_t clipWidth, clipHeight;
    const uint8_t* pixels;
    byte_vector buffer;

    explicit State(const DsSurface& surface)
        : rotation(surface.getRotation())
        , width(surface.getWidth())
        , height(surface.getHeight())
        , stride(surface.getStride())
        , pitch(surface.getPitch())
        , dataSize(surface.getDataSize())
        , clipWidth(surface.getClip().mWidth)
        , clipHeight(surface.getClip().mHeight)
        , pixels(surface.getPixels())
        , buffer(pixelBuffer(surface)) {}
};

testing::AssertionResult isUnchanged(const State& before, const DsSurface& surface) {
    const State now(surface);
    if (before.pixels != now.pixels) {
        return testing::AssertionFailure() << "other memory for the pixels";
    }
    const auto facts = [](const State& state) {
        std::ostringstream text;
        text << "rotation " << state.rotation << ", " << state.width << " x " << state.height
             << ", stride " << state.stride << ", pitch " << state.pitch << ", " << state.dataSize
             << " bytes, clip " << state.clipWidth << " x " << state.clipHeight;
        return text.str();
    };
    if (facts(before) != facts(now)) {
        return testing::AssertionFailure()
               << "before: " << facts(before) << "; now: " << facts(now);
    }
    return same_pixels(before.buffer, now.buffer, layout_of(surface));
}

// Rotates a surface of noise, and compares every new row with its old column, the rightmost first.
void expectTurnedByActiveBackend(Mode mode, int32_t width, int32_t height, uint32_t alignment) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(width, height, mode, alignment, 0, 5);
    const byte_vector before = fillWithNoise(surface, 7);
    const DsSurface old(surface);
    surface.rotate(90);

    const uint64_t size = bytesPerPixel(mode);
    const auto rows = static_cast<uint64_t>(width), columns = static_cast<uint64_t>(height);
    const uint64_t stride = modelStride(columns, size, alignment);
    ASSERT_EQ(stride, surface.getStride());
    ASSERT_EQ(rows * stride, surface.getDataSize());
    const byte_vector after = pixelBuffer(surface);
    byte_vector expected = after; // the padding may have any content
    for (uint64_t i = 0; i < rows; ++i) {
        for (uint64_t j = 0; j < columns; ++j) {
            const uint64_t from = j * old.getStride() + (rows - 1 - i) * size;
            std::copy_n(before.data() + from, size, expected.data() + i * stride + j * size);
        }
    }
    ASSERT_TRUE(same_pixels(expected, after, layout_of(surface)));
}

void expectTurned(Mode mode, int32_t width, int32_t height, uint32_t alignment) {
    SCOPED_TRACE(testing::Message() << modeName(mode) << ", " << width << " x " << height
                                    << " before the turn, alignment " << alignment);
    forEachBackend([&] { expectTurnedByActiveBackend(mode, width, height, alignment); });
}

TEST(Rotate, RotatesTheSmallExampleCounterClockwise) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(3, 2, Mode::A8);
    const byte_vector pixels = {1, 2, 3, 4, 5, 6};
    std::copy(pixels.begin(), pixels.end(), surface.getPixels());
    surface.rotate(90);
    EXPECT_EQ(2, surface.getWidth());
    EXPECT_EQ(3, surface.getHeight());
    EXPECT_EQ((byte_vector{3, 6, 2, 5, 1, 4}), pixelBuffer(surface));
}

TEST(Rotate, RotatesEverySmallSizeInEveryMode) {
    for (const Mode mode : kModesWithPixels) {
        for (int32_t width = 0; width <= 9; ++width) {
            for (int32_t height = 0; height <= 9; ++height) {
                expectTurned(mode, width, height, 1);
            }
        }
    }
}

// Sizes around powers of two, which are the edges of tiles.
TEST(Rotate, RotatesSizesAroundTileEdges) {
    constexpr int32_t sizes[] = {1, 7, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 129};
    for (const Mode mode : {Mode::ARGB8888, Mode::RGB888, Mode::RGB565, Mode::I8}) {
        for (const int32_t width : sizes) {
            for (const int32_t height : sizes) {
                expectTurned(mode, width, height, 1);
            }
        }
    }
}

TEST(Rotate, RotatesWideAndTallPictures) {
    for (const Mode mode : kModesWithPixels) {
        expectTurned(mode, 3001, 1, 1);
        expectTurned(mode, 1, 3001, 1);
        expectTurned(mode, 1023, 3, 1);
        expectTurned(mode, 5, 1025, 1);
    }
}

TEST(Rotate, AlignsTheNewRows) {
    for (const Mode mode : kModesWithPixels) {
        for (const uint32_t alignment : {2U, 3U, 4U, 6U, 8U, 12U, 16U, 64U}) {
            expectTurned(mode, 5, 7, alignment);
            expectTurned(mode, 34, 33, alignment);
            expectTurned(mode, 130, 67, alignment);
        }
    }
}

TEST(Rotate, RotatesALargePicture) {
    expectTurned(Mode::RGB888, 701, 523, 4);
    expectTurned(Mode::ARGB8888, 700, 512, 64);
    expectTurned(Mode::ARGB4444, 701, 523, 4);
    expectTurned(Mode::A8, 1024, 512, 1);
}

TEST(Rotate, AllocatesTheNewBufferWithoutExtraBytesBeforeReleasingTheOld) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(5, 3, Mode::RGB565, 4, 0, 100);
    surface.rotate(90);
    ASSERT_EQ(2U, buffers.requests.size());
    EXPECT_EQ(5U * 8, buffers.requests[1]);
    EXPECT_EQ(5U * 8, surface.getDataSize());
    EXPECT_EQ(buffers.buffers[1], surface.getPixels());
    EXPECT_EQ((std::vector<void*>{buffers.buffers[0]}), buffers.released);
}

TEST(Rotate, SetsRotationSizeStridePitchAndClip) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(5, 3, Mode::RGB565, 4, 0, 100);
    surface.setClip(DsRect(1, 1, 2, 1));
    surface.setUserData(77);
    surface.rotate(90);
    EXPECT_EQ(90U, surface.getRotation());
    EXPECT_EQ(3, surface.getWidth());
    EXPECT_EQ(5, surface.getHeight());
    EXPECT_EQ(8U, surface.getStride());
    EXPECT_EQ(4U, surface.getPitch());
    EXPECT_EQ(77U, surface.getUserData());
    int32_t width = 0, height = 0;
    surface.getSize(width, height);
    EXPECT_EQ(5, width);
    EXPECT_EQ(3, height);
    const DsRect clip = surface.getClip();
    EXPECT_EQ(0, clip.mX);
    EXPECT_EQ(0, clip.mY);
    EXPECT_EQ(5, clip.mWidth);
    EXPECT_EQ(3, clip.mHeight);
}

TEST(Rotate, DoesNotChangeThePalette) {
    TrackedBuffers buffers;
    DsSurface surface(2, 3, 0, Mode::I8, 1, 4, TrackedBuffers::allocate, TrackedBuffers::release, 1,
                      0);
    const byte_vector palette = make_bytes(data_kind::noise, 16, 3);
    std::copy(palette.begin(), palette.end(), surface.getPalette());
    surface.rotate(90);
    EXPECT_EQ(buffers.buffers[1], surface.getPalette());
    EXPECT_EQ(palette, byte_vector(surface.getPalette(), surface.getPalette() + 16));
    EXPECT_EQ(4, surface.getPaletteSize());
    EXPECT_EQ(1, surface.getPaletteHasAlpha());
}

// The rotation is set, not added, so a second rotation overwrites the first one.
TEST(Rotate, Reports90AfterASecondRotation) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(3, 2, Mode::A8);
    const byte_vector pixels = {1, 2, 3, 4, 5, 6};
    std::copy(pixels.begin(), pixels.end(), surface.getPixels());
    surface.rotate(90);
    surface.rotate(90);
    EXPECT_EQ(90U, surface.getRotation());
    EXPECT_EQ(3, surface.getWidth());
    EXPECT_EQ(2, surface.getHeight());
    EXPECT_EQ((byte_vector{6, 5, 4, 3, 2, 1}), pixelBuffer(surface));
}

TEST(Rotate, Sets90AfterAnyRotation) {
    for (const uint32_t rotation : {90U, 180U, 270U, 45U}) {
        TrackedBuffers buffers;
        DsSurface surface = makeSurface(3, 2, Mode::A8, 1, rotation);
        const int32_t width = surface.getWidth(), height = surface.getHeight();
        surface.rotate(90);
        EXPECT_EQ(90U, surface.getRotation()) << "from " << rotation;
        EXPECT_EQ(height, surface.getWidth()) << "from " << rotation;
        EXPECT_EQ(width, surface.getHeight()) << "from " << rotation;
    }
}

TEST(Rotate, KeepsEveryPixelAtItsCallerPoint) {
    for (const Mode mode : kModesWithPixels) {
        TrackedBuffers buffers;
        DsSurface surface = makeSurface(37, 21, mode, 4);
        const byte_vector before = fillWithNoise(surface, 9);
        const DsSurface old(surface);
        surface.rotate(90);
        const byte_vector after = pixelBuffer(surface);
        for (int32_t y = 0; y < 21; ++y) {
            for (int32_t x = 0; x < 37; ++x) {
                int32_t storedX = x, storedY = y;
                surface.mapPoint(storedX, storedY);
                ASSERT_EQ(pixelAt(old, before, x, y), pixelAt(surface, after, storedX, storedY))
                    << modeName(mode) << ", (" << x << ", " << y << ")";
            }
        }
    }
}

TEST(Rotate, IgnoresEveryAngleBut90) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(5, 3, Mode::RGB888, 4, 0, 6);
    fillWithNoise(surface, 4);
    surface.setClip(DsRect(1, 1, 2, 1));
    const State before(surface);
    for (const int32_t angle : {0, 180, 270, -90, 89, 91, 360, 450, -270, 0x7FFFFFFF}) {
        surface.rotate(angle);
        EXPECT_TRUE(isUnchanged(before, surface)) << angle;
    }
    EXPECT_EQ(1U, buffers.requests.size());
}

TEST(Rotate, DoesNotChangeAnAliasOrItsOwner) {
    TrackedBuffers buffers;
    DsSurface owner = makeSurface(5, 3, Mode::RGB888);
    fillWithNoise(owner, 4);
    const State before(owner);
    DsSurface alias(owner);
    alias.rotate(90);
    EXPECT_TRUE(isUnchanged(before, alias));
    EXPECT_TRUE(isUnchanged(before, owner));
}

TEST(Rotate, DoesNotChangeAView) {
    byte_vector file = makeFileHeader(0, Mode::A8, 3, 2, 3);
    append(file, {1, 2, 3, 4, 5, 6});
    const byte_vector bytes = file;
    DsSurface view(file.data());
    const State before(view);
    view.rotate(90);
    EXPECT_TRUE(isUnchanged(before, view));
    EXPECT_TRUE(same_bytes(bytes, file));
}

TEST(Rotate, NeedsBothCallbacks) {
    TrackedBuffers buffers;
    DsSurface keeping(3, 2, 0, Mode::A8, 0, 0, TrackedBuffers::allocate, nullptr, 1, 0);
    const State before(keeping);
    keeping.rotate(90);
    EXPECT_TRUE(isUnchanged(before, keeping));
    EXPECT_EQ(1U, buffers.requests.size());
    TrackedBuffers::release(buffers.buffers[0]);
}

// An allocator may return null for size 0.
TEST(Rotate, RotatesAnEmptySurfaceWithoutABuffer) {
    for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}}) {
        TrackedBuffers buffers;
        buffers.failure = TrackedBuffers::Failure::Null;
        buffers.failingRequest = 1;
        DsSurface surface = makeSurface(width, height, Mode::RGB888);
        surface.rotate(90);
        EXPECT_EQ(90U, surface.getRotation());
        EXPECT_EQ(height, surface.getWidth());
        EXPECT_EQ(width, surface.getHeight());
    }
}

TEST(Rotate, DoesNotChangeTheSurfaceIfTheAllocationFails) {
    for (const auto failure : {TrackedBuffers::Failure::Null, TrackedBuffers::Failure::Throw}) {
        TrackedBuffers buffers;
        buffers.failure = failure;
        buffers.failingRequest = 1;
        DsSurface surface = makeSurface(5, 3, Mode::RGB888, 4, 180, 9);
        fillWithNoise(surface, 4);
        surface.setClip(DsRect(1, 1, 2, 1));
        const State before(surface);
        if (failure == TrackedBuffers::Failure::Throw) {
            EXPECT_THROW(surface.rotate(90), std::bad_alloc);
        } else {
            surface.rotate(90);
        }
        EXPECT_TRUE(isUnchanged(before, surface));
        EXPECT_TRUE(buffers.released.empty());
    }
}

TEST(Rotate, RotatesTheSizeOfModesWithoutPixels) {
    for (const Mode mode : kModesWithoutPixels) {
        SCOPED_TRACE(modeName(mode));
        TrackedBuffers buffers;
        DsSurface surface = makeSurface(5, 3, mode, 4, 0, 8);
        surface.rotate(90);
        EXPECT_EQ(90U, surface.getRotation());
        EXPECT_EQ(3, surface.getWidth());
        EXPECT_EQ(5, surface.getHeight());
        EXPECT_EQ(0U, surface.getPitch());
        EXPECT_EQ(0U, surface.getDataSize());
    }
}

} // namespace
