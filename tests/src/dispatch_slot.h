// Slots of virtual operations in dispatch tables. Other programs rely on their order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The slot of a virtual operation. A member pointer contains its byte offset in the table. On some machines
/// the lowest bit is a flag.
template <typename Operation>
size_t slotOf(Operation operation) {
    uintptr_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return (offset & ~uintptr_t{1}) / sizeof(void*);
}
