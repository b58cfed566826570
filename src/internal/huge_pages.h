// Huge pages for large buffers. The PNG library and the converter use this, too.
#pragma once

#include <cstddef>

namespace ds_detail {

/// Asks the system to use huge pages for a buffer that is about to be filled, if the buffer is large
/// enough to gain from it. The content stays. It is no error if the system has no huge pages.
/// @param size in bytes
void askForHugePages(void* buffer, size_t size) noexcept;

} // namespace ds_detail
