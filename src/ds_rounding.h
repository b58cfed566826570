// The one way from float to integer: what the processor's own conversion gives, without the
// undefined behaviour of a cast that does not fit.
#pragma once

#include <cstdint>
#include <limits>

/// Truncates toward zero; NaN and values outside the 32-bit range give -2147483648.
inline int32_t truncateToInt32(float value) {
    constexpr float kLimit = 2147483648.0F; // 2^31: the first value above the range, exact in float
    if (value >= -kLimit && value < kLimit) {
        return static_cast<int32_t>(value);
    }
    return std::numeric_limits<int32_t>::min();
}
