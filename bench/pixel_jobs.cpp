// Runs one pixel operation once, on noise, for a count of its instructions. Without arguments, prints the names of the
// operations.
//
//     pixel_jobs [BACKEND NAME]
#include "bench/options.h"
#include "bench/sample_data.h"
#include "src/ds_surface.h"
#include "src/pixel_kernels.h"
#include "src/span_fill.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

using Mode = DsColorMode;

constexpr uint32_t kSide = 512;
constexpr uint32_t kColor = 0x306090C0;
constexpr uint32_t kMultipliedAlpha = 2;

template <Mode targetMode, Mode sourceMode>
void convert(uint8_t* target, const uint8_t* source) {
    convertPixels(target, kSide, targetMode, source, kSide, sourceMode, kSide, kSide, 0, kColor);
}

template <Mode targetMode, Mode sourceMode>
void blend(uint8_t* target, const uint8_t* source) {
    blendPixels(target, kSide, targetMode, source, kSide, sourceMode, kSide, kSide,
                kMultipliedAlpha, kColor);
}

void spans(uint8_t* target, const uint8_t* coverage) {
    const uint32_t pixelBytes = setBlendColor(Mode::ARGB8888, kColor);
    for (uint32_t y = 0; y < kSide; ++y) {
        blendSpan(target + size_t{y} * kSide * pixelBytes, coverage + size_t{y} * kSide, kSide);
    }
}

void fill(uint8_t* target, const uint8_t*) {
    fillPixels(target, kSide, kSide, kSide, Mode::RGB888, kColor);
}

template <Mode mode>
void rotate(uint8_t*, const uint8_t*) {
    DsSurface surface(kSide, kSide, 0, mode, 0, 0, std::malloc, std::free, 1, 0);
    surface.rotate(90);
}

struct job_t {
    const char* name;
    void (*run)(uint8_t* target, const uint8_t* source);
};

constexpr job_t kJobs[] = {
    {"fill-RGB888", fill},
    {"convert-ARGB8888-to-RGB565", convert<Mode::RGB565, Mode::ARGB8888>},
    {"convert-RGB565-to-ARGB8888", convert<Mode::ARGB8888, Mode::RGB565>},
    {"blend-ARGB8888-on-ARGB8888", blend<Mode::ARGB8888, Mode::ARGB8888>},
    {"mask-on-ARGB8888", blend<Mode::ARGB8888, Mode::A8>},
    {"spans-on-ARGB8888", spans},
    {"rotate-A8", rotate<Mode::A8>},
    {"rotate-ARGB8888", rotate<Mode::ARGB8888>},
};

} // namespace

// A function of its own, so that profilers can select it by name.
[[gnu::noinline]] void run_job(const job_t& job, uint8_t* target, const uint8_t* source) {
    job.run(target, source);
}

int main(int argc, char** argv) {
    if (argc == 1) {
        for (const job_t& job : kJobs) {
            std::printf("%s\n", job.name);
        }
        return 0;
    }
    const std::string name = argc == 3 ? argv[2] : "";
    const auto* const job = std::find_if(std::begin(kJobs), std::end(kJobs),
                                         [&](const job_t& each) { return each.name == name; });
    if (job == std::end(kJobs)) {
        std::fprintf(stderr, "usage: pixel_jobs [BACKEND NAME]\n");
        return 2;
    }
    activate_backend(argv[1]);
    const std::vector<uint8_t> source = noise(kSide * kSide * 4);
    std::vector<uint8_t> target(source.rbegin(), source.rend());
    run_job(*job, target.data(), source.data());
}
