// Converts every PNG file below a folder and compares the pixels with libpng's. Every accepted image must
// be equal, and every rejected one must have a known reason. Not a part of the test suite, which has no such
// images.
//
//     check_corpus FOLDER
#include "png/surface_from_png.h"
#include "src/ds_surface.h"
#include "tests/corpus/corpus_run.h"
#include "tests/support/deflate_oracle.h"
#include "tests/support/png_oracle.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <zlib.h>

namespace {

uint32_t big_endian_at(const byte_vector& bytes, size_t offset) {
    return uint32_t{bytes[offset]} << 24 | uint32_t{bytes[offset + 1]} << 16 |
           uint32_t{bytes[offset + 2]} << 8 | uint32_t{bytes[offset + 3]};
}

// The relevant properties of a file that libpng accepts. So its chunks are valid and are not checked.
struct png_facts_t {
    uint8_t bit_depth, color_type, interlace;
    bool has_palette = false;
    bool has_wrong_checksum = false;
    bool has_short_image_data = false; // an IDAT chunk shorter than 2 bytes
    byte_vector image_data = {};
};

constexpr size_t kChunkFrame = 12; // length, type and CRC

// Whether the chunk's CRC is correct. libpng skips ancillary chunks with a wrong CRC.
bool has_right_checksum(const byte_vector& file, size_t at, size_t length) {
    const uLong checksum = crc32_z(0, file.data() + at + 4, length + 4);
    return checksum == big_endian_at(file, at + 8 + length);
}

png_facts_t facts_of(const byte_vector& file) {
    png_facts_t facts = {.bit_depth = file[24], .color_type = file[25], .interlace = file[28]};
    for (size_t at = 8; at + kChunkFrame <= file.size();) {
        const size_t length = big_endian_at(file, at);
        if (length > file.size() - at - kChunkFrame) {
            break; // after the IEND chunk, where libpng does not read
        }
        const std::string type(file.begin() + static_cast<ptrdiff_t>(at) + 4,
                               file.begin() + static_cast<ptrdiff_t>(at) + 8);
        facts.has_palette |= type == "PLTE";
        facts.has_wrong_checksum |= !has_right_checksum(file, at, length);
        if (type == "IDAT") {
            facts.has_short_image_data |= length < 2;
            append(facts.image_data, slice(file, at + 8, length));
        } else if (type == "IEND") {
            break;
        }
        at += kChunkFrame + length;
    }
    return facts;
}

std::string reason_for_rejection(const byte_vector& file) {
    if (file.size() < 33 || !oracle_decode_png(file)) {
        const bool other_depth = file.size() >= 33 && file[24] != 8;
        return other_depth ? "not 8 bits per sample" : "rejected by libpng too";
    }
    const png_facts_t facts = facts_of(file);
    if (facts.bit_depth != 8) {
        return "not 8 bits per sample";
    }
    if (facts.interlace != 0) {
        return "interlaced";
    }
    if (facts.has_wrong_checksum) {
        return "a chunk with a wrong CRC";
    }
    if (facts.has_short_image_data) {
        return "an IDAT chunk shorter than 2 bytes";
    }
    const bool is_truecolor = facts.color_type == 2 || facts.color_type == 6;
    if (is_truecolor && facts.has_palette) {
        return "suggested palette in a truecolor image";
    }
    if (contains_fixed_block(slice(facts.image_data, 2, facts.image_data.size()))) {
        return "fixed-code block";
    }
    return "UNEXPLAINED";
}

// Pixels as packed rows. Rows of images with a key color are written in the narrower layout of their color
// type, at the start of each surface row.
byte_vector packed_pixels(const DsSurface& surface, size_t row_bytes) {
    byte_vector pixels;
    for (int32_t y = 0; y < surface.getHeight(); ++y) {
        const uint8_t* const row =
            surface.getPixels() + static_cast<uint64_t>(y) * surface.getStride();
        pixels.insert(pixels.end(), row, row + row_bytes);
    }
    return pixels;
}

std::string verdict_on(const byte_vector& file) {
    const std::unique_ptr<DsSurface> surface(surface_from_png(file.data(), file.size(), false, 0));
    if (surface == nullptr) {
        return "rejected: " + reason_for_rejection(file);
    }
    const auto oracle = oracle_decode_png(file);
    if (!oracle) {
        return "accepted, but rejected by libpng";
    }
    const size_t row_bytes = oracle->pixels.size() / oracle->height;
    const byte_vector pixels = packed_pixels(*surface, row_bytes);
    const auto different = std::mismatch(pixels.begin(), pixels.end(), oracle->pixels.begin());
    if (different.first == pixels.end()) {
        return "accepted, equal";
    }
    const auto at = static_cast<size_t>(different.first - pixels.begin());
    return "accepted, DIFFERENT in row " + std::to_string(at / row_bytes) + ", column " +
           std::to_string(at % row_bytes / (row_bytes / oracle->width));
}

bool is_failure(const std::string& verdict) {
    return verdict.find("UNEXPLAINED") != std::string::npos ||
           verdict.find("DIFFERENT") != std::string::npos ||
           verdict == "accepted, but rejected by libpng";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::puts("usage: check_corpus FOLDER");
        return 2;
    }
    return run_on_corpus(argv[1], [](const std::filesystem::path& path) {
        const std::string verdict = verdict_on(read_file(path));
        return corpus_verdict_t{verdict, is_failure(verdict)};
    });
}
