// Which of the fast paths of the PNG module may run here: what the processor has, less what a test
// has left out.
#pragma once

#include <cstdint>

namespace png_detail {

/// The fast paths. Each gives the same results as the plain code beside it.
enum png_fast_path_t : uint32_t {
    kPngCarryLessCrc = 1,  ///< checksums by carry-less multiplication
    kPngSlicedCrc = 2,     ///< checksums by eight tables
    kPngWavefrontRows = 4, ///< four filtered lines at once
    kPngWideRows = 8,      ///< lines of one filter by whole pixels and blocks of 16 bytes
    kPngHugePages = 16     ///< large pages for large blocks
};

/// Leaves out the fast paths whose bits are set in `paths`, for tests and comparisons.
/// Process-wide; not to be called while another thread decodes.
void png_leave_out_fast(uint32_t paths);

/// Whether `path` may be taken.
bool png_may_take(png_fast_path_t path);

} // namespace png_detail
