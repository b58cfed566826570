// slabtool convert as a whole program: compared with pngslab, on folders, and with its options.
#include "tests/slabtool/convert_test.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_writer.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

using Convert = ConvertTest;

TEST_F(Convert, WritesWhatPngslabWrites) {
    for (const auto& options : std::vector<std::vector<std::string>>{{}, {"--rotation", "90"}}) {
        for (const png_maker& image : {png().gray(5, 3), png().rgb(5, 3), png().rgba(5, 3),
                                       png().gray_alpha(5, 3), png().indexed(5, 3)}) {
            const byte_vector file = image.bytes();
            EXPECT_TRUE(
                same_bytes(makeSurface("expected.surface", file, options), convert(file, options)));
        }
    }
    const byte_vector gray = png().gray(7, 2).bytes();
    EXPECT_TRUE(same_bytes(makeSurface("expected.surface", gray, {"--alphaonly"}),
                           convert(gray, {"--alphaonly"})));
}

TEST_F(Convert, WritesWhatPngslabWritesAfterTheFix) {
    for (const uint8_t type : {kGray, kRgb, kIndexed, kGrayAlpha, kRgba}) {
        for (const bool isInterlaced : {false, true}) {
            const uint8_t depth = type == kIndexed ? 4 : 16;
            const byte_vector image = libpng_encode(noise_image(type, depth, isInterlaced, 9, 7));
            write("in.png", image);
            ASSERT_EQ(0, tool({"prepare", "in.png", "fixed.png"}).exitStatus);
            EXPECT_TRUE(
                same_bytes(makeSurface("expected.surface", read("fixed.png")), convert(image)))
                << "type " << int{type};
        }
    }
}

// The surface contains remains of the filtered rows, so it depends on the file that prepare writes.
TEST_F(Convert, WritesWhatPngslabWritesAfterTheFixOfAKeyColor) {
    constexpr size_t kRowBytes = 32;
    const byte_vector samples = make_bytes(data_kind::noise, kRowBytes * 32, 1);
    for (const png_maker& image : {png().rgb(32, 32).trns({0, 1, 0, 2, 0, 3}).palette(2),
                                   png().gray(64, 32).bit_depth(4).trns({0, 1}).rows(
                                       filter_rows(samples, kRowBytes, 1, {0, 1, 2, 3, 4}))}) {
        write("in.png", image.bytes());
        ASSERT_FALSE(converterAccepts(image.bytes()));
        ASSERT_EQ(0, tool({"prepare", "in.png", "fixed.png"}).exitStatus);
        EXPECT_TRUE(
            same_bytes(makeSurface("expected.surface", read("fixed.png")), convert(image.bytes())));
    }
}

TEST_F(Convert, ConvertsToAnyMode) {
    const byte_vector image =
        png().rgba(3, 1).pixels({255, 0, 0, 255, 0, 255, 0, 0, 9, 9, 9, 128}).bytes();
    EXPECT_EQ((byte_vector{0x00, 0xF8, 0xE0, 0x07}),
              slice(convert(image, {"--mode", "rgb565"}), 20, 4));
    EXPECT_EQ((byte_vector{255, 0, 128, 0}), slice(convert(image, {"--mode", "A8"}), 20, 4));
    EXPECT_EQ((byte_vector{0, 0, 255, 255, 255, 255}),
              slice(convert(image, {"--mode", "RGB888", "--background", "#ffffff"}), 20, 6));
    write("in.png", image);
    expectTool(
        1,
        "in.png: rejected: I8 holds gray values or palette indices, and this image has colors; "
        "choose a mode with colors, such as RGB565 [mode]\n",
        "", {"convert", "--quiet", "--mode", "I8", "in.png", "out2.surface"});
    EXPECT_FALSE(exists("out2.surface"));
}

TEST_F(Convert, KeepsColors) {
    const byte_vector image =
        png().indexed(2, 1).plte({1, 2, 3, 4, 5, 6}).trns({7}).pixels({0, 1}).bytes();
    EXPECT_EQ((byte_vector{3, 2, 1, 7, 6, 5, 4, 255}),
              slice(convert(image, {"--keep-colors"}), 20, 8));
    const byte_vector rotated =
        png()
            .gray(2, 1)
            .pixels({1, 2})
            .chunk_before_idat({"eXIf", {'M',  'M', 0, 42, 0, 0, 0, 8, 0, 1, 1,
                                         0x12, 0,   3, 0,  0, 0, 1, 0, 6, 0, 0}})
            .bytes();
    const byte_vector surface = convert(rotated, {"--keep-colors"});
    EXPECT_EQ((byte_vector{1, 0, 0, 0, 2, 0, 0, 0}), slice(surface, 8, 8)) << "width and height";
    EXPECT_EQ((byte_vector{1, 2}), slice(surface, 20, 2));
}

TEST_F(Convert, WritesPalettes) {
    const byte_vector image =
        png().indexed(2, 1).plte({1, 2, 3, 4, 5, 6}).trns({7}).pixels({0, 1}).bytes();
    convert(image, {"--palette"});
    EXPECT_EQ(1024U, read("out.palette").size());
    EXPECT_EQ((byte_vector{3, 2, 1, 7, 6, 5, 4, 255}), slice(read("out.palette"), 0, 8));
}

TEST_F(Convert, OverwritesNoOtherFileWithAPalette) {
    const byte_vector image = png().indexed(2, 1).plte({1, 2, 3}).pixels({0, 0}).bytes();
    write("a.palette", image);
    fs::create_symlink("a.palette", path("linked.palette"));
    expectTool(1, "", "slabtool: a.palette: the palette would overwrite it\n",
               {"convert", "--palette", "a.palette", "a.surface"});
    expectTool(1, "", "slabtool: a.palette: the palette would overwrite it\n",
               {"convert", "--palette", "a.palette", "linked.surface"});
    expectTool(1, "", "slabtool: b.palette: the palette would overwrite it\n",
               {"convert", "--palette", "a.palette", "b.palette"});
    expectTool(
        1, "",
        "slabtool: -: name an output file: the name of the palette file is derived from it\n",
        {"convert", "--palette", "a.palette", "-"});
    EXPECT_TRUE(same_bytes(image, read("a.palette")));
    EXPECT_FALSE(exists("a.surface") || exists("b.palette") || exists("-.palette"));
}

TEST_F(Convert, WritesOnlyTheSurfaceToStandardOutput) {
    const byte_vector image = png().rgb(5, 3).bytes();
    const byte_vector surface = convert(image);
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{}, {"--json"}}) {
        std::vector<std::string> arguments = {"convert", "in.png", "-"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProgramOutcome outcome = tool(arguments);
        EXPECT_EQ(0, outcome.exitStatus);
        EXPECT_TRUE(same_bytes(surface, {outcome.output.begin(), outcome.output.end()}));
        EXPECT_NE("", outcome.errors);
    }
}

TEST_F(Convert, StoresGrayValuesAsAlphaWithOtherOptionsToo) {
    const byte_vector image = png().gray(2, 1).pixels({1, 2}).bytes();
    const byte_vector expected = convert(image, {"--alphaonly"});
    EXPECT_TRUE(same_bytes(expected, convert(image, {"--alphaonly", "--keep-colors"})));
    EXPECT_TRUE(same_bytes(expected, convert(image, {"--alphaonly", "--mode", "A8"})));
    expectTool(2, "",
               "--alphaonly: only makes surfaces of mode A8\n"
               "Run with --help for more information.\n",
               {"convert", "--alphaonly", "--mode", "RGB565", "in.png", "out.surface"});
}

TEST_F(Convert, RejectsAnEmptyOutputName) {
    write("images/a.png", png().gray(4, 4).bytes());
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"convert", "images", ""},
                                               {"convert", "images/a.png", ""},
                                               {"prepare", "--output-dir", "", "images"}}) {
        expectTool(1, "", "slabtool: the name of the output is empty\n", arguments);
    }
}

TEST_F(Convert, WritesPalettesOnlyForIndices) {
    write("images/a.png", png().indexed(2, 1).plte({1, 2, 3}).trns({7}).pixels({0, 0}).bytes());
    for (const char* option : {"--mode=RGB565", "--keep-colors"}) {
        tool({"convert", "--palette", option, "images", "colors"});
        EXPECT_TRUE(exists("colors/a.surface") && !exists("colors/a.palette")) << option;
    }
    EXPECT_EQ("converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 0\n",
              summaryOf({"convert", "--palette", "--mode", "I8", "images", "indices"}))
        << "the palette has the alpha";
    EXPECT_TRUE(exists("indices/a.palette"));
}

TEST_F(Convert, AlignsRows) {
    const byte_vector surface = convert(png().rgb(3, 2).bytes(), {"--row-alignment", "4"});
    EXPECT_EQ((byte_vector{12, 0, 0, 0}), slice(surface, 16, 4)) << "the stride";
    EXPECT_EQ(20U + 24U, surface.size());
}

TEST_F(Convert, AlignsRowsOfRotatedImages) {
    const byte_vector picture = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    for (const auto& [width, height] : {std::pair(5U, 2U), std::pair(2U, 5U)}) {
        const byte_vector image = png().gray(width, height).pixels(picture).bytes();
        const byte_vector exact = convert(image, {"--rotation", "90"});
        const byte_vector aligned = convert(image, {"--rotation", "90", "--row-alignment", "8"});
        ASSERT_LE(20 + picture.size(), exact.size());
        ASSERT_EQ(20U + 8U * width, aligned.size()) << "a stored row for each column";
        EXPECT_EQ(slice(exact, 0, 16), slice(aligned, 0, 16)) << "rotation, mode and size";
        for (size_t row = 0; row < width; ++row) {
            EXPECT_EQ(slice(exact, 20 + row * height, height), slice(aligned, 20 + row * 8, height))
                << width << " x " << height << ", stored row " << row;
        }
    }
}

TEST_F(Convert, KeepsSubfolders) {
    write("images/a.png", png().rgb(4, 4).bytes());
    write("images/deep/er/b.PNG", png().gray(4, 4).bytes());
    write("images/notes.txt", {'x'});
    EXPECT_EQ("converted 2, up to date 0, fixed on the way 0, with loss 0, rejected 0\n",
              summaryOf({"convert", "images", "surfaces"}));
    EXPECT_TRUE(exists("surfaces/a.surface"));
    EXPECT_TRUE(exists("surfaces/deep/er/b.surface"));
    EXPECT_TRUE(exists("surfaces/surfaces.json"));
    EXPECT_FALSE(exists("surfaces/notes.surface"));
}

TEST_F(Convert, ContinuesAfterRejectionsAndExitsWith1) {
    write("images/a.png", png().rgb(4, 4).bytes());
    write("images/b.png", {'x'});
    write("images/c.png", png().indexed(4, 4).bytes());
    const ProgramOutcome outcome = tool({"convert", "images", "surfaces"});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("images/b.png: rejected: not a PNG file: its first 8 bytes are not the PNG signature "
              "[not-png]\n"
              "images/c.png: with loss: the palette is not in the surface file [palette]\n"
              "converted 2, up to date 0, fixed on the way 0, with loss 1, rejected 1\n"
              "note: --keep-colors keeps palettes, key colors and orientation\n",
              outcome.output);
    EXPECT_TRUE(exists("surfaces/c.surface"));
}

TEST_F(Convert, UpdatesOnlyWhatHasChanged) {
    write("images/a.png", png().rgb(4, 4).bytes());
    write("images/b.png", png().rgb(4, 4).bytes());
    EXPECT_EQ(0, tool({"convert", "images", "surfaces"}).exitStatus);
    EXPECT_EQ("converted 0, up to date 2, fixed on the way 0, with loss 0, rejected 0\n",
              summaryOf({"convert", "--update", "images", "surfaces"}));
    write("images/b.png", png().rgb(5, 5).bytes());
    EXPECT_EQ("converted 1, up to date 1, fixed on the way 0, with loss 0, rejected 0\n",
              summaryOf({"convert", "--update", "images", "surfaces"}));
    EXPECT_EQ("converted 2, up to date 0, fixed on the way 0, with loss 0, rejected 0\n",
              summaryOf({"convert", "--update", "--mode", "RGB565", "images", "surfaces"}));
    std::filesystem::remove(path("images/a.png"));
    EXPECT_EQ(
        "converted 0, up to date 1, fixed on the way 0, with loss 0, rejected 0, pruned 1\n",
        summaryOf({"convert", "--update", "--prune", "--mode", "RGB565", "images", "surfaces"}));
    EXPECT_FALSE(exists("surfaces/a.surface"));
}

TEST_F(Convert, KeepsTheOldSurfaceOfARejectedImage) {
    write("images/a.png", png().rgb(4, 4).bytes());
    EXPECT_EQ(0, tool({"convert", "images", "surfaces"}).exitStatus);
    const byte_vector older = read("surfaces/a.surface");
    write("images/a.png", {'x'});
    EXPECT_EQ(1, tool({"convert", "images", "surfaces"}).exitStatus);
    EXPECT_TRUE(same_bytes(older, read("surfaces/a.surface")));
}

TEST_F(Convert, RejectsTwoImagesForOneSurface) {
    write("x/a.png", png().rgb(4, 4).bytes());
    write("y/a.png", png().rgb(4, 4).bytes());
    EXPECT_EQ(1, tool({"convert", "x/a.png", "y/a.png", "surfaces"}).exitStatus);
    EXPECT_FALSE(exists("surfaces/a.surface"));
}

TEST_F(Convert, GivesTheSameBytesForAnyNumberOfJobs) {
    for (uint32_t i = 1; i < 30; ++i) {
        write("images/" + std::to_string(i) + ".png",
              png().rgba(i, i).pixels(data_kind::noise, i).bytes());
    }
    for (const char* jobs : {"1", "7"}) {
        EXPECT_EQ(0, tool({"convert", "--jobs", jobs, "--mode", "RGB565", "--dither",
                           "floyd-steinberg", "images", std::string("out") + jobs})
                         .exitStatus);
    }
    for (uint32_t i = 1; i < 30; ++i) {
        const std::string name = std::to_string(i) + ".surface";
        EXPECT_TRUE(same_bytes(read("out1/" + name), read("out7/" + name))) << i;
    }
}

TEST_F(Convert, RejectsMorePixelsThanAllowed) {
    write("in.png", png().gray(2, 2).declared_size(60000, 60000).bytes());
    expectTool(1,
               "in.png: rejected: more pixels than --max-pixels allows: 3600000000 [too-large]\n",
               "", {"convert", "--quiet", "in.png", "out.surface"});
}

// The small image is finished long before the large one.
TEST_F(Convert, ListsImagesInOrder) {
    write("images/a.png", png().indexed(2000, 2000).pixels(data_kind::noise, 1).bytes());
    write("images/b.png", {1});
    for (int i = 0; i < 5; ++i) {
        const std::string output = tool({"convert", "--jobs", "2", "images", "surfaces"}).output;
        EXPECT_LT(output.find("images/a.png: "), output.find("images/b.png: ")) << output;
    }
}

TEST_F(Convert, PrintsAnObjectForEachImage) {
    write("images/b.png", {'x'});
    EXPECT_EQ("{\"input\":\"images/b.png\",\"output\":\"b.surface\",\"outcome\":\"rejected\","
              "\"reason\":{\"code\":\"not-png\",\"words\":\"not a PNG file: its first 8 bytes are "
              "not the PNG signature\"},\"losses\":[]}\n",
              tool({"convert", "--json", "images", "surfaces"}).output);
}

TEST_F(Convert, KeepsGrayWithAlphaInItsMode) {
    const byte_vector image = png().gray_alpha(2, 1).pixels({7, 255, 9, 128}).bytes();
    const byte_vector surface = convert(image, {"--keep-colors"});
    EXPECT_EQ(static_cast<uint8_t>(DsColorMode::AI88), surface[4]);
    EXPECT_EQ((byte_vector{7, 255, 9, 128}), slice(surface, 20, 4));
}

TEST_F(Convert, RejectsEmptyFiles) {
    write("in.png", {});
    expectTool(1, "in.png: rejected: the file is empty [not-png]\n", "",
               {"convert", "--quiet", "in.png", "out.surface"});
}

TEST_F(Convert, RejectsColorsForAlphaOnlySurfaces) {
    for (const uint8_t depth : byte_vector{8, 16}) { // the second one is decoded by libpng
        write("in.png", libpng_encode(noise_image(kRgb, depth, false, 2, 2)));
        expectTool(1,
                   "in.png: rejected: not grayscale without alpha, which --alphaonly needs "
                   "[not-grayscale]\n",
                   "", {"convert", "--quiet", "--alphaonly", "in.png", "out.surface"});
    }
}

} // namespace
