// Which of the wide loops may run here: what the processor has, less what a test has left out.
#pragma once

#include <cstdint>

/// The fast paths of the graphics core. Each gives the same bytes as the plain loop beside it.
enum class DsFastPath : uint32_t {
    Wide128 = 1, ///< 16 bytes at a time
    Wide256 = 2  ///< 32 bytes at a time, on processors with AVX2
};

/// Leaves out the fast paths whose bits are set in `paths`, for tests and comparisons.
/// Process-wide; not to be called while another thread draws.
void leaveOutFastPaths(uint32_t paths);

/// Whether `path` may be taken.
bool mayTakeFastPath(DsFastPath path);
