// slabtool compare: equal files, and every kind of difference.
#include "tests/slabtool/slabtool_test.h"
#include "tests/src/surface_makers.h"
#include "tests/support/png_maker.h"

namespace {

class Compare : public SlabtoolTest {
protected:
    void expectComparison(int exitStatus, const std::string& output, const byte_vector& first,
                          const byte_vector& second) const {
        write("a.surface", first);
        write("b.surface", second);
        expectTool(exitStatus, output, "", {"compare", "a.surface", "b.surface"});
    }
};

byte_vector surfaceOf(uint32_t rotation, DsColorMode mode, uint32_t width, uint32_t height,
                      const byte_vector& lines) {
    byte_vector file =
        makeFileHeader(rotation, mode, width, height, static_cast<uint32_t>(lines.size()) / height);
    append(file, lines);
    file.resize((file.size() + 3) / 4 * 4);
    return file;
}

TEST_F(Compare, FindsEveryFileOfTheConverterEqualToItself) {
    for (const uint8_t type : kColorTypes) {
        SCOPED_TRACE(testing::Message() << "color type " << int{type});
        const byte_vector file = makeSurface("a.surface", png().image(type, 6, 5).bytes());
        expectComparison(0, "equal\n", file, file);
    }
}

TEST_F(Compare, FindsEveryChangedPixel) {
    for (const DsColorMode mode : kModesWithPixels) {
        SCOPED_TRACE(testing::Message() << "mode " << static_cast<uint32_t>(mode));
        const uint32_t pixel = bytesPerPixel(mode);
        byte_vector lines(size_t{12} * pixel);
        const byte_vector before = surfaceOf(0, mode, 4, 3, lines);
        lines[7 * pixel - 1] = 1;  // x 2, y 1
        lines[12 * pixel - 1] = 1; // x 3, y 2
        const byte_vector after = surfaceOf(0, mode, 4, 3, lines);
        const ProgramOutcome outcome = [&] {
            write("a.surface", before);
            write("b.surface", after);
            return tool({"compare", "a.surface", "b.surface"});
        }();
        EXPECT_EQ(1, outcome.exitStatus);
        EXPECT_TRUE(outcome.output.starts_with("2 of 12 pixels differ, the first at x 2, y 1: 00"))
            << outcome.output;
    }
}

TEST_F(Compare, ShowsTheBytesOfTheFirstDifference) {
    expectComparison(1, "1 of 2 pixels differ, the first at x 1, y 0: 04 05 06 and 04 ff 06\n",
                     surfaceOf(0, DsColorMode::RGB888, 2, 1, {1, 2, 3, 4, 5, 6}),
                     surfaceOf(0, DsColorMode::RGB888, 2, 1, {1, 2, 3, 4, 255, 6}));
}

TEST_F(Compare, ComparesTheFirstAndTheLastPixel) {
    const auto changed = [](size_t at) {
        byte_vector lines(6);
        lines[at] = 255;
        return surfaceOf(0, DsColorMode::A8, 3, 2, lines);
    };
    const byte_vector zeros = surfaceOf(0, DsColorMode::A8, 3, 2, byte_vector(6));
    expectComparison(1, "1 of 6 pixels differ, the first at x 0, y 0: 00 and ff\n", zeros,
                     changed(0));
    expectComparison(1, "1 of 6 pixels differ, the first at x 2, y 1: ff and 00\n", changed(5),
                     zeros);
}

TEST_F(Compare, IgnoresPadding) {
    expectComparison(0, "equal\n", surfaceOf(0, DsColorMode::A8, 1, 2, {1, 2}),
                     surfaceOf(0, DsColorMode::A8, 1, 2, {1, 99, 2, 99}));
}

TEST_F(Compare, NamesDifferentModesAndSizes) {
    expectComparison(1, "different color modes: A8 and I8\n",
                     surfaceOf(0, DsColorMode::A8, 2, 2, {1, 2, 3, 4}),
                     surfaceOf(0, DsColorMode::I8, 2, 2, {1, 2, 3, 4}));
    expectComparison(1,
                     "different color modes: A8 and RGB565\n"
                     "different sizes: 4 x 1 and 2 x 1\n",
                     surfaceOf(0, DsColorMode::A8, 4, 1, {1, 2, 3, 4}),
                     surfaceOf(0, DsColorMode::RGB565, 2, 1, {1, 2, 3, 4}));
}

TEST_F(Compare, NamesDifferentHeights) {
    expectComparison(1, "different sizes: 2 x 1 and 2 x 2\n",
                     surfaceOf(0, DsColorMode::A8, 2, 1, {1, 2}),
                     surfaceOf(0, DsColorMode::A8, 2, 2, {1, 2, 3, 4}));
}

TEST_F(Compare, ComparesRotatedFilesUpright) {
    const byte_vector image = png().rgb(5, 3).bytes();
    const byte_vector rotated = makeSurface("rotated", image, {"--rotation", "90"});
    expectComparison(
        1, "different rotations: 0 and 90\nthe pixels of the upright pictures are the same\n",
        makeSurface("upright", image), rotated);
    byte_vector other = rotated;
    other[20] ^= 1; // the rightmost pixel of the image's first row
    const ProgramOutcome outcome = [&] {
        write("other", other);
        return tool({"compare", "upright", "other"});
    }();
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_NE(std::string::npos,
              outcome.output.find("1 of 15 pixels differ, the first at x 4, y 0: "))
        << outcome.output;
}

TEST_F(Compare, RejectsInvalidFiles) {
    const byte_vector good = surfaceOf(0, DsColorMode::A8, 2, 2, {1, 2, 3, 4});
    write("a.surface", good);
    write("b.surface", slice(good, 0, 23));
    expectTool(1, "", "slabtool: b.surface: 1 bytes of the rows are missing\n",
               {"compare", "a.surface", "b.surface"});
    expectTool(1, "", "slabtool: c.surface: cannot be opened: No such file or directory\n",
               {"compare", "c.surface", "a.surface"});
}

TEST_F(Compare, PairsTheFilesOfFolders) {
    for (const char* folder : {"old/b", "new/b"}) {
        std::filesystem::create_directories(path(folder));
    }
    makeSurface("old/a.surface", png().gray(2, 1).pixels({1, 2}).bytes());
    makeSurface("new/a.surface", png().gray(2, 1).pixels({1, 3}).bytes());
    makeSurface("old/b/same.surface", png().rgb(2, 2).bytes());
    makeSurface("new/b/same.surface", png().rgb(2, 2).bytes());
    makeSurface("old/old-only.surface", png().rgb(2, 2).bytes());
    write("new/z.surface", {1});
    const std::string differences =
        "a.surface: 1 of 2 pixels differ, the first at x 1, y 0: 02 and 03\n"
        "old-only.surface: only in old\n"
        "z.surface: only in new\n";
    expectTool(1, differences + "equal 1, different 3\n", "", {"compare", "old", "new"});
    expectTool(1, differences, "", {"compare", "--quiet", "--jobs", "2", "old", "new"});
    expectTool(0, "equal 3, different 0\n", "", {"compare", "old", "old"});
    write("old/z.surface", {1});
    EXPECT_NE(std::string::npos,
              tool({"compare", "old", "new"})
                  .output.find("z.surface: old/z.surface: the file is shorter than"));
    expectTool(1, "", "slabtool: a file and a folder cannot be compared\n",
               {"compare", "old", "old/a.surface"});
}

TEST_F(Compare, NamesTheReasonIfASubfolderOfOneFolderCannotBeRead) {
    namespace fs = std::filesystem;
    fs::create_directories(path("old/b"));
    fs::create_directories(path("new/b"));
    fs::permissions(path(""), fs::perms::all);
    fs::permissions(path("new/b"), fs::perms::none);
    const ProgramOutcome outcome =
        runProgram(PNGSLAB_SLABTOOL, {"compare", "old", "new"}, path(""), {.asNobody = true});
    fs::permissions(path("new/b"), fs::perms::all); // or the folder could not be removed
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("b/: new/b/: cannot be opened: Permission denied\nequal 0, different 1\n",
              outcome.output);
}

TEST_F(Compare, PrintsJson) {
    makeSurface("a.surface", png().gray(2, 1).pixels({1, 2}).bytes());
    makeSurface("b.surface", png().gray(2, 1).pixels({1, 3}).bytes());
    expectTool(
        1,
        "{\"first\":\"a.surface\",\"second\":\"b.surface\",\"equal\":false,\"words\":[\"1 of "
        "2 pixels differ, the first at x 1, y 0: 02 and 03\"]}\n",
        "", {"compare", "--json", "a.surface", "b.surface"});
    expectTool(0, "", "", {"compare", "--quiet", "a.surface", "a.surface"});
}

} // namespace
