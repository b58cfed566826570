// slabtool check: the message of every rejection, and agreement with the converter.
#include "tests/slabtool/slabtool_test.h"
#include "tests/support/deflate_maker.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_writer.h"
#include "tests/support/same_bytes.h"

#include <algorithm>
#include <zlib.h>

namespace {

const std::string kNarrowing = "; with loss: 16 bits a sample become 8 [16-bit]";

class Check : public SlabtoolTest {
protected:
    // Expects this text after "a.png: ", and the same verdict of the converter.
    void expectVerdict(const std::string& text, const byte_vector& image,
                       const std::vector<std::string>& options = {}) const {
        const bool isAccepted = text.starts_with("accepted");
        write("a.png", image);
        std::vector<std::string> arguments = {"check", "a.png"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        expectTool(isAccepted ? 0 : 1, "a.png: " + text + "\n", "", arguments);
        EXPECT_EQ(isAccepted, converterAccepts(image, options)) << text;
    }

    // Expects a rejection with a command that fixes the image.
    void expectFixable(const std::string& code, const std::string& reason, const byte_vector& image,
                       const std::string& losses = "", const std::string& options = "") const {
        expectVerdict("rejected: " + reason + " [" + code + "]" + losses +
                          "; fix: slabtool prepare " + options + "a.png a-prepared.png",
                      image);
    }

    void expectBroken(const std::string& code, const std::string& reason, const byte_vector& image,
                      const std::string& libpng) const {
        expectVerdict("rejected: " + reason + " [" + code +
                          "]; it cannot be fixed, because libpng reports: " + libpng,
                      image);
    }
};

// An image of 2 by 2 pixels with one changed byte in its header.
byte_vector withHeader(size_t at, uint8_t value) {
    std::vector<png_chunk_t> chunks = png().gray(2, 2).chunks();
    chunks.front().data[at] = value;
    return png_file(chunks);
}

TEST_F(Check, AcceptsEveryKindOfImageThatTheConverterAccepts) {
    expectVerdict("accepted: I8, 3 x 2", png().gray(3, 2).bytes());
    expectVerdict("accepted: RGB888, 3 x 2", png().rgb(3, 2).bytes());
    expectVerdict("accepted: AI88, 3 x 2", png().gray_alpha(3, 2).bytes());
    expectVerdict("accepted: ARGB8888, 3 x 2", png().rgba(3, 2).bytes());
    expectVerdict("accepted: A8, 3 x 2", png().gray(3, 2).bytes(), {"--alphaonly"});
}

TEST_F(Check, NamesLostKeyColorsAndPalettes) {
    const std::string key =
        "; the key color, which means \"transparent\", is ignored [key-color]; fix: "
        "slabtool prepare --key-to-alpha a.png a-prepared.png";
    expectVerdict("accepted with loss: AI88, 3 x 2" + key, png().gray(3, 2).trns({0, 1}).bytes());
    expectVerdict("accepted with loss: ARGB8888, 3 x 2" + key,
                  png().rgb(3, 2).trns(byte_vector(6, 1)).bytes());
    expectVerdict(
        "accepted with loss: I8, 3 x 2; the palette is not in the surface file [palette]; "
        "fix: slabtool prepare --expand-palette a.png a-prepared.png",
        png().indexed(3, 2).bytes());
}

// No option avoids these losses.
TEST_F(Check, NamesLossesWithoutAFix) {
    const auto with = [](const char* type, const byte_vector& data) {
        return png().rgb(3, 2).chunk_before_idat({type, data}).bytes();
    };
    const std::string verdict = "accepted with loss: RGB888, 3 x 2; ";
    expectVerdict(verdict + "the ICC profile is ignored [icc-profile]", with("iCCP", {1, 0, 0}));
    expectVerdict(verdict + "the gamma value is ignored [gamma]", with("gAMA", {0, 1, 0x86, 0xA0}));
    expectVerdict("accepted: RGB888, 3 x 2", with("gAMA", {0, 0, 0xB1, 0x8F}));
    expectVerdict(
        verdict + "the Exif orientation 6 is ignored [orientation]",
        with("eXIf", {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 0x12, 0, 3, 0, 0, 0, 1, 0, 6, 0, 0}));
    expectVerdict("accepted: RGB888, 3 x 2", with("eXIf", {'I', 'I', 42, 0, 8, 0, 0, 0}));
    expectVerdict(verdict + "only one frame of the animation is used [animation]",
                  with("acTL", {0, 0, 0, 2, 0, 0, 0, 0}));
}

TEST_F(Check, ExitsWith1ForALossIfStrict) {
    write("lossy.png", png().indexed(3, 2).bytes());
    write("good.png", png().rgb(3, 2).bytes());
    EXPECT_EQ(0, tool({"check", "lossy.png"}).exitStatus);
    EXPECT_EQ(1, tool({"check", "--strict", "good.png", "lossy.png"}).exitStatus);
    EXPECT_EQ(0, tool({"check", "--strict", "good.png"}).exitStatus);
}

TEST_F(Check, NamesBitDepthAndInterlacing) {
    expectFixable("bit-depth", "1 bit a sample instead of 8",
                  libpng_encode(noise_image(kGray, 1, false, 9, 9)));
    expectFixable("bit-depth", "2 bits a sample instead of 8",
                  libpng_encode(noise_image(kGray, 2, false, 9, 9)));
    expectFixable("bit-depth", "4 bits a sample instead of 8",
                  libpng_encode(noise_image(kIndexed, 4, false, 9, 9)), "", "--expand-palette ");
    expectFixable("bit-depth", "16 bits a sample instead of 8",
                  libpng_encode(noise_image(kRgb, 16, false, 9, 9)), kNarrowing);
    expectFixable("interlaced", "interlaced", libpng_encode(noise_image(kRgb, 8, true, 9, 9)));
    expectFixable("bit-depth", "16 bits a sample instead of 8, and interlaced",
                  libpng_encode(noise_image(kRgba, 16, true, 9, 9)), kNarrowing);
}

TEST_F(Check, NamesFixedCodeBlocks) {
    const byte_vector rows = {0, 1, 0, 1}; // two rows of one pixel
    const byte_vector raw = deflate_maker().fixed(block_is::last).literals(rows).end().bytes();
    png_maker image = png().gray(1, 2).filter(kNone).pixels({1, 1}).deflate_stream(raw);
    expectFixable("fixed-code-block",
                  "a fixed-code DEFLATE block in bytes 2 to 7 of the image data", image.bytes());
    // The range covers several chunks.
    expectFixable("fixed-code-block",
                  "a fixed-code DEFLATE block in bytes 2 to 7 of the image data",
                  image.idat_split_at({3, 5}).bytes());
}

TEST_F(Check, NamesSuggestedPalettes) {
    expectFixable("suggested-palette",
                  "a suggested palette in a truecolor image: chunk 2 (PLTE, bytes 33 to 53)",
                  png().rgb(2, 2).palette(3).bytes());
    expectFixable("suggested-palette",
                  "a suggested palette in a truecolor image: chunk 2 (PLTE, bytes 33 to 53)",
                  png().rgba(2, 2).palette(3).bytes());
}

TEST_F(Check, NamesInvalidPalettes) {
    expectFixable("bad-palette", "a palette in a grayscale image: chunk 2 (PLTE, bytes 33 to 47)",
                  png().gray(2, 2).plte({1, 2, 3}).bytes());
    expectFixable("bad-palette", "a palette in a grayscale image: chunk 2 (PLTE, bytes 33 to 47)",
                  png().gray_alpha(2, 2).plte({1, 2, 3}).bytes());
    expectBroken(
        "bad-palette",
        "a palette of 771 bytes, which is not a multiple of 3 up to 768: chunk 2 (PLTE, bytes 33 "
        "to 815)",
        png().indexed(2, 2).plte(byte_vector(771)).bytes(), "PLTE: invalid");
    expectBroken("bad-palette", "a second palette: chunk 3 (PLTE, bytes 48 to 62)",
                 png().indexed(2, 2).plte({1, 2, 3}).another_plte({1, 2, 3}).bytes(),
                 "PLTE: duplicate");
    expectBroken(
        "bad-palette",
        "a palette of 4 bytes, which is not a multiple of 3 up to 768: chunk 2 (PLTE, bytes 33 to "
        "48)",
        png().indexed(2, 2).plte({1, 2, 3, 4}).bytes(), "PLTE: invalid");
}

TEST_F(Check, NamesMissingAndLatePalettes) {
    std::vector<png_chunk_t> chunks = png().indexed(2, 2).palette(4).idat_split_at({5}).chunks();
    std::rotate(chunks.begin() + 1, chunks.begin() + 2, chunks.begin() + 4); // image data first
    const byte_vector late = png_file(chunks);
    chunks.erase(chunks.begin() + 3);
    expectBroken("bad-palette", "an indexed image without a palette", png_file(chunks),
                 "IDAT: Missing PLTE before IDAT");
    write("a.png", late);
    EXPECT_TRUE(tool({"check", "a.png"})
                    .output.starts_with("a.png: rejected: image data before the palette: "
                                        "chunk 2 (IDAT, bytes 33 to "));
    EXPECT_FALSE(converterAccepts(late));
}

TEST_F(Check, NamesTransparencyThatDoesNotFit) {
    expectFixable("bad-transparency",
                  "transparency of 3 bytes, which does not fit the palette of 2 entries: chunk 3 "
                  "(tRNS, bytes 51 to 65)",
                  png().indexed(2, 2).palette(2).trns({1, 2, 3}).pixels({0, 1, 0, 1}).bytes(), "",
                  "--expand-palette ");
    expectFixable("bad-transparency",
                  "transparency of 1 bytes, which does not fit the color type: chunk 2 (tRNS, "
                  "bytes 33 to 45)",
                  png().gray(2, 2).trns({1}).bytes(), "", "--key-to-alpha ");
    expectFixable("bad-transparency",
                  "transparency in an image that has alpha: chunk 2 (tRNS, bytes 33 to 46)",
                  png().gray_alpha(2, 2).trns({1, 2}).bytes());
    write("a.png", png().gray(2, 2).chunk_after_idat({"tRNS", {0, 1}}).bytes());
    EXPECT_TRUE(
        tool({"check", "a.png"})
            .output.starts_with("a.png: rejected: transparency after image data: chunk 3 "));
    EXPECT_FALSE(converterAccepts(read("a.png")));
}

TEST_F(Check, NamesWrongChecksums) {
    std::vector<png_chunk_t> chunks =
        png().gray(2, 2).chunk_before_idat({"tEXt", {'a', 0, 'b'}, 0x10}).chunks();
    const ProgramOutcome outcome = [&] {
        write("a.png", png_file(chunks));
        return tool({"check", "a.png"});
    }();
    EXPECT_TRUE(outcome.output.starts_with(
        "a.png: rejected: the checksum of chunk 2 (tEXt, bytes 33 to 47) is "))
        << outcome.output;
    EXPECT_TRUE(outcome.output.ends_with("; fix: slabtool prepare a.png a-prepared.png\n"));
    EXPECT_FALSE(converterAccepts(png_file(chunks)));
}

TEST_F(Check, NamesTruncatedFiles) {
    const byte_vector file = png().gray(2, 2).bytes();
    const size_t end = file.size();
    for (const size_t missing : {1U, 11U}) {
        expectBroken("truncated", "the file ends within the first 12 bytes of chunk 3",
                     slice(file, 0, end - missing), "the file ends too early");
    }
    expectBroken("truncated",
                 "the file ends inside chunk 2 (IDAT, bytes 33 to " + std::to_string(end - 13) +
                     "), 1 bytes too early",
                 slice(file, 0, end - 13), "the file ends too early");
    expectBroken("truncated", "the file ends after chunk 2, without an IEND chunk",
                 slice(file, 0, end - 12), "the file ends too early");
    expectBroken("truncated",
                 "the file ends inside chunk 1 (IHDR, bytes 8 to 32), 1 bytes too early",
                 slice(file, 0, 32), "the file ends too early");
}

TEST_F(Check, NamesFilesThatAreNotPng) {
    expectBroken("not-png", "not a PNG file: its first 8 bytes are not the PNG signature",
                 {'G', 'I', 'F', '8', '9'}, "the file ends too early");
    expectBroken("not-png", "not a PNG file: its first 8 bytes are not the PNG signature",
                 byte_vector(100, 'x'), "Not a PNG file");
    expectVerdict("rejected: the file is empty [not-png]", {});
}

TEST_F(Check, NamesInvalidHeaders) {
    expectBroken("header",
                 "the file does not begin with an IHDR chunk of 13 bytes, but with chunk 1 (tEXt, "
                 "bytes 8 to 20)",
                 png_file({{"tEXt", {1}}, {"IEND", {}}}), "tEXt: missing IHDR");
    expectBroken("header", "the header declares no pixels: 0 x 2",
                 png().gray(2, 2).declared_size(0, 2).bytes(), "Invalid IHDR data");
    expectBroken("header", "the header declares no pixels: 2 x 0",
                 png().gray(2, 2).declared_size(2, 0).bytes(), "Invalid IHDR data");
    expectBroken("header", "the header has color type 5, which does not exist", withHeader(9, 5),
                 "Invalid IHDR data");
    expectBroken("header", "the header has 3 bits a sample, which color type 0 does not allow",
                 withHeader(8, 3), "Invalid IHDR data");
    for (const uint8_t depth : byte_vector{1, 2, 4}) {
        expectBroken("header",
                     "the header has " + std::to_string(depth) + (depth == 1 ? " bit" : " bits") +
                         " a sample, which color type 2 does not allow",
                     png().rgb(2, 2).bit_depth(depth).bytes(), "Invalid IHDR data");
    }
    expectBroken("header", "the header has 16 bits a sample, which color type 3 does not allow",
                 png().indexed(2, 2).bit_depth(16).bytes(), "Invalid IHDR data");
    expectBroken("header", "the header has an unknown method: compression 1, filter 0, interlace 0",
                 withHeader(10, 1), "Invalid IHDR data");
    expectBroken("header", "the header has an unknown method: compression 0, filter 0, interlace 2",
                 withHeader(12, 2), "Invalid IHDR data");
}

TEST_F(Check, NamesUnknownChunksAndSecondHeaders) {
    expectBroken("critical-chunk", "an unknown critical chunk: chunk 2 (ABCD, bytes 33 to 45)",
                 png().gray(2, 2).chunk_before_idat({"ABCD", {1}}).bytes(),
                 "ABCD: unhandled critical chunk");
    const png_chunk_t header = {"IHDR", png().gray(2, 2).image_header()};
    expectBroken("header", "a second header: chunk 2 (IHDR, bytes 33 to 57)",
                 png().gray(2, 2).chunk_before_idat(header).bytes(), "IHDR: out of place");
}

TEST_F(Check, NamesMissingAndInvalidImageData) {
    std::vector<png_chunk_t> chunks = png().gray(2, 2).chunks();
    chunks.erase(chunks.begin() + 1);
    write("a.png", png_file(chunks));
    EXPECT_TRUE(
        tool({"check", "a.png"})
            .output.starts_with("a.png: rejected: the file has no image data [truncated]; "));
    EXPECT_FALSE(converterAccepts(png_file(chunks)));
    expectFixable("short-image-data",
                  "image data of fewer than 2 bytes: chunk 2 (IDAT, bytes 33 to 45)",
                  png().gray(2, 2).idat_split_at({1}).bytes());
    expectBroken("truncated", "the image data end before the last DEFLATE block is complete",
                 png().gray(2, 2).idat_bytes({0x78, 0x9C}).bytes(), "Not enough image data");
    const byte_vector invalid = deflate_maker().block_header(3, block_is::last).bits(0, 30).bytes();
    expectBroken("bad-image-data", "the image data are invalid at byte 2: an unknown block type",
                 png().gray(2, 2).deflate_stream(invalid).bytes(), "IDAT: invalid block type");
    expectFixable("too-many-rows", "the image data have more rows than the header declares",
                  png().gray(9, 9).declared_size(9, 5).bytes());
}

TEST_F(Check, NamesImagesThatAreNotGrayForAlphaOnly) {
    expectVerdict("rejected: not grayscale without alpha, which --alphaonly needs [not-grayscale]; "
                  "pngslab accepts it without --alphaonly",
                  png().rgb(2, 2).bytes(), {"--alphaonly"});
    expectVerdict("rejected: not grayscale without alpha, which --alphaonly needs [not-grayscale]; "
                  "pngslab accepts it without --alphaonly",
                  png().gray_alpha(2, 2).bytes(), {"--alphaonly"});
}

TEST_F(Check, NamesOtherReasonsForAlphaOnly) {
    expectVerdict("rejected: 16 bits a sample instead of 8 [bit-depth]" + kNarrowing +
                      "; fix: slabtool prepare a.png "
                      "a-prepared.png",
                  libpng_encode(noise_image(kGray, 16, false, 9, 9)), {"--alphaonly"});
}

TEST_F(Check, OffersNoFixThatAlphaOnlyWouldReject) {
    expectVerdict(
        "rejected: 16 bits a sample instead of 8 [bit-depth]; it cannot be fixed for --alphaonly, "
        "because it is not grayscale",
        libpng_encode(noise_image(kRgb, 16, false, 9, 9)), {"--alphaonly"});
    expectVerdict("rejected: not grayscale without alpha, which --alphaonly needs "
                  "[not-grayscale]; it cannot "
                  "be fixed for --alphaonly, because it is not grayscale",
                  png().rgb(2, 2).plte(byte_vector(6, 1)).bytes(), {"--alphaonly"});
}

TEST_F(Check, NamesWrongSuffixes) {
    write("it's.PNG", png().gray(2, 2).bytes());
    expectTool(
        1,
        "it's.PNG: rejected: its name does not end in .png [file-name]; fix: mv -i 'it'\\''s.PNG' "
        "'it'\\''s.png'\n",
        "", {"check", "it's.PNG"});
    write("name", png().gray(2, 2).bytes());
    expectTool(
        1, "name: rejected: its name does not end in .png [file-name]; fix: mv -i name name.png\n",
        "", {"check", "name"});
    write(".hidden", png().gray(2, 2).bytes());
    expectTool(1,
               ".hidden: rejected: its name does not end in .png [file-name]; fix: mv -i .hidden "
               ".hidden.png\n",
               "", {"check", ".hidden"});
    EXPECT_EQ(1, run({"--image", "it's.PNG", "--output", "a.surface"}).exitStatus);
}

TEST_F(Check, NamesCommandsThatWork) {
    const byte_vector image = libpng_encode(noise_image(kGray, 16, false, 2, 2));
    write("a.png", image);
    write("-a b.png", image);
    EXPECT_EQ("-: rejected: 16 bits a sample instead of 8 [bit-depth]" + kNarrowing +
                  "; fix: slabtool prepare - "
                  "image-prepared.png\n",
              shell("slabtool check - < a.png").output);
    const std::string command = "slabtool prepare './-a b.png' './-a b-prepared.png'";
    expectTool(1,
               "-a b.png: rejected: 16 bits a sample instead of 8 [bit-depth]" + kNarrowing +
                   "; fix: " + command + "\n",
               "", {"check", "--", "-a b.png"});
    EXPECT_EQ(0, shell(command).exitStatus);
    EXPECT_TRUE(exists("-a b-prepared.png"));
}

TEST_F(Check, NamesCommandsThatWorkForControlCharacters) {
    write("a\n\t%s\x7F.png", libpng_encode(noise_image(kGray, 16, false, 2, 2)));
    const std::string output = tool({"check", "a\n\t%s\x7F.png"}).output;
    const std::string announcement = "fix: ";
    EXPECT_EQ(0, shell(output.substr(output.find(announcement) + announcement.size())).exitStatus);
    EXPECT_TRUE(exists("a\n\t%s\x7F-prepared.png"));
}

TEST_F(Check, NamesNoCommandThatOverwritesAnotherImage) {
    write("a.PNG", png().gray(2, 2).bytes());
    write("a.png", png().gray(3, 3).bytes());
    const std::string output = tool({"check", "a.PNG"}).output;
    shell("exec < /dev/null; " + output.substr(output.find("mv ")));
    EXPECT_TRUE(same_bytes(png().gray(3, 3).bytes(), read("a.png")));
}

TEST_F(Check, NamesNoCommandForALineBreakAtTheEnd) {
    write("a\n", png().gray(2, 2).bytes());
    expectTool(1,
               "a?: rejected: its name does not end in .png [file-name]; rename it: its name "
               "ends in a line break, which shell commands drop\n",
               "", {"check", "a\n"});
}

TEST_F(Check, PrintsOneLineForEachOfThousandsOfImages) {
    write("good.png", png().gray(2, 2).bytes());
    write("bad.png", {1});
    std::vector<std::string> arguments = {"check", "missing.png"};
    std::string lines =
        "missing.png: rejected: cannot be opened: No such file or directory [unreadable]\n";
    for (int i = 0; i < 2000; ++i) {
        arguments.insert(arguments.end(), {"good.png", "bad.png"});
        lines += "good.png: accepted: I8, 2 x 2\n"
                 "bad.png: rejected: not a PNG file: its first 8 bytes are not the PNG signature "
                 "[not-png]; it cannot be fixed, because libpng reports: the file ends too early\n";
    }
    expectTool(1, lines, "", arguments);
}

TEST_F(Check, ReadsFolders) {
    std::filesystem::create_directories(path("in/b"));
    write("in/b/good.PNG", png().gray(2, 2).bytes());
    write("in/c.png", png().gray(3, 3).bytes());
    write("in/lossy.png", png().indexed(2, 2).bytes());
    write("in/readme.txt", {1});
    const std::string rejection =
        "in/b/good.PNG: rejected: its name does not end in .png [file-name]; fix: mv -i "
        "in/b/good.PNG in/b/good.png\n";
    const std::string loss = "in/lossy.png: accepted with loss: I8, 2 x 2; the palette is not in "
                             "the surface file [palette]; fix: slabtool prepare --expand-palette "
                             "in/lossy.png in/lossy-prepared.png\n";
    for (const char* jobs : {"1", "3"}) {
        expectTool(1,
                   rejection + "in/c.png: accepted: I8, 3 x 3\n" + loss +
                       "accepted 1, with loss 1, rejected 1\n",
                   "", {"check", "--jobs", jobs, "in"});
    }
    expectTool(1, rejection, "", {"check", "--quiet", "in"});
    expectTool(1, rejection + loss, "", {"check", "--quiet", "--strict", "in"});
}

TEST_F(Check, PrintsJson) {
    write("a\xE4.png", png().indexed(2, 2).bytes());
    write("b.png", {1});
    expectTool(
        1,
        "{\"input\":\"a\xEF\xBF\xBD.png\",\"input_hex\":\"61e42e706e67\",\"outcome\":"
        "\"accepted-with-loss\",\"surface\":\"I8, 2 x 2\",\"losses\":[{\"code\":\"palette\","
        "\"words\":\"the palette is not in the surface file\"}],\"fix\":\"slabtool prepare "
        "--expand-palette 'a\xEF\xBF\xBD.png' 'a\xEF\xBF\xBD-prepared.png'\",\"fix_hex\":"
        "\"736c6162746f6f6c2070726570617265202d2d657870616e642d70616c65747465202761e42e706e67272"
        "02761e42d70726570617265642e706e6727\"}\n"
        "{\"input\":\"b.png\",\"outcome\":\"rejected\",\"reason\":{\"code\":\"not-png\","
        "\"words\":\"not a PNG file: its first 8 bytes are not the PNG "
        "signature\"},\"losses\":[],\"note\":\"it "
        "cannot be fixed, because libpng reports: the file ends too early\"}\n",
        "", {"check", "--json", "a\xE4.png", "b.png"});
}

TEST_F(Check, ShowsNoControlCharacters) {
    expectTool(1, "a?b.png: rejected: cannot be opened: No such file or directory [unreadable]\n",
               "", {"check", "a\nb.png"});
}

TEST_F(Check, AgreesWithTheConverterOnDamagedFiles) {
    const byte_vector file = png().rgba(6, 6).idat_split_at({20}).bytes();
    test_rng rng(1);
    for (int i = 0; i < 60; ++i) {
        byte_vector damaged = file;
        damaged[random_between(rng, 24, static_cast<uint32_t>(file.size() - 1))] ^=
            static_cast<uint8_t>(1U << rng() % 8);
        damaged = i % 2 == 0 ? damaged : with_correct_crcs(damaged);
        write("a.png", damaged);
        EXPECT_EQ(converterAccepts(damaged), tool({"check", "a.png"}).exitStatus == 0)
            << "round " << i;
    }
}

} // namespace
