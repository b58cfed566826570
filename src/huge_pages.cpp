// The first touch of each page of 4 KiB costs as much as decoding the pixels on it; one large page
// takes the place of 512 of them.
#include "src/internal/huge_pages.h"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

void ds_detail::askForHugePages([[maybe_unused]] void* block,
                                [[maybe_unused]] size_t size) noexcept {
#if defined(MADV_HUGEPAGE)
    // Holds at least one large page wherever it begins.
    constexpr size_t kMinSize = size_t{4} << 20;
    if (size < kMinSize) {
        return;
    }
    const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = (reinterpret_cast<uintptr_t>(block) + pageSize - 1) / pageSize * pageSize;
    const auto end = (reinterpret_cast<uintptr_t>(block) + size) / pageSize * pageSize;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}
