// The buffers of the surfaces that the decoder fills.
#pragma once

#include "src/internal/huge_pages.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace png_detail {

/// @param byteCount at least 1
/// @return a buffer on large pages, for `release`. It is zeroed, so that bytes without input are the
/// same in every run.
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
