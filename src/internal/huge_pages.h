// Large pages for large blocks, which the module of PNG files and the converter ask for, too.
#pragma once

#include <cstddef>

namespace ds_detail {

/// Asks the system to back a block that is about to be filled with large pages, if it is large
/// enough for that to pay. Its contents stay; a system that has none to give is no error.
/// @param size bytes
void askForHugePages(void* block, size_t size) noexcept;

} // namespace ds_detail
