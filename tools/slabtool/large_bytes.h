// Bytes of files and surfaces, which may be many.
#pragma once

#include "src/internal/huge_pages.h"
#include "tools/slabtool/refusal.h"

#include <cstddef>

/// Zeros on large pages, if there are enough of them: the first touch of small ones takes longer than to fill them.
inline Bytes largeBytes(size_t count) {
    Bytes bytes;
    bytes.reserve(count);
    ds_detail::askForHugePages(bytes.data(), count);
    bytes.resize(count);
    return bytes;
}
