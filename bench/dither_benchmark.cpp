// Packing rows of colors into RGB565, as in slabtool convert: 1080p images with each kind of dithering.
#include "bench/sample_data.h"
#include "tools/slabtool/surfaces/dither.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

constexpr uint32_t kWidth = 1920, kHeight = 1080;

void pack(benchmark::State& state, Dither dither) {
    const std::vector<uint8_t> samples = photograph_rows(kWidth * kHeight * sizeof(Rgba));
    std::vector<Rgba> colors(size_t{kWidth} * kHeight);
    std::memcpy(colors.data(), samples.data(), samples.size());
    std::vector<uint8_t> pixels(colors.size() * 2);
    for (auto _ : state) {
        const auto packer = makeRowPacker(DsColorMode::RGB565, dither, kWidth);
        for (size_t y = 0; y < kHeight; ++y) {
            packer->pack({colors.data() + y * kWidth, kWidth}, pixels.data() + y * kWidth * 2);
        }
        benchmark::DoNotOptimize(pixels.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kWidth * kHeight);
}

BENCHMARK_CAPTURE(pack, none, Dither::None);
BENCHMARK_CAPTURE(pack, ordered, Dither::Ordered);
BENCHMARK_CAPTURE(pack, floyd_steinberg, Dither::FloydSteinberg);

} // namespace
