// The same input gives the same file and messages for any old content of memory: damaged images are
// converted twice, with allocators that fill new and released buffers differently.
#include "tests/support/png_maker.h"
#include "tests/support/same_bytes.h"
#include "tests/tools/converter_test.h"

#include <cstdlib>

namespace {

// PNGSLAB_TEST_INPUTS sets the number of inputs, which is small by default to save time.
uint32_t inputCount() {
    const char* const wish = std::getenv("PNGSLAB_TEST_INPUTS");
    return wish != nullptr ? static_cast<uint32_t>(std::strtoul(wish, nullptr, 10)) : 150;
}

png_maker anyImage(test_rng& rng) {
    const uint8_t type = kColorTypes[random_between(rng, 0, 4)];
    png_maker maker = png().image(type, random_between(rng, 1, 20), random_between(rng, 1, 20));
    if (type == kGray || type == kRgb) {
        maker.trns(byte_vector(type == kGray ? 2 : 6, 1));
    }
    return maker;
}

// Damage with correct CRCs: a few bytes of a chunk, or a truncated stream of image data.
byte_vector damaged(const png_maker& maker, test_rng& rng) {
    std::vector<png_chunk_t> chunks = maker.chunks();
    byte_vector& data = chunks[random_between(rng, 0, 3) == 0 ? 0 : rng() % chunks.size()].data;
    for (uint32_t i = random_between(rng, 0, 3); i > 0 && !data.empty(); --i) {
        data[rng() % data.size()] = static_cast<uint8_t>(rng());
    }
    // Header sizes stay small, so that memory is sufficient.
    for (const size_t at : {0U, 1U, 2U, 4U, 5U, 6U}) {
        chunks[0].data[at] = 0;
    }
    return png_file(chunks);
}

class ProgramDeterminism : public ConverterTest {
protected:
    std::string convertWithFill(const std::string& output, const std::string& fill,
                                bool alphaOnly) const {
        std::vector<std::string> arguments = {"--image", "in.png",     "--output",
                                              output,    "--rotation", "90"};
        if (alphaOnly) {
            arguments.push_back("--alphaonly");
        }
        const ProgramOutcome outcome = run(arguments, {.variables = {"MALLOC_PERTURB_=" + fill}});
        EXPECT_EQ(0, outcome.signal);
        EXPECT_EQ("", outcome.errors);
        return outcome.output;
    }
};

TEST_F(ProgramDeterminism, DamagedImagesGiveTheSameFilesAndMessagesForAnyMemoryContent) {
    test_rng rng(1);
    uint32_t converted = 0;
    for (uint32_t i = 0; i < inputCount(); ++i) {
        SCOPED_TRACE(testing::Message() << "input " << i);
        write("in.png", damaged(anyImage(rng), rng));
        const bool alphaOnly = i % 8 == 0;
        const std::string words = convertWithFill("first", "1", alphaOnly);
        ASSERT_EQ(words, convertWithFill("second", "254", alphaOnly));
        ASSERT_TRUE(same_bytes(read("first"), read("second")));
        converted += read("first").empty() ? 0 : 1;
    }
    EXPECT_GT(converted, inputCount() / 10);
}

} // namespace
