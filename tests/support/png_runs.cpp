// Runs the PNG decoder on files in memory of their exact size.
#include "tests/support/png_runs.h"

#include "png/surface_from_png.h"
#include "tests/support/fenced_surface.h"

#include <algorithm>
#include <cstring>

namespace {

struct exact_file {
    explicit exact_file(const byte_vector& file)
        : bytes(new uint8_t[file.size()])
        , size(file.size()) {
        std::copy(file.begin(), file.end(), bytes.get());
    }
    std::unique_ptr<uint8_t[]> bytes;
    uint64_t size;
};

header_outcome run_pass(const byte_vector& file, DsSurface* surface) {
    const exact_file exact(file);
    header_outcome outcome{};
    std::memset(static_cast<void*>(&outcome.info), kStaleByte, sizeof outcome.info);
    outcome.result = png_decode(exact.bytes.get(), exact.size, &outcome.info, surface);
    return outcome;
}

} // namespace

header_outcome header_pass(const byte_vector& file) {
    return run_pass(file, nullptr);
}

header_outcome full_pass_with_info(const byte_vector& file, DsSurface& surface) {
    return run_pass(file, &surface);
}

int32_t full_pass(const byte_vector& file, DsSurface& surface) {
    return full_pass_with_info(file, surface).result;
}

decode_outcome decode_png(const byte_vector& file) {
    const header_outcome header = header_pass(file);
    if (header.result != kPngOk) {
        return {header.result, header.result, header.info, nullptr};
    }
    std::unique_ptr<DsSurface> surface(new DsSurface(fenced_surface_for(header.info)));
    const header_outcome full = full_pass_with_info(file, *surface);
    return {header.result, full.result, full.info, std::move(surface)};
}

both_results both_passes(const byte_vector& file) {
    DsSurface surface = roomy_surface();
    return {header_pass(file).result, full_pass(file, surface)};
}

std::unique_ptr<DsSurface> convert_png(const byte_vector& file, bool alpha_only, int32_t rotation) {
    const exact_file exact(file);
    return std::unique_ptr<DsSurface>(
        surface_from_png(exact.bytes.get(), exact.size, alpha_only, rotation));
}
