// The first touch of each page of 4 KiB costs as much as decoding the pixels on it; one large page
// takes the place of 512 of them.
#include "png/huge_pages.h"

#include "png/internal/png_fast_paths.h"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

void ask_for_huge_pages([[maybe_unused]] void* block, [[maybe_unused]] size_t size) noexcept {
#if defined(MADV_HUGEPAGE)
    constexpr size_t kLeastSize = size_t{4}
                                  << 20; // holds at least one large page wherever it begins
    if (size < kLeastSize || !png_detail::png_may_take(png_detail::kPngHugePages)) {
        return;
    }
    const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = (reinterpret_cast<uintptr_t>(block) + pageSize - 1) / pageSize * pageSize;
    const auto end = (reinterpret_cast<uintptr_t>(block) + size) / pageSize * pageSize;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}
