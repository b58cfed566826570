// Leaves fast paths out for a whole run of a test program, as the environment says: so the whole suite
// meets each of them and the plain code beside it.
#include "png/internal/png_fast_paths.h"

#include <cstdlib>

namespace {

uint32_t left_out_of(const char* module) {
    const char* const wish = std::getenv(module);
    return wish != nullptr ? static_cast<uint32_t>(std::strtoul(wish, nullptr, 10)) : 0;
}

const bool kLeftOut = [] {
    png_detail::png_leave_out_fast(left_out_of("PNGSLAB_LEAVE_OUT_PNG"));
    return true;
}();

} // namespace
