// Construction and destruction of surfaces: the three constructors, the accessors, the layout of rows, and
// every buffer that is allocated and released.
#include "src/ds_surface.h"
#include "tests/src/pixel_model.h"
#include "tests/src/surface_makers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Mode = DsColorMode;

constexpr size_t kTooLarge = std::numeric_limits<size_t>::max();

DsSurface makePaletteSurface(Mode mode, uint8_t hasAlpha, uint64_t entries) {
    return DsSurface(3, 2, 0, mode, hasAlpha, entries, TrackedBuffers::allocate,
                     TrackedBuffers::release, 1, 2);
}

template <typename Field>
Field fieldAt(const DsSurface& surface, size_t offset) {
    Field field;
    std::memcpy(&field, reinterpret_cast<const char*>(&surface) + offset, sizeof field);
    return field;
}

TEST(SurfaceConstruction, KeepsItsArguments) {
    TrackedBuffers buffers;
    const DsSurface surface(5, 3, 0, Mode::RGB888, 1, 77, TrackedBuffers::allocate,
                            TrackedBuffers::release, 4, 10);
    EXPECT_EQ(0U, surface.getUserData());
    EXPECT_EQ(0U, surface.getRotation());
    EXPECT_EQ(5, surface.getWidth());
    EXPECT_EQ(3, surface.getHeight());
    EXPECT_EQ(Mode::RGB888, surface.getColorMode());
    EXPECT_EQ(3U, surface.getBytesPerPixel());
    EXPECT_EQ(24U, surface.getStride());
    EXPECT_EQ(8U, surface.getPitch());
    EXPECT_EQ(1, surface.getPaletteHasAlpha());
    EXPECT_EQ(77, surface.getPaletteSize());
    EXPECT_EQ(nullptr, surface.getPalette());
    EXPECT_EQ(3U * 24 + 12, surface.getDataSize());
    EXPECT_EQ(buffers.buffers[0], surface.getPixels());
    expectRect(0, 0, 5, 3, surface.getClip());
}

// Other programs rely on the layout of the record.
TEST(SurfaceConstruction, KeepsItsFieldsInOrder) {
    TrackedBuffers buffers;
    DsSurface surface(3, 2, 90, Mode::I8, 1, 300, TrackedBuffers::allocate, TrackedBuffers::release,
                      4, 5);
    surface.setUserData(0x0123456789ABCDEF);
    EXPECT_EQ(0x0123456789ABCDEFU, fieldAt<uint64_t>(surface, 0));
    EXPECT_EQ(&TrackedBuffers::allocate, fieldAt<DsAllocFn>(surface, 8));
    EXPECT_EQ(&TrackedBuffers::release, fieldAt<DsFreeFn>(surface, 16));
    EXPECT_EQ(90U, fieldAt<uint32_t>(surface, 24));
    EXPECT_EQ(2, fieldAt<int32_t>(surface, 28));
    EXPECT_EQ(3, fieldAt<int32_t>(surface, 32));
    EXPECT_EQ(Mode::I8, fieldAt<Mode>(surface, 36));
    EXPECT_EQ(8U, fieldAt<uint64_t>(surface, 40)); // extra bytes
    EXPECT_EQ(4U, fieldAt<uint64_t>(surface, 48)); // alignment
    EXPECT_EQ(1U, fieldAt<uint64_t>(surface, 56)); // bytes per pixel
    EXPECT_EQ(4U, fieldAt<uint64_t>(surface, 64)); // stride
    EXPECT_EQ(4U, fieldAt<uint64_t>(surface, 72)); // pitch
    EXPECT_EQ(1, fieldAt<uint8_t>(surface, 80));
    EXPECT_EQ(300U, fieldAt<uint64_t>(surface, 88));
    EXPECT_EQ(3, fieldAt<int32_t>(surface, 116)); // the clip's height, last of its fields
    EXPECT_EQ(surface.getPixels(), fieldAt<uint8_t*>(surface, 120));
    EXPECT_EQ(surface.getPalette(), fieldAt<uint8_t*>(surface, 128));
    EXPECT_EQ(136U, sizeof(DsSurface));
}

TEST(SurfaceConstruction, ExchangesTheStoredSizeOnlyFor90And270Degrees) {
    TrackedBuffers buffers;
    for (const uint32_t rotation : {90U, 270U}) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        const DsSurface surface = makeSurface(10, 4, Mode::RGB565, 1, rotation);
        EXPECT_EQ(4, surface.getWidth());
        EXPECT_EQ(10, surface.getHeight());
        EXPECT_EQ(8U, surface.getStride());
        int32_t width = 0, height = 0;
        surface.getSize(width, height);
        EXPECT_EQ(10, width);
        EXPECT_EQ(4, height);
        expectRect(0, 0, 10, 4, surface.getBounds());
        expectRect(0, 0, 10, 4, surface.getClip());
    }
    for (const uint32_t rotation : {0U, 180U}) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        const DsSurface surface = makeSurface(10, 4, Mode::RGB565, 1, rotation);
        EXPECT_EQ(10, surface.getWidth());
        EXPECT_EQ(4, surface.getHeight());
        expectRect(0, 0, 10, 4, surface.getBounds());
    }
}

TEST(SurfaceConstruction, KeepsAnyOtherRotationAndTreatsItAsNone) {
    TrackedBuffers buffers;
    for (const uint32_t rotation : {1U, 45U, 89U, 360U, 450U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        const DsSurface surface = makeSurface(10, 4, Mode::A8, 1, rotation);
        EXPECT_EQ(rotation, surface.getRotation());
        EXPECT_EQ(10, surface.getWidth());
        expectRect(0, 0, 10, 4, surface.getBounds());
    }
}

TEST(SurfaceConstruction, KeepsTheUserWordOfTheOwner) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(1, 1, Mode::A8);
    surface.setUserData(0xFEDCBA9876543210);
    EXPECT_EQ(0xFEDCBA9876543210U, surface.getUserData());
}

TEST(SurfaceConstruction, ReportsOnlyTheLow16BitsOfThePaletteSize) {
    TrackedBuffers buffers;
    for (const uint64_t entries : {uint64_t{65535}, uint64_t{65536}, uint64_t{65536 + 256}}) {
        EXPECT_EQ(entries % 65536, makePaletteSurface(Mode::I8, 0, entries).getPaletteSize());
    }
}

TEST(SurfaceConstruction, CannotBeAssigned) {
    EXPECT_FALSE(std::is_copy_assignable_v<DsSurface>);
}

TEST(SurfaceConstruction, DoesNotWriteTheBuffers) {
    TrackedBuffers buffers;
    const DsSurface surface = makePaletteSurface(Mode::I8, 0, 4);
    EXPECT_EQ(byte_vector(10, TrackedBuffers::kUnwritten), pixelBuffer(surface));
    EXPECT_EQ(byte_vector(12, TrackedBuffers::kUnwritten),
              byte_vector(surface.getPalette(), surface.getPalette() + 12));
}

TEST(SurfaceStride, FollowsTheRowUnitForEveryModeAndAlignment) {
    TrackedBuffers buffers;
    for (const Mode mode : kModesWithPixels) {
        for (uint32_t alignment = 1; alignment <= 64; ++alignment) {
            const DsSurface probe = makeSurface(1, 0, mode, alignment);
            for (int32_t width = 0; width <= 70; ++width) {
                const uint64_t stride =
                    modelStride(static_cast<uint64_t>(width), bytesPerPixel(mode), alignment);
                const DsSurface surface = makeSurface(width, 1, mode, alignment);
                SCOPED_TRACE(testing::Message() << modeName(mode) << ", " << width
                                                << " pixels, alignment " << alignment);
                ASSERT_EQ(stride, surface.getStride());
                ASSERT_EQ(stride / bytesPerPixel(mode), surface.getPitch());
                ASSERT_EQ(stride, surface.getDataSize());
                ASSERT_EQ(stride, probe.computeStride(width));
            }
        }
    }
}

TEST(SurfaceStride, IsAMultipleOfPixelSizeAndAlignmentForPowersOfTwo) {
    TrackedBuffers buffers;
    for (const Mode mode : kModesWithPixels) {
        for (uint32_t alignment = 1; alignment <= 4096; alignment *= 2) {
            const uint64_t unit = std::lcm<uint64_t>(alignment, bytesPerPixel(mode));
            EXPECT_EQ(unit, makeSurface(1, 1, mode, alignment).getStride())
                << modeName(mode) << ", alignment " << alignment;
            EXPECT_EQ(0U, makeSurface(1, 0, mode, alignment).computeStride(0))
                << modeName(mode) << ", alignment " << alignment;
        }
    }
}

// Only factors of two are shared: 6 is a common multiple of 6 and 3, but strides are multiples of 18.
TEST(SurfaceStride, MultipliesAlignmentsByPixelSizesThatAreNoPowersOfTwo) {
    TrackedBuffers buffers;
    EXPECT_EQ(18U, makeSurface(1, 1, Mode::RGB888, 6).getStride());
    EXPECT_EQ(9U, makeSurface(1, 1, Mode::RGB888, 3).getStride());
    EXPECT_EQ(12U, makeSurface(1, 1, Mode::ARGB8888, 6).getStride());
    EXPECT_EQ(12U, makeSurface(1, 1, Mode::ARGB8888, 12).getStride());
    EXPECT_EQ(10U, makeSurface(1, 1, Mode::RGB565, 5).getStride());
}

TEST(SurfaceStride, HasTheKnownExamples) {
    TrackedBuffers buffers;
    EXPECT_EQ(9U, makeSurface(3, 2, Mode::RGB888).getStride());
    EXPECT_EQ(12U, makeSurface(1, 1, Mode::RGB888, 4).getStride());
    const DsSurface surface = makeSurface(5, 1, Mode::RGB565, 4);
    EXPECT_EQ(12U, surface.getStride());
    EXPECT_EQ(6U, surface.getPitch());
}

TEST(SurfaceStride, IsZeroForModesWithoutPixels) {
    TrackedBuffers buffers;
    for (const Mode mode : kModesWithoutPixels) {
        SCOPED_TRACE(modeName(mode));
        const DsSurface surface = makeSurface(10, 4, mode, 4, 0, 6);
        EXPECT_EQ(0U, surface.getBytesPerPixel());
        EXPECT_EQ(0U, surface.getStride());
        EXPECT_EQ(0U, surface.getPitch());
        EXPECT_EQ(8U, surface.getDataSize());
        EXPECT_EQ(0U, surface.computeStride(100));
        EXPECT_EQ(10, surface.getWidth());
        EXPECT_EQ(20U, surface.serialize(nullptr));
    }
}

TEST(SurfaceStride, TreatsAMissingAlignmentAsOne) {
    TrackedBuffers buffers;
    DsSurface owner = makeSurface(5, 2, Mode::RGB888, 8);
    ASSERT_EQ(24U, owner.getStride());
    const DsSurface alias(owner);
    EXPECT_EQ(24U, alias.getStride());
    EXPECT_EQ(15U, alias.computeStride(5));

    byte_vector file = makeFileHeader(0, Mode::RGB565, 3, 0, 64);
    const DsSurface view(file.data());
    EXPECT_EQ(64U, view.getStride());
    EXPECT_EQ(10U, view.computeStride(5));

    EXPECT_EQ(10U, makeSurface(5, 1, Mode::RGB565, 0).getStride());
    EXPECT_EQ(15U, makeSurface(5, 1, Mode::RGB888, 0).getStride());
}

TEST(SurfaceStride, IsComputedIn64Bits) {
    TrackedBuffers buffers;
    const DsSurface surface = makeSurface(0x7FFFFFFF, 0, Mode::ARGB8888, 16);
    EXPECT_EQ(uint64_t{0x200000000}, surface.getStride());
    EXPECT_EQ(uint64_t{0x80000000}, surface.getPitch());
    EXPECT_EQ(uint64_t{0x200000000}, surface.computeStride(0x7FFFFFFE));
}

TEST(SurfaceBuffers, HaveSpaceForRowsAndExtraBytesRoundedUpToFour) {
    for (uint64_t extra = 0; extra <= 9; ++extra) {
        SCOPED_TRACE(testing::Message() << "extra bytes " << extra);
        TrackedBuffers buffers;
        const DsSurface surface = makeSurface(3, 2, Mode::RGB888, 1, 0, extra);
        ASSERT_EQ(1U, buffers.requests.size());
        EXPECT_EQ(18 + (extra + 3) / 4 * 4, buffers.requests[0]);
        EXPECT_EQ(buffers.requests[0], surface.getDataSize());
    }
}

TEST(SurfaceBuffers, IncludeAPaletteOnlyInPaletteModes) {
    for (const Mode mode : kModesWithPixels) {
        SCOPED_TRACE(modeName(mode));
        TrackedBuffers buffers;
        const DsSurface surface = makePaletteSurface(mode, 0, 256);
        const bool palette = mode == Mode::I8 || mode == Mode::AI88;
        ASSERT_EQ(palette ? 2U : 1U, buffers.requests.size());
        EXPECT_EQ(palette ? buffers.buffers[1] : nullptr, surface.getPalette());
    }
}

TEST(SurfaceBuffers, HavePaletteEntriesOfThreeOrFourBytes) {
    for (const uint64_t entries : {uint64_t{0}, uint64_t{1}, uint64_t{256}, uint64_t{70000}}) {
        TrackedBuffers buffers;
        const DsSurface opaque = makePaletteSurface(Mode::I8, 0, entries);
        const DsSurface translucent = makePaletteSurface(Mode::AI88, 1, entries);
        EXPECT_EQ(3 * entries, buffers.requests[1]);
        EXPECT_EQ(4 * entries, buffers.requests[3]);
    }
}

TEST(SurfaceBuffers, AreReleasedPaletteFirst) {
    TrackedBuffers buffers;
    { const DsSurface surface = makePaletteSurface(Mode::AI88, 1, 4); }
    ASSERT_EQ(2U, buffers.released.size());
    EXPECT_EQ(buffers.buffers[1], buffers.released[0]);
    EXPECT_EQ(buffers.buffers[0], buffers.released[1]);
}

TEST(SurfaceBuffers, ReleaseOnlyPixelsWithoutAPalette) {
    TrackedBuffers buffers;
    { const DsSurface surface = makeSurface(4, 4, Mode::RGB888); }
    EXPECT_EQ(buffers.buffers, buffers.released);
}

TEST(SurfaceBuffers, StayWithTheOwnerOfASurfaceWithoutReleaseCallback) {
    TrackedBuffers buffers;
    {
        const DsSurface surface(2, 2, 0, Mode::A8, 0, 0, TrackedBuffers::allocate, nullptr, 1, 0);
        EXPECT_EQ(4U, surface.getDataSize());
    }
    EXPECT_TRUE(buffers.released.empty());
    TrackedBuffers::release(buffers.buffers[0]);
}

TEST(SurfaceBuffers, AreReleasedIfThePaletteThrows) {
    TrackedBuffers buffers;
    buffers.failure = TrackedBuffers::Failure::Throw;
    buffers.failingRequest = 1;
    EXPECT_THROW(makePaletteSurface(Mode::I8, 0, 256), std::bad_alloc);
    ASSERT_EQ(1U, buffers.released.size());
    EXPECT_EQ(buffers.buffers[0], buffers.released[0]);
}

TEST(SurfaceBuffers, StayWithTheCallerIfThePaletteThrowsWithoutReleaseCallback) {
    TrackedBuffers buffers;
    buffers.failure = TrackedBuffers::Failure::Throw;
    buffers.failingRequest = 1;
    EXPECT_THROW(DsSurface(2, 2, 0, Mode::I8, 0, 256, TrackedBuffers::allocate, nullptr, 1, 0),
                 std::bad_alloc);
    EXPECT_TRUE(buffers.released.empty());
    TrackedBuffers::release(buffers.buffers[0]);
}

TEST(SurfaceBuffers, AreNotReleasedIfThePixelsThrow) {
    TrackedBuffers buffers;
    buffers.failure = TrackedBuffers::Failure::Throw;
    EXPECT_THROW(makePaletteSurface(Mode::I8, 0, 256), std::bad_alloc);
    EXPECT_EQ(1U, buffers.requests.size());
    EXPECT_TRUE(buffers.released.empty());
}

TEST(SurfaceBuffers, AreNotCheckedForNull) {
    TrackedBuffers buffers;
    buffers.failure = TrackedBuffers::Failure::Null;
    const DsSurface surface = makePaletteSurface(Mode::I8, 0, 256);
    EXPECT_EQ(nullptr, surface.getPixels());
    EXPECT_EQ(buffers.buffers[1], surface.getPalette());
    EXPECT_EQ(10U, surface.getDataSize());
}

TEST(SurfaceBuffers, AreEmptyForAnEmptySize) {
    TrackedBuffers buffers;
    EXPECT_EQ(0U, makeSurface(0, 5, Mode::ARGB8888, 16).getDataSize());
    EXPECT_EQ(0U, makeSurface(5, 0, Mode::ARGB8888, 16).getDataSize());
    EXPECT_EQ(4U, makeSurface(0, 0, Mode::ARGB8888, 16, 0, 1).getDataSize());
    EXPECT_EQ((std::vector<size_t>{0, 0, 4}), buffers.requests);
}

TEST(SurfaceBuffers, AreSizedIn64Bits) {
    TrackedBuffers buffers;
    const DsSurface surface = makeSurface(0x40000, 0x40000, Mode::ARGB8888);
    EXPECT_EQ(size_t{1} << 38, buffers.requests[0]);
    EXPECT_EQ(uint64_t{1} << 38, surface.getDataSize());
    EXPECT_EQ((uint64_t{1} << 38) + 20, surface.serialize(nullptr));
}

TEST(SurfaceBuffers, RequestTheMaxSizeIfPixelsDoNotFit64Bits) {
    TrackedBuffers buffers;
    const auto asked = [&](int32_t width, int32_t height, uint32_t alignment, uint64_t extra) {
        makeSurface(width, height, Mode::ARGB8888, alignment, 0, extra);
        return buffers.requests.back();
    };
    EXPECT_EQ(uint64_t{0x7FFFFFFF} * 0x7FFFFFFF * 4, asked(0x7FFFFFFF, 0x7FFFFFFF, 4, 0));
    EXPECT_EQ(kTooLarge, asked(0x7FFFFFFF, 0x7FFFFFFF, 4, uint64_t{1} << 63 | uint64_t{1} << 62));
    EXPECT_EQ(kTooLarge, asked(5, 5, 1, kTooLarge - 3));
    EXPECT_EQ(kTooLarge,
              asked(5, 5, 1, kTooLarge)); // rounding it up to a multiple of 4 does not wrap
    EXPECT_EQ(kTooLarge - 7, asked(1, 1, 1, kTooLarge - 11)); // 4 pixel bytes and 2^64 - 12: fits
}

TEST(SurfaceBuffers, RequestTheMaxSizeForNegativeSizes) {
    TrackedBuffers buffers;
    for (const auto& [width, height] : {std::pair{-1, 5}, {5, -1}, {-1, 1}, {-1, 0}, {0, -1}}) {
        makeSurface(width, height, Mode::ARGB8888);
        EXPECT_EQ(kTooLarge, buffers.requests.back()) << width << " by " << height;
    }
}

TEST(SurfaceBuffers, RequestTheMaxSizeIfThePaletteDoesNotFit64Bits) {
    TrackedBuffers buffers;
    makePaletteSurface(Mode::I8, 1, uint64_t{1} << 62);
    EXPECT_EQ(kTooLarge, buffers.requests[1]);
    makePaletteSurface(Mode::I8, 0, uint64_t{1} << 62);
    EXPECT_EQ(uint64_t{3} << 62, buffers.requests[3]);
}

TEST(SurfaceAlias, SharesEveryFieldButTheCallbacks) {
    TrackedBuffers buffers;
    DsSurface owner(7, 5, 90, Mode::AI88, 1, 20, TrackedBuffers::allocate, TrackedBuffers::release,
                    8, 3);
    owner.setUserData(99);
    owner.setClip(DsRect(1, 2, 3, 2));
    const DsSurface alias(owner);
    EXPECT_EQ(99U, alias.getUserData());
    EXPECT_EQ(90U, alias.getRotation());
    EXPECT_EQ(5, alias.getWidth());
    EXPECT_EQ(7, alias.getHeight());
    EXPECT_EQ(Mode::AI88, alias.getColorMode());
    EXPECT_EQ(2U, alias.getBytesPerPixel());
    EXPECT_EQ(owner.getStride(), alias.getStride());
    EXPECT_EQ(owner.getPitch(), alias.getPitch());
    EXPECT_EQ(1, alias.getPaletteHasAlpha());
    EXPECT_EQ(20, alias.getPaletteSize());
    EXPECT_EQ(owner.getPixels(), alias.getPixels());
    EXPECT_EQ(owner.getPalette(), alias.getPalette());
    EXPECT_EQ(owner.getDataSize(), alias.getDataSize());
    expectRect(1, 2, 3, 2, alias.getClip());
}

TEST(SurfaceAlias, ReleasesNothing) {
    TrackedBuffers buffers;
    DsSurface owner = makePaletteSurface(Mode::I8, 0, 2);
    const byte_vector before = fillWithNoise(owner, 1);
    { const DsSurface alias(owner); }
    EXPECT_TRUE(buffers.released.empty());
    EXPECT_EQ(2U, buffers.requests.size());
    EXPECT_EQ(before, pixelBuffer(owner));
}

TEST(SurfaceAlias, HasItsOwnClip) {
    TrackedBuffers buffers;
    DsSurface owner = makeSurface(7, 5, Mode::A8);
    DsSurface alias(owner);
    alias.setClip(DsRect(1, 1, 2, 2));
    expectRect(0, 0, 7, 5, owner.getClip());
    expectRect(1, 1, 2, 2, alias.getClip());
}

TEST(SurfaceAlias, OfAnAliasOwnsNothingEither) {
    TrackedBuffers buffers;
    const DsSurface owner = makeSurface(7, 5, Mode::A8);
    {
        const DsSurface alias(owner);
        const DsSurface second(alias);
        EXPECT_EQ(owner.getPixels(), second.getPixels());
    }
    EXPECT_TRUE(buffers.released.empty());
}

} // namespace
