// Slots of fixed size in one mapping. A free slot keeps its memory for the next buffer.
#include "fuzz/guarded_memory.h"

#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#define FUZZ_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer)
#define FUZZ_ADDRESS_SANITIZER
#endif
#endif

#if defined(FUZZ_ADDRESS_SANITIZER)

void* allocateGuarded(size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

void freeGuarded(void* memory) {
    std::free(memory);
}

#else

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr size_t kSlotBytes = 1 << 22; // more than any fuzzer allocates at once
constexpr size_t kSlotCount = 256;     // more than any fuzzer holds at a time

class Slots {
public:
    Slots()
        : mPage(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        void* const mapping = mmap(nullptr, kSlotCount * kSlotBytes + mPage, PROT_NONE,
                                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (mapping == MAP_FAILED) {
            std::abort();
        }
        mFirst = static_cast<uint8_t*>(mapping);
        for (size_t slot = 0; slot < kSlotCount; ++slot) {
            uint8_t* const begin = mFirst + slot * kSlotBytes;
            if (mprotect(begin + mPage, kSlotBytes - mPage, PROT_READ | PROT_WRITE) != 0) {
                std::abort();
            }
            mFree[slot] = begin;
        }
    }

    void* take(size_t size) {
        if (size > kSlotBytes - mPage || mFreeCount == 0) {
            std::abort();
        }
        uint8_t* const slot = mFree[--mFreeCount];
        return size % 3 == 0 && size != 0 ? slot + mPage : slot + kSlotBytes - size;
    }

    void give(void* memory) {
        // A buffer without bytes lies at the end of its slot.
        const auto offset = static_cast<size_t>(static_cast<uint8_t*>(memory) - mFirst - 1);
        mFree[mFreeCount++] = mFirst + offset / kSlotBytes * kSlotBytes;
    }

private:
    size_t mPage;
    uint8_t* mFirst; // each slot starts with a guard page; a last one follows the mapping's slots
    uint8_t* mFree[kSlotCount];
    size_t mFreeCount = kSlotCount;
};

Slots& slots() {
    static Slots* const instance = new Slots; // never destroyed: static objects may hold buffers
    return *instance;
}

} // namespace

void* allocateGuarded(size_t size) {
    return slots().take(size);
}

void freeGuarded(void* memory) {
    if (memory != nullptr) {
        slots().give(memory);
    }
}

#endif
