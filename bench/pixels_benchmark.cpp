// Fills and spans of every mode, conversions and blends of every pair of modes, and rotation, on a
// quarter of a megapixel.
#include "src/ds_surface.h"
#include "src/pixel_kernels.h"
#include "src/span_fill.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Mode = DsColorMode;

constexpr uint32_t kSide = 512;
constexpr uint32_t kColor = 0x306090C0;

struct NamedMode {
    Mode mode;
    const char* name;
};

constexpr NamedMode kModes[] = {{Mode::ARGB8888, "ARGB8888"}, {Mode::RGB888, "RGB888"},
                                {Mode::RGB565, "RGB565"},     {Mode::ARGB1555, "ARGB1555"},
                                {Mode::ARGB4444, "ARGB4444"}, {Mode::I8, "I8"},
                                {Mode::AI88, "AI88"},         {Mode::A8, "A8"}};

// Random pixels, so that branch prediction cannot learn them.
std::vector<uint8_t> pixelsOf(Mode mode) {
    std::vector<uint8_t> pixels(uint64_t{kSide} * kSide * bytesPerPixel(mode));
    uint32_t state = 1;
    for (uint8_t& byte : pixels) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return pixels;
}

void countPixels(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

void fill(benchmark::State& state, Mode mode) {
    std::vector<uint8_t> target = pixelsOf(mode);
    for (auto _ : state) {
        fillPixels(target.data(), kSide, kSide, kSide, mode, kColor);
        benchmark::ClobberMemory();
    }
    countPixels(state);
}

void copy(benchmark::State& state, decltype(&convertPixels) kernel, Mode targetMode,
          Mode sourceMode) {
    std::vector<uint8_t> target = pixelsOf(targetMode);
    const std::vector<uint8_t> source = pixelsOf(sourceMode);
    for (auto _ : state) {
        kernel(target.data(), kSide, targetMode, source.data(), kSide, sourceMode, kSide, kSide, 0,
               kColor);
        benchmark::ClobberMemory();
    }
    countPixels(state);
}

// Rows of adjacent pixels, or columns.
void span(benchmark::State& state, Mode mode, bool isColumn) {
    std::vector<uint8_t> target = pixelsOf(mode);
    const std::vector<uint8_t> coverage = pixelsOf(Mode::A8);
    const uint32_t size = setBlendColor(mode, kColor);
    for (auto _ : state) {
        for (uint32_t i = 0; i < kSide; ++i) {
            const uint8_t* const bytes = coverage.data() + uint64_t{i} * kSide;
            if (isColumn) {
                blendSpanStrided(target.data() + uint64_t{i} * size, kSide, bytes, kSide);
            } else {
                blendSpan(target.data() + uint64_t{i} * kSide * size, bytes, kSide);
            }
        }
        benchmark::ClobberMemory();
    }
    countPixels(state);
}

void rotate(benchmark::State& state, Mode mode) {
    DsSurface surface(kSide, kSide, 0, mode, 0, 0, std::malloc, std::free, 1, 0);
    for (auto _ : state) {
        surface.rotate(90);
        benchmark::ClobberMemory();
    }
    countPixels(state);
}

template <typename... Arguments>
void add(const std::string& name, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), arguments...);
}

} // namespace

int main(int argumentCount, char** arguments) {
    for (const auto& [mode, name] : kModes) {
        add(std::string("fill/") + name, fill, mode);
        add(std::string("rotate/") + name, rotate, mode);
        add(std::string("span/") + name, span, mode, false);
        add(std::string("span down/") + name, span, mode, true);
        for (const auto& [source, sourceName] : kModes) {
            const std::string pair = std::string(sourceName) + " to " + name;
            add("convert/" + pair, copy, convertPixels, mode, source);
            add("blend/" + pair, copy, blendPixels, mode, source);
        }
    }
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
