// Each filter by bytes per pixel: 1080p images with only that filter, converted in place as in the
// decoder. The images of "paeth, 3 rows" have three rows, which are too few for a wavefront. In "paeth, up" and so
// on, one row of four has Paeth.
#include "bench/sample_data.h"
#include "png/internal/png_rows.h"
#include "png/png_decode.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdlib>

using namespace png_detail;

namespace {

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;

// The filters of the rows, in turn.
using filters_t = std::array<uint8_t, 4>;

constexpr filters_t only(uint8_t filter) {
    return {filter, filter, filter, filter};
}

// Filtered rows in a buffer of their size, so that the target is close to the source.
std::vector<uint8_t> filtered_rows(uint32_t channels, const filters_t& filters) {
    const uint32_t rowBytes = kWidth * channels + 1;
    std::vector<uint8_t> filtered = photograph_rows(rowBytes * kHeight);
    for (uint32_t y = 0; y < kHeight; ++y) {
        filtered[size_t{y} * rowBytes] = filters[y % filters.size()];
    }
    return filtered;
}

// Converts images of `height` rows.
void rows(benchmark::State& state, const filters_t& filters, uint32_t height) {
    const auto channels = static_cast<uint32_t>(state.range(0));
    const std::vector<uint8_t> filtered = filtered_rows(channels, filters);
    std::vector<uint8_t> buffer(filtered.size());
    const uint64_t imageBytes = filtered.size() / kHeight * height;
    png_rows_t image = {.buffer = buffer.data(),
                        .bufferSize = imageBytes,
                        .sourceOffset = 0,
                        .stride = uint64_t{kWidth} * channels,
                        .width = kWidth,
                        .height = height,
                        .bytesPerPixel = channels};
    for (auto _ : state) {
        // The conversion overwrites its source, so every measurement includes this copy. The benchmark
        // "copy alone" shows its time.
        std::copy(filtered.begin(), filtered.end(), buffer.begin());
        for (uint32_t y = 0; y < kHeight; y += height) {
            image.buffer = buffer.data() + y / height * imageBytes;
            if (png_convert_rows(image) != fault_t::none) {
                std::abort();
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth * kHeight);
}

void copy_alone(benchmark::State& state) {
    const std::vector<uint8_t> filtered =
        filtered_rows(static_cast<uint32_t>(state.range(0)), only(0));
    std::vector<uint8_t> buffer(filtered.size());
    for (auto _ : state) {
        std::copy(filtered.begin(), filtered.end(), buffer.begin());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth * kHeight);
}

BENCHMARK(copy_alone)->Name("rows/copy alone")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, none, only(0), kHeight)->Name("rows/none")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, sub, only(1), kHeight)->Name("rows/sub")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, up, only(2), kHeight)->Name("rows/up")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, average, only(3), kHeight)->Name("rows/average")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, paeth, only(4), kHeight)->Name("rows/paeth")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, paeth3, only(4), 3)->Name("rows/paeth, 3 rows")->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, with_up, (filters_t{4, 2, 2, 2}), kHeight)
    ->Name("rows/paeth, up")
    ->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, with_sub, (filters_t{4, 1, 1, 1}), kHeight)
    ->Name("rows/paeth, sub")
    ->DenseRange(1, 4);
BENCHMARK_CAPTURE(rows, with_average, (filters_t{4, 3, 3, 3}), kHeight)
    ->Name("rows/paeth, average")
    ->DenseRange(1, 4);

} // namespace
