// Caller coordinates to stored coordinates and back, and the clip, which uses both.
#include "src/ds_surface.h"
#include "tests/src/surface_makers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr uint32_t kRotations[] = {0, 90, 180, 270};
constexpr uint32_t kUnknownRotations[] = {1, 45, 89, 91, 360, 450, 0xFFFFFFFF};

int32_t cutTo32Bits(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

void expectSame(const DsRect& expected, const DsRect& rect) {
    expectRect(expected.mX, expected.mY, expected.mWidth, expected.mHeight, rect);
}

using Point = std::pair<int32_t, int32_t>;
using PointF = std::pair<float, float>;

Point mapped(uint32_t rotation, int32_t width, int32_t height, int32_t x, int32_t y) {
    const SurfaceShape shape(rotation, width, height);
    shape.surface.mapPoint(x, y);
    return {x, y};
}

PointF mappedF(uint32_t rotation, int32_t width, int32_t height, float x, float y) {
    const SurfaceShape shape(rotation, width, height);
    shape.surface.mapPointF(x, y);
    return {x, y};
}

DsRect mappedRect(uint32_t rotation, int32_t width, int32_t height, DsRect rect) {
    const SurfaceShape shape(rotation, width, height);
    shape.surface.mapRect(rect);
    return rect;
}

DsRect clipped(uint32_t rotation, int32_t width, int32_t height, const DsRect& area) {
    // The stored clip: getClip() maps it to caller coordinates, and mapping again undoes that.
    SurfaceShape shape(rotation, width, height);
    shape.surface.setClip(area);
    DsRect clip = shape.surface.getClip();
    shape.surface.mapRect(clip);
    return clip;
}

// The clip of an area, in exact arithmetic: mapped and limited to the array. If nothing is left, it is empty at
// the area's position, clamped to 32 bits.
DsRect modelClip(uint32_t rotation, int64_t W, int64_t H, const DsRect& area) {
    int64_t x = area.mX, y = area.mY, w = area.mWidth, h = area.mHeight;
    if (rotation == 90) {
        x = std::exchange(y, H - x - w);
        std::swap(w, h);
    } else if (rotation == 180) {
        x = W - x - w;
        y = H - y - h;
    } else if (rotation == 270) {
        y = std::exchange(x, W - y - h);
        std::swap(w, h);
    }
    const int64_t right = std::min(x + w, W), bottom = std::min(y + h, H);
    x = std::max<int64_t>(x, 0);
    y = std::max<int64_t>(y, 0);
    const auto cut = [](int64_t value) {
        return static_cast<int32_t>(std::clamp<int64_t>(value, kMin, kMax));
    };
    return {cut(x), cut(y), cut(std::max<int64_t>(right - x, 0)),
            cut(std::max<int64_t>(bottom - y, 0))};
}

TEST(PointMapping, RotatesPixelPositions) {
    EXPECT_EQ(Point(10, 7), mapped(0, 100, 50, 10, 7));
    EXPECT_EQ(Point(7, 39), mapped(90, 100, 50, 10, 7));
    EXPECT_EQ(Point(89, 42), mapped(180, 100, 50, 10, 7));
    EXPECT_EQ(Point(92, 10), mapped(270, 100, 50, 10, 7));
}

TEST(PointMapping, DoesNotChangePointsForUnknownRotations) {
    for (const uint32_t rotation : kUnknownRotations) {
        EXPECT_EQ(Point(10, 7), mapped(rotation, 100, 50, 10, 7)) << "rotation " << rotation;
        EXPECT_EQ(PointF(10, 7), mappedF(rotation, 100, 50, 10, 7)) << "rotation " << rotation;
    }
}

TEST(PointMapping, KeepsEveryPixelInsideTheStoredArrayOnce) {
    for (const uint32_t rotation : kRotations) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        const SurfaceShape shape(rotation, 5, 3);
        std::vector<int> hits(15);
        int32_t width = 0, height = 0;
        shape.surface.getSize(width, height);
        for (int32_t i = 0; i < 15; ++i) {
            int32_t x = i % width, y = i / width;
            shape.surface.mapPoint(x, y);
            ASSERT_TRUE(x >= 0 && x < 5 && y >= 0 && y < 3) << "pixel " << i;
            ++hits[static_cast<size_t>(y * 5 + x)];
        }
        EXPECT_EQ(std::vector<int>(15, 1), hits);
    }
}

TEST(PointMapping, WrapsIntegers) {
    EXPECT_EQ(Point(kMax, kMin + 8), mapped(90, 0, 9, kMin, kMax));
    test_rng random(51);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const auto number = [&] { return static_cast<int32_t>(random()); };
        const int32_t W = number(), H = number(), x = number(), y = number();
        EXPECT_EQ(Point(y, cutTo32Bits(int64_t{H} - 1 - x)), mapped(90, W, H, x, y));
        EXPECT_EQ(Point(cutTo32Bits(int64_t{W} - 1 - x), cutTo32Bits(int64_t{H} - 1 - y)),
                  mapped(180, W, H, x, y));
        EXPECT_EQ(Point(cutTo32Bits(int64_t{W} - 1 - y), x), mapped(270, W, H, x, y));
    }
}

TEST(PointMapping, AddressesEdgesInFloats) {
    EXPECT_EQ(PointF(10.5F, 7.25F), mappedF(0, 100, 50, 10.5F, 7.25F));
    EXPECT_EQ(PointF(7.25F, 39.5F), mappedF(90, 100, 50, 10.5F, 7.25F));
    EXPECT_EQ(PointF(89.5F, 42.75F), mappedF(180, 100, 50, 10.5F, 7.25F));
    EXPECT_EQ(PointF(92.75F, 10.5F), mappedF(270, 100, 50, 10.5F, 7.25F));
}

TEST(PointMapping, ComputesFloatsInSinglePrecision) {
    test_rng random(52);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const auto number = [&] { return static_cast<float>(static_cast<int32_t>(random())) / 3; };
        const auto W = static_cast<int32_t>(random()), H = static_cast<int32_t>(random());
        const float width = static_cast<float>(W), height = static_cast<float>(H);
        const float x = number(), y = number();
        EXPECT_EQ(PointF(y, height - x), mappedF(90, W, H, x, y));
        EXPECT_EQ(PointF(width - x, height - y), mappedF(180, W, H, x, y));
        EXPECT_EQ(PointF(width - y, x), mappedF(270, W, H, x, y));
    }
}

TEST(SizeMapping, ExchangesOnlyFor90And270Degrees) {
    for (const uint32_t rotation : {0U, 90U, 180U, 270U, 45U, 450U}) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        const bool quarter = rotation == 90 || rotation == 270;
        const SurfaceShape shape(rotation, 100, 50);
        int32_t width = 3, height = -4;
        float widthF = 1.5F, heightF = -0.0F;
        shape.surface.mapSize(width, height);
        shape.surface.mapSizeF(widthF, heightF);
        EXPECT_EQ(quarter ? Point(-4, 3) : Point(3, -4), Point(width, height));
        EXPECT_EQ(quarter ? PointF(-0.0F, 1.5F) : PointF(1.5F, -0.0F), PointF(widthF, heightF));
        EXPECT_TRUE(std::signbit(quarter ? widthF : heightF));
    }
}

TEST(SizeMapping, ReportsTheSizeThatTheCallerSees) {
    for (const uint32_t rotation : kRotations) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        const SurfaceShape shape(rotation, 100, 50);
        int32_t width = 0, height = 0;
        shape.surface.getSize(width, height);
        const bool quarter = rotation == 90 || rotation == 270;
        EXPECT_EQ(quarter ? Point(50, 100) : Point(100, 50), Point(width, height));
        expectRect(0, 0, width, height, shape.surface.getBounds());
    }
}

TEST(RectangleMapping, RotatesRectangles) {
    expectRect(10, 5, 20, 8, mappedRect(0, 100, 50, {10, 5, 20, 8}));
    expectRect(5, 20, 8, 20, mappedRect(90, 100, 50, {10, 5, 20, 8}));
    expectRect(70, 37, 20, 8, mappedRect(180, 100, 50, {10, 5, 20, 8}));
    expectRect(87, 10, 8, 20, mappedRect(270, 100, 50, {10, 5, 20, 8}));
    for (const uint32_t rotation : kUnknownRotations) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        expectRect(10, 5, 20, 8, mappedRect(rotation, 100, 50, {10, 5, 20, 8}));
    }
}

TEST(RectangleMapping, CoversTheSamePixelsAsThePointMapping) {
    for (const uint32_t rotation : kRotations) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        const DsRect area = mappedRect(rotation, 100, 50, {10, 5, 20, 8});
        for (int32_t y = 5; y < 13; ++y) {
            for (int32_t x = 10; x < 30; ++x) {
                const Point at = mapped(rotation, 100, 50, x, y);
                EXPECT_TRUE(at.first >= area.mX && at.first < area.mX + area.mWidth)
                    << "(" << x << ", " << y << ") becomes x " << at.first;
                EXPECT_TRUE(at.second >= area.mY && at.second < area.mY + area.mHeight)
                    << "(" << x << ", " << y << ") becomes y " << at.second;
            }
        }
    }
}

TEST(RectangleMapping, WrapsAndIsUndoneExactlyForEveryRectangle) {
    test_rng random(53);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        // Arbitrary and small numbers, alternating.
        const auto number = [&] {
            return static_cast<int32_t>(random()) / (round % 2 == 0 ? 1 : 1 << 20);
        };
        const int32_t W = number(), H = number();
        const DsRect rect(number(), number(), number(), number());
        for (const uint32_t rotation : {0U, 90U, 180U, 270U, 45U}) {
            SCOPED_TRACE(testing::Message() << "rotation " << rotation);
            const SurfaceShape shape(rotation, W, H);
            DsRect there = rect;
            shape.surface.mapRect(there);
            DsRect region = rect;
            region.mapToSurface(shape.surface);
            expectSame(region, there);
            shape.surface.unmapRect(there);
            expectSame(rect, there);
            DsRect back = rect;
            shape.surface.unmapRect(back);
            shape.surface.mapRect(back);
            expectSame(rect, back);
        }
    }
}

TEST(RectangleMapping, RotatesFloatRectanglesLikeTheRegion) {
    test_rng random(54);
    for (int round = 0; round < 1000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const auto number = [&] { return static_cast<float>(static_cast<int32_t>(random())) / 5; };
        const DsFRect rect(number(), number(), number(), number());
        const auto W = static_cast<int32_t>(random()), H = static_cast<int32_t>(random());
        for (const uint32_t rotation : {0U, 90U, 180U, 270U, 45U}) {
            SCOPED_TRACE(testing::Message() << "rotation " << rotation);
            const SurfaceShape shape(rotation, W, H);
            DsFRect direct = rect, region = rect;
            shape.surface.mapRectF(direct);
            region.mapToSurface(shape.surface);
            EXPECT_EQ(region.mX, direct.mX);
            EXPECT_EQ(region.mY, direct.mY);
            EXPECT_EQ(region.mWidth, direct.mWidth);
            EXPECT_EQ(region.mHeight, direct.mHeight);
        }
    }
}

TEST(Clip, IsTheWholeArrayAtFirstAndAfterAReset) {
    for (const uint32_t rotation : kRotations) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        SurfaceShape shape(rotation, 100, 50);
        const DsRect whole = shape.surface.getBounds();
        expectSame(whole, shape.surface.getClip());
        shape.surface.setClip({3, 4, 5, 6});
        expectRect(3, 4, 5, 6, shape.surface.getClip());
        shape.surface.resetClip();
        expectSame(whole, shape.surface.getClip());
    }
}

TEST(Clip, IsReturnedInCallerCoordinates) {
    for (const uint32_t rotation : {0U, 90U, 180U, 270U, 45U}) {
        SCOPED_TRACE(testing::Message() << "rotation " << rotation);
        SurfaceShape shape(rotation, 100, 100);
        shape.surface.setClip({10, 5, 20, 8});
        expectRect(10, 5, 20, 8, shape.surface.getClip());
    }
}

TEST(Clip, IsLimitedToTheArray) {
    expectRect(0, 0, 7, 3, clipped(0, 100, 50, {-3, -5, 10, 8}));
    expectRect(90, 45, 10, 5, clipped(0, 100, 50, {90, 45, 20, 20}));
    expectRect(0, 0, 100, 50, clipped(0, 100, 50, {-1000, -1000, 5000, 5000}));
    // A caller's 50 by 100 picture, stored on its side.
    expectRect(0, 40, 8, 10, clipped(90, 100, 50, {-10, 0, 20, 8}));
    expectRect(92, 0, 8, 10, clipped(270, 100, 50, {-10, 0, 20, 8}));
    expectRect(90, 42, 10, 8, clipped(180, 100, 50, {-10, 0, 20, 8}));
}

TEST(Clip, KeepsThePositionOfAnAreaOutsideTheArray) {
    expectRect(200, 60, 0, 0, clipped(0, 100, 50, {200, 60, 5, 5}));
    expectRect(200, 10, 0, 5, clipped(0, 100, 50, {200, 10, 5, 5}));
    expectRect(100, 10, 0, 5, clipped(0, 100, 50, {100, 10, 5, 5}));
    // Before the near edges the position becomes 0, as for any area.
    expectRect(0, 10, 0, 5, clipped(0, 100, 50, {-20, 10, 5, 5}));
    expectRect(130, 0, 0, 2, clipped(180, 100, 50, {-50, 48, 20, 5}));
}

TEST(Clip, TreatsNegativeSizesAsEmpty) {
    expectRect(10, 5, 0, 8, clipped(0, 100, 50, {10, 5, -1, 8}));
    expectRect(10, 5, 20, 0, clipped(0, 100, 50, {10, 5, 20, kMin}));
    expectRect(0, 0, 0, 0, clipped(0, 100, 50, {-10, -5, -20, -8}));
    expectRect(5, 40, 8, 0, clipped(90, 100, 50, {10, 5, 0, 8}));
}

TEST(Clip, ReachesFarEdgesIn64Bits) {
    expectRect(10, 20, 90, 30, clipped(0, 100, 50, {10, 20, kMax, kMax}));
    expectRect(0, 0, 100, 50, clipped(0, 100, 50, {-5, -5, kMax, kMax}));
    expectRect(0, 0, 90, 30, clipped(180, 100, 50, {10, 20, kMax, kMax}));
    expectRect(20, 0, 80, 40, clipped(90, 100, 50, {10, 20, kMax, kMax}));
    expectRect(0, 10, 80, 40, clipped(270, 100, 50, {10, 20, kMax, kMax}));
    expectRect(0, 0, 0, 0, clipped(0, 100, 50, {kMin, kMin, kMax, kMax}));
}

TEST(Clip, ClampsPositionsTo32Bits) {
    SurfaceShape shape(180, 100, 50);
    shape.surface.setClip({kMin, kMin, 0, 5});
    // Stored as (2^31 - 1, 2^31 - 1) after clamping, and read with the wrapping mapping.
    const DsRect clip = shape.surface.getClip();
    expectRect(cutTo32Bits(int64_t{100} - kMax), cutTo32Bits(int64_t{50} - kMax), 0, 0, clip);
}

TEST(Clip, FollowsExactArithmeticForAreasOfEverySize) {
    test_rng random(55);
    constexpr int32_t ends[] = {kMin, kMin + 1, -100, -1,  0,        1,   49,
                                50,   99,       100,  101, kMax - 1, kMax};
    const auto end = [&] { return ends[random() % std::size(ends)]; };
    const auto near = [&] { return static_cast<int32_t>(random() % 300) - 150; };
    for (int round = 0; round < 20000; ++round) {
        const DsRect area = round % 2 == 0 ? DsRect(end(), end(), end(), end())
                                           : DsRect(near(), near(), near(), near());
        for (const uint32_t rotation : {0U, 90U, 180U, 270U, 45U}) {
            const DsRect expected = modelClip(rotation, 100, 50, area);
            const DsRect clip = clipped(rotation, 100, 50, area);
            ASSERT_TRUE(expected.mX == clip.mX && expected.mY == clip.mY &&
                        expected.mWidth == clip.mWidth && expected.mHeight == clip.mHeight)
                << "round " << round << ", rotation " << rotation << ": " << area.mX << ", "
                << area.mY << ", " << area.mWidth << ", " << area.mHeight << " gives " << clip.mX
                << ", " << clip.mY << ", " << clip.mWidth << ", " << clip.mHeight;
        }
    }
}

TEST(Clip, IsReturnedWithoutFurtherClipping) {
    SurfaceShape shape(90, 100, 50);
    shape.surface.setClip({0, 300, 10, 20});
    expectRect(0, 300, 10, 0, shape.surface.getClip());
}

} // namespace
