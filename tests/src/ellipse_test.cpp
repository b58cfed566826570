// Ellipse spans, polar points, arc boxes and rounding: compared bit by bit with independent formulas of the
// same order and precision, and with double precision within the rounding of floats.
#include "src/ds_ellipse.h"
#include "tests/src/dispatch_slot.h"
#include "tests/src/surface_makers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <typeinfo>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr double kPi = 3.141592653589793;
constexpr double kUlp = 1.0 / (1 << 24); // half a unit in the last place of a float, relative

// Equality of bits. All NaNs are equal, because their signs and payloads depend on the machine.
bool sameBits(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

void expectBits(float expected, float actual, const char* what) {
    EXPECT_TRUE(sameBits(expected, actual)) << what << ": " << expected << " and " << actual;
}

void expectSpan(float first, float last, const DsFSpan& span) {
    expectBits(first, span.first, "first");
    expectBits(last, span.last, "last");
}

void expectRectF(const DsFRect& expected, const DsFRect& actual) {
    expectBits(expected.mX, actual.mX, "x");
    expectBits(expected.mY, actual.mY, "y");
    expectBits(expected.mWidth, actual.mWidth, "width");
    expectBits(expected.mHeight, actual.mHeight, "height");
}

void expectPoint(const DsFPoint& expected, const DsFPoint& actual) {
    expectBits(expected.x, actual.x, "x");
    expectBits(expected.y, actual.y, "y");
}

// ---- The formulas

double inRadians(float degrees) {
    const double product = static_cast<double>(degrees) * kPi;
    return product / 180.0;
}

float modelNormalized(float angle) {
    const auto n = static_cast<float>(std::fmod(static_cast<double>(angle), 360.0));
    return n < 0 ? n + 360.0F : n;
}

int modelQuadrant(float normalized) {
    // A value that does not fit becomes an integer whose low byte is 0.
    return std::isnan(normalized)
               ? 0
               : static_cast<int>(std::floor(static_cast<double>(normalized) / 90.0));
}

struct ModelBox {
    float minX, maxX, minY, maxY;

    void extendBy(const DsFPoint& p) {
        if (p.x > maxX) {
            maxX = p.x;
        }
        if (minX > p.x) {
            minX = p.x;
        }
        if (p.y > maxY) {
            maxY = p.y;
        }
        if (minY > p.y) {
            minY = p.y;
        }
    }
};

// Extends a box by an arc, with functions for its points at angles and at axes.
template <typename PointAt, typename AxisAt>
void extendByModelArc(ModelBox& box, float startAngle, float endAngle, PointAt pointAt,
                      AxisAt axisAt) {
    const float start = modelNormalized(startAngle);
    const float end = modelNormalized(endAngle);
    box.extendBy(pointAt(start));
    box.extendBy(pointAt(end));
    const int first = modelQuadrant(start);
    const int last = modelQuadrant(end);
    if (first == last && !(start > end)) {
        return;
    }
    for (int k = first + 1;; k = k % 4 + 1) {
        box.extendBy(axisAt(k % 4));
        if (k % 4 == last) {
            return;
        }
    }
}

struct ModelEllipse {
    float centerX, centerY, radiusX, radiusY;

    float radiusX2() const { return radiusX * radiusX; }
    float radiusY2() const { return radiusY * radiusY; }

    DsFSpan verticalSpanAt(float x) const {
        const float d = x - centerX;
        if (!(radiusX >= std::fabs(d))) {
            return {kInf, -kInf};
        }
        const float ratio = radiusY2() / radiusX2();
        const float square = d * d;
        const float v = radiusY2() - square * ratio;
        const float s = std::sqrt(v);
        return {centerY - s, centerY + s};
    }

    // The mirror image: exchange the axes.
    DsFSpan horizontalSpanAt(float y) const {
        return ModelEllipse{centerY, centerX, radiusY, radiusX}.verticalSpanAt(y);
    }

    float radiusAt(float angle) const {
        const auto sn = static_cast<float>(std::sin(inRadians(angle)));
        const auto cs = static_cast<float>(std::cos(inRadians(angle)));
        const float partX = radiusX * radiusX * sn * sn;
        const float partY = radiusY * radiusY * cs * cs;
        return (radiusX * radiusY) / std::sqrt(partX + partY);
    }

    DsFPoint pointAt(float angle) const {
        const double r = static_cast<double>(radiusAt(angle));
        const double x = static_cast<double>(centerX) + r * std::cos(inRadians(angle));
        const double y = static_cast<double>(centerY) - r * std::sin(inRadians(angle));
        return {static_cast<float>(x), static_cast<float>(y)};
    }

    DsFRect arcBounds(bool sector, float start, float end) const {
        ModelBox box = {centerX, centerX, centerY, centerY};
        if (!sector) {
            box = {centerX + radiusX, centerX - radiusX, centerY + radiusY, centerY - radiusY};
        }
        extendByModelArc(
            box, start, end, [this](float angle) { return pointAt(angle); },
            [this](int axis) { return pointAt(static_cast<float>(axis * 90)); });
        return {box.minX, box.minY, box.maxX - box.minX, box.maxY - box.minY};
    }
};

DsFPoint modelUnitPoint(double radians) {
    return {static_cast<float>(std::cos(radians)), -static_cast<float>(std::sin(radians))};
}

ModelBox modelUnitArc(bool sector, float start, float end) {
    ModelBox box = {1, -1, 1, -1};
    if (sector) {
        box = {0, 0, 0, 0};
    }
    extendByModelArc(
        box, start, end, [](float angle) { return modelUnitPoint(inRadians(angle)); },
        [](int axis) { return modelUnitPoint(static_cast<double>(axis) * kPi * 0.5); });
    return box;
}

// ---- Makers

DsEllipse ellipseOf(const ModelEllipse& model) {
    return DsEllipse({model.centerX, model.centerY}, {model.radiusX, model.radiusY});
}

// The ellipse of the documentation: center (5, 3), radii (5, 3).
DsEllipse smallEllipse() {
    DsEllipse ellipse({0, 0}, {1, 1});
    ellipse.setFromRect(DsFRect(0, 0, 10, 6));
    return ellipse;
}

// The eight fields after the dispatch pointer.
std::array<float, 8> fieldsOf(const DsEllipse& ellipse) {
    std::array<float, 8> fields;
    std::memcpy(fields.data(), reinterpret_cast<const char*>(&ellipse) + sizeof(void*),
                sizeof fields);
    return fields;
}

void expectFields(const ModelEllipse& model, const DsEllipse& ellipse) {
    const float x2 = model.radiusX2(), y2 = model.radiusY2();
    const std::array<float, 8> expected = {
        model.centerX, model.centerY, model.radiusX, model.radiusY, x2, y2, x2 / y2, y2 / x2};
    const std::array<float, 8> fields = fieldsOf(ellipse);
    for (size_t i = 0; i < fields.size(); ++i) {
        EXPECT_TRUE(sameBits(expected[i], fields[i]))
            << "field " << i << ": " << expected[i] << " and " << fields[i];
    }
}

// A number with a fraction, from -limit to limit.
float randomNumber(test_rng& random, float limit) {
    return (static_cast<float>(random() % 2000001) / 1000000.0F - 1.0F) * limit;
}

ModelEllipse randomEllipse(test_rng& random) {
    constexpr float kSizes[] = {0.01F, 1, 30, 1000, 3e6F};
    const float size = kSizes[random() % std::size(kSizes)];
    return {randomNumber(random, size), randomNumber(random, size),
            std::fabs(randomNumber(random, size)), std::fabs(randomNumber(random, size))};
}

// Angles of every kind, except those that normalize to exactly 360: an arc's loop would not end.
float randomAngle(test_rng& random) {
    switch (random() % 4) {
    case 0:
        return static_cast<float>(random() % 33) * 45.0F - 720.0F;
    case 1:
        return std::nextafter(static_cast<float>(random() % 8 + 1) * 90.0F,
                              random() % 2 == 0 ? 1000.0F : 0.0F);
    case 2:
        return randomNumber(random, 1e9F);
    default:
        return randomNumber(random, 800.0F);
    }
}

ModelBox unitArc(bool sector, float start, float end) {
    ModelBox box = {9, 9, 9, 9};
    unitArcExtents(sector, box.minX, box.maxX, box.minY, box.maxY, start, end);
    return box;
}

void expectBox(const ModelBox& expected, const ModelBox& actual) {
    expectBits(expected.minX, actual.minX, "minX");
    expectBits(expected.maxX, actual.maxX, "maxX");
    expectBits(expected.minY, actual.minY, "minY");
    expectBits(expected.maxY, actual.maxY, "maxY");
}

// ---- The object

TEST(Ellipse, IsARegionWithItsFieldsAfterTheDispatchPointer) {
    static_assert(std::is_base_of_v<DsRegion, DsEllipse>);
    static_assert(!std::has_virtual_destructor_v<DsEllipse>);
    EXPECT_EQ(0U, slotOf(&DsEllipse::verticalSpanAt));
    EXPECT_EQ(1U, slotOf(&DsEllipse::horizontalSpanAt));
    EXPECT_EQ(2U, slotOf(&DsEllipse::bounds));
    EXPECT_EQ(3U, slotOf(&DsEllipse::mapToSurface));
    EXPECT_EQ(4U, slotOf(&DsEllipse::moveBy));
    EXPECT_EQ(sizeof(void*) + 8 * sizeof(float), sizeof(DsEllipse));
    expectFields({7, -8, 2, 5}, DsEllipse({7, -8}, {2, 5}));
    const DsEllipse ellipse({0, 0}, {1, 1});
    const DsRegion& region = ellipse;
    EXPECT_STREQ(typeid(DsEllipse).name(), typeid(region).name());
}

TEST(Ellipse, IsCopiedByValue) {
    DsEllipse ellipse({7, -8}, {2, 5});
    DsEllipse copy = ellipse;
    ellipse.setRadii({1, 1});
    expectFields({7, -8, 2, 5}, copy);
    copy = ellipse;
    expectFields({7, -8, 1, 1}, copy);
}

TEST(Ellipse, RecomputesItsCachedValuesWithTheRadii) {
    test_rng random(81);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse model = randomEllipse(random);
        DsEllipse ellipse({model.centerX, model.centerY}, {1, 2});
        ellipse.setRadii({model.radiusX, model.radiusY});
        expectFields(model, ellipse);
    }
}

TEST(Ellipse, KeepsAnyRadii) {
    for (const float radius : {0.0F, -0.0F, -3.0F, kInf, kNan, 1e30F, 1e-30F}) {
        SCOPED_TRACE(testing::Message() << "radius " << radius);
        DsEllipse ellipse({1, 2}, {4, 5});
        ellipse.setRadii({radius, 3});
        expectFields({1, 2, radius, 3}, ellipse);
        ellipse.setRadii({3, radius});
        expectFields({1, 2, 3, radius}, ellipse);
    }
}

TEST(EllipseFromRect, ComputesTheCenterInDoublePrecision) {
    test_rng random(82);
    for (int round = 0; round < 5000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse numbers = randomEllipse(random);
        const float x = numbers.centerX * 100, y = numbers.centerY * 100;
        const float w = numbers.radiusX, h = numbers.radiusY;
        DsEllipse ellipse({0, 0}, {1, 1});
        ellipse.setFromRect(DsFRect(x, y, w, h));
        const auto middle = [](float start, float size) {
            return static_cast<float>(static_cast<double>(start) + static_cast<double>(size) * 0.5);
        };
        expectFields({middle(x, w), middle(y, h), 0.5F * w, h * 0.5F}, ellipse);
    }
}

// Half of the smallest float is 0 in single precision, but in double precision it changes the rounding of the
// center.
TEST(EllipseFromRect, DiffersFromSinglePrecisionAtTinySizes) {
    constexpr float kTiny = std::numeric_limits<float>::denorm_min();
    DsEllipse ellipse({0, 0}, {1, 1});
    ellipse.setFromRect(DsFRect(kTiny, kTiny, kTiny, kTiny));
    EXPECT_EQ(2 * kTiny, fieldsOf(ellipse)[0]);
    EXPECT_EQ(2 * kTiny, fieldsOf(ellipse)[1]);
    EXPECT_EQ(0.0F, fieldsOf(ellipse)[2]);
}

TEST(EllipseFromRect, HasTheKnownExample) {
    expectFields({5, 3, 5, 3}, smallEllipse());
}

TEST(EllipseBounds, AreCenterMinusRadiiAndTwiceTheRadii) {
    expectRectF(DsFRect(0, 0, 10, 6), smallEllipse().bounds());
    test_rng random(83);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse e = randomEllipse(random);
        expectRectF(DsFRect(e.centerX - e.radiusX, e.centerY - e.radiusY, e.radiusX + e.radiusX,
                            e.radiusY + e.radiusY),
                    ellipseOf(e).bounds());
    }
}

TEST(EllipseMoveBy, MovesTheCenterAndReturnsTheBounds) {
    test_rng random(84);
    for (int round = 0; round < 1000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse e = randomEllipse(random);
        const DsFPoint offset = {randomNumber(random, 100), randomNumber(random, 100)};
        DsEllipse ellipse = ellipseOf(e);
        const DsFRect moved = ellipse.moveBy(offset);
        expectFields({e.centerX + offset.x, e.centerY + offset.y, e.radiusX, e.radiusY}, ellipse);
        expectRectF(ellipse.bounds(), moved);
    }
}

TEST(EllipseMapping, RotatesTheCenterBetweenPixelsAndExchangesTheRadii) {
    test_rng random(85);
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse e = randomEllipse(random);
        const auto width = static_cast<int32_t>(random());
        const auto height = static_cast<int32_t>(random() % 5000);
        const auto W = static_cast<float>(width);
        const auto H = static_cast<float>(height);
        const auto expectMapped = [&](uint32_t rotation, const ModelEllipse& expected) {
            DsEllipse ellipse = ellipseOf(e);
            ellipse.mapToSurface(SurfaceShape(rotation, width, height).surface);
            expectFields(expected, ellipse);
        };
        expectMapped(0, e);
        expectMapped(90, {e.centerY, H - e.centerX, e.radiusY, e.radiusX});
        expectMapped(180, {W - e.centerX, H - e.centerY, e.radiusX, e.radiusY});
        expectMapped(270, {W - e.centerY, e.centerX, e.radiusY, e.radiusX});
        expectMapped(45, e);
        expectMapped(360, e);
    }
}

TEST(EllipseMapping, HasTheKnownExample) {
    DsEllipse ellipse = smallEllipse();
    ellipse.mapToSurface(SurfaceShape(90, 100, 50).surface);
    expectFields({3, 45, 3, 5}, ellipse);
}

TEST(EllipseMapping, KeepsSignedZerosWithoutRotation) {
    DsEllipse ellipse({-0.0F, -0.0F}, {1, 1});
    ellipse.mapToSurface(SurfaceShape(0, 10, 10).surface);
    expectFields({-0.0F, -0.0F, 1, 1}, ellipse);
}

// ---- Spans

TEST(EllipseSpans, HaveTheKnownExamples) {
    const DsEllipse ellipse = smallEllipse();
    expectSpan(0, 6, ellipse.verticalSpanAt(5));
    expectSpan(3, 3, ellipse.verticalSpanAt(10));
    expectSpan(3, 3, ellipse.verticalSpanAt(0));
    expectSpan(kInf, -kInf, ellipse.verticalSpanAt(10.5F));
    expectSpan(kInf, -kInf, ellipse.verticalSpanAt(-0.5F));
    expectSpan(0, 10, ellipse.horizontalSpanAt(3));
    expectSpan(5, 5, ellipse.horizontalSpanAt(6));
    expectSpan(kInf, -kInf, ellipse.horizontalSpanAt(6.5F));
}

TEST(EllipseSpans, FollowTheOrderOfOperationsBitByBit) {
    test_rng random(86);
    for (int round = 0; round < 30000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse model = randomEllipse(random);
        const DsEllipse ellipse = ellipseOf(model);
        const float x = model.centerX + model.radiusX * randomNumber(random, 1.1F);
        const float y = model.centerY + model.radiusY * randomNumber(random, 1.1F);
        const DsFSpan vertical = model.verticalSpanAt(x);
        const DsFSpan horizontal = model.horizontalSpanAt(y);
        expectSpan(vertical.first, vertical.last, ellipse.verticalSpanAt(x));
        expectSpan(horizontal.first, horizontal.last, ellipse.horizontalSpanAt(y));
    }
}

TEST(EllipseSpans, EqualTheTrueEllipseWithinRounding) {
    test_rng random(87);
    for (int round = 0; round < 30000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        ModelEllipse model = randomEllipse(random);
        model.centerX = model.centerY = 0;
        const float x = model.radiusX * randomNumber(random, 1.0F);
        const DsFSpan span = ellipseOf(model).verticalSpanAt(x);
        const double rx = model.radiusX, ry = model.radiusY, d = x;
        const double truth = ry * ry * (1 - d * d / (rx * rx));
        if (std::isnan(span.last)) {
            EXPECT_LE(truth, 12 * kUlp * ry * ry);
        } else {
            const double last = span.last;
            EXPECT_NEAR(truth, last * last, 12 * kUlp * ry * ry);
            EXPECT_EQ(-span.first, span.last);
        }
    }
}

TEST(EllipseSpans, IncludeBothEndsOfTheRadius) {
    const DsEllipse circle({10, 20}, {4, 4});
    expectSpan(20, 20, circle.verticalSpanAt(6));
    expectSpan(20, 20, circle.verticalSpanAt(14));
    expectSpan(kInf, -kInf, circle.verticalSpanAt(std::nextafter(14.0F, 15.0F)));
    expectSpan(kInf, -kInf, circle.verticalSpanAt(std::nextafter(6.0F, 5.0F)));
    expectSpan(10, 10, circle.horizontalSpanAt(16));
    expectSpan(10, 10, circle.horizontalSpanAt(24));
}

TEST(EllipseSpans, AreEmptyForNanAndInfinity) {
    const DsEllipse ellipse = smallEllipse();
    for (const float number : {kNan, kInf, -kInf}) {
        SCOPED_TRACE(testing::Message() << "number " << number);
        expectSpan(kInf, -kInf, ellipse.verticalSpanAt(number));
        expectSpan(kInf, -kInf, ellipse.horizontalSpanAt(number));
    }
    expectSpan(kInf, -kInf, DsEllipse({kNan, kNan}, {1, 1}).verticalSpanAt(0));
    expectSpan(kInf, -kInf, DsEllipse({0, 0}, {-1, -1}).horizontalSpanAt(0));
}

// At the edge of the ellipse, rounding may make the value under the root negative. It is not clamped.
TEST(EllipseSpans, MayBeNanAtTheEdge) {
    int nans = 0;
    for (int i = 1; i < 300; ++i) {
        const ModelEllipse model = {0, 0, static_cast<float>(i) * 0.7F, 3.3F};
        const DsFSpan expected = model.verticalSpanAt(model.radiusX);
        expectSpan(expected.first, expected.last, ellipseOf(model).verticalSpanAt(model.radiusX));
        nans += std::isnan(expected.first) ? 1 : 0;
    }
    EXPECT_GT(nans, 10);
}

TEST(EllipseSpans, OfAZeroRadiusAreNan) {
    const DsEllipse flat({5, 3}, {0, 2});
    expectSpan(kNan, kNan, flat.verticalSpanAt(5));
    expectSpan(kInf, -kInf, flat.verticalSpanAt(5.1F));
    expectSpan(5, 5, flat.horizontalSpanAt(4));
}

// ---- Polar geometry

TEST(EllipsePolar, HasTheKnownExamples) {
    const DsEllipse ellipse = smallEllipse();
    EXPECT_EQ(5.0F, ellipse.radiusAt(0));
    EXPECT_FLOAT_EQ(3.0F, ellipse.radiusAt(90));
    expectPoint({10, 3}, ellipse.pointAt(0));
    expectPoint({5, 0}, ellipse.pointAt(90));
    expectPoint({0, 3}, ellipse.pointAt(180));
    expectPoint({5, 6}, ellipse.pointAt(270));
}

TEST(EllipsePolar, FollowsTheOrderOfOperationsBitByBit) {
    test_rng random(88);
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse model = randomEllipse(random);
        const DsEllipse ellipse = ellipseOf(model);
        const float angle = randomAngle(random);
        expectBits(model.radiusAt(angle), ellipse.radiusAt(angle), "radius");
        expectPoint(model.pointAt(angle), ellipse.pointAt(angle));
    }
}

TEST(EllipsePolar, EqualsTheTrueEllipseWithinRounding) {
    test_rng random(89);
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        ModelEllipse model = randomEllipse(random);
        model.radiusX += 0.01F;
        model.radiusY += 0.01F;
        const float angle = randomNumber(random, 720);
        const double rx = model.radiusX, ry = model.radiusY;
        const double sine = std::sin(inRadians(angle)), cosine = std::cos(inRadians(angle));
        const double truth = 1 / std::hypot(cosine / rx, sine / ry);
        const DsEllipse ellipse = ellipseOf(model);
        EXPECT_NEAR(truth, ellipse.radiusAt(angle), 12 * kUlp * truth);
        const DsFPoint point = ellipse.pointAt(angle);
        const double x = model.centerX, y = model.centerY;
        EXPECT_NEAR(x + truth * cosine, point.x, 12 * kUlp * (truth + std::fabs(x)));
        EXPECT_NEAR(y - truth * sine, point.y, 12 * kUlp * (truth + std::fabs(y)));
    }
}

TEST(EllipsePolar, IsNanForNanAndInfiniteAngles) {
    const DsEllipse ellipse = smallEllipse();
    for (const float angle : {kNan, kInf, -kInf}) {
        SCOPED_TRACE(testing::Message() << "angle " << angle);
        EXPECT_TRUE(std::isnan(ellipse.radiusAt(angle)));
        expectPoint({kNan, kNan}, ellipse.pointAt(angle));
    }
}

TEST(EllipsePolar, OfZeroRadiiIsNan) {
    EXPECT_TRUE(std::isnan(DsEllipse({0, 0}, {0, 0}).radiusAt(30)));
    EXPECT_TRUE(std::isnan(DsEllipse({0, 0}, {5, 0}).radiusAt(0)));
}

// ---- Arcs

TEST(ArcBounds, HaveTheKnownExamples) {
    const DsEllipse ellipse = smallEllipse();
    expectRectF(DsFRect(5, 0, 5, 3), ellipse.arcBounds(false, 0, 90));
    expectRectF(DsFRect(5, 0, 5, 3), ellipse.arcBounds(true, 0, 90));
    EXPECT_EQ(0.0F, ellipse.arcBounds(false, 45, 135).mY);
    expectRectF(DsFRect(0, 0, 10, 6), ellipse.arcBounds(false, 10, 5));
}

TEST(ArcBounds, TakeAnglesModulo360) {
    const DsEllipse ellipse = smallEllipse();
    for (const bool sector : {false, true}) {
        expectRectF(ellipse.arcBounds(sector, 270, 30), ellipse.arcBounds(sector, -90, 30));
        expectRectF(ellipse.arcBounds(sector, 30, 270), ellipse.arcBounds(sector, 30, -90));
        expectRectF(ellipse.arcBounds(sector, 90, 200), ellipse.arcBounds(sector, 450, 560));
    }
}

TEST(ArcBounds, From0To360AreASinglePoint) {
    const DsEllipse ellipse = smallEllipse();
    expectRectF(DsFRect(10, 3, 0, 0), ellipse.arcBounds(false, 0, 360));
    expectRectF(DsFRect(10, 3, 0, 0), ellipse.arcBounds(false, 360, -360));
    expectRectF(DsFRect(5, 3, 5, 0), ellipse.arcBounds(true, 0, 360));
}

TEST(ArcBounds, FollowTheOrderOfOperationsBitByBit) {
    test_rng random(90);
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse model = randomEllipse(random);
        const float start = randomAngle(random), end = randomAngle(random);
        const bool sector = random() % 2 == 0;
        expectRectF(model.arcBounds(sector, start, end),
                    ellipseOf(model).arcBounds(sector, start, end));
    }
}

// The box of the true arc: its ends, and every axis between them.
TEST(ArcBounds, ContainTheTrueArcWithinRounding) {
    test_rng random(91);
    for (int round = 0; round < 5000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const ModelEllipse model = {randomNumber(random, 50), randomNumber(random, 50),
                                    std::fabs(randomNumber(random, 40)) + 1,
                                    std::fabs(randomNumber(random, 40)) + 1};
        const auto start = static_cast<float>(random() % 3600) / 10.0F;
        const auto end = static_cast<float>(random() % 3600) / 10.0F;
        double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
        const auto extendBy = [&](double degrees) {
            const double sine = std::sin(degrees * kPi / 180),
                         cosine = std::cos(degrees * kPi / 180);
            const double r = 1 / std::hypot(cosine / model.radiusX, sine / model.radiusY);
            minX = std::min(minX, model.centerX + r * cosine);
            maxX = std::max(maxX, model.centerX + r * cosine);
            minY = std::min(minY, model.centerY - r * sine);
            maxY = std::max(maxY, model.centerY - r * sine);
        };
        const double last = end < start ? end + 360.0 : end;
        extendBy(start);
        extendBy(last);
        for (double axis = 0; axis <= 720; axis += 90) {
            if (axis >= start && axis <= last) {
                extendBy(axis);
            }
        }
        const DsFRect box = ellipseOf(model).arcBounds(false, start, end);
        EXPECT_NEAR(minX, box.mX, 1e-4);
        EXPECT_NEAR(minY, box.mY, 1e-4);
        EXPECT_NEAR(maxX - minX, box.mWidth, 1e-4) << start << " to " << end;
        EXPECT_NEAR(maxY - minY, box.mHeight, 1e-4) << start << " to " << end;
    }
}

TEST(ArcBounds, TerminateForNanAndInfiniteAngles) {
    const ModelEllipse model = {5, 3, 5, 3};
    const DsEllipse ellipse = ellipseOf(model);
    for (const float angle : {kNan, kInf, -kInf}) {
        for (const float other : {0.0F, 45.0F, 100.0F, 200.0F, 300.0F, kNan, kInf}) {
            SCOPED_TRACE(testing::Message() << "other " << other);
            for (const bool sector : {false, true}) {
                expectRectF(model.arcBounds(sector, angle, other),
                            ellipse.arcBounds(sector, angle, other));
                expectRectF(model.arcBounds(sector, other, angle),
                            ellipse.arcBounds(sector, other, angle));
            }
        }
    }
    // Nothing extends the box: it keeps min above max, or the center.
    expectRectF(DsFRect(10, 6, -10, -6), ellipse.arcBounds(false, kNan, kNan));
    expectRectF(DsFRect(5, 3, 0, 0), ellipse.arcBounds(true, kInf, kNan));
}

// A start angle may normalize to 360. Then the box includes all axes up to the end's.
TEST(ArcBounds, StartFromATinyNegativeAngle) {
    const ModelEllipse model = {5, 3, 5, 3};
    ASSERT_EQ(360.0F, modelNormalized(-0.000001F));
    for (const float end : {10.0F, 100.0F, 200.0F, 300.0F}) {
        SCOPED_TRACE(testing::Message() << "end " << end);
        expectRectF(model.arcBounds(false, -0.000001F, end),
                    ellipseOf(model).arcBounds(false, -0.000001F, end));
    }
    expectRectF(DsFRect(0, 0, 10, 6), smallEllipse().arcBounds(false, -0.000001F, 10));
}

TEST(UnitArcExtents, FollowTheOrderOfOperationsBitByBit) {
    test_rng random(92);
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const float start = randomAngle(random), end = randomAngle(random);
        for (const bool sector : {false, true}) {
            expectBox(modelUnitArc(sector, start, end), unitArc(sector, start, end));
        }
    }
}

TEST(UnitArcExtents, CoverQuadrantsAndTheWholeCircle) {
    constexpr float kSmall = 1e-7F;
    const ModelBox quarter = unitArc(false, 0, 90);
    EXPECT_NEAR(0, quarter.minX, kSmall);
    EXPECT_EQ(1.0F, quarter.maxX);
    EXPECT_EQ(-1.0F, quarter.minY);
    EXPECT_NEAR(0, quarter.maxY, kSmall);
    expectBox({-1, 1, -1, 1}, unitArc(false, 10, 5));
    expectBox({-1, 1, -1, 1}, unitArc(true, 10, 5));
    const ModelBox slice = unitArc(true, 30, 60);
    EXPECT_EQ(0.0F, slice.minX);
    EXPECT_EQ(0.0F, slice.maxY);
}

TEST(UnitArcExtents, TakeAnglesModulo360) {
    expectBox(unitArc(false, 270, 30), unitArc(false, -90, 30));
    expectBox(unitArc(true, 90, 200), unitArc(true, 450, 560));
}

// The negation follows the rounding, so the point at 0 degrees has y = -0.
TEST(UnitArcExtents, KeepSignedZeros) {
    expectBox({1, 1, -0.0F, -0.0F}, unitArc(false, 0, 0));
    expectBox({1, 1, -0.0F, -0.0F}, unitArc(false, 0, 360));
    expectBox({1, 1, 0.0F, 0.0F}, unitArc(false, -360, -0.0F));
    expectBox({0, 1, 0.0F, 0.0F}, unitArc(true, 0, 0));
}

TEST(UnitArcExtents, TerminateForNanAndInfiniteAngles) {
    for (const float angle : {kNan, kInf, -kInf}) {
        SCOPED_TRACE(testing::Message() << "angle " << angle);
        expectBox({1, -1, 1, -1}, unitArc(false, angle, angle));
        expectBox({0, 0, 0, 0}, unitArc(true, angle, angle));
        expectBox(modelUnitArc(false, angle, 200), unitArc(false, angle, 200));
        expectBox(modelUnitArc(false, 200, angle), unitArc(false, 200, angle));
    }
}

TEST(UnitArcExtents, StartFromATinyNegativeAngle) {
    expectBox(modelUnitArc(false, -0.000001F, 10), unitArc(false, -0.000001F, 10));
    expectBox({-1, 1, -1, 1}, unitArc(false, -0.000001F, 10));
}

// ---- Rounding

DsPoint rounded(float x, float y) {
    const DsFPoint source = {x, y};
    DsPoint target = {77, 77};
    const DsPoint& result = roundPoint(target, source);
    EXPECT_EQ(&target, &result);
    return target;
}

void expectRounded(int32_t x, int32_t y, const DsPoint& point) {
    EXPECT_EQ(x, point.x);
    EXPECT_EQ(y, point.y);
}

TEST(RoundPoint, RoundsHalvesAwayFromZero) {
    expectRounded(3, -3, rounded(2.5F, -2.5F));
    expectRounded(1, -1, rounded(1.49F, -0.5F));
    expectRounded(1, 0, rounded(0.5F, -0.49F));
    expectRounded(0, 0, rounded(0.0F, -0.0F));
    // The float just below 0.5 must not be rounded up, as it would be by adding 0.5.
    expectRounded(0, 0, rounded(std::nextafter(0.5F, 0.0F), std::nextafter(-0.5F, 0.0F)));
    expectRounded(8388609, -8388609, rounded(8388609.0F, -8388609.0F));
}

TEST(RoundPoint, EqualsExactRoundingForAllQuarters) {
    for (int32_t quarters = -4000; quarters <= 4000; ++quarters) {
        const int32_t size = std::abs(quarters);
        const int32_t whole = (size + 2) / 4 * (quarters < 0 ? -1 : 1);
        const float number = static_cast<float>(quarters) / 4;
        expectRounded(whole, -whole, rounded(number, -number));
    }
}

TEST(RoundPoint, GivesTheMinIntegerOutOfRange) {
    expectRounded(kMin, kMin, rounded(kNan, kInf));
    expectRounded(kMin, kMin, rounded(-kInf, 2147483648.0F));
    expectRounded(kMin, kMin, rounded(-2147483648.0F, -2147483904.0F));
    expectRounded(2147483520, -2147483520, rounded(2147483520.0F, -2147483520.0F));
}

} // namespace
