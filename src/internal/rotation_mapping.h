// How a rotated surface maps caller coordinates to its stored array. The number type is a template
// argument, so that whole pixels (wrapping), floats and 64-bit clipping share the formulas.
#pragma once

#include <cstdint>
#include <utility>

namespace ds_detail {

/// Maps a rectangle from caller to stored coordinates. `width` and `height` are those of the stored
/// array. Float results depend on the order of the subtractions, left to right.
template <typename Number>
void mapRectangle(uint32_t rotation, Number width, Number height, Number& x, Number& y,
                  Number& sizeX, Number& sizeY) {
    const Number callerX = x;
    const Number callerY = y;
    switch (rotation) {
    case 90:
        x = callerY;
        y = height - callerX - sizeX;
        std::swap(sizeX, sizeY);
        break;
    case 180:
        x = width - callerX - sizeX;
        y = height - callerY - sizeY;
        break;
    case 270:
        x = width - callerY - sizeY;
        y = callerX;
        std::swap(sizeX, sizeY);
        break;
    default:
        break;
    }
}

/// Maps a point from caller to stored coordinates. `farX` and `farY` are the far edges of the stored
/// array: its size for positions between pixels, its last column and row for pixel positions.
template <typename Number>
void mapPosition(uint32_t rotation, Number farX, Number farY, Number& x, Number& y) {
    const Number callerX = x;
    const Number callerY = y;
    switch (rotation) {
    case 90:
        x = callerY;
        y = farY - callerX;
        break;
    case 180:
        x = farX - callerX;
        y = farY - callerY;
        break;
    case 270:
        x = farX - callerY;
        y = callerX;
        break;
    default:
        break;
    }
}

/// Whether a rotation exchanges width and height.
constexpr bool exchangesAxes(uint32_t rotation) {
    return rotation == 90 || rotation == 270;
}

/// The rotation that undoes `rotation`. It takes the caller's width and height.
constexpr uint32_t inverseRotation(uint32_t rotation) {
    return exchangesAxes(rotation) ? 360 - rotation : rotation;
}

} // namespace ds_detail
