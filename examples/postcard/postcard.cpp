// Draws a seal and a postmark on a picture. The build of this program makes the three surface files, so they need no
// checks.
//
//     postcard FOLDER POSTCARD.surface [PICTURE]
//
// The picture is FOLDER/quill.surface, or FOLDER/PICTURE.surface. It may have any color mode.
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

// A view of the surface file in `file`. A view trusts the header, so untrusted files must be checked first.
DsSurface viewOf(std::vector<char>& file) {
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
    DsSurface picture = viewOf(pictureFile);
    stamp(picture, viewOf(sealFile), viewOf(postmarkFile));

    std::ofstream postcard(argv[2], std::ios::binary);
    postcard.write(pictureFile.data(), static_cast<std::streamsize>(pictureFile.size()));
    postcard.close();
    return postcard ? 0 : 1;
}
