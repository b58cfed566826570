// The filters of the PNG standard.
#pragma once

#include <cstdint>

namespace png_detail {

/// Values of the first byte of a row.
enum png_filter_t : uint8_t {
    kFilterNone,
    kFilterSub,
    kFilterUp,
    kFilterAverage,
    kFilterPaeth,
    kFilterCount
};

} // namespace png_detail
