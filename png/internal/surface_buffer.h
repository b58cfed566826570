// Where the surfaces lie that the decoder fills.
#pragma once

#include "src/internal/huge_pages.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace png_detail {

/// @param byteCount at least 1
/// @return a zeroed buffer on large pages, so that bytes which no input byte reaches are the same in
/// every run; `release` frees it
/// @throws std::bad_alloc without memory
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
