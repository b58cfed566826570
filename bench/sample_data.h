// Data for the micro benchmarks, the same in every run.
#pragma once

#include <cstdint>
#include <vector>

/// `size` random bytes.
std::vector<uint8_t> noise(uint32_t size);

/// `size` bytes like filtered rows of a photograph: small differences around zero.
std::vector<uint8_t> photograph_rows(uint32_t size);

/// `size` bytes like filtered rows of a drawing: areas without a change, between edges that repeat from
/// row to row.
std::vector<uint8_t> drawing_rows(uint32_t size);
