// The CRC of chunks by all methods, compared with zlib's, for an icon's chunk, the usual chunk of 8 KiB, and a large
// chunk.
#include "bench/sample_data.h"
#include "png/internal/crc_methods.h"
#include "png/png_crc32.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

namespace {

uint32_t crc_by_zlib(const uint8_t* bytes, uint64_t length, uint32_t previous) {
    return static_cast<uint32_t>(crc32(previous, bytes, static_cast<uint32_t>(length)));
}

template <auto crc>
void checksums(benchmark::State& state) {
    const std::vector<uint8_t> data = noise(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(crc(data.data(), data.size(), 0));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

BENCHMARK(checksums<png_crc32>)->Name("crc/pngslab")->Arg(600)->Arg(8192)->Arg(1 << 20);
BENCHMARK(checksums<png_detail::crc_by_slices>)
    ->Name("crc/slices")
    ->Arg(600)
    ->Arg(8192)
    ->Arg(1 << 20);
BENCHMARK(checksums<png_detail::crc_by_bytes>)
    ->Name("crc/bytes")
    ->Arg(600)
    ->Arg(8192)
    ->Arg(1 << 20);
BENCHMARK(checksums<crc_by_zlib>)->Name("crc/zlib")->Arg(600)->Arg(8192)->Arg(1 << 20);

} // namespace
