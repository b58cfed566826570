// The output folder of a batch run: its lock, complete files only, and no writes outside.
#include "tests/tools/converter_test.h"
#include "tools/slabtool/runs/output_folder.h"

#include <chrono>
#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class OutputFolders : public ConverterTest {
protected:
    // All files below the scratch folder, including hidden files.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(path(""))) {
            if (!entry.is_directory() || entry.is_symlink()) {
                names.push_back(entry.path().lexically_relative(path("")));
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    template <typename Work>
    void expectRejection(const std::string& message, const Work& work) const {
        try {
            work();
            ADD_FAILURE() << "not rejected";
        } catch (const Rejection& rejection) {
            EXPECT_EQ(message, rejection.what());
        }
    }
};

using Names = std::vector<std::string>;
const byte_vector kBytes = {1, 2, 3};

TEST_F(OutputFolders, AreCreatedAndContainWrittenFiles) {
    {
        OutputFolder folder(path("out/new"));
        folder.write("a", kBytes);
        folder.write("b/c/d", kBytes);
        folder.write("b/c/d", {});
    }
    EXPECT_EQ((Names{"out/new/a", "out/new/b/c/d"}), files());
    EXPECT_EQ(kBytes, read("out/new/a"));
    EXPECT_EQ(byte_vector{}, read("out/new/b/c/d"));
}

TEST_F(OutputFolders, AreWrittenBySeveralThreads) {
    {
        OutputFolder folder(path("out"));
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&folder, thread] {
                for (int i = 0; i < 50; ++i) {
                    folder.write(std::to_string(i % 5) + "/" + std::to_string(thread * 50 + i),
                                 kBytes);
                }
            });
        }
    }
    EXPECT_EQ(200U, files().size());
}

TEST_F(OutputFolders, AreLocked) {
    std::optional<OutputFolder> first(path("out"));
    const std::string message = path("out").string() + ": another run is writing into this folder";
    expectRejection(message, [&] { OutputFolder second(path("out")); });
    first.reset();
    const OutputFolder third(path("out"));
}

TEST_F(OutputFolders, RemoveTheTemporaryFilesOfAKilledRun) {
    fs::create_directories(path("out/b"));
    for (const char* name : {"out/.surfaces.lock", "out/.surfaces-0.partial",
                             "out/b/.surfaces-7.partial", "out/b/.slabtool-0.partial"}) {
        write(name, {});
    }
    fs::create_directory_symlink("b", path("out/link"));
    { const OutputFolder folder(path("out")); }
    EXPECT_EQ((Names{"out/b/.slabtool-0.partial", "out/link"}), files());
}

// Another run may be writing into the subfolder.
TEST_F(OutputFolders, KeepTheTemporaryFilesOfLockedSubfolders) {
    fs::create_directories(path("out/b"));
    for (const char* name : {"out/.surfaces.lock", "out/.surfaces-0.partial"}) {
        write(name, {});
    }
    OutputFolder below(path("out/b"));
    write("out/b/.surfaces-0.partial", {});
    { const OutputFolder folder(path("out")); }
    EXPECT_EQ((Names{"out/b/.surfaces-0.partial", "out/b/.surfaces.lock"}), files());
}

TEST_F(OutputFolders, RejectLinksThatLeadOutside) {
    fs::create_directories(path("out"));
    fs::create_directories(path("elsewhere"));
    fs::create_directory_symlink("../elsewhere", path("out/link"));
    write("elsewhere/old", kBytes);
    OutputFolder folder(path("out"));
    const std::string message = "a link leads out of the output folder";
    expectRejection(message, [&] { folder.write("link/a", kBytes); });
    expectRejection(message, [&] { folder.write("link/new/a", kBytes); });
    expectRejection(message, [&] { folder.write("../a", kBytes); });
    expectRejection(message, [&] { folder.remove("link/old"); });
    expectRejection(message, [&] { folder.remove("../elsewhere/old"); });
    folder.close();
    EXPECT_EQ((Names{"elsewhere/old", "out/link"}), files());
}

TEST_F(OutputFolders, FollowLinksThatStayInside) {
    fs::create_directories(path("out/real"));
    fs::create_directory_symlink("real", path("out/link"));
    {
        OutputFolder folder(path("out"));
        folder.write("link/a", kBytes);
    }
    EXPECT_EQ((Names{"out/link", "out/real/a"}), files());
}

TEST_F(OutputFolders, ReplaceLinksToFiles) {
    fs::create_directory(path("out"));
    write("victim", {7});
    fs::create_symlink("../victim", path("out/a"));
    {
        OutputFolder folder(path("out"));
        folder.write("a", kBytes);
    }
    EXPECT_EQ(byte_vector{7}, read("victim"));
    EXPECT_EQ(kBytes, read("out/a"));
}

TEST_F(OutputFolders, KeepTheOldFileIfAWriteFails) {
    fs::create_directories(path("out/folder"));
    write("out/a", {7});
    const auto onFullDisk = [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {2, 2};
        setrlimit(RLIMIT_FSIZE, &limit);
        OutputFolder folder(path("out"));
        expectRejection("cannot be written: File too large", [&] { folder.write("a", kBytes); });
        expectRejection("cannot be replaced: Is a directory", [&] { folder.write("folder", {}); });
        expectRejection("its folder cannot be created: Not a directory",
                        [&] { folder.write("a/b/c", {}); });
        folder.close();
        std::_Exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(onFullDisk(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Names{"out/a"}, files());
    EXPECT_EQ(byte_vector{7}, read("out/a"));
}

TEST_F(OutputFolders, RemoveFiles) {
    OutputFolder folder(path("out"));
    folder.write("a/b", kBytes);
    folder.remove("a/b");
    folder.remove("a/b");
    folder.remove("never/there");
    EXPECT_FALSE(exists("out/a/b"));
    expectRejection("cannot be removed: Is a directory", [&] { folder.remove("a"); });
}

// At every moment of a write, closing leaves either the complete file or none.
TEST_F(OutputFolders, KeepNoTemporaryFileAfterClosing) {
    const byte_vector large(20'000'000);
    for (int attempt = 0; attempt < 20; ++attempt) {
        OutputFolder folder(path("out"));
        std::jthread writer([&] {
            try {
                folder.write("a", large);
            } catch (const Rejection&) {
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(attempt));
        folder.close();
        writer.join();
        EXPECT_GE(1U, files().size());
        if (exists("out/a")) {
            EXPECT_EQ(large.size(), fs::file_size(path("out/a")));
            fs::remove(path("out/a"));
        }
    }
}

TEST_F(OutputFolders, RejectWritesAfterClosing) {
    OutputFolder folder(path("out"));
    folder.close();
    expectRejection("the run has ended", [&] { folder.write("a", kBytes); });
    EXPECT_EQ(Names{}, files());
}

} // namespace
