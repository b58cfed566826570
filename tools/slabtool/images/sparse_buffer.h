// Large zeroed buffers that need memory only for the pages that are written.
#pragma once

#include <cstddef>

/// Reserves addresses. The system provides a page at its first write. @throws std::bad_alloc
void* allocateSparse(size_t byteCount);
void releaseSparse(void* buffer);
