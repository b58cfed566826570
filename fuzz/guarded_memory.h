// Buffers that detect every access outside. Under AddressSanitizer they are heap buffers, which it surrounds with memory
// that it watches. In other builds a buffer lies beside a page that cannot be accessed, so an access there ends the run
// by SIGSEGV at no cost for the other accesses:
//
//     | guard page |      unused      | buffer | guard page |     two sizes in three
//     | guard page | buffer |      unused      | guard page |     every third size
//
// The place depends on the size only, so a finding repeats. Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Memory with any contents and no alignment, for freeGuarded(). Ends the run if there is too little memory.
void* allocateGuarded(size_t size);

void freeGuarded(void* memory);

template <typename T>
struct GuardedAllocator {
    static_assert(alignof(T) == 1);
    using value_type = T;

    GuardedAllocator() = default;
    template <typename Other>
    explicit GuardedAllocator(const GuardedAllocator<Other>& /*other*/) {}

    T* allocate(size_t count) { return static_cast<T*>(allocateGuarded(count * sizeof(T))); }
    void deallocate(T* memory, size_t /*count*/) { freeGuarded(memory); }

    bool operator==(const GuardedAllocator&) const = default;
};

using GuardedBytes = std::vector<uint8_t, GuardedAllocator<uint8_t>>;
