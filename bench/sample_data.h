// Data for the micro benchmarks, the same in every run.
#pragma once

#include <cstdint>
#include <vector>

/// `size` bytes without any pattern.
std::vector<uint8_t> noise(uint32_t size);

/// `size` bytes like a photograph's filtered lines: small differences around zero.
std::vector<uint8_t> photograph_lines(uint32_t size);

/// `size` bytes like a drawing's filtered lines: areas without change between edges that come again
/// from line to line.
std::vector<uint8_t> drawing_lines(uint32_t size);
