// The command line and the input files of the comparison programs.
#include "bench/options.h"

#include "src/simd/backend.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

[[noreturn]] void stop(const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(2);
}

} // namespace

comparison_options_t parse_comparison_options(int argc, char** argv) {
    comparison_options_t options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--each") {
            options.each = true;
        } else if (argument == "--cold") {
            options.cold = true;
        } else if (argument == "--backend" && i + 1 < argc) {
            activate_backend(argv[++i]);
        } else if (argument == "--rounds" && i + 1 < argc) {
            options.rounds = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
        } else if (argument == "--only" && i + 1 < argc) {
            options.only = argv[++i];
        } else {
            options.files.push_back(argument);
        }
    }
    if (options.files.empty() || options.rounds == 0) {
        stop("usage: " + std::string(argv[0]) +
             " [--rounds N] [--each] [--cold] [--backend NAME] [--only NAME] FILES...");
    }
    return options;
}

void activate_backend(const std::string& name) {
    if (!ds_detail::selectBackend(name)) {
        stop("no backend '" + name + "' here");
    }
}

std::vector<uint8_t> read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        stop("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string file_name(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}
