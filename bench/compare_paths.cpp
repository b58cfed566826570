// What each fast path of the decoder is worth: decodes PNG files that stand in memory with all of them,
// with each of them left out, and with none, side by side.
#include "bench/comparison.h"
#include "bench/options.h"
#include "png/internal/png_fast_paths.h"
#include "png/surface_from_png.h"
#include "src/ds_surface.h"

#include <cstdio>
#include <iterator>
#include <memory>

using namespace png_detail;

namespace {

struct choice_t {
    const char* name;
    uint32_t leftOut;
};

constexpr choice_t kChoices[] = {{"all paths", 0},
                                 {"no carry-less CRC (sliced)", kPngCarryLessCrc},
                                 {"no fast CRC (one table)", kPngCarryLessCrc | kPngSlicedCrc},
                                 {"no wavefront of lines", kPngWavefrontRows},
                                 {"no wide lines", kPngWideRows},
                                 {"no large pages", kPngHugePages},
                                 {"none of them", 0xFFFFFFFF}};

void decode(const choice_t& choice, const std::vector<uint8_t>& file) {
    png_leave_out_fast(choice.leftOut);
    delete surface_from_png(file.data(), file.size(), false, 0);
}

} // namespace

int main(int argc, char** argv) {
    const comparison_options_t options = parse_comparison_options(argc, argv);
    pin_to_one_core();
    std::vector<std::string> names;
    for (const choice_t& choice : kChoices) {
        names.emplace_back(choice.name);
    }
    comparison_t comparison(names, options.rounds);
    double megabytes = 0;
    for (const std::string& path : options.files) {
        const std::vector<uint8_t> file = read_file(path);
        megabytes += 1e-6 * static_cast<double>(file.size());
        comparison.measure([&](size_t choice) { decode(kChoices[choice], file); });
        if (options.each) {
            comparison.print_last(file_name(path));
        }
    }
    comparison.print_sums("decode, " + std::to_string(options.files.size()) + " files", megabytes,
                          "MB");
}
