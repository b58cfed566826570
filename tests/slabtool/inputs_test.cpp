// The images of a batch run, and the places of their surfaces.
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

    // Inputs, relative to the scratch folder, by outputs.
    std::map<std::string, std::string> places(const std::vector<std::string>& inputs,
                                              const std::string& output) const {
        std::map<std::string, std::string> result;
        for (const Job& job : plan(inputs, output).jobs) {
            result[job.output] = job.input.substr(path("").string().size());
        }
        return result;
    }

    void expectRefusal(const std::string& message, const std::vector<std::string>& inputs,
                       const std::string& output) const {
        try {
            plan(inputs, output);
            ADD_FAILURE() << "not refused";
        } catch (const Refusal& refusal) {
            std::string words = refusal.what();
            const std::string folder = path("");
            for (size_t at; (at = words.find(folder)) != std::string::npos;) {
                words.erase(at, folder.size());
            }
            EXPECT_EQ(message, words);
        }
    }
};

using Places = std::map<std::string, std::string>;

TEST_F(Inputs, OfAFileToAFileKeepItsName) {
    makeFiles({"a.png"});
    const JobPlan result = plan({"a.png"}, "b");
    EXPECT_EQ("", result.folder);
    ASSERT_EQ(1U, result.jobs.size());
    EXPECT_EQ(path("a.png"), result.jobs[0].input);
    EXPECT_EQ(path("b"), result.jobs[0].output);
}

TEST_F(Inputs, GoIntoAFolderThatIsThere) {
    makeFiles({"a.png"});
    fs::create_directory(path("out"));
    EXPECT_EQ((Places{{"a.surface", "a.png"}}), places({"a.png"}, "out"));
    EXPECT_EQ(path("out"), plan({"a.png"}, "out").folder);
}

TEST_F(Inputs, GoIntoAFolderThatASlashOrSeveralInputsAskFor) {
    makeFiles({"a.png", "b"});
    EXPECT_EQ((Places{{"a.surface", "a.png"}}), places({"a.png"}, "new/"));
    EXPECT_EQ(path("new"), plan({"a.png"}, "new/").folder);
    EXPECT_EQ((Places{{"a.surface", "a.png"}, {"b.surface", "b"}}), places({"a.png", "b"}, "new"));
}

TEST_F(Inputs, MirrorTheTreeInOrder) {
    makeFiles({"in/z.png", "in/b/c/x.PNG", "in/b/y.png", "in/.png", "in/note.txt"});
    EXPECT_EQ((Places{{"b/c/x.surface", "in/b/c/x.PNG"},
                      {"b/y.surface", "in/b/y.png"},
                      {"z.surface", "in/z.png"}}),
              places({"in"}, "out"));
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
    EXPECT_EQ((Places{{"b/a.surface", "../in/b/a.png"},
                      {"c.surface", "../c.png"},
                      {"d.surface", "d.png"}}),
              sources);
}

TEST_F(Inputs, LeaveOutTheOutputFolder) {
    makeFiles({"in/a.png", "in/out/b.png", "in/sub/out/c.png"});
    EXPECT_EQ((Places{{"a.surface", "in/a.png"}, {"sub/out/c.surface", "in/sub/out/c.png"}}),
              places({"in"}, "in/out"));
}

TEST_F(Inputs, MayLieInTheOutputFolderItself) {
    makeFiles({"in/a.png"});
    EXPECT_EQ((Places{{"a.surface", "in/a.png"}}), places({"in"}, "in"));
}

TEST_F(Inputs, FollowLinksToFilesAndNotToFolders) {
    makeFiles({"in/a.png", "elsewhere/b.png"});
    fs::create_symlink("../elsewhere/b.png", path("in/link.png"));
    fs::create_symlink("nowhere", path("in/broken.png"));
    fs::create_directory_symlink("..", path("in/loop"));
    fs::create_directory_symlink("../elsewhere", path("in/folder.png"));
    EXPECT_EQ((Places{{"a.surface", "in/a.png"},
                      {"link.surface", "in/link.png"},
                      {"broken.surface", "in/broken.png"}}),
              places({"in"}, "out"));
}

TEST_F(Inputs, LeaveOutWhatIsNoFile) {
    makeFiles({"in/a.png"});
    fs::create_directory(path("in/folder.png"));
    ASSERT_EQ(0, mkfifo(path("in/pipe.png").c_str(), 0600));
    EXPECT_EQ((Places{{"a.surface", "in/a.png"}}), places({"in"}, "out"));
}

TEST_F(Inputs, MayBeGivenTwice) {
    makeFiles({"in/a.png"});
    EXPECT_EQ((Places{{"a.surface", "in/a.png"}}), places({"in", "in/a.png", "in/../in"}, "out"));
}

TEST_F(Inputs, MayNotShareAnOutput) {
    makeFiles({"in/a.png", "other/a.PNG"});
    expectRefusal("in/a.png and other/a.PNG would both become a.surface", {"other", "in"}, "out");
    makeFiles({"in/a.PNG"});
    expectRefusal("in/a.PNG and in/a.png would both become a.surface", {"in"}, "out");
    EXPECT_FALSE(exists("out"));
}

TEST_F(Inputs, MayNotBeOverwritten) {
    makeFiles({"a.png"});
    fs::create_symlink("a.png", path("link.png"));
    expectRefusal("link.png: the surface would overwrite its own image", {"a.png"}, "link.png");
}

TEST_F(Inputs, ThatAreMissingAreReported) {
    makeFiles({"a.png"});
    expectRefusal("b.png: cannot be opened: No such file or directory", {"a.png", "b.png"}, "out");
}

TEST_F(Inputs, FromStandardInputGiveNoName) {
    try {
        planJobs({"-", "-"}, path("out"), ".surface");
        ADD_FAILURE() << "not refused";
    } catch (const Refusal& refusal) {
        EXPECT_STREQ("-: standard input gives no name to a file in a folder", refusal.what());
    }
}

} // namespace
