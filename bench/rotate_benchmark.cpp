// Rotation of surfaces by 90 degrees, by bytes per pixel, in one size that is a power of two and one that
// is not.
#include "src/ds_surface.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Buffers that the surface has released. They are reused, so that the measurement does not include the
// system's cost of new memory.
std::vector<void*> gSpare;

void* allocate(size_t byteCount) {
    if (gSpare.empty()) {
        return std::calloc(1, byteCount);
    }
    void* const buffer = gSpare.back();
    gSpare.pop_back();
    return buffer;
}

void release(void* buffer) {
    gSpare.push_back(buffer);
}

void rotates(benchmark::State& state, int32_t width, int32_t height, DsColorMode mode) {
    {
        DsSurface surface(width, height, 0U, mode, 0, 0, allocate, release, 1, 0);
        std::memset(surface.getPixels(), 0x5A, surface.getDataSize());
        surface.rotate(90); // writes the second buffer for the first time
        for (auto _ : state) {
            surface.rotate(90);
            benchmark::ClobberMemory();
        }
    }
    for (void* const buffer : gSpare) {
        std::free(buffer);
    }
    gSpare.clear();
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * width * height);
}

void full_hd(benchmark::State& state, DsColorMode mode) {
    rotates(state, 1920, 1080, mode);
}

void power_of_two(benchmark::State& state, DsColorMode mode) {
    rotates(state, 4096, 4096, mode);
}

BENCHMARK_CAPTURE(full_hd, A8, DsColorMode::A8)->Name("rotate/1920x1080/1 byte");
BENCHMARK_CAPTURE(full_hd, RGB565, DsColorMode::RGB565)->Name("rotate/1920x1080/2 bytes");
BENCHMARK_CAPTURE(full_hd, RGB888, DsColorMode::RGB888)->Name("rotate/1920x1080/3 bytes");
BENCHMARK_CAPTURE(full_hd, ARGB8888, DsColorMode::ARGB8888)->Name("rotate/1920x1080/4 bytes");
BENCHMARK_CAPTURE(power_of_two, A8, DsColorMode::A8)->Name("rotate/4096x4096/1 byte");
BENCHMARK_CAPTURE(power_of_two, RGB565, DsColorMode::RGB565)->Name("rotate/4096x4096/2 bytes");
BENCHMARK_CAPTURE(power_of_two, RGB888, DsColorMode::RGB888)->Name("rotate/4096x4096/3 bytes");
BENCHMARK_CAPTURE(power_of_two, ARGB8888, DsColorMode::ARGB8888)->Name("rotate/4096x4096/4 bytes");

} // namespace
