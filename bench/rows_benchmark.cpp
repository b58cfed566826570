// Each filter by bytes a pixel: 1080p images of rows with that filter alone, converted in place as
// the decoder does it.
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

// Filtered rows that fill a block, so that the pixels follow closely behind them.
std::vector<uint8_t> filtered_block(uint32_t channels, uint8_t filter) {
    const uint32_t rowBytes = kWidth * channels + 1;
    std::vector<uint8_t> block = photograph_lines(rowBytes * kHeight);
    for (uint32_t y = 0; y < kHeight; ++y) {
        block[size_t{y} * rowBytes] = filter;
    }
    return block;
}

void rows(benchmark::State& state, uint8_t filter) {
    const auto channels = static_cast<uint32_t>(state.range(0));
    const std::vector<uint8_t> filtered = filtered_block(channels, filter);
    std::vector<uint8_t> block(filtered.size());
    const png_rows_t image = {.buffer = block.data(),
                              .bufferSize = block.size(),
                              .sourceOffset = 0,
                              .stride = uint64_t{kWidth} * channels,
                              .width = kWidth,
                              .height = kHeight,
                              .bytesPerPixel = channels};
    for (auto _ : state) {
        // Converting destroys its source, so that this copy is part of every measurement; the
        // benchmark of the same name shows what it takes.
        std::copy(filtered.begin(), filtered.end(), block.begin());
        if (png_convert_rows(image) != fault_t::none) {
            std::abort();
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth * kHeight);
}

void copy_alone(benchmark::State& state) {
    const std::vector<uint8_t> filtered = filtered_block(static_cast<uint32_t>(state.range(0)), 0);
    std::vector<uint8_t> block(filtered.size());
    for (auto _ : state) {
        std::copy(filtered.begin(), filtered.end(), block.begin());
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
