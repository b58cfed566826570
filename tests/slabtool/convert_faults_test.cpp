// slabtool convert under resource limits, with unusual files in its folders, and in repeated runs.
#include "tests/slabtool/convert_test.h"
#include "tests/src/surface_makers.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_writer.h"
#include "tests/support/same_bytes.h"
#include "tests/support/sanitized.h"
#include "tools/slabtool/runs/image_to_surface.h"

#include <algorithm>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Names = std::vector<std::string>;

class ConvertFaults : public ConvertTest {
protected:
    // All files below a folder, including hidden files and links.
    Names filesIn(const std::string& folder) const {
        Names names;
        for (const auto& entry : fs::recursive_directory_iterator(path(folder))) {
            if (!entry.is_directory() || entry.is_symlink()) {
                names.push_back(entry.path().lexically_relative(path(folder)));
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string realPath(const std::string& name) const { return fs::canonical(path(name)); }

    void expectConverted(const std::vector<std::string>& arguments) const {
        const ProgramOutcome outcome = tool(arguments);
        EXPECT_EQ(0, outcome.exitStatus) << outcome.output << outcome.errors;
    }

    void replaceInManifest(const std::string& from, const std::string& to) const {
        const byte_vector bytes = read("surfaces/surfaces.json");
        std::string text(bytes.begin(), bytes.end());
        const size_t at = text.find(from);
        ASSERT_NE(std::string::npos, at) << text;
        text.replace(at, from.size(), to);
        write("surfaces/surfaces.json", {text.begin(), text.end()});
    }

    void setAge(const std::string& name, fs::file_time_type::duration age) const {
        fs::last_write_time(path(name), fs::file_time_type::clock::now() - age);
    }
};

byte_vector grayImage(uint32_t side, uint32_t seed = 1) {
    return png().gray(side, side).pixels(data_kind::noise, seed).bytes();
}

// ---- Resources and permissions

TEST_F(ConvertFaults, FullDiskKeepsOldSurfaces) {
    write("images/large.png", grayImage(20));
    write("images/small.png", grayImage(4));
    expectConverted({"convert", "images", "surfaces"});
    const byte_vector older = read("surfaces/large.surface");
    write("images/large.png", grayImage(60));
    write("images/small.png", grayImage(5));
    const ProgramOutcome outcome = tool({"convert", "images", "surfaces"}, {.fileSize = 2000});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("images/large.png: rejected: cannot be written: File too large [file]\n"
              "converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 1\n",
              outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_TRUE(same_bytes(older, read("surfaces/large.surface")));
    EXPECT_EQ(20U + 25U + 3U, read("surfaces/small.surface").size());
    EXPECT_EQ((Names{"large.surface", "small.surface", "surfaces.json"}), filesIn("surfaces"));
}

TEST_F(ConvertFaults, FullDiskKeepsOldManifest) {
    write("images/0.png", grayImage(4));
    expectConverted({"convert", "images", "surfaces"});
    const byte_vector older = read("surfaces/surfaces.json");
    for (const char* name : {"images/1.png", "images/2.png", "images/3.png", "images/4.png"}) {
        write(name, grayImage(4));
    }
    const ProgramOutcome outcome = tool({"convert", "images", "surfaces"}, {.fileSize = 1000});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("converted 5, up to date 0, fixed on the way 0, with loss 0, rejected 0\n",
              outcome.output);
    EXPECT_EQ("slabtool: surfaces.json: cannot be written: File too large\n", outcome.errors);
    EXPECT_TRUE(same_bytes(older, read("surfaces/surfaces.json")));
    EXPECT_EQ(
        (Names{"0.surface", "1.surface", "2.surface", "3.surface", "4.surface", "surfaces.json"}),
        filesIn("surfaces"));
}

TEST_F(ConvertFaults, MissingPermissionRejectsOneImage) {
    write("images/closed.png", grayImage(4));
    write("images/open.png", grayImage(4));
    fs::create_directories(path("surfaces/closed"));
    write("images/closed/a.png", grayImage(4));
    write("images/unreadable/a.png", grayImage(4));
    fs::permissions(path("images/closed.png"), fs::perms::none);
    fs::permissions(path("images/unreadable"), fs::perms::none);
    fs::permissions(path(""), fs::perms::all);
    fs::permissions(path("surfaces"), fs::perms::all);
    fs::permissions(path("surfaces/closed"), fs::perms::owner_read | fs::perms::owner_exec |
                                                 fs::perms::others_read | fs::perms::others_exec);
    const ProgramOutcome outcome = runProgram(PNGSLAB_SLABTOOL, {"convert", "images", "surfaces"},
                                              path(""), {.asNobody = true});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ(
        "images/closed.png: rejected: cannot be opened: Permission denied [file]\n"
        "images/closed/a.png: rejected: cannot be opened for writing: Permission denied [file]\n"
        "images/unreadable/: rejected: cannot be opened: Permission denied [file]\n"
        "converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 3\n",
        outcome.output);
    fs::permissions(path("images/unreadable"), fs::perms::all);
    EXPECT_EQ((Names{"open.surface", "surfaces.json"}), filesIn("surfaces"));
}

TEST_F(ConvertFaults, MissingPermissionOfTheOutputFolderEndsTheRun) {
    write("images/a.png", grayImage(4));
    fs::create_directory(path("surfaces"));
    fs::permissions(path(""), fs::perms::all);
    fs::permissions(path("surfaces"), fs::perms::owner_read | fs::perms::owner_exec |
                                          fs::perms::others_read | fs::perms::others_exec);
    const ProgramOutcome outcome = runProgram(PNGSLAB_SLABTOOL, {"convert", "images", "surfaces"},
                                              path(""), {.asNobody = true});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ("slabtool: " + realPath("surfaces") + ": cannot be locked: Permission denied\n",
              outcome.errors);
}

// Opened files get the lowest free descriptors, which are those of closed streams.
TEST_F(ConvertFaults, ClosedStreamPutsNoMessageIntoSurfaces) {
    const std::string longName(200, 'n'); // so that messages fill many buffers
    for (int i = 0; i < 300; ++i) {
        write("images/" + longName + std::to_string(i) + ".png", grayImage(4));
    }
    expectConverted({"convert", "--quiet", "images", "expected"});
    const ProgramOutcome outcome =
        shell("slabtool convert --json --jobs 2 images surfaces <&- >&-");
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("slabtool: standard output: Bad file descriptor\n", outcome.errors);
    EXPECT_EQ(filesIn("expected"), filesIn("surfaces"));
    for (const std::string& name : filesIn("expected")) {
        if (name == "surfaces.json") {
            continue; // contains times
        }
        EXPECT_TRUE(same_bytes(read("expected/" + name), read("surfaces/" + name))) << name;
    }
}

// ---- Memory for declared sizes. Sanitizers and emulators need a larger address space.

constexpr uint32_t kMaxSide = 0x7FFFFFFF;

Finding rejectionOf(const byte_vector& image, const ConversionRequest& request) {
    try {
        convertImage(image, request);
        return {"", "not rejected"};
    } catch (const RejectedImage& rejection) {
        return rejection.reason();
    }
}

TEST(ConvertBounds, RejectsMorePixelsThanAllowed) {
    const byte_vector image = png().gray(3, 2).bytes();
    EXPECT_EQ("too-large", rejectionOf(image, {.maxPixels = 5}).code);
    EXPECT_EQ("not rejected", rejectionOf(image, {.maxPixels = 6}).text);
}

// Decoders reject the second header only after they have allocated the pixels of the first one.
TEST(ConvertBounds, UsesTheFirstHeader) {
    const byte_vector small = png().gray(1, 1).image_header();
    const byte_vector image =
        png().gray(2, 2).declared_size(600, 600).chunk_after_idat({"IHDR", small}).bytes();
    EXPECT_EQ("too-large", rejectionOf(image, {.maxPixels = 1000}).code);
}

// Padding counts too: it can make the surface of an image of one column many times larger.
TEST(ConvertBounds, RejectsRowsThatAlignmentMakesTooLong) {
    const byte_vector image = png().gray(1, 100).bytes();
    for (const std::optional<DsColorMode> mode :
         {std::optional<DsColorMode>(), std::optional(DsColorMode::RGB565)}) {
        EXPECT_EQ("too-large",
                  rejectionOf(image, {.mode = mode, .rowAlignment = 41, .maxPixels = 1000}).code);
        EXPECT_EQ("not rejected",
                  rejectionOf(image, {.mode = mode, .rowAlignment = 40, .maxPixels = 1000}).text);
        EXPECT_EQ(
            "not rejected",
            rejectionOf(image,
                        {.mode = mode, .rotation = 90, .rowAlignment = 4000, .maxPixels = 1000})
                .text);
    }
}

#if !PNGSLAB_ADDRESS_SANITIZER && !defined(PNGSLAB_EMULATOR)
constexpr uint64_t kLittleMemory = 64 << 20;

TEST_F(ConvertFaults, LittleMemorySufficesForHugeDeclaredSizes) {
    const std::pair<uint32_t, uint32_t> sizes[] = {{kMaxSide, 1}, {1, kMaxSide}, {60000, 60000}};
    size_t number = 0;
    for (const uint8_t type : kColorTypes) {
        for (const auto& [width, height] : sizes) {
            for (const bool isInterlaced : {false, true}) { // interlaced images are read by libpng
                write("images/" + std::to_string(number++) + ".png",
                      png()
                          .image(type, 2, 2)
                          .declared_size(width, height)
                          .interlace_method(isInterlaced ? 1 : 0)
                          .bytes());
            }
        }
    }
    write("images/good.png", grayImage(4));
    for (const Names& options : {Names{}, Names{"--mode", "A8"}, Names{"--keep-colors"}}) {
        Names arguments = {"convert", "--quiet", "--jobs", "1", "images", "surfaces"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProgramOutcome outcome = tool(arguments, {.addressSpace = kLittleMemory});
        EXPECT_EQ(1, outcome.exitStatus);
        EXPECT_EQ("", outcome.errors);
        EXPECT_EQ(static_cast<ptrdiff_t>(number),
                  std::count(outcome.output.begin(), outcome.output.end(), '\n'));
        EXPECT_EQ(std::string::npos, outcome.output.find("[memory]")) << outcome.output;
        EXPECT_EQ((Names{"good.surface", "surfaces.json"}), filesIn("surfaces"));
    }
}

// An image below --max-pixels may still need too much memory.
TEST_F(ConvertFaults, LittleMemoryRejectsOneImage) {
    write("images/good.png", grayImage(4));
    write("images/huge.png", png().gray(2, 2).declared_size(kMaxSide, 1).bytes());
    const ProgramOutcome outcome =
        tool({"convert", "--jobs", "1", "--max-pixels", "4000000000", "images", "surfaces"},
             {.addressSpace = kLittleMemory});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("images/huge.png: rejected: not enough memory to convert it [memory]\n"
              "converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 1\n",
              outcome.output);
}

TEST_F(ConvertFaults, LittleMemoryRejectsTheOnlyImage) {
    write("huge.png", png().gray(2, 2).declared_size(kMaxSide, 1).bytes());
    const ProgramOutcome outcome =
        tool({"convert", "--quiet", "--max-pixels", "4000000000", "huge.png", "out.surface"},
             {.addressSpace = kLittleMemory});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("huge.png: rejected: not enough memory to convert it [memory]\n", outcome.output);
    EXPECT_EQ("", outcome.errors);
}

// 100 MiB of data compressed to 100 kB.
TEST_F(ConvertFaults, LittleMemorySufficesForHighlyCompressedProfiles) {
    const byte_vector zeros(100 << 20);
    byte_vector profile = {'n', 0, 0};
    append(profile, zlib_wrapped(deflate_without_fixed_codes(zeros, {}), zeros));
    for (const char* kind : {"iCCP", "zTXt"}) {
        write("images/a.png",
              png().gray(8, 8).interlace_method(1).chunk_before_idat({kind, profile}).bytes());
        write("images/b.png", png().gray(8, 8).chunk_before_idat({kind, profile}).bytes());
        for (const Names& arguments :
             {Names{"convert", "--jobs", "1", "--quiet", "--keep-colors", "images", "surfaces"},
              Names{"check", "images/a.png", "images/b.png"},
              Names{"prepare", "images/b.png", "b.png"}}) {
            const ProgramOutcome outcome = tool(arguments, {.addressSpace = kLittleMemory});
            EXPECT_EQ(0, outcome.signal);
            EXPECT_EQ(std::string::npos, (outcome.output + outcome.errors).find("memory"))
                << outcome.output + outcome.errors;
        }
    }
}

// libpng accepts each text, but all texts together would leave too little memory for the pixels.
TEST_F(ConvertFaults, LittleMemorySufficesForManyHighlyCompressedTexts) {
    const byte_vector zeros(4'000'000);
    byte_vector text = {'n', 0, 0};
    append(text, zlib_wrapped(deflate_without_fixed_codes(zeros, {}), zeros));
    png_maker image = png().rgb(3000, 3000).plte({1, 2, 3}); // the palette makes libpng read it
    for (int i = 0; i < 50; ++i) {
        image.chunk_before_idat({"zTXt", text});
    }
    write("a.png", image.bytes());
    const ProgramOutcome outcome =
        tool({"convert", "a.png", "a.surface"}, {.addressSpace = 150 << 20});
    EXPECT_EQ(0, outcome.exitStatus) << outcome.output + outcome.errors;
}

// A fixed image needs its file, its pixels twice, and its surface: 36 MB each, except the file.
TEST_F(ConvertFaults, LittleMemorySufficesForFixedImages) {
    write("a.png", png().rgb(4000, 3000).plte({1, 2, 3}).pixels(data_kind::runs, 1).bytes());
    expectConverted({"convert", "a.png", "a.surface"});
    const ProgramOutcome outcome =
        tool({"convert", "a.png", "b.surface"}, {.addressSpace = 150 << 20});
    EXPECT_EQ(0, outcome.exitStatus) << outcome.output + outcome.errors;
}

constexpr uint32_t kLargeSide = 2000;

// An image of that side, of one color. It compresses well, so its file needs no memory worth mentioning.
byte_vector largeImage(uint8_t color_type, uint8_t bit_depth, bool interlaced,
                       const byte_vector& trns = {}) {
    written_image_t image = {color_type, bit_depth, interlaced, kLargeSide, kLargeSide, {}};
    image.rows.resize(packed_row_bytes(image) * kLargeSide);
    image.palette = color_type == kIndexed ? byte_vector{1, 2, 3} : byte_vector{};
    image.trns = trns;
    return libpng_encode(image);
}

TEST_F(ConvertFaults, SixteenBytesSufficeForEachPixelOfEveryKindOfImage) {
    constexpr uint64_t kMemory = kLittleMemory + 16 * uint64_t{kLargeSide} * kLargeSide;
    const std::pair<const char*, byte_vector> images[] = {
        {"gray", largeImage(kGray, 8, false)},
        {"gray, 1 bit", largeImage(kGray, 1, true)},
        {"gray with a key color", largeImage(kGray, 8, false, {0, 0})},
        {"rgb with a key color", largeImage(kRgb, 8, true, byte_vector(6))},
        {"rgb, 16 bits", largeImage(kRgb, 16, false)},
        {"palette", largeImage(kIndexed, 8, false)},
        {"palette with alpha", largeImage(kIndexed, 4, true, {7})},
        {"gray with alpha, 16 bits", largeImage(kGrayAlpha, 16, true)},
        {"rgba", largeImage(kRgba, 8, false)},
        {"rgba, interlaced", largeImage(kRgba, 8, true)},
        {"rgba, 16 bits", largeImage(kRgba, 16, true)},
    };
    for (const auto& [kind, file] : images) {
        write("in.png", file);
        for (const Names& options :
             {Names{"--rotation", "90"}, Names{"--row-alignment", "64", "--rotation", "90"},
              Names{"--mode", "ARGB8888", "--rotation", "90"}, Names{"--palette"},
              Names{"--mode", "RGB565", "--dither", "floyd-steinberg", "--background", "#000000"},
              Names{"--keep-colors"}}) {
            Names arguments = {"convert", "--quiet", "--max-pixels",
                               "9000000", "in.png",  "out.surface"};
            arguments.insert(arguments.end(), options.begin(), options.end());
            const ProgramOutcome outcome = tool(arguments, {.addressSpace = kMemory});
            EXPECT_EQ(0, outcome.exitStatus)
                << kind << ' ' << options.front() << ": " << outcome.output + outcome.errors;
        }
    }
}

TEST_F(ConvertFaults, LittleMemorySufficesForHugeSizesInOtherCommands) {
    write("huge.png", png().rgba(2, 2).declared_size(kMaxSide, 1).bytes());
    byte_vector surface = makeFileHeader(0, DsColorMode::ARGB8888, kMaxSide, 1, 0x80000000);
    append(surface, byte_vector(44));
    write("huge.surface", surface);
    for (const Names& arguments :
         {Names{"check", "huge.png"}, Names{"prepare", "huge.png", "out.png"},
          Names{"view", "huge.surface", "out.png"}, Names{"info", "huge.surface", "huge.png"},
          Names{"compare", "huge.surface", "huge.surface"}}) {
        const ProgramOutcome outcome = tool(arguments, {.addressSpace = kLittleMemory});
        EXPECT_EQ(1, outcome.exitStatus) << arguments.front();
        EXPECT_EQ(std::string::npos, (outcome.output + outcome.errors).find("not enough memory"))
            << outcome.output + outcome.errors;
    }
    EXPECT_FALSE(exists("out.png"));
}
#endif

// ---- Links

TEST_F(ConvertFaults, LinkOutOfTheFolderIsNotFollowed) {
    write("images/a/1.png", grayImage(4));
    write("images/b/2.png", grayImage(4));
    write("elsewhere/old", {7});
    fs::create_directory(path("surfaces"));
    fs::create_directory_symlink("../elsewhere", path("surfaces/a"));
    const ProgramOutcome outcome = tool({"convert", "images", "surfaces"});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("images/a/1.png: rejected: a link leads out of the output folder [file]\n"
              "converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 1\n",
              outcome.output);
    EXPECT_EQ(Names{"old"}, filesIn("elsewhere"));
    EXPECT_TRUE(exists("surfaces/b/2.surface"));
}

TEST_F(ConvertFaults, LinkInPlaceOfAFileIsNotFollowed) {
    write("images/a.png", grayImage(4));
    write("victim", {7});
    fs::create_directory(path("surfaces"));
    for (const char* name : {"a.surface", ".surfaces-0.partial"}) {
        fs::create_symlink("../victim", path("surfaces") / name);
    }
    expectConverted({"convert", "images", "surfaces"});
    EXPECT_EQ(byte_vector{7}, read("victim"));
    EXPECT_FALSE(fs::is_symlink(path("surfaces/a.surface")));

    fs::remove(path("surfaces/surfaces.json"));
    fs::create_symlink("../victim", path("surfaces/.surfaces.lock"));
    const ProgramOutcome outcome = tool({"convert", "images", "surfaces"});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("slabtool: " + realPath("surfaces") +
                  ": cannot be locked: Too many levels of symbolic links\n",
              outcome.errors);
    EXPECT_EQ(byte_vector{7}, read("victim"));
}

// ---- Two images for one surface

TEST_F(ConvertFaults, TwoImagesForOneSurfaceStopTheRunBeforeItWrites) {
    write("x/a.png", grayImage(4));
    write("y/a.PNG", grayImage(4));
    write("y/b.png", grayImage(4));
    expectTool(1, "", "slabtool: x/a.png and y/a.PNG would both become a.surface\n",
               {"convert", "x", "y", "surfaces"});
    EXPECT_FALSE(exists("surfaces"));
}

// ---- Repeated runs

constexpr const char* kOneUpToDate =
    "converted 0, up to date 1, fixed on the way 0, with loss 0, rejected 0\n";
constexpr const char* kOneConverted =
    "converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 0\n";

class ConvertUpdates : public ConvertFaults {
protected:
    void SetUp() override {
        write("images/a.png", grayImage(4));
        setAge("images/a.png", 1h);
        expectConverted({"convert", "images", "surfaces"});
        surface = read("surfaces/a.surface");
    }

    std::string update(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"convert", "--update"});
        options.insert(options.end(), {"images", "surfaces"});
        return summaryOf(options);
    }

    byte_vector surface;
};

TEST_F(ConvertUpdates, SkipWhatIsUpToDate) {
    const auto time = fs::last_write_time(path("surfaces/surfaces.json"));
    EXPECT_EQ(kOneUpToDate, update());
    EXPECT_EQ(time, fs::last_write_time(path("surfaces/surfaces.json")));
}

TEST_F(ConvertUpdates, SkipATouchedImageWithTheSameContent) {
    setAge("images/a.png", 2h);
    const auto time = fs::last_write_time(path("surfaces/a.surface"));
    EXPECT_EQ(kOneUpToDate, update());
    EXPECT_EQ(time, fs::last_write_time(path("surfaces/a.surface")));
}

TEST_F(ConvertUpdates, RedoAChangedImageOfTheSameSize) {
    const byte_vector changed = grayImage(4, 2);
    ASSERT_EQ(read("images/a.png").size(), changed.size());
    write("images/a.png", changed);
    EXPECT_EQ(kOneConverted, update());
    EXPECT_TRUE(same_bytes(makeSurface("expected.surface", changed), read("surfaces/a.surface")));
    EXPECT_EQ(kOneUpToDate, update());
}

TEST_F(ConvertUpdates, RedoSurfacesOfOtherOptions) {
    for (const std::vector<std::string>& options :
         {Names{"--mode", "RGB565"}, Names{"--mode", "RGB565", "--dither", "ordered"},
          Names{"--alphaonly"}, Names{"--keep-colors"}, Names{"--rotation", "90"},
          Names{"--row-alignment", "16"}, Names{"--palette"}, Names{"--background", "#000000"}}) {
        EXPECT_EQ(kOneConverted, update(options)) << options.front();
        EXPECT_EQ(kOneUpToDate, update(options)) << options.front();
    }
    EXPECT_EQ(kOneConverted, update());
    EXPECT_TRUE(same_bytes(surface, read("surfaces/a.surface")));
}

// These options do not affect surfaces.
TEST_F(ConvertUpdates, SkipSurfacesOfOtherJobCountsAndLimits) {
    EXPECT_EQ(kOneUpToDate, update({"--jobs", "3", "--max-pixels", "1000"}));
}

TEST_F(ConvertUpdates, RedoAMissingSurface) {
    fs::remove(path("surfaces/a.surface"));
    EXPECT_EQ(kOneConverted, update());
    EXPECT_TRUE(same_bytes(surface, read("surfaces/a.surface")));
}

TEST_F(ConvertUpdates, RedoSurfacesOfAnotherVersion) {
    replaceInManifest("\"tool\":\"", "\"tool\":\"0");
    EXPECT_EQ(kOneConverted, update());
    EXPECT_EQ(kOneUpToDate, update());
}

TEST_F(ConvertUpdates, RedoEverythingWithoutAManifest) {
    fs::remove(path("surfaces/surfaces.json"));
    EXPECT_EQ(kOneConverted, update());
}

TEST_F(ConvertUpdates, WriteNothingIfTheManifestIsInvalid) {
    write("surfaces/surfaces.json", {'x'});
    expectTool(1, "",
               "slabtool: " + realPath("surfaces/surfaces.json") +
                   ": is not a manifest that slabtool can read: remove it to convert every image "
                   "again\n",
               {"convert", "--update", "images", "surfaces"});
    EXPECT_EQ((Names{"a.surface", "surfaces.json"}), filesIn("surfaces"));
}

TEST_F(ConvertUpdates, PruneOnlyFilesInTheManifest) {
    write("images/b.png", png().indexed(4, 4).bytes());
    expectConverted({"convert", "--palette", "images", "surfaces"});
    write("surfaces/b.txt", {1});
    write("surfaces/foreign.surface", {2});
    write("surfaces/foreign.palette", {3});
    fs::remove(path("images/b.png"));
    EXPECT_EQ("converted 0, up to date 1, fixed on the way 0, with loss 0, rejected 0\n",
              update({"--palette"}));
    EXPECT_TRUE(exists("surfaces/b.surface")) << "without --prune";
    EXPECT_EQ("converted 0, up to date 1, fixed on the way 0, with loss 0, rejected 0, pruned 1\n",
              update({"--palette", "--prune"}));
    EXPECT_EQ((Names{"a.surface", "b.txt", "foreign.palette", "foreign.surface", "surfaces.json"}),
              filesIn("surfaces"));
}

// With the old palette, view --palette would draw wrong colors.
TEST_F(ConvertUpdates, RemoveTheOldPaletteOfAnImageWithoutOne) {
    write("images/b.png", png().indexed(4, 4).bytes());
    expectConverted({"convert", "--palette", "images", "surfaces"});
    EXPECT_TRUE(exists("surfaces/b.palette"));
    write("images/b.png", grayImage(4));
    EXPECT_EQ("converted 1, up to date 1, fixed on the way 0, with loss 0, rejected 0\n",
              update({"--palette"}));
    EXPECT_EQ((Names{"a.surface", "b.surface", "surfaces.json"}), filesIn("surfaces"));
}

TEST_F(ConvertUpdates, PruneNothingOutsideTheFolder) {
    write("victim.surface", {7});
    replaceInManifest("../images/a.png", "../images/removed.png");
    replaceInManifest("\"file\":\"a.surface\"", "\"file\":\"../victim.surface\"");
    expectTool(1, "",
               "slabtool: " + realPath("surfaces/surfaces.json") +
                   ": names a file outside its folder\n",
               {"convert", "--prune", "images", "surfaces"});
    EXPECT_TRUE(exists("victim.surface"));

    fs::create_directory_symlink("..", path("surfaces/out"));
    replaceInManifest("\"file\":\"../victim.surface\"", "\"file\":\"out/victim.surface\"");
    const ProgramOutcome outcome = tool({"convert", "--prune", "images", "surfaces"});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ(kOneConverted, outcome.output);
    EXPECT_EQ("slabtool: out/victim.surface: a link leads out of the output folder\n",
              outcome.errors);
    EXPECT_TRUE(exists("victim.surface"));
}

} // namespace
