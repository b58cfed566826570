// Surfaces over a part of another surface: their position and clip, and drawing on them, which draws on the
// parent.
#include "src/ds_surface.h"
#include "tests/src/drawing_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>

namespace {

using Mode = DsColorMode;

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

int32_t randomInt(test_rng& random, int32_t low, int32_t high) {
    return low + static_cast<int32_t>(random_between(random, 0, static_cast<uint32_t>(high - low)));
}

// Areas inside the parent, partly outside, outside, and with sizes below 1.
DsRect randomArea(test_rng& random) {
    return {randomInt(random, -6, 14), randomInt(random, -6, 14), randomInt(random, -3, 20),
            randomInt(random, -3, 20)};
}

std::string describe(const DsRect& rect) {
    std::ostringstream text;
    text << rect.mWidth << " x " << rect.mHeight << " at (" << rect.mX << ", " << rect.mY << ")";
    return text.str();
}

// An area of a parent, for messages.
std::string describe(const DsSurface& parent, const DsRect& area) {
    return describe(area) + " of " + modeName(parent.getColorMode()) + ", rotation " +
           std::to_string(parent.getRotation()) + ", clip " + describe(parent.getClip());
}

// The offset of the sub-surface's pixels from the parent's. It may be negative.
int64_t offsetOf(const DsSurface& part, const DsSurface& parent) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(part.getPixels()) -
                                reinterpret_cast<uintptr_t>(parent.getPixels()));
}

// The stored clip: getClip() maps it to caller coordinates, and mapping again undoes that.
DsRect storedClip(const DsSurface& surface) {
    DsRect clip = surface.getClip();
    surface.mapRect(clip);
    return clip;
}

// Compares the clip with the intersection of the area, the parent's array and its clip, relative to the area's
// corner. The position of an empty clip does not matter.
void expectClip(const DsSurface& parent, const DsRect& area) {
    SCOPED_TRACE(describe(parent, area));
    const DsSurface part(parent, area);
    const ModelPicture picture(parent);
    const ModelArea stored = picture.stored(modelArea(area));
    const ModelArea visible =
        overlap(overlap(stored, picture.storedArray()), modelArea(storedClip(parent)));
    const DsRect clip = storedClip(part);
    EXPECT_EQ(visible.width, clip.mWidth);
    EXPECT_EQ(visible.height, clip.mHeight);
    if (visible.width > 0 && visible.height > 0) {
        EXPECT_EQ(visible.x - stored.x, clip.mX);
        EXPECT_EQ(visible.y - stored.y, clip.mY);
    }
}

void expectPlace(const DsSurface& parent, const DsRect& area) {
    SCOPED_TRACE(describe(parent, area));
    const DsSurface part(parent, area);
    const ModelArea stored = ModelPicture(parent).stored(modelArea(area));
    EXPECT_EQ(stored.width, part.getWidth());
    EXPECT_EQ(stored.height, part.getHeight());
    EXPECT_EQ(stored.y * static_cast<int64_t>(parent.getStride()) +
                  stored.x * static_cast<int64_t>(parent.getBytesPerPixel()),
              offsetOf(part, parent));
}

TEST(SubSurface, StartsAtItsAreaInStoredCoordinates) {
    test_rng random(161);
    for (const Mode mode : kModesWithPixels) {
        for (const uint32_t rotation : {0U, 90U, 180U, 270U, 33U}) {
            TrackedBuffers buffers;
            DsSurface parent = makeSurface(11, 8, mode, 4, rotation);
            for (int round = 0; round < 40; ++round) {
                parent.setClip(randomArea(random));
                const DsRect area = randomArea(random);
                expectPlace(parent, area);
                expectClip(parent, area);
            }
        }
    }
}

TEST(SubSurface, KeepsItsSizeBeyondTheParent) {
    TrackedBuffers buffers;
    const DsSurface parent = makeSurface(10, 8, Mode::I8);
    const DsSurface part(parent, DsRect(-3, 5, 20, 30));
    EXPECT_EQ(20, part.getWidth());
    EXPECT_EQ(30, part.getHeight());
    expectRect(3, 0, 10, 3, part.getClip());
}

TEST(SubSurface, KeepsNegativeSizesWithAnEmptyClip) {
    TrackedBuffers buffers;
    DsSurface parent = makeSurface(10, 8, Mode::I8);
    const byte_vector before = fillWithNoise(parent, 1);
    DsSurface part(parent, DsRect(2, 3, -4, -5));
    EXPECT_EQ(-4, part.getWidth());
    EXPECT_EQ(-5, part.getHeight());
    EXPECT_EQ(0, part.getClip().mWidth);
    EXPECT_EQ(0, part.getClip().mHeight);
    part.fill(0xFFFFFFFF);
    part.invert();
    EXPECT_TRUE(same_pixels(before, pixelBuffer(parent), layout_of(parent)));
}

TEST(SubSurface, ExchangesItsSizeFor90Degrees) {
    TrackedBuffers buffers;
    const DsSurface parent = makeSurface(10, 8, Mode::I8, 1, 90); // stored 8 by 10
    const DsSurface part(parent, DsRect(2, 3, 4, 1));
    EXPECT_EQ(1, part.getWidth());
    EXPECT_EQ(4, part.getHeight());
    int32_t width = 0, height = 0;
    part.getSize(width, height);
    EXPECT_EQ(4, width);
    EXPECT_EQ(1, height);
    EXPECT_EQ(4 * 8 + 3, offsetOf(part, parent)); // stored (3, 10 - 2 - 4)
}

TEST(SubSurface, SharesTheSameAsAnAlias) {
    TrackedBuffers buffers;
    DsSurface parent(10, 8, 90, Mode::I8, 1, 300, TrackedBuffers::allocate, TrackedBuffers::release,
                     4, 9);
    parent.setUserData(0x123456789);
    const DsSurface part(parent, DsRect(1, 1, 3, 3));
    EXPECT_EQ(0x123456789U, part.getUserData());
    EXPECT_EQ(90U, part.getRotation());
    EXPECT_EQ(Mode::I8, part.getColorMode());
    EXPECT_EQ(parent.getStride(), part.getStride());
    EXPECT_EQ(parent.getPitch(), part.getPitch());
    EXPECT_EQ(parent.getPalette(), part.getPalette());
    EXPECT_EQ(parent.getPaletteSize(), part.getPaletteSize());
    EXPECT_EQ(parent.getPaletteHasAlpha(), part.getPaletteHasAlpha());
}

TEST(SubSurface, OwnsNothing) {
    TrackedBuffers buffers;
    const DsSurface parent = makeSurface(10, 8, Mode::I8);
    {
        DsSurface part(parent, DsRect(1, 1, 3, 3));
        part.rotate(90);
        EXPECT_EQ(0U, part.getRotation());
    }
    EXPECT_TRUE(buffers.released.empty());
}

// Positions and sizes whose sums exceed 32 bits clip at their true positions.
TEST(SubSurface, DoesNotWrapAtTheEndsOfTheNumberRange) {
    constexpr int32_t kNumbers[] = {kMin, kMin + 5, -5, 0, 3, kMax - 5, kMax};
    for (const uint32_t rotation : kRotations) {
        TrackedBuffers buffers;
        DsSurface parent = makeSurface(10, 8, Mode::I8, 1, rotation);
        for (const int32_t x : kNumbers) {
            for (const int32_t width : kNumbers) {
                expectClip(parent, DsRect(x, 1, width, 3));
                expectClip(parent, DsRect(1, x, 3, width));
                expectClip(parent, DsRect(x, x, width, width));
            }
        }
        ASSERT_FALSE(HasFailure());
    }
}

// Draws on a part of a new parent by every operation that a clip limits, and compares the parent with the
// model: the part's pixel (i, j) is the parent's (x + i, y + j).
void expectDrawingOnPart(Mode mode, uint32_t rotation, test_rng& random) {
    constexpr uint32_t kColor = 0xA1B2C3D4;
    TrackedBuffers buffers;
    DsSurface parent = makeSurface(11, 8, mode, 4, rotation);
    fillWithNoise(parent, random());
    const DsRect clip = random() % 2 == 0 ? parent.getBounds() : randomArea(random);
    parent.setClip(clip);
    ModelPicture picture(parent);
    const DsRect area = randomArea(random);
    DsSurface part(parent, area);
    const ModelArea visible = overlap(modelArea(clip), modelArea(area));
    const int32_t x = randomInt(random, -4, 8), y = randomInt(random, -4, 8);
    const ModelPoint position = {int64_t{area.mX} + x, int64_t{area.mY} + y};
    const TightSurface source(5, 4, Mode::ARGB8888, rotation, random());

    part.fill(kColor);
    part.blend(x, y, source.surface, 0, 0);
    part.setPixel(x, y, kColor);

    const uint32_t stored = modelEncode(mode, modelColor(kColor));
    for (const ModelPoint& p : picture.pixels()) {
        if (visible.holds(p)) {
            picture.set(p, stored);
        }
    }
    copyByModel(picture, visible, position, source.surface, &ModelCopy::blended, 0, 0);
    if (visible.holds(position) && picture.holds(position)) {
        picture.set(position, stored);
    }
    EXPECT_TRUE(same_pixels(picture.buffer(), pixelBuffer(parent), layout_of(parent)))
        << describe(parent, area) << ", drawn at (" << x << ", " << y << ")";
}

TEST(SubSurface, DrawsOnTheParentInsideItsAreaAndTheParentsClip) {
    test_rng random(162);
    for (const Mode mode : kModesWithPixels) {
        for (const uint32_t rotation : kRotations) {
            for (int round = 0; round < 40; ++round) {
                SCOPED_TRACE(testing::Message() << "round " << round);
                expectDrawingOnPart(mode, rotation, random);
            }
        }
    }
}

TEST(SubSurface, InsideTheParentChangesOnlyItsOwnPixelsForAnyClip) {
    for (const uint32_t rotation : kRotations) {
        TrackedBuffers buffers;
        DsSurface parent = makeSurface(11, 8, Mode::RGB888, 4, rotation);
        fillWithNoise(parent, 5);
        ModelPicture picture(parent);
        const DsRect area(3, 2, 4, 5);
        DsSurface part(parent, area);
        part.setClip(DsRect(1, 1, 1, 1));
        part.invert();
        for (const ModelPoint& p : picture.pixels()) {
            if (modelArea(area).holds(p)) {
                picture.set(p, ~picture.get(p));
            }
        }
        EXPECT_TRUE(same_pixels(picture.buffer(), pixelBuffer(parent), layout_of(parent)))
            << "rotation " << rotation;
    }
}

TEST(SubSurface, OfASubSurfaceAddsBothOffsets) {
    for (const uint32_t rotation : kRotations) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        TrackedBuffers buffers;
        const DsSurface parent = makeSurface(30, 20, Mode::AI88, 4, rotation);
        const DsSurface part(parent, DsRect(5, 4, 20, 10));
        const DsSurface inner(part, DsRect(3, 2, 30, 4));
        const DsSurface direct(parent, DsRect(8, 6, 30, 4));
        EXPECT_EQ(direct.getPixels(), inner.getPixels());
        EXPECT_EQ(direct.getWidth(), inner.getWidth());
        EXPECT_EQ(direct.getHeight(), inner.getHeight());
        expectRect(0, 0, 17, 4, inner.getClip()); // limited by the part between them
    }
}

TEST(SubSurface, CanBeASource) {
    TrackedBuffers buffers;
    DsSurface parent = makeSurface(8, 6, Mode::I8, 4);
    const byte_vector pixels = fillWithNoise(parent, 6);
    DsSurface target = makeSurface(2, 2, Mode::I8);
    target.blit(0, 0, DsSurface(parent, DsRect(3, 1, 2, 2)), 0, 0);
    const byte_vector expected = {pixels[8 + 3], pixels[8 + 4], pixels[16 + 3], pixels[16 + 4]};
    EXPECT_EQ(expected, pixelBuffer(target));
}

TEST(SubSurface, AtTheSamePositionCanBeCopiedToItsParent) {
    TrackedBuffers buffers;
    DsSurface parent = makeSurface(20, 6, Mode::ARGB8888);
    fillWithNoise(parent, 7);
    ModelPicture picture(parent);
    const DsSurface part(parent, DsRect(1, 2, 18, 3));
    copyByModel(picture, {0, 0, 20, 6}, {1, 2}, part, &ModelCopy::blended, 2, 0x80);
    parent.blend(1, 2, part, 2, 0x80);
    EXPECT_TRUE(same_pixels(picture.buffer(), pixelBuffer(parent), layout_of(parent)));
}

} // namespace
