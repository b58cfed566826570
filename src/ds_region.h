// Regions: shapes that tell a renderer which span of each row or column they cover. This header has
// the interface and the two rectangles. Regions are value types and allocate nothing. Threads that
// share a region must synchronize their access to it.
#pragma once

#include <cstdint>
#include <limits>

class DsFRect;
class DsSurface;

/// The covered span of one row or column, in pixels.
struct DsFSpan {
    float first, last;
};

/// The span of a row or column that is not covered at all.
inline constexpr DsFSpan kEmptySpan = {std::numeric_limits<float>::infinity(),
                                       -std::numeric_limits<float>::infinity()};

/// A point or an offset, in pixels; x grows to the right, y downwards.
struct DsFPoint {
    float x, y;
};

/// A pixel position.
struct DsPoint {
    int32_t x, y;
};

/// A shape in surface coordinates. Regions are held by value. There is no virtual destructor: a
/// region must not be deleted through this class.
class DsRegion {
public:
    /// The vertical span covered at column `x`.
    virtual DsFSpan verticalSpanAt(float x) const = 0;
    /// The horizontal span covered at row `y`.
    virtual DsFSpan horizontalSpanAt(float y) const = 0;
    /// The bounding rectangle.
    virtual DsFRect bounds() const = 0;
    /// Converts the region, in place, from caller coordinates to the stored coordinates of
    /// `surface`.
    virtual void mapToSurface(const DsSurface& surface) = 0;
    /// Moves the region by `offset` and returns its bounds after the move.
    virtual DsFRect moveBy(const DsFPoint& offset) = 0;
};

/// A rectangle in whole pixels. Sizes below 1 are stored as given. The right edge is mX + mWidth,
/// the bottom edge mY + mHeight. Integer sums wrap.
///
/// Kept on purpose: a span does not depend on whether the argument lies inside the rectangle. It is
/// empty only if argument + extent > argument is false in single precision. Callers that need
/// containment check the position themselves.
class DsRect : public DsRegion {
public:
    /// All zero.
    DsRect();
    DsRect(int32_t x, int32_t y, int32_t width, int32_t height);

    DsFSpan verticalSpanAt(float x) const override;
    DsFSpan horizontalSpanAt(float y) const override;
    /// The four fields as floats: values beyond 2^24 lose low bits.
    DsFRect bounds() const override;
    void mapToSurface(const DsSurface& surface) override;
    /// Sums in single precision and truncates toward zero; a sum that is NaN or does not fit gives
    /// -2147483648.
    DsFRect moveBy(const DsFPoint& offset) override;

    int32_t mX, mY, mWidth, mHeight;
};

/// A rectangle in fractions of pixels. Otherwise like DsRect.
class DsFRect : public DsRegion {
public:
    /// All zero.
    DsFRect();
    DsFRect(float x, float y, float width, float height);

    DsFSpan verticalSpanAt(float x) const override;
    DsFSpan horizontalSpanAt(float y) const override;
    DsFRect bounds() const override;
    void mapToSurface(const DsSurface& surface) override;
    DsFRect moveBy(const DsFPoint& offset) override;

    float mX, mY, mWidth, mHeight;
};
