// The integer and the float rectangle as regions.
#include "src/ds_region.h"

#include "src/ds_surface.h"
#include "src/internal/rounding.h"

using namespace ds_detail;

namespace {

// Whether adding `extent` increases `position`. False for NaN, for an extent of 0 or below, and for an
// extent that rounding removes: less than half a unit in the last place of `position`, or exactly half
// if that rounds down.
bool isIncreasedBy(float position, float extent) {
    return extent + position > position;
}

int32_t wrappingSum(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

DsFSpan integerSpan(int32_t first, int32_t extent) {
    return {static_cast<float>(first), static_cast<float>(wrappingSum(first, extent))};
}

} // namespace

DsRect::DsRect()
    : DsRect(0, 0, 0, 0) {}

DsRect::DsRect(int32_t x, int32_t y, int32_t width, int32_t height)
    : mX(x)
    , mY(y)
    , mWidth(width)
    , mHeight(height) {}

DsFSpan DsRect::verticalSpanAt(float x) const {
    return isIncreasedBy(x, static_cast<float>(mWidth)) ? integerSpan(mY, mHeight) : kEmptySpan;
}

DsFSpan DsRect::horizontalSpanAt(float y) const {
    return isIncreasedBy(y, static_cast<float>(mHeight)) ? integerSpan(mX, mWidth) : kEmptySpan;
}

DsFRect DsRect::bounds() const {
    return {static_cast<float>(mX), static_cast<float>(mY), static_cast<float>(mWidth),
            static_cast<float>(mHeight)};
}

void DsRect::mapToSurface(const DsSurface& surface) {
    surface.mapRect(*this);
}

DsFRect DsRect::moveBy(const DsFPoint& offset) {
    mX = truncateToInt32(static_cast<float>(mX) + offset.x);
    mY = truncateToInt32(static_cast<float>(mY) + offset.y);
    return bounds();
}

DsFRect::DsFRect()
    : DsFRect(0, 0, 0, 0) {}

DsFRect::DsFRect(float x, float y, float width, float height)
    : mX(x)
    , mY(y)
    , mWidth(width)
    , mHeight(height) {}

DsFSpan DsFRect::verticalSpanAt(float x) const {
    return isIncreasedBy(x, mWidth) ? DsFSpan{mY, mY + mHeight} : kEmptySpan;
}

DsFSpan DsFRect::horizontalSpanAt(float y) const {
    return isIncreasedBy(y, mHeight) ? DsFSpan{mX, mX + mWidth} : kEmptySpan;
}

DsFRect DsFRect::bounds() const {
    return *this;
}

void DsFRect::mapToSurface(const DsSurface& surface) {
    surface.mapRectF(*this);
}

DsFRect DsFRect::moveBy(const DsFPoint& offset) {
    mX += offset.x;
    mY += offset.y;
    return *this;
}
