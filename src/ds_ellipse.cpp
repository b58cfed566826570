// Ellipse spans, polar points, and the bounding boxes of arcs.
#include "src/ds_ellipse.h"

#include "src/ds_surface.h"
#include "src/internal/rounding.h"

#include <cmath>

// Results are pinned bit by bit, so a product and a sum must not become one FMA instruction, which rounds once.
// The pragmas hold for every build, whatever its flags.
#if defined(__clang__)
#pragma clang fp contract(off)
#elif defined(__GNUC__)
#pragma GCC optimize("fp-contract=off")
#endif

using namespace ds_detail;

namespace {

constexpr double kPi = 3.141592653589793;

double radians(float angle) {
    return static_cast<double>(angle) * kPi / 180.0;
}

// A direction as a point of the unit circle, y upwards.
struct Direction {
    double cosine, sine;
};

Direction directionAt(double angleInRadians) {
    Direction direction;
    sincos(angleInRadians, &direction.sine, &direction.cosine);
    return direction;
}

// The span that an ellipse covers in one row or column. `offset` is the distance of the row or column
// from the center along one axis, `radius` the radius along it. `center` and `otherRadius2` belong to
// the other axis.
DsFSpan spanAt(float offset, float radius, float center, float otherRadius2, float ratio) {
    if (!(radius >= std::fabs(offset))) { // NaN included
        return kEmptySpan;
    }
    const float half = std::sqrt(otherRadius2 - offset * offset * ratio);
    return {center - half, center + half};
}

// The angle modulo 360, at least 0. Rounding may give exactly 360.
float normalized(float angle) {
    const auto remainder = static_cast<float>(std::fmod(static_cast<double>(angle), 360.0));
    return remainder < 0.0F ? remainder + 360.0F : remainder;
}

uint8_t quadrantOf(float normalizedAngle) {
    return static_cast<uint8_t>(
        truncateToInt32(std::floor(static_cast<double>(normalizedAngle) / 90.0)));
}

// A bounding box that grows point by point.
struct Extents {
    float minX, maxX, minY, maxY;

    void extendBy(const DsFPoint& point) {
        maxX = point.x > maxX ? point.x : maxX;
        minX = minX > point.x ? point.x : minX;
        maxY = point.y > maxY ? point.y : maxY;
        minY = minY > point.y ? point.y : minY;
    }
};

// Extends a box by both ends of an arc and by every axis direction between them, counter-clockwise.
// `pointAt` gives the point at a normalized angle, `axisPoint` the point at a multiple of 90 degrees.
template <typename PointAt, typename AxisPoint>
void extendByArc(Extents& box, float startAngle, float endAngle, PointAt pointAt,
                 AxisPoint axisPoint) {
    const float start = normalized(startAngle);
    const float end = normalized(endAngle);
    box.extendBy(pointAt(start));
    box.extendBy(pointAt(end));
    const uint8_t lastQuadrant = quadrantOf(end);
    uint32_t quadrant = quadrantOf(start);
    if (quadrant == lastQuadrant && !(start > end)) {
        return;
    }
    do {
        quadrant = (quadrant + 1) % 4;
        box.extendBy(axisPoint(quadrant));
    } while (quadrant != lastQuadrant);
}

DsFPoint unitPoint(double angleInRadians) {
    const Direction direction = directionAt(angleInRadians);
    return {static_cast<float>(direction.cosine), -static_cast<float>(direction.sine)};
}

} // namespace

DsEllipse::DsEllipse(const DsFPoint& center, const DsFPoint& radii)
    : mCenterX(center.x)
    , mCenterY(center.y) {
    setRadii(radii);
}

DsFSpan DsEllipse::verticalSpanAt(float x) const {
    return spanAt(x - mCenterX, mRadiusX, mCenterY, mRadiusY2, mRatioYX);
}

DsFSpan DsEllipse::horizontalSpanAt(float y) const {
    return spanAt(y - mCenterY, mRadiusY, mCenterX, mRadiusX2, mRatioXY);
}

DsFRect DsEllipse::bounds() const {
    return {mCenterX - mRadiusX, mCenterY - mRadiusY, mRadiusX + mRadiusX, mRadiusY + mRadiusY};
}

void DsEllipse::mapToSurface(const DsSurface& surface) {
    surface.mapPointF(mCenterX, mCenterY);
    surface.mapSizeF(mRadiusX, mRadiusY);
    updateCachedValues();
}

DsFRect DsEllipse::moveBy(const DsFPoint& offset) {
    mCenterX += offset.x;
    mCenterY += offset.y;
    return bounds();
}

void DsEllipse::setRadii(DsFPoint radii) {
    mRadiusX = radii.x;
    mRadiusY = radii.y;
    updateCachedValues();
}

void DsEllipse::setFromRect(const DsFRect& rect) {
    mCenterX =
        static_cast<float>(static_cast<double>(rect.mX) + static_cast<double>(rect.mWidth) * 0.5);
    mCenterY =
        static_cast<float>(static_cast<double>(rect.mY) + static_cast<double>(rect.mHeight) * 0.5);
    setRadii({0.5F * rect.mWidth, rect.mHeight * 0.5F});
}

float DsEllipse::radiusAt(float angle) const {
    const Direction direction = directionAt(radians(angle));
    const auto sine = static_cast<float>(direction.sine);
    const auto cosine = static_cast<float>(direction.cosine);
    const float scaled = mRadiusX * mRadiusX * sine * sine + mRadiusY * mRadiusY * cosine * cosine;
    return mRadiusX * mRadiusY / std::sqrt(scaled);
}

DsFPoint DsEllipse::pointAt(float angle) const {
    const Direction direction = directionAt(radians(angle));
    const auto radius = static_cast<double>(radiusAt(angle));
    return {static_cast<float>(static_cast<double>(mCenterX) + radius * direction.cosine),
            static_cast<float>(static_cast<double>(mCenterY) - radius * direction.sine)};
}

DsFRect DsEllipse::arcBounds(bool sector, float startAngle, float endAngle) const {
    // Without the center the box starts with min above max, so that the first point sets every side.
    Extents box = sector ? Extents{mCenterX, mCenterX, mCenterY, mCenterY}
                         : Extents{mCenterX + mRadiusX, mCenterX - mRadiusX, mCenterY + mRadiusY,
                                   mCenterY - mRadiusY};
    extendByArc(
        box, startAngle, endAngle, [this](float angle) { return pointAt(angle); },
        [this](uint32_t quarters) { return pointAt(static_cast<float>(quarters * 90)); });
    return {box.minX, box.minY, box.maxX - box.minX, box.maxY - box.minY};
}

void DsEllipse::updateCachedValues() {
    mRadiusX2 = mRadiusX * mRadiusX;
    mRadiusY2 = mRadiusY * mRadiusY;
    mRatioXY = mRadiusX2 / mRadiusY2;
    mRatioYX = mRadiusY2 / mRadiusX2;
}

void unitArcExtents(bool sector, float& minX, float& maxX, float& minY, float& maxY,
                    float startAngle, float endAngle) {
    Extents box = sector ? Extents{0, 0, 0, 0} : Extents{1, -1, 1, -1};
    extendByArc(
        box, startAngle, endAngle, [](float angle) { return unitPoint(radians(angle)); },
        [](uint32_t quarters) { return unitPoint(static_cast<double>(quarters) * kPi * 0.5); });
    minX = box.minX;
    maxX = box.maxX;
    minY = box.minY;
    maxY = box.maxY;
}

DsPoint& roundPoint(DsPoint& target, const DsFPoint& source) {
    target = {truncateToInt32(std::round(source.x)), truncateToInt32(std::round(source.y))};
    return target;
}
