// slabtool manifest: merges the manifests of several runs into one, which further runs use.
#include "tests/slabtool/slabtool_test.h"
#include "tests/support/png_maker.h"

#include <chrono>

namespace {

namespace fs = std::filesystem;

class Merge : public SlabtoolTest {
protected:
    void SetUp() override {
        fs::create_directories(path("images/a/deep"));
        fs::create_directories(path("images/b"));
        fs::create_directory(path("surfaces"));
        write("images/a/deep/one.png", png().rgb(2, 2).bytes());
        write("images/a/two.png", png().rgb(3, 2).bytes());
        write("images/b/one.png", png().rgb(4, 2).bytes());
        for (const char* image : {"a/deep/one.png", "a/two.png", "b/one.png"}) {
            // The manifest has no times of fresh images.
            fs::last_write_time(path("images/" + std::string(image)),
                                fs::file_time_type::clock::now() - std::chrono::hours(1));
        }
    }

    void convert(const std::string& folder, const std::string& summary) const {
        SCOPED_TRACE(folder);
        const ProgramOutcome outcome = tool({"convert", "--update", "--prune", "--mode", "RGB565",
                                             "images" + folder, "surfaces" + folder});
        EXPECT_EQ(0, outcome.exitStatus) << outcome.errors;
        EXPECT_NE(std::string::npos, outcome.output.find(summary)) << outcome.output;
    }

    void merge() const {
        expectTool(0, "", "",
                   {"manifest", "--merge", "surfaces/a/surfaces.json", "surfaces/b/surfaces.json",
                    "-o", "surfaces/surfaces.json"});
    }
};

TEST_F(Merge, IsUpToDateForARunIntoTheParentFolder) {
    convert("/a", "converted 2");
    convert("/b", "converted 1");
    merge();
    const byte_vector manifest = read("surfaces/surfaces.json");
    const fs::file_time_type made = fs::last_write_time(path("surfaces/a/deep/one.surface"));

    convert("", "up to date 3");

    EXPECT_EQ(made, fs::last_write_time(path("surfaces/a/deep/one.surface")));
    fs::remove_all(path("surfaces"));
    convert("", "converted 3");
    EXPECT_EQ(manifest,
              read("surfaces/surfaces.json")); // the merged manifest is the same as that of one run
}

TEST_F(Merge, ListsSurfacesToPrune) {
    convert("/a", "converted 2");
    convert("/b", "converted 1");
    merge();
    fs::remove(path("images/b/one.png"));
    convert("", "pruned 1");
    EXPECT_FALSE(exists("surfaces/b/one.surface"));
}

TEST_F(Merge, ReplacesTheOldManifest) {
    convert("/a", "converted 2");
    convert("/b", "converted 1");
    write("surfaces/surfaces.json", {'?'});
    merge();
    convert("", "up to date 3");
}

TEST_F(Merge, WritesNothingIfAManifestCannotBeRead) {
    convert("/a", "converted 2");
    write("surfaces/b.json", {'?'});
    expectTool(1, "",
               "slabtool: surfaces/b.json: is not a manifest that slabtool can read: remove it to "
               "convert every image again\n",
               {"manifest", "-o", "surfaces/surfaces.json", "--merge", "surfaces/a/surfaces.json",
                "surfaces/b.json"});
    EXPECT_FALSE(exists("surfaces/surfaces.json"));
}

} // namespace
