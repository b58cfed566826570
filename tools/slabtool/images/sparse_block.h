// Large buffers of zeros that cost memory only where they are written.
#pragma once

#include <cstddef>

/// Reserves addresses, whose pages the system provides when they are written first. @throws std::bad_alloc
void* allocateSparse(size_t byteCount);
void releaseSparse(void* block);
