// slabtool info on files of the converter, on every kind of header, and on other files.
#include "tests/slabtool/slabtool_test.h"
#include "tests/src/surface_makers.h"
#include "tests/support/png_maker.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/surfaces/surface_file.h"

namespace {

constexpr const char* kModeNames[] = {"ARGB8888", "RGB888",    "RGB565", "ARGB1555",  "ARGB4444",
                                      "I8",       "Reserved6", "AI88",   "Reserved8", "A8"};

// A file of 4 by 3 pixels; consistent if the mode has pixels.
byte_vector surfaceOfMode(uint32_t mode, uint32_t rotation = 0) {
    const uint32_t stride = 4 * bytesPerPixel(DsColorMode{mode});
    byte_vector file = makeFileHeader(rotation, DsColorMode{mode}, 4, 3, stride);
    file.resize(20 + 3 * stride);
    return file;
}

std::vector<std::string> problemsOf(const byte_vector& file) {
    const SurfaceFacts facts = inspectSurface(file, file.size());
    std::vector<std::string> all = facts.faults;
    all.insert(all.end(), facts.oddities.begin(), facts.oddities.end());
    return all;
}

using Problems = std::vector<std::string>;

class Info : public SlabtoolTest {};

TEST_F(Info, FindsEveryFileOfTheConverterConsistent) {
    const byte_vector images[] = {
        png().gray(5, 3).bytes(),       png().gray(5, 3).trns({0, 1}).bytes(),
        png().rgb(5, 3).bytes(),        png().indexed(5, 3).bytes(),
        png().gray_alpha(5, 3).bytes(), png().rgba(5, 3).bytes()};
    for (const byte_vector& image : images) {
        for (const char* rotation : {"90", "180"}) {
            makeSurface("a.surface", image, {"--rotation", rotation});
            EXPECT_EQ(0, tool({"info", "a.surface"}).exitStatus) << "rotation " << rotation;
        }
    }
    makeSurface("a.surface", images[0], {"--alphaonly"});
    EXPECT_EQ(0, tool({"info", "a.surface"}).exitStatus);
}

TEST_F(Info, PrintsTheHeaderAndThePadding) {
    byte_vector file = makeFileHeader(90, DsColorMode::RGB888, 3, 2, 12);
    file.resize(44);
    write("a.surface", file);
    expectTool(0,
               "a.surface: consistent\n"
               "  rotation 90\n"
               "  mode     1 (RGB888), 3 bytes a pixel\n"
               "  size     3 x 2 pixels as stored\n"
               "  stride   12 bytes, 3 of them padding\n"
               "  file     44 bytes, 0 after the last row\n",
               "", {"info", "a.surface"});
}

TEST_F(Info, PrintsEveryProblem) {
    write("a.surface", makeFileHeader(45, DsColorMode{77}, 0, 2, 12));
    expectTool(1,
               "a.surface: not consistent\n"
               "  rotation 45\n"
               "  mode     77 (unknown), 0 bytes a pixel\n"
               "  size     0 x 2 pixels as stored\n"
               "  stride   12 bytes, 12 of them padding\n"
               "  file     20 bytes, 0 after the last row\n"
               "  problem: color mode 77 is unknown\n"
               "  problem: width 0 is not between 1 and 2147483647\n"
               "  problem: rotation 45 is not 0, 90, 180 or 270\n",
               "", {"info", "a.surface"});
    const ProgramOutcome json = tool({"info", "--json", "a.surface"});
    EXPECT_NE(std::string::npos,
              json.output.find("\"problems\":[\"color mode 77 is unknown\",\"width 0 is not "
                               "between 1 and 2147483647\",\"rotation 45 is not 0, 90, 180 or "
                               "270\"]"))
        << json.output;
}

TEST_F(Info, PrintsNoHeaderOfFilesWithoutOne) {
    write("a.surface", {1, 2, 3});
    expectTool(1,
               "a.surface: not consistent\n"
               "  problem: the file is shorter than the 20-byte header\n",
               "", {"info", "a.surface"});
}

TEST_F(Info, RecognizesPngImages) {
    const byte_vector image = png().rgb(5, 3).bytes();
    write("a.png", image);
    const std::string problem = "this is a PNG image, not a surface file: slabtool check reports "
                                "whether pngslab accepts it";
    expectTool(1, "a.png: not consistent\n  problem: " + problem + "\n", "", {"info", "a.png"});
    expectTool(1, "", "slabtool: a.png: " + problem + "\n", {"view", "a.png", "b.png"});
    expectTool(
        1,
        "[\n{\"file\":\"a.png\",\"consistent\":false,\"bytes\":" + std::to_string(image.size()) +
            ",\"problems\":[\"" + problem + "\"],\"notes\":[]}\n]\n",
        "", {"info", "--json", "a.png"});
    EXPECT_EQ(Problems{problem}, problemsOf(slice(image, 0, 8)));
    EXPECT_EQ(Problems{"the file is shorter than the 20-byte header"},
              problemsOf(slice(image, 0, 7)));
}

TEST_F(Info, PrintsJson) {
    write("a.surface", surfaceOfMode(9));
    write("b \"b\"", {1, 2, 3});
    expectTool(1,
               "[\n"
               "{\"file\":\"a.surface\",\"consistent\":true,\"bytes\":32,\"rotation\":0,"
               "\"mode\":9,\"modeName\":\"A8\",\"bytesPerPixel\":1,\"width\":4,\"height\":3,"
               "\"stride\":4,\"linePadding\":0,\"endPadding\":0,\"problems\":[],\"notes\":"
               "[{\"code\":\"alpha-only\",\"words\":\"alpha values, without colors\"}]},\n"
               "{\"file\":\"b \\\"b\\\"\",\"consistent\":false,\"bytes\":3,\"problems\":"
               "[\"the file is shorter than the 20-byte header\"],\"notes\":[]},\n"
               "{\"file\":\"missing\",\"consistent\":false,\"problems\":"
               "[\"cannot be opened: No such file or directory\"],\"notes\":[]}\n"
               "]\n",
               "slabtool: missing: cannot be opened: No such file or directory\n",
               {"info", "--json", "a.surface", "b \"b\"", "missing"});
}

TEST_F(Info, ContinuesAfterUnreadableFiles) {
    write("a.surface", surfaceOfMode(5));
    const ProgramOutcome outcome = tool({"info", "missing", "/dev/fd/0/", "a.surface"});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_TRUE(outcome.output.starts_with("a.surface: consistent\n")) << outcome.output;
    EXPECT_EQ("slabtool: missing: cannot be opened: No such file or directory\n"
              "slabtool: /dev/fd/0/: cannot be opened: Not a directory\n",
              outcome.errors);
}

TEST_F(Info, ReadsFolders) {
    std::filesystem::create_directories(path("in/b"));
    write("in/b/c.surface", surfaceOfMode(5));
    write("in/a.surface", {1, 2});
    write("in/readme.txt", {1});
    const std::string problem =
        "in/a.surface: not consistent\n  problem: the file is shorter than the 20-byte header\n";
    for (const char* jobs : {"1", "4"}) {
        const ProgramOutcome outcome = tool({"info", "--jobs", jobs, "in"});
        EXPECT_EQ(1, outcome.exitStatus);
        EXPECT_TRUE(outcome.output.starts_with(problem + "in/b/c.surface: consistent\n"))
            << outcome.output;
    }
    expectTool(1, problem, "", {"info", "--quiet", "in"});
    std::filesystem::create_directory(path("empty"));
    expectTool(0, "[\n]\n", "", {"info", "--json", "empty"});
}

TEST_F(Info, ReadsStandardInput) {
    write("a.surface", surfaceOfMode(5));
    for (const char* command : {"slabtool info - < a.surface", "cat a.surface | slabtool info -"}) {
        const ProgramOutcome outcome = shell(command);
        EXPECT_EQ(0, outcome.exitStatus) << command;
        EXPECT_TRUE(outcome.output.starts_with("-: consistent\n")) << outcome.output;
    }
}

TEST_F(Info, RejectsFilesWithoutAnEnd) {
    expectTool(1, "", "slabtool: /dev/zero: is larger than 2 GiB\n", {"info", "/dev/zero"});
}

TEST_F(Info, ReportsThatStandardOutputCannotBeWritten) {
    write("a.surface", surfaceOfMode(5));
    const ProgramOutcome outcome = shell("slabtool info a.surface > /dev/full");
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("slabtool: standard output: No space left on device\n", outcome.errors);
}

TEST_F(Info, ReadsOnlyTheHeader) {
    write("huge", makeFileHeader(0, DsColorMode::I8, 0x7FFFFFFF, 0x200, 0x7FFFFFFF));
    std::filesystem::resize_file(path("huge"), uint64_t{0x7FFFFFFF} * 0x200 + 20);
    EXPECT_EQ(0, tool({"info", "huge"}).exitStatus); // the whole file would not fit the memory
}

TEST(SurfaceHeaders, AreConsistentForEveryModeWithPixels) {
    for (const DsColorMode mode : kModesWithPixels) {
        EXPECT_EQ(Problems{}, problemsOf(surfaceOfMode(static_cast<uint32_t>(mode))))
            << "mode " << static_cast<uint32_t>(mode);
    }
}

TEST(SurfaceHeaders, AreRejectedForReservedModes) {
    EXPECT_EQ(Problems{"color mode 6 (Reserved6) has no pixels"}, problemsOf(surfaceOfMode(6)));
    EXPECT_EQ(Problems{"color mode 8 (Reserved8) has no pixels"}, problemsOf(surfaceOfMode(8)));
}

TEST(SurfaceHeaders, AreRejectedForUnknownModes) {
    EXPECT_EQ(Problems{"color mode 10 is unknown"}, problemsOf(surfaceOfMode(10)));
    EXPECT_EQ(Problems{"color mode 4294967295 is unknown"}, problemsOf(surfaceOfMode(0xFFFFFFFF)));
}

TEST(SurfaceHeaders, HaveNamesForAllModes) {
    for (uint32_t mode = 0; mode < 10; ++mode) {
        EXPECT_STREQ(kModeNames[mode], colorModeName(mode));
    }
    EXPECT_STREQ("unknown", colorModeName(10));
}

TEST(SurfaceHeaders, NeedTwentyBytes) {
    for (size_t size = 0; size < 20; ++size) {
        EXPECT_EQ(Problems{"the file is shorter than the 20-byte header"},
                  problemsOf(slice(surfaceOfMode(0), 0, size)))
            << size << " bytes";
    }
}

TEST(SurfaceHeaders, NeedAllOfTheirRows) {
    EXPECT_EQ(Problems{"1 bytes of the rows are missing"},
              problemsOf(slice(surfaceOfMode(0), 0, 67)));
    EXPECT_EQ(Problems{"48 bytes of the rows are missing"},
              problemsOf(slice(surfaceOfMode(0), 0, 20)));
}

TEST(SurfaceHeaders, DefineTheFileSize) {
    byte_vector file = surfaceOfMode(0);
    file.resize(file.size() + 3);
    EXPECT_EQ(Problems{"3 extra bytes at the end"}, problemsOf(file));
    byte_vector unpadded = makeFileHeader(0, DsColorMode::I8, 3, 3, 3);
    unpadded.resize(20 + 9);
    EXPECT_EQ(Problems{"the file size is not rounded up to a multiple of 4"}, problemsOf(unpadded));
}

TEST(SurfaceHeaders, MayHaveFourRotations) {
    for (const uint32_t rotation : {0U, 90U, 180U, 270U}) {
        EXPECT_EQ(Problems{}, problemsOf(surfaceOfMode(0, rotation))) << rotation;
    }
    for (const uint32_t rotation : {1U, 360U, 0xFFFFFFFFU}) {
        EXPECT_EQ(Problems{"rotation " + std::to_string(rotation) + " is not 0, 90, 180 or 270"},
                  problemsOf(surfaceOfMode(0, rotation)));
    }
}

TEST(SurfaceHeaders, NeedPixelsAndALargeEnoughStride) {
    const auto problems = [](uint32_t width, uint32_t height, uint32_t stride) {
        byte_vector file = makeFileHeader(0, DsColorMode::ARGB8888, width, height, stride);
        file.resize(120);
        return problemsOf(file);
    };
    EXPECT_EQ(Problems{"width 0 is not between 1 and 2147483647"}, problems(0, 3, 16));
    EXPECT_EQ(Problems{"height 2147483648 is not between 1 and 2147483647"},
              problems(1, 0x80000000, 16));
    EXPECT_EQ("stride 15 is less than the 16 bytes of a row's pixels", problems(4, 1, 15).front());
    EXPECT_EQ("stride 4 is less than the 4294967300 bytes of a row's pixels",
              problems(0x40000001, 1, 4).front());
}

TEST(JsonLine, KeepsTheBytesOfNamesThatAreNotUtf8) {
    JsonObject object;
    object.addText("plain", "a\"b\n\xC3\xA4");
    object.addText("truncated", "a\xE4"
                                "b\xC3");
    EXPECT_EQ("{\"plain\":\"a\\\"b\\n\xC3\xA4\",\"truncated\":\"a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD\",\"truncated_hex\":\"61e462c3\"}",
              object.text());
}

} // namespace
