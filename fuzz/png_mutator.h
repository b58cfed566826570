// Mutates PNG files so that they pass the decoder's outer checks: changes a chunk's data or the pixels
// before compression, and then corrects lengths and CRCs.
#pragma once

#include <cstddef>
#include <cstdint>

/// For LLVMFuzzerCustomMutator: changes the file at `data + skipped`. The bytes before it are mutated
/// without a structure. @return the new size, at most `maxSize`.
size_t mutatePng(uint8_t* data, size_t size, size_t maxSize, unsigned seed, size_t skipped);
