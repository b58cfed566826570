// Sorts the PNG files in a folder into the benchmarks' sets, by their headers and by the names of their
// folders (photographs, graphics). Other files are left out and counted.
//
//     sort_images FOLDER TARGET
//
// Writes TARGET/SET.txt for each set, with one path per line.
#include "bench/options.h"
#include "png/png_decode.h"
#include "png/surface_from_png.h"
#include "src/ds_surface.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

namespace {

namespace fs = std::filesystem;

constexpr const char* kSets[] = {"photographs", "graphics", "palette_and_gray", "icons"};
// Not every peer can convert these icons to the same file.
constexpr const char* kNoSet = "palette and gray icons (unused)";

bool is_in(const char* folder, const fs::path& path) {
    return std::find(path.begin(), path.end(), folder) != path.end();
}

// Photographs compress badly. Drawings and screenshots compress to less than a fifth.
bool is_photograph(const fs::path& path, const png_info_t& info, uint64_t fileSize) {
    constexpr uint8_t kTruecolor = 2;
    const bool likely =
        info.colorType == kTruecolor && fileSize * 5 >= uint64_t{3} * info.width * info.height;
    return is_in("photographs", path) || (likely && !is_in("graphics", path));
}

const char* set_of(const fs::path& path, const png_info_t& info, uint64_t fileSize) {
    constexpr uint8_t kTruecolorBit = 2;
    constexpr uint8_t kIndexed = 3;
    constexpr uint32_t kMaxIconSide = 128;
    const bool truecolor = (info.colorType & kTruecolorBit) != 0 && info.colorType != kIndexed;
    if (info.width <= kMaxIconSide && info.height <= kMaxIconSide) {
        return truecolor ? "icons" : kNoSet;
    }
    if (!truecolor) {
        return "palette_and_gray";
    }
    return is_photograph(path, info, fileSize) ? "photographs" : "graphics";
}

std::vector<std::string> png_files(const std::string& folder) {
    std::vector<std::string> paths;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".png" && entry.is_regular_file() && !entry.is_symlink()) {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// The set of the file, or null if ours rejects it or if it has a key color, for which ours has other
// pixels than every peer.
const char* classify(const std::string& path) {
    const std::vector<uint8_t> file = read_file(path);
    const std::unique_ptr<DsSurface> surface(surface_from_png(file.data(), file.size(), false, 0));
    png_info_t info = {};
    if (surface == nullptr || png_decode(file.data(), file.size(), &info, nullptr) != kPngOk) {
        return nullptr;
    }
    constexpr uint32_t kChannels[] = {1, 0, 3, 1, 2, 0, 4}; // by color type
    const bool keyColor = bytesPerPixel(info.colorMode) != kChannels[info.colorType];
    return keyColor ? nullptr : set_of(path, info, file.size());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: sort_images FOLDER TARGET\n");
        return 2;
    }
    std::map<std::string, std::vector<std::string>> sets;
    size_t rejected = 0;
    for (const std::string& path : png_files(argv[1])) {
        const char* const set = classify(path);
        if (set == nullptr) {
            ++rejected;
        } else {
            sets[set].push_back(path);
        }
    }
    for (const char* const set : kSets) {
        std::ofstream list(fs::path(argv[2]) / (std::string(set) + ".txt"));
        for (const std::string& path : sets[set]) {
            list << path << '\n';
        }
        std::printf("%s: %zu, ", set, sets[set].size());
    }
    std::printf("%s: %zu, rejected by pngslab or with a key color: %zu\n", kNoSet,
                sets[kNoSet].size(), rejected);
}
