// Sample data from fixed seeds.
#include "bench/sample_data.h"

#include <algorithm>
#include <cmath>
#include <random>

std::vector<uint8_t> noise(uint32_t size) {
    std::mt19937 random(1);
    std::vector<uint8_t> bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
    return bytes;
}

std::vector<uint8_t> photograph_rows(uint32_t size) {
    std::mt19937 random(2);
    std::normal_distribution<float> difference(0, 5);
    std::vector<uint8_t> bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] {
        return static_cast<uint8_t>(static_cast<int>(std::lround(difference(random))));
    });
    return bytes;
}

std::vector<uint8_t> drawing_rows(uint32_t size) {
    constexpr uint32_t kRowBytes = 4 * 1920;
    constexpr uint32_t kEdgesPerRow = 40;
    constexpr uint32_t kEdgeBytes = 8;
    std::mt19937 random(3);
    std::vector<uint8_t> bytes(size);
    for (uint32_t start = 0; start + kRowBytes <= size; start += kRowBytes) {
        const bool repeatsRowAbove = start >= kRowBytes && random() % 4 != 0;
        if (repeatsRowAbove) {
            std::copy_n(&bytes[start - kRowBytes], kRowBytes, &bytes[start]);
        }
        const uint32_t edges = repeatsRowAbove ? 2 : kEdgesPerRow;
        for (uint32_t edge = 0; edge < edges; ++edge) {
            uint8_t* const at = &bytes[start + random() % (kRowBytes - kEdgeBytes)];
            std::generate_n(at, kEdgeBytes, [&] { return static_cast<uint8_t>(random()); });
        }
    }
    return bytes;
}
