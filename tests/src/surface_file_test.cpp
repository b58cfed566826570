// Surface files: serialization, byte by byte, and the view that reads a file.
#include "src/ds_surface.h"
#include "tests/src/pixel_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

using Mode = DsColorMode;

constexpr uint8_t kUntouched = 0xEE;

// The file of a surface, in a buffer that starts at an odd address and has space after the file. Unwritten
// bytes stay kUntouched.
byte_vector serialized(const DsSurface& surface) {
    const uint64_t size = surface.serialize(nullptr);
    byte_vector memory(1 + size + 16, kUntouched);
    EXPECT_EQ(size, surface.serialize(memory.data() + 1));
    EXPECT_EQ(kUntouched, memory.front());
    EXPECT_TRUE(std::all_of(memory.end() - 16, memory.end(),
                            [](uint8_t byte) { return byte == kUntouched; }));
    return {memory.begin() + 1, memory.end() - 16};
}

// The same file, made independently.
byte_vector modelFile(const DsSurface& surface) {
    byte_vector file = makeFileHeader(
        surface.getRotation(), surface.getColorMode(), static_cast<uint32_t>(surface.getWidth()),
        static_cast<uint32_t>(surface.getHeight()), static_cast<uint32_t>(surface.getStride()));
    const uint64_t pixelBytes = static_cast<uint64_t>(surface.getHeight()) * surface.getStride();
    file.insert(file.end(), surface.getPixels(), surface.getPixels() + pixelBytes);
    file.resize((file.size() + 3) / 4 * 4, kUntouched);
    return file;
}

TEST(SurfaceFile, ContainsTheHeaderWordsAndTheRows) {
    TrackedBuffers buffers;
    const DsSurface surface = makeSurface(2, 2, Mode::A8, 4, 90);
    const byte_vector pixels = {1, 2, 3, 4, 5, 6, 7, 8};
    std::copy(pixels.begin(), pixels.end(), surface.getPixels());
    const byte_vector expected = {90, 0, 0, 0, 9, 0, 0, 0, 2, 0, 0, 0, 2, 0,
                                  0,  0, 4, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(expected, serialized(surface));
}

TEST(SurfaceFile, RoundsItsSizeUpWithoutWritingThePadding) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(3, 2, Mode::RGB888);
    fillWithNoise(surface, 1);
    const byte_vector file = serialized(surface);
    EXPECT_EQ(40U, file.size());
    EXPECT_TRUE(same_bytes(modelFile(surface), file));
    EXPECT_EQ(kUntouched, file[38]);
    EXPECT_EQ(kUntouched, file[39]);
}

TEST(SurfaceFile, EqualsTheHandMadeFileForEveryModeSizeAndAlignment) {
    TrackedBuffers buffers;
    for (const Mode mode : kModesWithPixels) {
        for (const uint32_t alignment : {1U, 3U, 4U, 16U}) {
            for (int32_t width = 0; width < 6; ++width) {
                for (int32_t height = 0; height < 6; ++height) {
                    DsSurface surface = makeSurface(width, height, mode, alignment, 180, 7);
                    fillWithNoise(surface, alignment);
                    ASSERT_TRUE(same_bytes(modelFile(surface), serialized(surface)))
                        << modeName(mode) << ", " << width << " x " << height << ", alignment "
                        << alignment;
                }
            }
        }
    }
}

TEST(SurfaceFile, IsOnlyTheHeaderForAnEmptySurface) {
    TrackedBuffers buffers;
    const DsSurface surface = makeSurface(0, 7, Mode::ARGB8888);
    EXPECT_EQ(makeFileHeader(0, Mode::ARGB8888, 0, 7, 0), serialized(surface));
}

TEST(SurfaceFile, LeavesOutPaletteExtraBytesAndClip) {
    TrackedBuffers buffers;
    DsSurface bare = makeSurface(4, 3, Mode::I8);
    DsSurface rich(4, 3, 0, Mode::I8, 1, 256, TrackedBuffers::allocate, TrackedBuffers::release, 1,
                   100);
    fillWithNoise(bare, 2);
    std::copy_n(bare.getPixels(), 12, rich.getPixels());
    rich.setClip(DsRect(1, 1, 1, 1));
    rich.setUserData(5);
    EXPECT_TRUE(same_bytes(serialized(bare), serialized(rich)));
}

TEST(SurfaceFile, KeepsUnknownRotations) {
    TrackedBuffers buffers;
    const DsSurface surface = makeSurface(1, 1, Mode::A8, 1, 0x12345678);
    const byte_vector file = serialized(surface);
    EXPECT_EQ((byte_vector{0x78, 0x56, 0x34, 0x12}), slice(file, 0, 4));
}

TEST(SurfaceFile, TruncatesTheStrideTo32Bits) {
    TrackedBuffers buffers;
    const DsSurface surface = makeSurface(0x40000001, 0, Mode::ARGB8888);
    ASSERT_EQ(0x100000004U, surface.getStride());
    EXPECT_EQ(makeFileHeader(0, Mode::ARGB8888, 0x40000001, 0, 4), serialized(surface));
}

TEST(SurfaceFile, IsTheSameFromAnAlias) {
    TrackedBuffers buffers;
    DsSurface owner = makeSurface(5, 3, Mode::RGB565, 4, 270);
    fillWithNoise(owner, 3);
    EXPECT_TRUE(same_bytes(serialized(owner), serialized(DsSurface(owner))));
}

TEST(SurfaceView, ReadsEveryFieldFromTheHeader) {
    byte_vector file = makeFileHeader(270, Mode::RGB888, 5, 2, 24);
    file.resize(20 + 48);
    const DsSurface view(file.data());
    EXPECT_EQ(0U, view.getUserData());
    EXPECT_EQ(270U, view.getRotation());
    EXPECT_EQ(Mode::RGB888, view.getColorMode());
    EXPECT_EQ(5, view.getWidth());
    EXPECT_EQ(2, view.getHeight());
    EXPECT_EQ(24U, view.getStride());
    EXPECT_EQ(3U, view.getBytesPerPixel());
    EXPECT_EQ(8U, view.getPitch());
    EXPECT_EQ(48U, view.getDataSize());
    EXPECT_EQ(0, view.getPaletteHasAlpha());
    EXPECT_EQ(0, view.getPaletteSize());
    EXPECT_EQ(nullptr, view.getPalette());
    EXPECT_EQ(file.data() + 20, view.getPixels());
    const DsRect clip = view.getClip();
    EXPECT_EQ(2, clip.mWidth); // as the caller sees it
    EXPECT_EQ(5, clip.mHeight);
}

TEST(SurfaceView, RoundsThePitchDown) {
    byte_vector file = makeFileHeader(0, Mode::ARGB8888, 1, 0, 11);
    EXPECT_EQ(2U, DsSurface(file.data()).getPitch());
}

TEST(SurfaceView, HasNoPitchInModesWithoutPixels) {
    for (const Mode mode : kModesWithoutPixels) {
        SCOPED_TRACE(modeName(mode));
        byte_vector file = makeFileHeader(0, mode, 3, 0, 12);
        const DsSurface view(file.data());
        EXPECT_EQ(0U, view.getBytesPerPixel());
        EXPECT_EQ(0U, view.getPitch());
        EXPECT_EQ(12U, view.getStride());
    }
}

TEST(SurfaceView, DoesNotChangeTheFileOnDestruction) {
    byte_vector file = makeFileHeader(0, Mode::A8, 4, 1, 4);
    append(file, {1, 2, 3, 4});
    const byte_vector before = file;
    { const DsSurface view(file.data()); }
    EXPECT_EQ(before, file);
}

TEST(SurfaceView, ReadsASerializedSurfaceAtAnyAddress) {
    TrackedBuffers buffers;
    for (const Mode mode : kModesWithPixels) {
        for (const uint32_t rotation : {0U, 90U, 180U, 270U, 7U}) {
            SCOPED_TRACE(modeName(mode) + ", rotation " + std::to_string(rotation));
            DsSurface surface = makeSurface(5, 3, mode, 4, rotation, 9);
            fillWithNoise(surface, rotation);
            const byte_vector file = serialized(surface);
            byte_vector moved = {0};
            append(moved, file);
            const DsSurface view(moved.data() + 1);
            EXPECT_EQ(surface.getRotation(), view.getRotation());
            EXPECT_EQ(surface.getWidth(), view.getWidth());
            EXPECT_EQ(surface.getHeight(), view.getHeight());
            EXPECT_EQ(surface.getPitch(), view.getPitch());
            EXPECT_TRUE(same_bytes(file, serialized(view)));
        }
    }
}

} // namespace
