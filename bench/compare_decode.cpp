// Decodes PNG files in memory with this project's decoder and with its peers, in turns. The time
// includes freeing the decoder's memory.
#include "bench/comparison.h"
#include "bench/options.h"
#include "bench/peers/peer_decoders.h"
#include "png/surface_from_png.h"
#include "src/ds_surface.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

using bytes_t = std::vector<uint8_t>;

struct contender_t {
    const char* name;
    peer_decoder_t decode; // null: ours
};

constexpr contender_t kContenders[] = {{"pngslab", nullptr},
                                       {"libpng", decode_by_libpng},
                                       {"libspng", decode_by_libspng},
                                       {"lodepng", decode_by_lodepng},
                                       {"stb_image", decode_by_stb_image}};

std::unique_ptr<DsSurface> decode_by_pngslab(const bytes_t& file) {
    return std::unique_ptr<DsSurface>(surface_from_png(file.data(), file.size(), false, 0));
}

} // namespace

// A function of its own, so that profilers can select it by name.
[[gnu::noinline]] void run_contender(const contender_t& contender, const bytes_t& file) {
    if (contender.decode == nullptr) {
        decode_by_pngslab(file);
    } else {
        std::free(contender.decode(file.data(), file.size()).pixels);
    }
}

namespace {

bool same_pixels(const DsSurface& surface, const peer_image_t& image) {
    if (image.pixels == nullptr || surface.getBytesPerPixel() != image.channels) {
        return false;
    }
    const size_t byteCount = pixel_bytes(image);
    const bool exchanged = image.redFirst && image.channels >= 3;
    for (size_t i = 0; i < byteCount; ++i) {
        const size_t channel = i % image.channels;
        const size_t other = exchanged && channel < 3 ? i - channel + (2 - channel) : i;
        if (surface.getPixels()[i] != image.pixels[other]) {
            return false;
        }
    }
    return true;
}

bool agrees(const contender_t& contender, const bytes_t& file, const DsSurface& surface) {
    if (contender.decode == nullptr) {
        return true;
    }
    const peer_image_t image = contender.decode(file.data(), file.size());
    const bool same = same_pixels(surface, image);
    std::free(image.pixels);
    return same;
}

// The contenders whose pixels equal ours in every file.
std::vector<contender_t> find_equal(const std::vector<bytes_t>& files) {
    std::vector<contender_t> equal(std::begin(kContenders), std::end(kContenders));
    for (const bytes_t& file : files) {
        const std::unique_ptr<DsSurface> surface = decode_by_pngslab(file);
        std::erase_if(equal, [&](const contender_t& contender) {
            const bool differs = !agrees(contender, file, *surface);
            if (differs) {
                std::printf("(%s is left out: its pixels differ)\n", contender.name);
            }
            return differs;
        });
    }
    return equal;
}

struct set_t {
    std::vector<std::string> names;
    std::vector<bytes_t> files;
    double megapixels;
};

// Leaves out files that ours rejects.
set_t load(const std::vector<std::string>& paths) {
    set_t set = {};
    for (const std::string& path : paths) {
        bytes_t file = read_file(path);
        const std::unique_ptr<DsSurface> surface = decode_by_pngslab(file);
        if (surface == nullptr) {
            std::printf("(%s is left out: rejected)\n", file_name(path).c_str());
            continue;
        }
        set.megapixels += 1e-6 * surface->getWidth() * surface->getHeight();
        set.names.push_back(file_name(path));
        set.files.push_back(std::move(file));
    }
    return set;
}

void compare(const set_t& set, const comparison_options_t& options) {
    const std::vector<contender_t> equal = find_equal(set.files);
    std::vector<std::string> names;
    for (const contender_t& contender : equal) {
        names.emplace_back(contender.name);
    }
    comparison_t comparison(names, options);
    comparison.measure(set.names, [&](size_t contender, size_t file) {
        run_contender(equal[contender], set.files[file]);
    });
    comparison.print_sums("decode, " + std::to_string(set.files.size()) + " files", set.megapixels,
                          "MPix");
}

} // namespace

int main(int argc, char** argv) {
    const comparison_options_t options = parse_comparison_options(argc, argv);
    pin_to_one_core();
    const set_t set = load(options.files);
    if (options.only.empty()) {
        compare(set, options);
        return 0;
    }
    for (const contender_t& contender : kContenders) {
        if (options.only == contender.name) {
            for (const bytes_t& file : set.files) {
                run_contender(contender, file);
            }
        }
    }
}
