// Each filter by bytes per pixel: 1080p images with only that filter, converted in place as in the
// decoder.
#include "bench/sample_data.h"
#include "png/internal/png_rows.h"
#include "png/png_decode.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>

using namespace png_detail;

namespace {

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;

// Filtered rows in a buffer of their size, so that the target is close to the source.
std::vector<uint8_t> filtered_rows(uint32_t channels, uint8_t filter) {
    const uint32_t rowBytes = kWidth * channels + 1;
    std::vector<uint8_t> filtered = photograph_rows(rowBytes * kHeight);
    for (uint32_t y = 0; y < kHeight; ++y) {
        filtered[size_t{y} * rowBytes] = filter;
    }
    return filtered;
}

void rows(benchmark::State& state, uint8_t filter) {
    const auto channels = static_cast<uint32_t>(state.range(0));
    const std::vector<uint8_t> filtered = filtered_rows(channels, filter);
    std::vector<uint8_t> buffer(filtered.size());
    const png_rows_t image = {.buffer = buffer.data(),
                              .bufferSize = buffer.size(),
                              .sourceOffset = 0,
                              .stride = uint64_t{kWidth} * channels,
                              .width = kWidth,
                              .height = kHeight,
                              .bytesPerPixel = channels};
    for (auto _ : state) {
        // The conversion overwrites its source, so every measurement includes this copy. The benchmark
        // "copy alone" shows its time.
        std::copy(filtered.begin(), filtered.end(), buffer.begin());
        if (png_convert_rows(image) != fault_t::none) {
            std::abort();
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth * kHeight);
}

void copy_alone(benchmark::State& state) {
    const std::vector<uint8_t> filtered = filtered_rows(static_cast<uint32_t>(state.range(0)), 0);
    std::vector<uint8_t> buffer(filtered.size());
    for (auto _ : state) {
        std::copy(filtered.begin(), filtered.end(), buffer.begin());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth * kHeight);
}

BENCHMARK(copy_alone)->Name("rows/copy alone")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, none, uint8_t{0})->Name("rows/none")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, sub, uint8_t{1})->Name("rows/sub")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, up, uint8_t{2})->Name("rows/up")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, average, uint8_t{3})->Name("rows/average")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, paeth, uint8_t{4})->Name("rows/paeth")->DenseRange(1, 4);

} // namespace
