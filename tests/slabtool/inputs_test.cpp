// planJobs: the images of a batch run, and the paths of their surfaces.
#include "tests/tools/converter_test.h"
#include "tools/slabtool/runs/inputs.h"

#include <map>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

class Inputs : public ConverterTest {
protected:
    void makeFiles(const std::vector<std::string>& names) const {
        for (const std::string& name : names) {
            fs::create_directories(path(name).parent_path());
            write(name, {1});
        }
    }

    JobPlan plan(std::vector<std::string> inputs, const std::string& output) const {
        for (std::string& input : inputs) {
            input = path(input);
        }
        return planJobs(inputs, path(output), ".surface");
    }

    // Output -> input, both relative to their folders.
    std::map<std::string, std::string> inputsByOutput(const std::vector<std::string>& inputs,
                                                      const std::string& output) const {
        std::map<std::string, std::string> result;
        for (const Job& job : plan(inputs, output).jobs) {
            result[job.output] = job.input.substr(path("").string().size());
        }
        return result;
    }

    void expectRejection(const std::string& message, const std::vector<std::string>& inputs,
                         const std::string& output) const {
        try {
            plan(inputs, output);
            ADD_FAILURE() << "not rejected";
        } catch (const Rejection& rejection) {
            std::string text = rejection.what();
            const std::string folder = path("");
            for (size_t at; (at = text.find(folder)) != std::string::npos;) {
                text.erase(at, folder.size());
            }
            EXPECT_EQ(message, text);
        }
    }
};

using PathMap = std::map<std::string, std::string>;

TEST_F(Inputs, OfAFileAndAnOutputFileKeepBothPaths) {
    makeFiles({"a.png"});
    const JobPlan result = plan({"a.png"}, "b");
    EXPECT_EQ("", result.folder);
    ASSERT_EQ(1U, result.jobs.size());
    EXPECT_EQ(path("a.png"), result.jobs[0].input);
    EXPECT_EQ(path("b"), result.jobs[0].output);
}

TEST_F(Inputs, GoIntoAnExistingFolder) {
    makeFiles({"a.png"});
    fs::create_directory(path("out"));
    EXPECT_EQ((PathMap{{"a.surface", "a.png"}}), inputsByOutput({"a.png"}, "out"));
    EXPECT_EQ(path("out"), plan({"a.png"}, "out").folder);
}

TEST_F(Inputs, GoIntoAFolderForASlashOrSeveralInputs) {
    makeFiles({"a.png", "b"});
    EXPECT_EQ((PathMap{{"a.surface", "a.png"}}), inputsByOutput({"a.png"}, "new/"));
    EXPECT_EQ(path("new"), plan({"a.png"}, "new/").folder);
    EXPECT_EQ((PathMap{{"a.surface", "a.png"}, {"b.surface", "b"}}),
              inputsByOutput({"a.png", "b"}, "new"));
}

TEST_F(Inputs, KeepSubfoldersAndAreSorted) {
    makeFiles({"in/z.png", "in/b/c/x.PNG", "in/b/y.png", "in/.png", "in/note.txt"});
    EXPECT_EQ((PathMap{{"b/c/x.surface", "in/b/c/x.PNG"},
                       {"b/y.surface", "in/b/y.png"},
                       {"z.surface", "in/z.png"}}),
              inputsByOutput({"in"}, "out"));
    const std::vector<Job> jobs = plan({"in/"}, "out").jobs;
    ASSERT_EQ(3U, jobs.size());
    EXPECT_EQ("b/c/x.surface", jobs[0].output);
    EXPECT_EQ("z.surface", jobs[2].output);
}

TEST_F(Inputs, AreNamedRelativeToTheOutputFolderInTheManifest) {
    makeFiles({"in/b/a.png", "c.png", "out/d.png"});
    fs::create_directory_symlink("in", path("link"));
    std::map<std::string, std::string> sources;
    for (const Job& job : plan({"link", "c.png", "out/d.png"}, "out").jobs) {
        sources[job.output] = job.source;
    }
    EXPECT_EQ((PathMap{{"b/a.surface", "../in/b/a.png"},
                       {"c.surface", "../c.png"},
                       {"d.surface", "d.png"}}),
              sources);
}

TEST_F(Inputs, SkipTheOutputFolder) {
    makeFiles({"in/a.png", "in/out/b.png", "in/sub/out/c.png"});
    EXPECT_EQ((PathMap{{"a.surface", "in/a.png"}, {"sub/out/c.surface", "in/sub/out/c.png"}}),
              inputsByOutput({"in"}, "in/out"));
}

TEST_F(Inputs, MayBeInTheOutputFolder) {
    makeFiles({"in/a.png"});
    EXPECT_EQ((PathMap{{"a.surface", "in/a.png"}}), inputsByOutput({"in"}, "in"));
}

TEST_F(Inputs, FollowLinksToFilesAndNotToFolders) {
    makeFiles({"in/a.png", "elsewhere/b.png"});
    fs::create_symlink("../elsewhere/b.png", path("in/link.png"));
    fs::create_symlink("nowhere", path("in/broken.png"));
    fs::create_directory_symlink("..", path("in/loop"));
    fs::create_directory_symlink("../elsewhere", path("in/folder.png"));
    EXPECT_EQ((PathMap{{"a.surface", "in/a.png"},
                       {"link.surface", "in/link.png"},
                       {"broken.surface", "in/broken.png"}}),
              inputsByOutput({"in"}, "out"));
}

TEST_F(Inputs, SkipWhatIsNotAFile) {
    makeFiles({"in/a.png"});
    fs::create_directory(path("in/folder.png"));
    ASSERT_EQ(0, mkfifo(path("in/pipe.png").c_str(), 0600));
    EXPECT_EQ((PathMap{{"a.surface", "in/a.png"}}), inputsByOutput({"in"}, "out"));
}

TEST_F(Inputs, MayBeGivenTwice) {
    makeFiles({"in/a.png"});
    EXPECT_EQ((PathMap{{"a.surface", "in/a.png"}}),
              inputsByOutput({"in", "in/a.png", "in/../in"}, "out"));
}

TEST_F(Inputs, MayNotShareAnOutput) {
    makeFiles({"in/a.png", "other/a.PNG"});
    expectRejection("in/a.png and other/a.PNG would both become a.surface", {"other", "in"}, "out");
    makeFiles({"in/a.PNG"});
    expectRejection("in/a.PNG and in/a.png would both become a.surface", {"in"}, "out");
    EXPECT_FALSE(exists("out"));
}

TEST_F(Inputs, MayNotBeOverwritten) {
    makeFiles({"a.png"});
    fs::create_symlink("a.png", path("link.png"));
    expectRejection("link.png: the surface would overwrite its own image", {"a.png"}, "link.png");
}

TEST_F(Inputs, AreRejectedIfMissing) {
    makeFiles({"a.png"});
    expectRejection("b.png: cannot be opened: No such file or directory", {"a.png", "b.png"},
                    "out");
}

TEST_F(Inputs, AreRejectedFromStandardInput) {
    try {
        planJobs({"-", "-"}, path("out"), ".surface");
        ADD_FAILURE() << "not rejected";
    } catch (const Rejection& rejection) {
        EXPECT_STREQ("-: standard input has no name for a file in the output folder",
                     rejection.what());
    }
}

} // namespace
