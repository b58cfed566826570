// slabtool prepare: the converter accepts its images, and they have the right pixels.
#include "tests/slabtool/slabtool_test.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_oracle.h"
#include "tests/support/png_writer.h"
#include "tools/slabtool/images/png_image.h"
#include "tools/slabtool/images/png_verdict.h"

#include <algorithm>
#include <zlib.h>

namespace {

const std::string kKeyNote = "slabtool: in.png: with loss: the key color, which means "
                             "\"transparent\", is ignored [key-color]; "
                             "--key-to-alpha keeps it\n";

const std::string kIndexNote = "slabtool: in.png: with loss: the palette is not in the surface "
                               "file [palette]; --expand-palette "
                               "keeps it\n";
const char* const kNarrowingNote =
    "slabtool: in.png: with loss: 16 bits a sample become 8 [16-bit]\n";

// A sample of `depth` bits at 8 bits.
uint8_t asEightBits(uint8_t type, uint32_t depth, uint32_t sample) {
    if (type == kIndexed) {
        return static_cast<uint8_t>(sample);
    }
    const uint64_t max = (uint64_t{1} << depth) - 1;
    return static_cast<uint8_t>((sample * uint64_t{255} * 2 + max) / (2 * max)); // nearest
}

// In the order of the oracle.
byte_vector expectedSamples(const written_image_t& image) {
    byte_vector samples;
    for (const uint32_t sample : samples_of(image)) {
        samples.push_back(asEightBits(image.color_type, image.bit_depth, sample));
    }
    if (image.color_type == kRgb || image.color_type == kRgba) {
        const size_t pixel = samples_per_pixel(image.color_type);
        for (size_t at = 0; at < samples.size(); at += pixel) {
            std::swap(samples[at], samples[at + 2]);
        }
    }
    return samples;
}

// Whether libpng reads the same pixels from both files.
testing::AssertionResult samePicture(const byte_vector& expected, const byte_vector& got,
                                     oracle_reading reading = oracle_reading::as_stored) {
    const oracle_image_t image = *oracle_decode_png(expected, reading);
    return same_pixels(image.pixels, oracle_decode_png(got, reading)->pixels, layout_of(image));
}

// libpng's reason for rejecting a file.
template <typename Reading>
std::string reasonAgainst(const byte_vector& file, const Reading& reading) {
    try {
        reading(file);
        return "none";
    } catch (const Rejection& rejection) {
        return rejection.what();
    }
}

class Prepare : public SlabtoolTest {
protected:
    // Prepares an image. Expects that the converter accepts the result.
    byte_vector prepare(const byte_vector& image, const std::string& note = "",
                        const std::vector<std::string>& options = {}) const {
        write("in.png", image);
        std::vector<std::string> arguments = {"prepare", "in.png", "out.png"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        expectTool(0, "", note, arguments);
        const byte_vector prepared = read("out.png");
        EXPECT_TRUE(converterAccepts(prepared));
        return prepared;
    }

    void expectPrepared(const written_image_t& image) const {
        const std::string note = image.color_type == kIndexed ? kIndexNote
                                 : image.bit_depth == 16      ? kNarrowingNote
                                                              : "";
        const auto prepared = oracle_decode_png(prepare(libpng_encode(image), note));
        ASSERT_TRUE(prepared.has_value());
        EXPECT_TRUE(same_pixels(expectedSamples(image), prepared->pixels, layout_of(*prepared)))
            << "type " << int{image.color_type} << ", depth " << int{image.bit_depth}
            << (image.interlaced ? ", interlaced" : "");
    }
};

TEST_F(Prepare, AcceptsEveryColorTypeBitDepthAndInterlacing) {
    struct Kind {
        uint8_t type;
        std::vector<uint8_t> depths;
    };
    const Kind kinds[] = {{kGray, {1, 2, 4, 8, 16}},
                          {kRgb, {8, 16}},
                          {kIndexed, {1, 2, 4, 8}},
                          {kGrayAlpha, {8, 16}},
                          {kRgba, {8, 16}}};
    for (const auto& [type, depths] : kinds) {
        for (const uint8_t depth : depths) {
            for (const bool interlaced : {false, true}) {
                expectPrepared(noise_image(type, depth, interlaced, 11, 9));
            }
        }
    }
}

TEST_F(Prepare, KeepsPalettesAndTheirAlpha) {
    written_image_t image = noise_image(kIndexed, 4, false, 9, 9);
    image.trns = {1, 2, 3};
    const byte_vector prepared = prepare(libpng_encode(image), kIndexNote);
    EXPECT_EQ(oracle_decode_png(libpng_encode(image))->palette,
              oracle_decode_png(prepared)->palette);
    EXPECT_NE(prepared.end(), std::search(prepared.begin(), prepared.end(),
                                          std::begin("tRNS\1\2\3"), std::begin("tRNS\1\2\3") + 7));
}

TEST_F(Prepare, KeepsIndicesBeyondThePalette) {
    const byte_vector indices = {0, 1, 200, 255};
    const byte_vector prepared =
        prepare(png().indexed(2, 2).palette(2).pixels(indices).bytes(), kIndexNote);
    EXPECT_EQ(indices, oracle_decode_png(prepared)->pixels);
}

TEST_F(Prepare, ReplacesIndicesByColorsOnRequest) {
    const png_maker image =
        png().indexed(2, 2).pixels({0, 1, 2, 255}).plte({10, 20, 30, 40, 50, 60, 70, 80, 90});
    const auto expanded = [&](const byte_vector& file) {
        return oracle_decode_png(prepare(file, "", {"--expand-palette"}));
    };
    EXPECT_EQ((byte_vector{30, 20, 10, 60, 50, 40, 90, 80, 70, 0, 0, 0}),
              expanded(image.bytes())->pixels);
    EXPECT_TRUE(expanded(image.bytes())->palette.empty());
    EXPECT_EQ((byte_vector{30, 20, 10, 0, 60, 50, 40, 128, 90, 80, 70, 255, 0, 0, 0, 255}),
              expanded(png_maker(image).trns({0, 128}).bytes())->pixels);
}

TEST_F(Prepare, ReplacesIndicesOfEveryBitDepthByColors) {
    for (const uint8_t depth : std::vector<uint8_t>{1, 2, 4, 8}) {
        for (const bool interlaced : {false, true}) {
            const written_image_t image = noise_image(kIndexed, depth, interlaced, 11, 9);
            byte_vector colors;
            for (const uint32_t index : samples_of(image)) {
                for (size_t channel = 3; channel-- > 0;) {
                    colors.push_back(image.palette[index * 3 + channel]);
                }
            }
            const byte_vector file = prepare(libpng_encode(image), "", {"--expand-palette"});
            EXPECT_TRUE(same_pixels(colors, oracle_decode_png(file)->pixels, {11, 9, 33, 3}))
                << "depth " << int{depth} << (interlaced ? ", interlaced" : "");
        }
    }
}

TEST_F(Prepare, ExpandsOnlyPalettes) {
    const png_maker image = png().rgb(5, 5).palette(3);
    const byte_vector prepared = prepare(image.bytes(), "", {"--expand-palette"});
    EXPECT_TRUE(samePicture(image.bytes(), prepared));
    prepare(png().gray(2, 2).pixels({1, 7, 7, 9}).trns({0, 7}).bytes(), kKeyNote,
            {"--expand-palette"});
}

TEST_F(Prepare, DropsSuggestedPalettesAndTexts) {
    const png_maker image = png().rgb(5, 5).palette(3).chunk_before_idat({"tEXt", {'a', 0, 'b'}});
    const byte_vector prepared = prepare(image.bytes());
    EXPECT_TRUE(oracle_decode_png(prepared)->palette.empty());
    EXPECT_TRUE(samePicture(image.bytes(), prepared));
    const std::string text = "tEXt";
    EXPECT_EQ(prepared.end(),
              std::search(prepared.begin(), prepared.end(), text.begin(), text.end()));
}

TEST_F(Prepare, WritesNoFixedCodeBlocksForTinyImages) {
    for (uint32_t size = 1; size < 12; ++size) {
        for (const data_kind kind : kAllDataKinds) {
            const byte_vector image =
                png().gray(size, size).pixels(kind, size).compression({9, Z_FIXED, 15, 8}).bytes();
            EXPECT_TRUE(samePicture(image, prepare(image))) << "kind " << static_cast<int>(kind);
        }
    }
}

TEST_F(Prepare, CompressesImages) {
    const byte_vector image = png()
                                  .gray(200, 200)
                                  .pixels(data_kind::gradient, 1)
                                  .compression({0, Z_DEFAULT_STRATEGY, 15, 8})
                                  .bytes();
    EXPECT_LT(prepare(image).size() * 4, image.size());
}

TEST_F(Prepare, KeepsKeyColorsWithANote) {
    written_image_t gray = noise_image(kGray, 2, false, 6, 6);
    gray.trns = {0, 2};
    const byte_vector prepared = prepare(libpng_encode(gray), kKeyNote);
    EXPECT_TRUE(
        same_pixels(expectedSamples(gray), oracle_decode_png(prepared)->pixels, {6, 6, 6, 1}));
    EXPECT_TRUE(samePicture(libpng_encode(gray), prepared, oracle_reading::with_key_alpha));

    written_image_t color = noise_image(kRgb, 16, true, 6, 6);
    color.trns = slice(color.rows, 0, 6);
    const byte_vector narrowed = prepare(libpng_encode(color), kKeyNote + kNarrowingNote);
    EXPECT_TRUE(
        same_pixels(expectedSamples(color), oracle_decode_png(narrowed)->pixels, {6, 6, 18, 3}));
    EXPECT_TRUE(samePicture(libpng_encode(color), narrowed, oracle_reading::with_key_alpha));
}

TEST_F(Prepare, IgnoresUnusedBitsOfAKeyColor) {
    written_image_t gray = noise_image(kGray, 2, false, 6, 6);
    gray.trns = {0xFF, 0xFE};
    const byte_vector prepared = prepare(libpng_encode(gray), kKeyNote);
    EXPECT_TRUE(samePicture(libpng_encode(gray), prepared, oracle_reading::with_key_alpha));
}

TEST_F(Prepare, ReplacesKeyColorsByAlphaOnRequest) {
    const auto expectAlpha = [&](const byte_vector& image, const char* note = "") {
        const oracle_image_t expected = *oracle_decode_png(image, oracle_reading::with_key_alpha);
        const auto prepared = oracle_decode_png(prepare(image, note, {"--key-to-alpha"}));
        EXPECT_TRUE(same_pixels(expected.pixels, prepared->pixels, layout_of(expected)));
    };
    const png_maker gray = png().gray(2, 2).pixels({1, 7, 7, 9}).trns({0, 7});
    EXPECT_EQ((byte_vector{1, 255, 7, 0, 7, 0, 9, 255}),
              oracle_decode_png(prepare(gray.bytes(), "", {"--key-to-alpha"}))->pixels);
    expectAlpha(gray.bytes());
    expectAlpha(png().rgb(2, 1).pixels({1, 2, 3, 4, 5, 6}).trns({0, 4, 0, 5, 0, 6}).bytes());
    written_image_t deep = noise_image(kGray, 16, true, 5, 5);
    deep.trns = slice(deep.rows, 0, 2);
    expectAlpha(libpng_encode(deep), kNarrowingNote);
    written_image_t shallow = noise_image(kGray, 1, false, 5, 5);
    shallow.trns = {0, 1};
    expectAlpha(libpng_encode(shallow));
}

TEST_F(Prepare, FixesFaultsThatLibpngIgnores) {
    prepare(png().gray(3, 3).chunk_before_idat({"tEXt", {'a', 0, 'b'}, 1}).bytes());
    prepare(png().gray(3, 3).idat_split_at({1, 5}).bytes());
    prepare(png().gray(3, 3).plte({1, 2, 3}).bytes());
}

TEST_F(Prepare, WorksInPlaceAndThroughStandardOutput) {
    const byte_vector image = libpng_encode(noise_image(kRgb, 16, true, 4, 4));
    const byte_vector prepared = prepare(image, kNarrowingNote);
    expectTool(0, std::string(prepared.begin(), prepared.end()), kNarrowingNote,
               {"prepare", "in.png", "-"});
    expectTool(0, "", kNarrowingNote, {"prepare", "in.png", "in.png"});
    EXPECT_TRUE(same_bytes(prepared, read("in.png")));
}

TEST_F(Prepare, RejectsImagesThatLibpngRejectsAndKeepsTheOutput) {
    const auto expectRejected = [&](const byte_vector& image, const std::string& reason) {
        write("in.png", image);
        write("out.png", {1, 2});
        expectTool(1, "", "slabtool: in.png: " + reason + "\n", {"prepare", "in.png", "out.png"});
        EXPECT_EQ((byte_vector{1, 2}), read("out.png"));
    };
    expectRejected({}, "the file ends too early");
    expectRejected(byte_vector(50, 1), "Not a PNG file");
    expectRejected(slice(png().gray(9, 9).bytes(), 0, 60), "the file ends too early");
    expectTool(1, "", "slabtool: none.png: cannot be opened: No such file or directory\n",
               {"prepare", "none.png", "out.png"});
}

TEST_F(Prepare, AllocatesNothingThatTheFileCannotFill) {
    for (const uint32_t size : {100000U, 0x7FFFFFFFU}) {
        write("in.png", png().rgba(2, 2).declared_size(size, size).bytes());
        expectTool(1, "", "slabtool: in.png: the image data are too short for the declared size\n",
                   {"prepare", "in.png", "out.png"});
    }
}

TEST_F(Prepare, AcceptsTheMaxCompressionRatio) {
    const byte_vector row(1000000);
    const byte_vector prepared = prepare(png().gray(1000000, 1).pixels(row).bytes());
    EXPECT_TRUE(same_pixels(row, oracle_decode_png(prepared)->pixels, {1000000, 1, 1000000, 1}));
}

TEST_F(Prepare, RejectsMoreThanTheConverterCanCount) {
    // The size of the file allows data for so many pixels of one bit.
    const png_maker image =
        png().gray(2, 2).bit_depth(1).chunk_before_idat({"tEXt", byte_vector(600000, 'a')});
    write("in.png", png_maker(image).declared_size(65535, 65536).bytes());
    expectTool(1, "", "slabtool: in.png: the image needs more than 4 GiB\n",
               {"prepare", "in.png", "out.png"});
    // The largest accepted size is only tested, because decoding it would need the memory.
    const byte_vector largest = png_maker(image).declared_size(65534, 65537).bytes();
    EXPECT_EQ("Not enough image data", reasonAgainst(largest, testPng));
}

TEST(ImageTests, ReportTheSameReasonAsReading) {
    const auto read = [](ByteView file) { decodePng(file); };
    for (const bool interlaced : {false, true}) {
        const byte_vector image = libpng_encode(noise_image(kIndexed, 4, interlaced, 6, 6));
        for (size_t at = 8; at < image.size(); ++at) {
            byte_vector damaged = image;
            damaged[at] ^= 0x10;
            for (const byte_vector& file :
                 {damaged, with_correct_crcs(damaged), slice(image, 0, at)}) {
                EXPECT_EQ(reasonAgainst(file, read), reasonAgainst(file, testPng)) << at;
            }
        }
    }
}

// Image data in several chunks could end with a chunk of one byte, which pngslab rejects.
TEST(StoredImages, AreAcceptedForEverySize) {
    PngImage image = {};
    image.height = 1;
    for (image.width = 1048470; image.width < 1048500; ++image.width) {
        image.samples = make_bytes(data_kind::noise, image.width, 1);
        EXPECT_TRUE(judgePng(encodePng(image, kStored), false).isAccepted) << image.width;
    }
}

TEST_F(Prepare, EndsOnEveryDamagedFile) {
    const byte_vector file = libpng_encode(noise_image(kIndexed, 4, true, 6, 6));
    for (size_t at = 8; at < file.size(); at += 2) {
        byte_vector damaged = file;
        damaged[at] ^= 0x10;
        write("in.png", with_correct_crcs(damaged));
        const ProgramOutcome outcome = tool({"prepare", "in.png", "out.png"});
        EXPECT_EQ(0, outcome.signal) << "byte " << at;
        EXPECT_TRUE(outcome.exitStatus == 1 || converterAccepts(read("out.png"))) << at;
    }
}

// ---- Folders

TEST_F(Prepare, KeepsSubfolders) {
    std::filesystem::create_directories(path("in/b"));
    write("in/a.png", libpng_encode(noise_image(kGray, 16, false, 4, 4)));
    write("in/b/c.PNG", png().rgb(2, 2).bytes());
    write("in/broken.png", {1, 2, 3});
    write("in/readme.txt", {1});
    const std::string rejection = "in/broken.png: rejected: the file ends too early [unreadable]\n";
    for (const char* jobs : {"1", "3"}) {
        const ProgramOutcome outcome =
            tool({"prepare", "--jobs", jobs, "--output-dir", "out", "in"});
        EXPECT_EQ(1, outcome.exitStatus);
        EXPECT_TRUE(outcome.output.ends_with("prepared 2, with loss 1, rejected 1\n"))
            << outcome.output;
        EXPECT_NE(std::string::npos, outcome.output.find(rejection)) << outcome.output;
        EXPECT_TRUE(converterAccepts(read("out/a.png")));
        EXPECT_TRUE(converterAccepts(read("out/b/c.png")));
        EXPECT_FALSE(exists("out/broken.png"));
    }
    expectTool(1, rejection, "", {"prepare", "--quiet", "--output-dir", "out", "in"});
    expectTool(0,
               "{\"input\":\"in/a.png\",\"output\":\"a.png\",\"outcome\":\"prepared-with-loss\","
               "\"losses\":[{\"code\":\"16-bit\",\"words\":\"16 bits a sample become 8\"}]}\n",
               "", {"prepare", "--json", "--output-dir", "out", "in/a.png"});
    expectTool(1,
               "{\"input\":\"in/broken.png\",\"output\":\"broken.png\",\"outcome\":\"rejected\","
               "\"reason\":{\"code\":\"unreadable\",\"words\":\"the file ends too early\"},"
               "\"losses\":[]}\n",
               "", {"prepare", "--json", "--output-dir", "out", "in/broken.png"});
}

TEST_F(Prepare, PrintsAnObjectForOneImage) {
    write("a.png", libpng_encode(noise_image(kGray, 16, false, 4, 4)));
    expectTool(0,
               "{\"input\":\"a.png\",\"output\":\"b.png\",\"outcome\":\"prepared-with-loss\","
               "\"losses\":[{\"code\":\"16-bit\",\"words\":\"16 bits a sample become 8\"}]}\n",
               "", {"prepare", "--json", "a.png", "b.png"});
}

TEST_F(Prepare, DoesNotReplaceTheSources) {
    std::filesystem::create_directories(path("in"));
    const byte_vector image = libpng_encode(noise_image(kGray, 16, false, 4, 4));
    write("in/a.png", image);
    expectTool(1, "",
               "slabtool: in/a.png: the prepared image would replace it; choose another "
               "folder\n",
               {"prepare", "--output-dir", "in", "in"});
    EXPECT_TRUE(same_bytes(image, read("in/a.png")));
}

TEST_F(Prepare, NeedsTwoPathsOrAnOutputFolder) {
    const std::string message = "PATH: name an image and the PNG to write, or use --output-dir\n"
                                "Run with --help for more information.\n";
    expectTool(2, "", message, {"prepare", "a.png"});
    expectTool(2, "", message, {"prepare", "a.png", "b.png", "c.png"});
}

TEST_F(Prepare, IsNoLargerIfSmall) {
    const byte_vector image = libpng_encode(noise_image(kGray, 16, false, 40, 40));
    const byte_vector quick = prepare(image, kNarrowingNote);
    const byte_vector small = prepare(image, kNarrowingNote, {"--small"});
    EXPECT_LE(small.size(), quick.size());
    EXPECT_TRUE(samePicture(quick, small));
}

} // namespace
