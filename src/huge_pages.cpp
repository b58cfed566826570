// The first access to a page of 4 KiB costs as much as decoding the pixels on it. One huge page replaces 512 of
// these pages.
#include "src/internal/huge_pages.h"

#include <cstdint>
#if __has_include(<sys/mman.h>) // Windows has none
#include <sys/mman.h>
#include <unistd.h>
#endif

void ds_detail::askForHugePages([[maybe_unused]] void* buffer,
                                [[maybe_unused]] size_t size) noexcept {
#if defined(MADV_HUGEPAGE)
    // A buffer of this size contains at least one whole huge page of 2 MiB at any address.
    constexpr size_t kMinSize = size_t{4} << 20;
    if (size < kMinSize) {
        return;
    }
    const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = (reinterpret_cast<uintptr_t>(buffer) + pageSize - 1) / pageSize * pageSize;
    const auto end = (reinterpret_cast<uintptr_t>(buffer) + size) / pageSize * pageSize;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}
