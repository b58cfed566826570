// Mutates PNG files so that they get past the decoder's outer checks: changes are made to a chunk's
// data or to the pixels under the compression, and lengths and CRCs are mended afterwards.
#pragma once

#include <cstddef>
#include <cstdint>

/// For LLVMFuzzerCustomMutator: changes the file at `data + skipped` (bytes before it are mutated
/// as they are). @return the new size, `maxSize` at the most.
size_t mutatePng(uint8_t* data, size_t size, size_t maxSize, unsigned seed, size_t skipped);
