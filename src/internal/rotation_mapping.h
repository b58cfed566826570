// How a rotated surface maps caller coordinates into its stored array: the one table, written over
// the number type so that whole pixels (wrapping), floats and 64-bit clipping share it.
#pragma once

#include <cstdint>
#include <utility>

namespace ds_detail {

/// Maps a rectangle from caller to stored coordinates; `width` and `height` are those of the stored
/// array. Subtractions run left to right, which float results depend on.
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

/// Maps a point from caller to stored coordinates. `farX` and `farY` are what the stored array's
/// far edges mean to the caller's points: the size for positions between pixels, the last index for
/// pixel positions.
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

/// The rotation that undoes `rotation`, seen from an array whose width and height are exchanged by
/// it.
constexpr uint32_t inverseRotation(uint32_t rotation) {
    return exchangesAxes(rotation) ? 360 - rotation : rotation;
}

} // namespace ds_detail
