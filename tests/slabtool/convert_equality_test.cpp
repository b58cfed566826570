// slabtool convert against pngslab, on every image of this tree: pictures and inputs of the fuzzers.
#include "tests/slabtool/convert_test.h"
#include "tests/support/png_maker.h"
#include "tests/support/same_bytes.h"
#include "tools/slabtool/images/png_facts.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kMaxPixels = 1 << 22; // limits the memory of pngslab

byte_vector bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// The PNG file in a fuzzer input, after the fuzzer's own parameters. Empty if there is none.
byte_vector imageIn(const byte_vector& input) {
    constexpr size_t kMaxParameters = 32;
    const byte_vector signature = slice(png().bytes(), 0, 8);
    const auto end = input.begin() + static_cast<ptrdiff_t>(
                                         std::min(input.size(), kMaxParameters + signature.size()));
    const auto start = std::search(input.begin(), end, signature.begin(), signature.end());
    return start == end ? byte_vector() : byte_vector(start, input.end());
}

std::set<std::string> imagesOfTheTree() {
    std::set<std::string> images;
    const fs::path tree = PNGSLAB_SOURCE_DIR;
    for (const fs::path& folder :
         {tree / "docs", tree / "samples", tree / "examples", fs::path(PNGSLAB_SEEDS)}) {
        for (const auto& file : fs::recursive_directory_iterator(folder)) {
            const byte_vector image =
                file.is_regular_file() ? imageIn(bytesOf(file)) : byte_vector();
            if (!image.empty() && factsOf(image).pixels() <= kMaxPixels) {
                images.emplace(image.begin(), image.end());
            }
        }
    }
    return images;
}

class ConvertEquality : public ConvertTest {
protected:
    // The surface that pngslab writes, after `prepare` if pngslab rejects the image. Empty if both fail.
    byte_vector expectedSurface(const std::string& image) const {
        if (converts(image)) {
            return read("expected.surface");
        }
        const bool isPrepared = tool({"prepare", image, "fixed.png"}).exitStatus == 0;
        return isPrepared && converts("fixed.png") ? read("expected.surface") : byte_vector();
    }

private:
    bool converts(const std::string& image) const {
        return run({"--image", image, "--output", "expected.surface"}).exitStatus == 0;
    }
};

TEST_F(ConvertEquality, HoldsForAllImagesOfTheTree) {
    const std::set<std::string> images = imagesOfTheTree();
    ASSERT_LT(500U, images.size());
    size_t number = 0;
    for (const std::string& image : images) {
        write("images/" + std::to_string(number++) + ".png", {image.begin(), image.end()});
    }
    tool({"convert", "images", "surfaces"});
    size_t surfaces = 0;
    for (size_t i = 0; i < number; ++i) {
        const std::string name = std::to_string(i);
        const byte_vector expected = expectedSurface("images/" + name + ".png");
        ASSERT_EQ(!expected.empty(), exists("surfaces/" + name + ".surface")) << i;
        if (!expected.empty()) {
            ASSERT_TRUE(same_bytes(expected, read("surfaces/" + name + ".surface"))) << i;
            ++surfaces;
        }
    }
    EXPECT_LT(100U, surfaces);
}

} // namespace
