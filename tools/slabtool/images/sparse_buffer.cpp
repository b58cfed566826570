// The page before each buffer holds the size of the mapping, which releaseSparse needs.
#include "tools/slabtool/images/sparse_buffer.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <sys/mman.h>

namespace {

constexpr size_t kPageBytes = 4096;

} // namespace

void* allocateSparse(size_t byteCount) {
    if (byteCount > SIZE_MAX - kPageBytes) {
        throw std::bad_alloc();
    }
    const size_t size = byteCount + kPageBytes;
    void* const mapping = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) {
        throw std::bad_alloc();
    }
    madvise(mapping, size, MADV_NOHUGEPAGE); // one touched byte would use a whole huge page
    std::memcpy(mapping, &size, sizeof size);
    return static_cast<uint8_t*>(mapping) + kPageBytes;
}

void releaseSparse(void* buffer) {
    void* const mapping = static_cast<uint8_t*>(buffer) - kPageBytes;
    size_t size = 0;
    std::memcpy(&size, mapping, sizeof size);
    munmap(mapping, size);
}
