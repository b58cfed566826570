// Filters the rows of an image before compression.
#pragma once

#include "tools/slabtool/images/png_image.h"

/// The filters to choose from.
inline constexpr int kNoFilter = 0, kAllFilters = 1;

/// The rows, each after its filter type. With kAllFilters each row gets the filter that libpng chooses: the one with
/// the smallest sum of absolute differences (bytes from 128 count as negative), the first one of equals.
Bytes filteredRows(const PngImage& image, int filters);
