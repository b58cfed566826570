// Puts a seal and a postmark on a picture: three surface files that this program's build made, so they are
// read and drawn on as they are.
//
//     postcard FOLDER POSTCARD.surface [PICTURE]
//
// The picture is FOLDER/quill.surface or, with the third word, FOLDER/PICTURE.surface; it may have any color mode.
#include "src/ds_surface.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

std::vector<char> readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A surface in a file's bytes. Files of other makers would be checked first: a view trusts its header.
DsSurface surfaceIn(std::vector<char>& file) {
    return DsSurface(reinterpret_cast<uint8_t*>(file.data()));
}

void stamp(DsSurface& picture, const DsSurface& seal, const DsSurface& postmark) {
    // A color word: alpha, red, green and blue from the least significant byte.
    constexpr uint32_t kInk = 0xE0'F0'F0'C0;
    constexpr uint32_t kAlphaAsDecoded = 0, kBothAlphas = 2;
    constexpr uint8_t kRightAndBottom = 2 | 8, kRightAndTop = 2;
    picture.blendAligned(postmark, kBothAlphas, kInk, picture.getBounds(), kRightAndTop, 6, 6);
    picture.blendAligned(seal, kAlphaAsDecoded, 0, picture.getBounds(), kRightAndBottom, 6, 6);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::puts("usage: postcard FOLDER POSTCARD.surface [PICTURE]");
        return 2;
    }
    const std::string folder = argv[1];
    const std::string name = argc == 4 ? argv[3] : "quill";
    std::vector<char> pictureFile = readFile(folder + "/" + name + ".surface");
    std::vector<char> sealFile = readFile(folder + "/seal.surface");
    std::vector<char> postmarkFile = readFile(folder + "/postmark.surface");
    if (pictureFile.empty() || sealFile.empty() || postmarkFile.empty()) {
        std::puts("a picture is missing");
        return 1;
    }
    DsSurface picture = surfaceIn(pictureFile);
    stamp(picture, surfaceIn(sealFile), surfaceIn(postmarkFile));

    std::ofstream postcard(argv[2], std::ios::binary);
    postcard.write(pictureFile.data(), static_cast<std::streamsize>(pictureFile.size()));
    postcard.close();
    return postcard ? 0 : 1;
}
