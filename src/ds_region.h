// Regions: shapes that a renderer asks, row by row or column by column, which stretch of a line
// they cover. Here are the interface and the two rectangles; all are plain values that allocate
// nothing. A region shared between threads needs the callers' own exclusion.
#pragma once

#include <cstdint>
#include <limits>

class DsFRect;
class DsSurface;

/// The covered stretch of one line, in pixels.
struct DsFSpan {
    float first, last;
};

/// The span of a line that is not covered at all.
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

/// A shape in surface coordinates. Regions live by value inside other objects or on the stack;
/// there is no virtual destructor, so a region is never deleted through this class.
class DsRegion {
public:
    /// The vertical stretch covered at column `x`.
    virtual DsFSpan verticalSpanAt(float x) const = 0;
    /// The horizontal stretch covered at row `y`.
    virtual DsFSpan horizontalSpanAt(float y) const = 0;
    /// The bounding rectangle.
    virtual DsFRect bounds() const = 0;
    /// Turns the region, in place, from the caller's coordinates into the stored coordinates of
    /// `surface`.
    virtual void mapToSurface(const DsSurface& surface) = 0;
    /// Moves the region by `offset` and returns its bounds after the move.
    virtual DsFRect moveBy(const DsFPoint& offset) = 0;
};

/// A rectangle in whole pixels. Sizes below 1 are stored as given and never corrected; the right
/// edge is mX + mWidth, the bottom edge mY + mHeight, and integer sums wrap.
///
/// Kept on purpose: a span asks only whether the rectangle has an extent as seen from the argument
/// (argument + extent > argument in single precision), not whether the argument lies inside it.
/// Callers that need containment check the position themselves.
class DsRect : public DsRegion {
public:
    /// All zero.
    DsRect();
    DsRect(int32_t x, int32_t y, int32_t width, int32_t height);

    DsFSpan verticalSpanAt(float x) const override;
    DsFSpan horizontalSpanAt(float y) const override;
    /// The four fields as floats, so values beyond 2^24 lose low bits.
    DsFRect bounds() const override;
    void mapToSurface(const DsSurface& surface) override;
    /// Sums in single precision and truncates toward zero; a sum that is NaN or does not fit gives
    /// -2147483648.
    DsFRect moveBy(const DsFPoint& offset) override;

    int32_t mX, mY, mWidth, mHeight;
};

/// A rectangle in fractions of pixels; otherwise as DsRect.
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
