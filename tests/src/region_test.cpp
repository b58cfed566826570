// The two rectangles as regions: spans, bounds, mapping and moving, bit by bit, also at the ends of their
// number ranges.
#include "src/ds_region.h"
#include "tests/src/dispatch_slot.h"
#include "tests/src/surface_makers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <typeinfo>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

// Equality bit by bit, so that -0 and 0 differ and NaN equals itself.
void expectBits(float expected, float actual, const char* what) {
    EXPECT_EQ(std::bit_cast<uint32_t>(expected), std::bit_cast<uint32_t>(actual))
        << what << ": " << expected << " and " << actual;
}

void expectSpan(float first, float last, const DsFSpan& span) {
    expectBits(first, span.first, "first");
    expectBits(last, span.last, "last");
}

void expectEmpty(const DsFSpan& span) {
    expectSpan(kInf, -kInf, span);
}

void expectRectF(float x, float y, float width, float height, const DsFRect& rect) {
    expectBits(x, rect.mX, "x");
    expectBits(y, rect.mY, "y");
    expectBits(width, rect.mWidth, "width");
    expectBits(height, rect.mHeight, "height");
}

template <typename Field>
ptrdiff_t offsetIn(const DsRegion& region, const Field& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&region);
}

template <typename Rect>
void expectFieldsBehindTheDispatchPointer() {
    const Rect rect;
    EXPECT_EQ(8, offsetIn(rect, rect.mX));
    EXPECT_EQ(12, offsetIn(rect, rect.mY));
    EXPECT_EQ(16, offsetIn(rect, rect.mWidth));
    EXPECT_EQ(20, offsetIn(rect, rect.mHeight));
    EXPECT_EQ(24U, sizeof(Rect));
}

int32_t cutTo32Bits(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

TEST(Region, HasItsFiveOperationsInTheirSlots) {
    EXPECT_EQ(0U, slotOf(&DsRegion::verticalSpanAt));
    EXPECT_EQ(1U, slotOf(&DsRegion::horizontalSpanAt));
    EXPECT_EQ(2U, slotOf(&DsRegion::bounds));
    EXPECT_EQ(3U, slotOf(&DsRegion::mapToSurface));
    EXPECT_EQ(4U, slotOf(&DsRegion::moveBy));
}

TEST(Region, IsAbstractWithoutDataOrVirtualDestructor) {
    EXPECT_TRUE(std::is_abstract_v<DsRegion>);
    EXPECT_EQ(sizeof(void*), sizeof(DsRegion));
    EXPECT_FALSE(std::has_virtual_destructor_v<DsRegion>);
    EXPECT_FALSE(std::has_virtual_destructor_v<DsRect>);
    EXPECT_FALSE(std::has_virtual_destructor_v<DsFRect>);
}

TEST(Region, HasItsTypeNamesAtRunTime) {
    const DsRect rect;
    const DsFRect rectF;
    const DsRegion& region = rect;
    const DsRegion& regionF = rectF;
    EXPECT_STREQ("8DsRegion", typeid(DsRegion).name());
    EXPECT_STREQ("6DsRect", typeid(region).name());
    EXPECT_STREQ("7DsFRect", typeid(regionF).name());
}

TEST(Region, KeepsRectangleFieldsInOrderAfterTheDispatchPointer) {
    expectFieldsBehindTheDispatchPointer<DsRect>();
    expectFieldsBehindTheDispatchPointer<DsFRect>();
}

TEST(Region, StartsRectanglesAtZeroAndFillsThemInOrder) {
    expectRect(0, 0, 0, 0, DsRect());
    expectRect(1, 2, 3, 4, DsRect(1, 2, 3, 4));
    expectRectF(0, 0, 0, 0, DsFRect());
    expectRectF(1, 2, 3, 4, DsFRect(1, 2, 3, 4));
}

TEST(Region, NeverCorrectsNegativeSizes) {
    expectRect(5, -6, -7, kMin, DsRect(5, -6, -7, kMin));
    expectRectF(5, -6, -7, -kInf, DsFRect(5, -6, -7, -kInf));
}

TEST(RectSpans, AreTheFullExtentForAnyArgument) {
    const DsRect rect(10, 20, 30, 40);
    for (const float at : {0.0F, 5.0F, -1000.0F, 5000.0F, -0.0F, 25.5F}) {
        SCOPED_TRACE(testing::Message() << "at " << at);
        expectSpan(20, 60, rect.verticalSpanAt(at));
        expectSpan(10, 40, rect.horizontalSpanAt(at));
    }
}

TEST(RectSpans, AreEmptyForAnExtentBelowOne) {
    for (const int32_t extent : {0, -1, -30, kMin}) {
        for (const float at : {0.0F, 15.0F, -1000.0F, 5000.0F}) {
            SCOPED_TRACE(testing::Message() << "at " << at);
            expectEmpty(DsRect(10, 20, extent, 40).verticalSpanAt(at));
            expectEmpty(DsRect(10, 20, 30, extent).horizontalSpanAt(at));
        }
    }
}

// The extent along the span itself is not checked.
TEST(RectSpans, MayHaveANegativeExtent) {
    expectSpan(20, 15, DsRect(10, 20, 30, -5).verticalSpanAt(0));
    expectSpan(10, 7, DsRect(10, 20, -3, 40).horizontalSpanAt(0));
    expectSpan(20, 15.5F, DsFRect(10, 20, 30, -4.5F).verticalSpanAt(0));
    expectSpan(10, 10, DsFRect(10, 20, 0, 40).horizontalSpanAt(0));
}

TEST(RectSpans, AreEmptyForNan) {
    expectEmpty(DsRect(10, 20, 30, 40).verticalSpanAt(kNan));
    expectEmpty(DsRect(10, 20, 30, 40).horizontalSpanAt(kNan));
    expectEmpty(DsFRect(10, 20, 30, 40).verticalSpanAt(kNan));
    expectEmpty(DsFRect(10, 20, 30, 40).horizontalSpanAt(-kNan));
}

TEST(RectSpans, AreEmptyAtTheInfinities) {
    for (const float at : {kInf, -kInf}) {
        SCOPED_TRACE(testing::Message() << "at " << at);
        expectEmpty(DsRect(10, 20, 30, 40).verticalSpanAt(at));
        expectEmpty(DsRect(10, 20, 30, 40).horizontalSpanAt(at));
        expectEmpty(DsFRect(10, 20, 30, 40).verticalSpanAt(at));
        expectEmpty(DsFRect(10, 20, kInf, kInf).horizontalSpanAt(at));
    }
}

// 100000000 is a multiple of 8, the distance of floats there. An extent of half of that rounds to even.
TEST(RectSpans, AreEmptyIfSinglePrecisionRoundsTheExtentAway) {
    for (int32_t extent = 1; extent <= 4; ++extent) {
        expectEmpty(DsRect(0, 0, extent, 9).verticalSpanAt(100000000.0F));
        expectEmpty(DsRect(0, 0, 9, extent).horizontalSpanAt(100000000.0F));
        expectEmpty(DsFRect(0, 0, static_cast<float>(extent), 9).verticalSpanAt(100000000.0F));
    }
    for (int32_t extent = 5; extent <= 9; ++extent) {
        expectSpan(0, 9, DsRect(0, 0, extent, 9).verticalSpanAt(100000000.0F));
        expectSpan(0, 9, DsRect(0, 0, 9, extent).horizontalSpanAt(100000000.0F));
        expectSpan(0, 9, DsFRect(0, 0, static_cast<float>(extent), 9).verticalSpanAt(100000000.0F));
    }
}

// Floats are 2^30 apart at 2^53, so an extent of 2^29 rounds to even, and a larger one does not. But 2^29 + 1
// itself is 2^29 in single precision.
TEST(RectSpans, ConvertTheExtentToSinglePrecisionBeforeTheSum) {
    const float at = 9007199254740992.0F;
    expectEmpty(DsRect(0, 0, 536870913, 9).verticalSpanAt(at));
    expectSpan(0, 9, DsRect(0, 0, 536870976, 9).verticalSpanAt(at));
    expectEmpty(DsRect(0, 0, 9, 536870913).horizontalSpanAt(at));
}

TEST(RectSpans, WrapTheIntegerEdge) {
    expectSpan(2147483648.0F, -2147483648.0F, DsRect(0, kMax, 1, 1).verticalSpanAt(0));
    expectSpan(2147483648.0F, -2.0F, DsRect(kMax, 0, kMax, 1).horizontalSpanAt(0));
    expectSpan(-2147483648.0F, 0.0F, DsRect(0, kMin, 1, kMin).verticalSpanAt(0));
}

TEST(RectSpans, RoundIntegerEdgesToTheNearestFloatAfterTheSum) {
    expectSpan(16777216, 16777218, DsRect(0, 16777217, 1, 1).verticalSpanAt(0));
    expectSpan(16777220, 16777220, DsRect(16777219, 0, 1, 1).horizontalSpanAt(0));
}

TEST(RectSpans, AddFloatEdgesInSinglePrecision) {
    expectSpan(0.1F, 0.1F + 0.2F, DsFRect(0, 0.1F, 1, 0.2F).verticalSpanAt(0));
    expectSpan(16777216, 16777216, DsFRect(16777216, 0, 1, 1).horizontalSpanAt(0));
    expectSpan(5, kInf, DsFRect(0, 5, 1, kInf).verticalSpanAt(0));
    expectSpan(-kInf, -kInf, DsFRect(0, -kInf, 1, 9).verticalSpanAt(0));
}

TEST(RectSpans, AreEmptyForAFloatExtentThatIsNotANumber) {
    expectEmpty(DsFRect(0, 0, kNan, 9).verticalSpanAt(0));
    expectEmpty(DsFRect(0, 0, 9, kNan).horizontalSpanAt(0));
    expectEmpty(DsFRect(0, 0, kInf, 9).verticalSpanAt(-kInf)); // infinity minus infinity
}

TEST(RectSpans, AreNotEmptyForTheSmallestExtentsAtZeroOnly) {
    const float tiny = std::numeric_limits<float>::denorm_min();
    expectSpan(2, 5, DsFRect(1, 2, tiny, 3).verticalSpanAt(0));
    expectEmpty(DsFRect(1, 2, tiny, 3).verticalSpanAt(1));
    expectSpan(2, 5, DsFRect(1, 2, kInf, 3).verticalSpanAt(1));
}

TEST(RectBounds, ConvertTheFourFieldsWithRounding) {
    expectRectF(16777216, 0, 1, 1, DsRect(16777217, 0, 1, 1).bounds());
    expectRectF(16777220, -16777216, 2147483648.0F, -2147483648.0F,
                DsRect(16777219, -16777217, kMax, kMin).bounds());
    expectRectF(-3, 4, -5, 0, DsRect(-3, 4, -5, 0).bounds());
}

TEST(RectBounds, CopyTheFloatRectangle) {
    expectRectF(-0.0F, 1.5F, -kInf, 1e-40F, DsFRect(-0.0F, 1.5F, -kInf, 1e-40F).bounds());
}

TEST(RectBounds, AreRectanglesWithTheSameBounds) {
    const DsFRect bounds = DsRect(10, 20, 30, 40).bounds();
    const DsRegion& region = bounds;
    expectSpan(20, 60, region.verticalSpanAt(0));
    expectRectF(10, 20, 30, 40, region.bounds());
}

TEST(RectMapping, RotatesTheRectangleByTheRotationOfTheSurface) {
    const auto mapped = [](uint32_t rotation) {
        const SurfaceShape shape(rotation, 100, 50);
        DsRect rect(10, 5, 20, 8);
        rect.mapToSurface(shape.surface);
        return rect;
    };
    expectRect(5, 20, 8, 20, mapped(90));
    expectRect(70, 37, 20, 8, mapped(180));
    expectRect(87, 10, 8, 20, mapped(270));
    for (const uint32_t rotation : {0U, 45U, 91U, 360U, 450U, 0xFFFFFFFFU}) {
        expectRect(10, 5, 20, 8, mapped(rotation));
    }
}

TEST(RectMapping, RotatesTheFloatRectangle) {
    const auto mapped = [](uint32_t rotation) {
        const SurfaceShape shape(rotation, 100, 50);
        DsFRect rect(10.5F, 5.25F, 20, 8.5F);
        rect.mapToSurface(shape.surface);
        return rect;
    };
    expectRectF(5.25F, 19.5F, 8.5F, 20, mapped(90));
    expectRectF(69.5F, 36.25F, 20, 8.5F, mapped(180));
    expectRectF(86.25F, 10.5F, 8.5F, 20, mapped(270));
    expectRectF(10.5F, 5.25F, 20, 8.5F, mapped(45));
}

TEST(RectMapping, WrapsIntegers) {
    test_rng random(41);
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const auto number = [&] { return static_cast<int32_t>(random()); };
        const int32_t W = number(), H = number(), x = number(), y = number(), w = number(),
                      h = number();
        const auto mapped = [&](uint32_t rotation) {
            const SurfaceShape shape(rotation, W, H);
            DsRect rect(x, y, w, h);
            rect.mapToSurface(shape.surface);
            return rect;
        };
        expectRect(y, cutTo32Bits(int64_t{H} - x - w), h, w, mapped(90));
        expectRect(cutTo32Bits(int64_t{W} - x - w), cutTo32Bits(int64_t{H} - y - h), w, h,
                   mapped(180));
        expectRect(cutTo32Bits(int64_t{W} - y - h), x, h, w, mapped(270));
    }
}

// (H - x) - w and H - (x + w) differ here, and both differ from double precision.
TEST(RectMapping, SubtractsFloatsFromLeftToRightInSinglePrecision) {
    const SurfaceShape shape(90, 16777219, 16777217);
    DsFRect rect(0.5F, 2, 0.5F, 3);
    rect.mapToSurface(shape.surface);
    expectRectF(2, 16777216, 3, 0.5F, rect);
    const SurfaceShape turned(180, 16777219, 16777217);
    DsFRect other(1, 1, 1, 1);
    other.mapToSurface(turned.surface);
    expectRectF(16777220, 16777214, 1, 1, other);
}

TEST(RectMapping, FollowsTheSinglePrecisionFormulasOnRandomFloats) {
    test_rng random(42);
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const auto number = [&] { return static_cast<float>(static_cast<int32_t>(random())) / 7; };
        const auto size = static_cast<int32_t>(random());
        const float S = static_cast<float>(size);
        const float x = number(), y = number(), w = number(), h = number();
        const auto mapped = [&](uint32_t rotation) {
            const SurfaceShape shape(rotation, size, size);
            DsFRect rect(x, y, w, h);
            rect.mapToSurface(shape.surface);
            return rect;
        };
        const float left = S - x, top = S - y;
        expectRectF(y, left - w, h, w, mapped(90));
        expectRectF(left - w, top - h, w, h, mapped(180));
        expectRectF(top - h, x, h, w, mapped(270));
    }
}

TEST(RectMoving, TruncatesTowardZero) {
    const auto moved = [](int32_t at, float by) {
        DsRect rect(at, at, 3, 3);
        rect.moveBy({by, by});
        expectRect(rect.mX, rect.mX, 3, 3, rect);
        return rect.mX;
    };
    EXPECT_EQ(4, moved(5, -0.5F));
    EXPECT_EQ(-4, moved(-5, 0.5F));
    EXPECT_EQ(0, moved(0, 0.99F));
    EXPECT_EQ(0, moved(0, -0.99F));
    EXPECT_EQ(-1, moved(0, -1.99F));
    EXPECT_EQ(7, moved(7, -0.0F));
}

TEST(RectMoving, MovesEachAxisByItsOwnOffset) {
    DsRect rect(1, 1, 3, 3);
    const DsFRect bounds = rect.moveBy({0.7F, -0.7F});
    expectRect(1, 0, 3, 3, rect);
    expectRectF(1, 0, 3, 3, bounds);
}

TEST(RectMoving, ReturnsTheBoundsAfterTheMove) {
    DsRect rect(10, 20, 30, 40);
    const DsFRect bounds = rect.moveBy({100, -200});
    expectRect(110, -180, 30, 40, rect);
    expectRectF(110, -180, 30, 40, bounds);
}

TEST(RectMoving, GivesTheMinIntegerForSumsThatDoNotFit) {
    for (const float by : {kNan, -kNan, kInf, -kInf, 3e9F, -3e9F, 2147483648.0F, 1e38F}) {
        SCOPED_TRACE(testing::Message() << "by " << by);
        DsRect rect(0, 0, 3, 3);
        rect.moveBy({by, 0});
        expectRect(kMin, 0, 3, 3, rect);
        rect.mX = 0;
        rect.moveBy({0, by});
        expectRect(0, kMin, 3, 3, rect);
    }
}

TEST(RectMoving, KeepsTheLastSumsThatFit) {
    DsRect rect(0, 0, 3, 3);
    rect.moveBy({2147483520.0F, -2147483648.0F});
    expectRect(2147483520, kMin, 3, 3, rect);
}

// The position is converted to single precision: the highest one becomes 2^31, which is out of range, and low
// bits beyond 2^24 are lost even by a move of 0.
TEST(RectMoving, RoundsToSinglePrecisionEvenWithoutAnOffset) {
    DsRect rect(kMax, 16777217, 3, 3);
    const DsFRect bounds = rect.moveBy({0, 0});
    expectRect(kMin, 16777216, 3, 3, rect);
    expectRectF(-2147483648.0F, 16777216, 3, 3, bounds);
}

TEST(RectMoving, AddsFloatsInSinglePrecision) {
    DsFRect rect(0.1F, 16777216, 3, 4);
    const DsFRect result = rect.moveBy({0.2F, 1});
    expectRectF(0.1F + 0.2F, 16777216, 3, 4, rect);
    expectRectF(0.1F + 0.2F, 16777216, 3, 4, result);
}

TEST(RectMoving, KeepsInfinityAndNanInFloats) {
    DsFRect rect(1, 2, 3, 4);
    rect.moveBy({kInf, -kInf});
    expectRectF(kInf, -kInf, 3, 4, rect);
    rect.moveBy({-kInf, 1});
    EXPECT_TRUE(rect.mX != rect.mX);
    expectBits(-kInf, rect.mY, "y");
}

TEST(RectMoving, WorksThroughTheRegion) {
    DsRect rect(1, 2, 3, 4);
    DsRegion& region = rect;
    expectRectF(2, 3, 3, 4, region.moveBy({1, 1}));
    expectRectF(2, 3, 3, 4, region.bounds());
}

} // namespace
