// Dispatch tables whose order other programs rely on: where a virtual operation stands in one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The slot of a virtual operation. A pointer to it holds its byte offset in the table; on some
/// machines the lowest bit is a mark.
template <typename Operation>
size_t slotOf(Operation operation) {
    uintptr_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return (offset & ~uintptr_t{1}) / sizeof(void*);
}
