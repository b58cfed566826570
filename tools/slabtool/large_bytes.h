// Buffers for files and surfaces.
#pragma once

#include "src/internal/huge_pages.h"
#include "tools/slabtool/rejection.h"

#include <cstddef>

/// Zero bytes, on huge pages if the count is large: page faults of small pages would take longer than filling them.
inline Bytes largeBytes(size_t count) {
    Bytes bytes;
    bytes.reserve(count);
    ds_detail::askForHugePages(bytes.data(), count);
    bytes.resize(count);
    return bytes;
}
