// Buffers for files and surfaces.
#pragma once

#include "src/internal/huge_pages.h"
#include "tools/slabtool/rejection.h"

#include <cstddef>

/// Zero bytes. A large buffer is on huge pages: page faults of small pages take longer than filling the buffer.
inline Bytes largeBytes(size_t count) {
    Bytes bytes;
    bytes.reserve(count);
    ds_detail::askForHugePages(bytes.data(), count);
    bytes.resize(count);
    return bytes;
}
