// The ellipse as a region, and the polar geometry of arcs and pie slices.
//
// Angles are in degrees, counter-clockwise as seen on the screen: 0 points right, 90 points up,
// towards smaller y. Results are pinned bit by bit: each operation has the precision and the order
// that the source file gives it. Nothing is clamped: at the very edge of an ellipse, the square
// root of a negative number gives NaN. A zero radius may give NaN, too.
#pragma once

#include "src/ds_region.h"

/// An ellipse with axes along x and y, in pixels. A value type like the rectangles.
class DsEllipse : public DsRegion {
public:
    /// @param radii horizontal and vertical radius.
    DsEllipse(const DsFPoint& center, const DsFPoint& radii);

    /// The span between the two points of the ellipse at column `x`. Empty if |x - center| is greater
    /// than the horizontal radius, not if it is equal.
    DsFSpan verticalSpanAt(float x) const override;
    DsFSpan horizontalSpanAt(float y) const override;
    DsFRect bounds() const override;
    void mapToSurface(const DsSurface& surface) override;
    /// Moves the center.
    DsFRect moveBy(const DsFPoint& offset) override;

    /// Sets the horizontal and the vertical radius.
    void setRadii(DsFPoint radii);
    /// Makes this the ellipse inscribed in `rect`. The center is computed in double precision, the
    /// radii in single precision.
    void setFromRect(const DsFRect& rect);

    /// Distance from the center to the ellipse along the angle.
    float radiusAt(float angle) const;
    /// The point of the ellipse along the angle.
    DsFPoint pointAt(float angle) const;

    /// Bounding box of the arc that runs counter-clockwise from one angle to the other. With
    /// `sector`, bounding box of the pie slice, which includes the center. Angles are taken modulo
    /// 360, so 0 to 360 is a single point. Neither angle may be so little below 0 that adding 360
    /// gives 360 in single precision (such as -0.000001). With such an end angle the function does
    /// not return.
    DsFRect arcBounds(bool sector, float startAngle, float endAngle) const;

private:
    void updateCachedValues();

    float mCenterX, mCenterY;
    float mRadiusX, mRadiusY;
    float mRadiusX2, mRadiusY2; // squares of the radii
    float mRatioXY, mRatioYX;   // quotients of the squares
};

/// The extents of an arc of the unit circle, or of its pie slice. The angles must meet the condition
/// of arcBounds.
void unitArcExtents(bool sector, float& minX, float& maxX, float& minY, float& maxY,
                    float startAngle, float endAngle);

/// Rounds a point to the nearest pixel position, halves away from zero. NaN and values that do not
/// fit 32 bits give -2147483648. @return `target`.
DsPoint& roundPoint(DsPoint& target, const DsFPoint& source);
