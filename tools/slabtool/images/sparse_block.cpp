// A page in front of each buffer holds the size of the mapping, which its release needs.
#include "tools/slabtool/images/sparse_block.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace {

constexpr size_t kFrontBytes = 4096;

} // namespace

void* allocateSparse(size_t byteCount) {
    if (byteCount > SIZE_MAX - kFrontBytes) {
        throw std::bad_alloc();
    }
    const size_t size = byteCount + kFrontBytes;
    void* const mapping = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) {
        throw std::bad_alloc();
    }
    madvise(mapping, size, MADV_NOHUGEPAGE); // a large page would be used whole
    std::memcpy(mapping, &size, sizeof size);
    return static_cast<uint8_t*>(mapping) + kFrontBytes;
}

void releaseSparse(void* block) {
    void* const mapping = static_cast<uint8_t*>(block) - kFrontBytes;
    size_t size = 0;
    std::memcpy(&size, mapping, sizeof size);
    munmap(mapping, size);
}
