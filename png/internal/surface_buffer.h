// The buffers of the surfaces that the decoder fills.
#pragma once

#include "src/internal/huge_pages.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace png_detail {

/// @param byteCount at least 1
/// @return a zeroed buffer, which `release` frees; a large one is on huge pages. The zeros make bytes
/// without input the same in every run.
/// @throws std::bad_alloc if there is not enough memory
inline void* allocate_zeroed(size_t byteCount) {
    void* const buffer = std::calloc(1, byteCount);
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    ds_detail::askForHugePages(buffer, byteCount);
    return buffer;
}

inline void release(void* buffer) {
    std::free(buffer);
}

} // namespace png_detail
