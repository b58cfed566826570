// The gain from SIMD in the decoder: decodes PNG files in memory with each backend that the machine supports, in
// turns.
#include "bench/comparison.h"
#include "bench/options.h"
#include "png/surface_from_png.h"
#include "src/ds_surface.h"
#include "src/simd/backend.h"

namespace {

std::vector<std::string> supported_backends() {
    std::vector<std::string> names;
    for (const ds_detail::Backend& backend : ds_detail::backends()) {
        if (backend.isSupported()) {
            names.emplace_back(backend.name);
        }
    }
    return names;
}

void decode(const std::string& backend, const std::vector<uint8_t>& file) {
    ds_detail::selectBackend(backend);
    delete surface_from_png(file.data(), file.size(), false, 0);
}

} // namespace

int main(int argc, char** argv) {
    const comparison_options_t options = parse_comparison_options(argc, argv);
    pin_to_one_core();
    const std::vector<std::string> backends = supported_backends();
    std::vector<std::string> names;
    std::vector<std::vector<uint8_t>> files;
    double megabytes = 0;
    for (const std::string& path : options.files) {
        names.push_back(file_name(path));
        files.push_back(read_file(path));
        megabytes += 1e-6 * static_cast<double>(files.back().size());
    }
    comparison_t comparison(backends, options);
    comparison.measure(
        names, [&](size_t backend, size_t file) { decode(backends[backend], files[file]); });
    comparison.print_sums("decode, " + std::to_string(files.size()) + " files", megabytes, "MB");
}
