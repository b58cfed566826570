// The list of backends, and the choice of the active one, which is made once.
#include "src/simd/backend.h"

#include "src/simd/cpu.h"

#include <atomic>

namespace ds_detail {

namespace {

bool always() {
    return true;
}

constexpr std::array<Backend, kBackendCount> kBackends = [] {
    std::array<Backend, kBackendCount> list = {};
#if defined(DS_HAS_AVX2_AND_SSE2)
    list[kAvx2] = {"avx2", processorHasAvx2};
    list[kSse2] = {"sse2", always};
#elif defined(DS_HAS_NEON)
    list[kNeon] = {"neon", always};
#endif
    list[kScalar] = {"scalar", always};
    return list;
}();

// The number of the active backend; kBackendCount before the first use.
std::atomic<size_t> gActive = kBackendCount;

} // namespace

std::span<const Backend, kBackendCount> backends() {
    return kBackends;
}

size_t activeBackend() {
    size_t active = gActive.load(std::memory_order_relaxed);
    if (active == kBackendCount) {
        active = 0;
        while (!kBackends[active].isSupported()) {
            ++active;
        }
        gActive.store(active, std::memory_order_relaxed);
    }
    return active;
}

bool selectBackend(std::string_view name) {
    for (size_t i = 0; i < kBackendCount; ++i) {
        if (kBackends[i].name == name && kBackends[i].isSupported()) {
            gActive.store(i, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

} // namespace ds_detail
