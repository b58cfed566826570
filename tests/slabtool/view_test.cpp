// slabtool view: its PNG, read by libpng, is compared with the source image of the surface or with given pixels.
#include "tests/slabtool/slabtool_test.h"
#include "tests/src/surface_makers.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_oracle.h"

namespace {

const std::string kIndexNote =
    "slabtool: a.surface: note: gray values, or indices whose palette is not in the surface file "
    "[palette]; drawn as gray\n";
const std::string kAlphaNote =
    "slabtool: a.surface: note: alpha values, without colors [alpha-only]; drawn as gray\n";

class View : public SlabtoolTest {
protected:
    // Draws a.surface. The samples are in the order of the oracle.
    oracle_image_t draw(const std::string& note) const {
        expectTool(0, "", note, {"view", "a.surface", "a.png"});
        const auto image = oracle_decode_png(read("a.png"));
        EXPECT_TRUE(image.has_value());
        return image.value_or(oracle_image_t{});
    }

    oracle_image_t drawFile(const byte_vector& file, const std::string& note = "") const {
        write("a.surface", file);
        return draw(note);
    }

    void expectRejected(const byte_vector& file, const std::string& reason) const {
        write("a.surface", file);
        write("a.png", {1, 2, 3});
        expectTool(1, "", "slabtool: a.surface: " + reason + "\n", {"view", "a.surface", "a.png"});
        EXPECT_EQ((byte_vector{1, 2, 3}), read("a.png"));
    }
};

// A surface file of one row.
byte_vector rowFile(DsColorMode mode, uint32_t width, const byte_vector& pixels) {
    byte_vector file = makeFileHeader(0, mode, width, 1, static_cast<uint32_t>(pixels.size()));
    append(file, pixels);
    return file;
}

TEST_F(View, DrawsTheUprightImageOfTheConverter) {
    struct Case {
        byte_vector image;
        std::string note;
    };
    const Case cases[] = {{png().gray(7, 4).bytes(), kIndexNote},
                          {png().indexed(7, 4).bytes(), kIndexNote},
                          {png().gray_alpha(7, 4).bytes(), kIndexNote},
                          {png().rgb(7, 4).bytes(), ""},
                          {png().rgba(7, 4).bytes(), ""}};
    for (const auto& [image, note] : cases) {
        for (const char* rotation : {"90", "180"}) {
            SCOPED_TRACE(std::string("rotation ") + rotation);
            makeSurface("a.surface", image, {"--rotation", rotation});
            const oracle_image_t drawn = draw(note);
            const oracle_image_t given = *oracle_decode_png(image);
            EXPECT_EQ(given.width, drawn.width);
            EXPECT_EQ(given.height, drawn.height);
            EXPECT_TRUE(same_pixels(given.pixels, drawn.pixels, layout_of(given)));
        }
    }
}

TEST_F(View, DrawsAlphaOnlySurfacesAsGray) {
    const byte_vector image = png().gray(5, 6).bytes();
    makeSurface("a.surface", image, {"--alphaonly", "--rotation", "90"});
    const oracle_image_t given = *oracle_decode_png(image);
    EXPECT_TRUE(same_pixels(given.pixels, draw(kAlphaNote).pixels, layout_of(given)));
}

TEST_F(View, WidensPixelsOfTwoBytes) {
    const byte_vector words = {0x00, 0xF8, 0xE0, 0x07, 0x1F, 0x00, 0xFF, 0xFF};
    EXPECT_EQ((byte_vector{0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255}),
              drawFile(rowFile(DsColorMode::RGB565, 4, words)).pixels);
    EXPECT_EQ((byte_vector{0xBB, 0xCC, 0xDD, 0xAA}),
              drawFile(rowFile(DsColorMode::ARGB4444, 1, {0xCB, 0xAD})).pixels);
}

TEST_F(View, DrawsTheAlphaBitThatDrawingOperationsIgnore) {
    const byte_vector words = {0x00, 0xFC, 0x1F, 0x00};
    EXPECT_EQ((byte_vector{0, 0, 255, 255, 255, 0, 0, 0}),
              drawFile(rowFile(DsColorMode::ARGB1555, 2, words)).pixels);
}

TEST_F(View, DrawsEveryRotationUpright) {
    // An image of 3 by 2, 1 2 3 above 4 5 6, as each rotation stores it.
    const auto drawn = [&](uint32_t rotation, uint32_t width, const byte_vector& stored) {
        byte_vector file = makeFileHeader(rotation, DsColorMode::A8, width, 6 / width, width);
        append(file, stored);
        file.resize(28);
        return drawFile(file, kAlphaNote).pixels;
    };
    const byte_vector upright = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(upright, drawn(0, 3, {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(upright, drawn(90, 2, {3, 6, 2, 5, 1, 4}));
    EXPECT_EQ(upright, drawn(180, 3, {6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(upright, drawn(270, 2, {4, 1, 5, 2, 6, 3}));
}

TEST_F(View, IgnoresPadding) {
    byte_vector file = makeFileHeader(0, DsColorMode::RGB888, 1, 2, 5);
    append(file, {1, 2, 3, 99, 99, 4, 5, 6, 99, 99});
    EXPECT_EQ((byte_vector{1, 2, 3, 4, 5, 6}), drawFile(file).pixels);
}

TEST_F(View, DrawsIndicesInTheColorsOfAPaletteFile) {
    const byte_vector image =
        png().indexed(3, 1).plte({1, 2, 3, 4, 5, 6}).trns({7}).pixels({0, 1, 9}).bytes();
    write("in.png", image);
    ASSERT_EQ(0, tool({"convert", "--palette", "in.png", "a.surface"}).exitStatus);
    expectTool(0, "", "", {"view", "--palette", "a.palette", "a.surface", "a.png"});
    EXPECT_EQ((byte_vector{3, 2, 1, 7, 6, 5, 4, 255, 0, 0, 0, 255}),
              oracle_decode_png(read("a.png"), oracle_reading::as_stored)->pixels);
    ASSERT_EQ(0, tool({"convert", "--mode", "AI88", "in.png", "b.surface"}).exitStatus);
    expectTool(0, "", "", {"view", "--palette", "a.palette", "b.surface", "b.png"});
    EXPECT_TRUE(same_bytes(read("a.png"), read("b.png")));
}

TEST_F(View, RejectsPalettesThatDoNotFit) {
    makeSurface("a.surface", png().rgb(2, 2).bytes());
    makeSurface("b.surface", png().gray(2, 2).bytes());
    write("short.palette", byte_vector(767));
    write("a.palette", byte_vector(768));
    expectTool(1, "", "slabtool: short.palette: is not a palette file of 768 or 1024 bytes\n",
               {"view", "--palette", "short.palette", "b.surface", "a.png"});
    expectTool(1, "", "slabtool: a.surface: RGB888 has no palette indices: leave --palette out\n",
               {"view", "--palette", "a.palette", "a.surface", "a.png"});
    EXPECT_FALSE(exists("a.png"));
}

TEST_F(View, WritesToStandardOutput) {
    makeSurface("a.surface", png().rgba(9, 9).bytes());
    draw("");
    const byte_vector png = read("a.png");
    expectTool(0, std::string(png.begin(), png.end()), "", {"view", "a.surface", "-"});
    EXPECT_EQ(std::string(png.begin(), png.end()), shell("slabtool view - - < a.surface").output);
}

TEST_F(View, RejectsFilesWithoutPixelsAndKeepsTheOutput) {
    const auto header = [](DsColorMode mode, uint32_t width) {
        byte_vector file = makeFileHeader(0, mode, width, 1, 4);
        file.resize(24);
        return file;
    };
    expectRejected(header(DsColorMode::Reserved6, 1), "color mode 6 (Reserved6) has no pixels");
    expectRejected(header(DsColorMode::Reserved8, 1), "color mode 8 (Reserved8) has no pixels");
    expectRejected(header(DsColorMode{77}, 1), "color mode 77 is unknown");
    expectRejected(header(DsColorMode::I8, 0), "width 0 is not between 1 and 2147483647");
    expectRejected(header(DsColorMode::ARGB8888, 2),
                   "stride 4 is less than the 8 bytes of a row's pixels");
    expectRejected({}, "the file is shorter than the 20-byte header");
    expectRejected(slice(header(DsColorMode::I8, 4), 0, 23), "1 bytes of the rows are missing");
}

TEST_F(View, EndsOnEveryTruncation) {
    const byte_vector file = makeSurface("whole.surface", png().rgba(2, 2).bytes());
    for (size_t size = 0; size < file.size(); ++size) {
        write("a.surface", slice(file, 0, size));
        EXPECT_EQ(1, tool({"view", "a.surface", "a.png"}).exitStatus) << size << " bytes";
    }
    EXPECT_FALSE(exists("a.png"));
}

TEST_F(View, KeepsTheOldFileIfTheDiskIsFull) {
    makeSurface("a.surface", png().rgba(40, 40).bytes());
    write("a.png", {7});
    ProgramSurroundings small;
    small.fileSize = 100;
    small.goesOnAtFileSize = true;
    const ProgramOutcome outcome = tool({"view", "a.surface", "a.png"}, small);
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_TRUE(outcome.errors.starts_with("slabtool: a.png: cannot be written: File too large\n"))
        << outcome.errors;
    EXPECT_EQ(byte_vector{7}, read("a.png"));
    EXPECT_EQ(3, std::distance(std::filesystem::directory_iterator(path("")), {}));
}

TEST_F(View, ReplacesTheTargetOfALinkAndKeepsItsPermissions) {
    namespace fs = std::filesystem;
    makeSurface("a.surface", png().rgba(4, 4).bytes());
    write("a.png", {7});
    fs::permissions(path("a.png"), fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("a.png", path("link.png"));
    expectTool(0, "", "", {"view", "a.surface", "link.png"});
    EXPECT_TRUE(fs::is_symlink(path("link.png")));
    EXPECT_TRUE(oracle_decode_png(read("a.png")).has_value());
    EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write,
              fs::status(path("a.png")).permissions());
}

TEST_F(View, ReportsOutputsThatCannotBeWritten) {
    makeSurface("a.surface", png().rgba(4, 4).bytes());
    std::filesystem::create_directory(path("folder"));
    expectTool(1, "", "slabtool: folder: cannot be opened for writing: Is a directory\n",
               {"view", "a.surface", "folder"});
    expectTool(1, "",
               "slabtool: none/a.png: cannot be opened for writing: No such file or directory\n",
               {"view", "a.surface", "none/a.png"});
    expectTool(1, "", "slabtool: /dev/full: cannot be written: No space left on device\n",
               {"view", "a.surface", "/dev/full"});
    expectTool(0, "", "", {"view", "a.surface", "/dev/null"});
}

} // namespace
