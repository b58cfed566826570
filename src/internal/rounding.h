// The conversion from float to integer. It gives the result of the processor's instruction, without
// the undefined behavior of a cast that does not fit.
#pragma once

#include <cstdint>
#include <limits>

namespace ds_detail {

/// Truncates toward zero. NaN and values outside the 32-bit range give -2147483648. Floats convert to
/// double without a change.
inline int32_t truncateToInt32(double value) {
    constexpr double kLimit = 2147483648.0; // 2^31, the first whole number above the range
    if (value > -kLimit - 1.0 && value < kLimit) {
        return static_cast<int32_t>(value);
    }
    return std::numeric_limits<int32_t>::min();
}

} // namespace ds_detail
