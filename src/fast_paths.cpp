// The one place that asks the processor. A machine answers one way, whatever the tests do.
#include "src/fast_paths.h"

#include <bit>

namespace {

uint32_t gLeftOut = 0;

bool machineHas(DsFastPath path) {
#if defined(__x86_64__)
    return path == DsFastPath::Wide128 || __builtin_cpu_supports("avx2") != 0;
#else
    // The wide loops read pixels as native words.
    return std::endian::native == std::endian::little && path == DsFastPath::Wide128;
#endif
}

} // namespace

void leaveOutFastPaths(uint32_t paths) {
    gLeftOut = paths;
}

bool mayTakeFastPath(DsFastPath path) {
    return (gLeftOut & static_cast<uint32_t>(path)) == 0 && machineHas(path);
}
