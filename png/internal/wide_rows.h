// Lines of one filter by whole pixels and blocks of them, beside the loops that go sample by sample.
#pragma once

#include <cstdint>

namespace png_detail {

/// Converts a line from its start, as far as it can without touching bytes outside the line; the
/// plain loop does the rest.
/// @param target not behind `source`
/// @param above the finished line before, which ends at or before `target`
/// @return bytes that are done, whole pixels
using wide_row_t = uint64_t (*)(uint8_t* target, const uint8_t* source, const uint8_t* above,
                                uint64_t rowBytes);

/// The wide loop for lines that are not the first, or null where there is none that pays.
/// @param channels bytes a pixel, 1 to 4
/// @param filter 0 to 4
wide_row_t png_wide_row(uint32_t channels, uint8_t filter);

} // namespace png_detail
