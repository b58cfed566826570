// The one place of this module that asks the processor. A machine answers one way, whatever the
// tests do.
#include "png/png_fast_paths.h"

namespace {

uint32_t leftOut = 0;

bool machine_has(png_fast_path_t path) {
#if defined(__x86_64__)
    return path != kPngCarryLessCrc || __builtin_cpu_supports("pclmul") != 0;
#else
    return path == kPngSlicedCrc;
#endif
}

} // namespace

void png_leave_out_fast(uint32_t paths) {
    leftOut = paths;
}

bool png_may_take(png_fast_path_t path) {
    return (leftOut & path) == 0 && machine_has(path);
}
