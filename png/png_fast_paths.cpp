// A machine answers one way, whatever the tests do.
#include "png/internal/png_fast_paths.h"

#include "src/simd/cpu.h"

namespace png_detail {
namespace {

#if defined(__SSE2__)
constexpr bool kHasWideRows = true;
#else
constexpr bool kHasWideRows = false;
#endif

uint32_t leftOut = 0;

bool machine_has(png_fast_path_t path) {
    switch (path) {
    case kPngCarryLessCrc:
        return ds_detail::processorHasCarryLessMultiplication();
    case kPngSlicedCrc:
    case kPngHugePages:
        return true;
    default:
        return kHasWideRows;
    }
}

} // namespace

void png_leave_out_fast(uint32_t paths) {
    leftOut = paths;
}

bool png_may_take(png_fast_path_t path) {
    return (leftOut & path) == 0 && machine_has(path);
}

} // namespace png_detail
