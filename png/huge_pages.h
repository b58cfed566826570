// Large pages for large blocks.
#pragma once

#include <cstddef>

/// Asks the system to back a block that is about to be filled with large pages, if it is large
/// enough for that to pay. Its contents stay; a system that has none to give is no error.
/// @param size bytes
void ask_for_huge_pages(void* block, size_t size) noexcept;
