// Inflating dynamic blocks made by zlib, compared with zlib: data like that of a photograph and of a
// drawing.
#include "bench/sample_data.h"
#include "inflate/src/streams.h"

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdlib>

namespace {

constexpr int kRawDeflate = -15;
constexpr uint32_t kSize = 1 << 22;

// Z_FILTERED, as libpng compresses filtered rows. For this much data zlib makes no fixed-code blocks. If
// it did, our decoder would reject the stream and the benchmark would stop.
std::vector<uint8_t> deflate_raw(const std::vector<uint8_t>& data) {
    z_stream stream = {};
    deflateInit2(&stream, 6, Z_DEFLATED, kRawDeflate, 8, Z_FILTERED);
    std::vector<uint8_t> deflated(deflateBound(&stream, data.size()));
    stream.next_in = const_cast<uint8_t*>(data.data());
    stream.avail_in = static_cast<uint32_t>(data.size());
    stream.next_out = deflated.data();
    stream.avail_out = static_cast<uint32_t>(deflated.size());
    deflate(&stream, Z_FINISH);
    deflated.resize(stream.total_out);
    deflateEnd(&stream);
    return deflated;
}

bool inflate_by_pngslab(const std::vector<uint8_t>& deflated, std::vector<uint8_t>& target) {
    inflate_t inflate = {};
    inflate_process(&inflate, nullptr);
    inflate.out = target.data();
    inflate.outAvailable = static_cast<uint32_t>(target.size());
    bitstream_t stream = {deflated.data(), static_cast<uint32_t>(deflated.size()), 0, 0};
    return inflate_process(&inflate, &stream) == kInflateDone;
}

bool inflate_by_zlib(const std::vector<uint8_t>& deflated, std::vector<uint8_t>& target) {
    z_stream stream = {};
    inflateInit2(&stream, kRawDeflate);
    stream.next_in = const_cast<uint8_t*>(deflated.data());
    stream.avail_in = static_cast<uint32_t>(deflated.size());
    stream.next_out = target.data();
    stream.avail_out = static_cast<uint32_t>(target.size());
    const bool whole = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    inflateEnd(&stream);
    return whole;
}

template <auto inflater, auto makeData>
void inflates(benchmark::State& state) {
    const std::vector<uint8_t> data = makeData(kSize);
    const std::vector<uint8_t> deflated = deflate_raw(data);
    std::vector<uint8_t> target(data.size());
    for (auto _ : state) {
        if (!inflater(deflated, target)) {
            std::abort();
        }
        benchmark::DoNotOptimize(target.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kSize);
}

BENCHMARK(inflates<inflate_by_pngslab, photograph_rows>)->Name("inflate photograph/pngslab");
BENCHMARK(inflates<inflate_by_zlib, photograph_rows>)->Name("inflate photograph/zlib");
BENCHMARK(inflates<inflate_by_pngslab, drawing_rows>)->Name("inflate drawing/pngslab");
BENCHMARK(inflates<inflate_by_zlib, drawing_rows>)->Name("inflate drawing/zlib");

} // namespace
