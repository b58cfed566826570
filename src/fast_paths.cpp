// A machine answers one way, whatever the tests do.
#include "src/fast_paths.h"

#include "src/processor.h"

#include <bit>

namespace {

uint32_t gLeftOut = 0;

bool machineHas(DsFastPath path) {
    if (path == DsFastPath::Wide256) {
        return processorHasAvx2();
    }
    // The wide loops read pixels as native words.
    return std::endian::native == std::endian::little;
}

} // namespace

void leaveOutFastPaths(uint32_t paths) {
    gLeftOut = paths;
}

bool mayTakeFastPath(DsFastPath path) {
    return (gLeftOut & static_cast<uint32_t>(path)) == 0 && machineHas(path);
}
