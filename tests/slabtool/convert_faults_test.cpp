// slabtool convert where the machine lets it down, where others meddle with its folders, and where it runs again.
#include "tests/slabtool/convert_test.h"
#include "tests/support/png_maker.h"
#include "tests/support/same_bytes.h"

#include <algorithm>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Names = std::vector<std::string>;

class ConvertFaults : public ConvertTest {
protected:
    // All files below a folder, hidden ones too; links are not followed.
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

// ---- The machine

TEST_F(ConvertFaults, KeepOlderSurfacesWhereTheDiskIsFull) {
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

TEST_F(ConvertFaults, KeepTheOlderManifestWhereTheDiskIsFull) {
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

TEST_F(ConvertFaults, OfRightsAreAnImagesOwn) {
    write("images/closed.png", grayImage(4));
    write("images/open.png", grayImage(4));
    fs::create_directories(path("surfaces/closed"));
    write("images/closed/a.png", grayImage(4));
    fs::permissions(path("images/closed.png"), fs::perms::none);
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
        "converted 1, up to date 0, fixed on the way 0, with loss 0, rejected 2\n",
        outcome.output);
    EXPECT_EQ((Names{"open.surface", "surfaces.json"}), filesIn("surfaces"));
}

TEST_F(ConvertFaults, OfRightsToTheOutputFolderEndTheRun) {
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

// ---- Links

TEST_F(ConvertFaults, DoNotComeFromLinksThatLeadOutside) {
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

TEST_F(ConvertFaults, DoNotComeFromLinksInPlaceOfFiles) {
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

TEST_F(ConvertFaults, OfTwoImagesForOneSurfaceAreFoundBeforeAnythingIsWritten) {
    write("x/a.png", grayImage(4));
    write("y/a.PNG", grayImage(4));
    write("y/b.png", grayImage(4));
    expectTool(1, "", "slabtool: x/a.png and y/a.PNG would both become a.surface\n",
               {"convert", "x", "y", "surfaces"});
    EXPECT_FALSE(exists("surfaces"));
}

// ---- Runs that follow

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

TEST_F(ConvertUpdates, LeaveAloneWhatIsUpToDate) {
    const auto time = fs::last_write_time(path("surfaces/surfaces.json"));
    EXPECT_EQ(kOneUpToDate, update());
    EXPECT_EQ(time, fs::last_write_time(path("surfaces/surfaces.json")));
}

TEST_F(ConvertUpdates, LeaveAloneATouchedImageWithTheSameContent) {
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

TEST_F(ConvertUpdates, RedoWhatOtherOptionsHaveMade) {
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

// They shape no surface.
TEST_F(ConvertUpdates, LeaveAloneWhatWasMadeWithOtherJobsAndLimits) {
    EXPECT_EQ(kOneUpToDate, update({"--jobs", "3", "--max-pixels", "1000"}));
}

TEST_F(ConvertUpdates, RedoAMissingSurface) {
    fs::remove(path("surfaces/a.surface"));
    EXPECT_EQ(kOneConverted, update());
    EXPECT_TRUE(same_bytes(surface, read("surfaces/a.surface")));
}

TEST_F(ConvertUpdates, RedoWhatAnotherVersionHasMade) {
    replaceInManifest("\"tool\":\"", "\"tool\":\"0");
    EXPECT_EQ(kOneConverted, update());
    EXPECT_EQ(kOneUpToDate, update());
}

TEST_F(ConvertUpdates, RedoEverythingWithoutAManifest) {
    fs::remove(path("surfaces/surfaces.json"));
    EXPECT_EQ(kOneConverted, update());
}

TEST_F(ConvertUpdates, WriteNothingWhereTheManifestIsBroken) {
    write("surfaces/surfaces.json", {'x'});
    expectTool(1, "",
               "slabtool: " + realPath("surfaces/surfaces.json") +
                   ": is no manifest that slabtool can read: remove it to convert every image "
                   "again\n",
               {"convert", "--update", "images", "surfaces"});
    EXPECT_EQ((Names{"a.surface", "surfaces.json"}), filesIn("surfaces"));
}

TEST_F(ConvertUpdates, PruneNothingButWhatTheManifestNames) {
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

TEST_F(ConvertUpdates, PruneNothingOutsideOfTheFolder) {
    write("victim", {7});
    replaceInManifest("../images/a.png", "../images/gone.png");
    replaceInManifest("\"file\":\"a.surface\"", "\"file\":\"../victim\"");
    expectTool(1, "",
               "slabtool: " + realPath("surfaces/surfaces.json") +
                   ": names a file outside of its folder\n",
               {"convert", "--prune", "images", "surfaces"});
    EXPECT_TRUE(exists("victim"));

    fs::create_directory_symlink("..", path("surfaces/out"));
    replaceInManifest("\"file\":\"../victim\"", "\"file\":\"out/victim\"");
    const ProgramOutcome outcome = tool({"convert", "--prune", "images", "surfaces"});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ(kOneConverted, outcome.output);
    EXPECT_EQ("slabtool: out/victim: a link leads out of the output folder\n", outcome.errors);
    EXPECT_TRUE(exists("victim"));
}

} // namespace
