// The built program and its files: which files are created, truncated or unchanged, for every kind of end of
// a run.
#include "tests/support/png_maker.h"
#include "tests/support/same_bytes.h"
#include "tests/tools/converter_test.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const byte_vector kOldContent = {'o', 'l', 'd'};

class ProgramFiles : public ConverterTest {
protected:
    // A gray image of one pixel, whose surface file has 24 bytes.
    void writeTinyImage(const std::string& name) const {
        write(name, png().gray(1, 1).pixels({0x5A}).bytes());
    }
    byte_vector tinySurface() const {
        return {0, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0x5A, 0, 0, 0};
    }
};

TEST_F(ProgramFiles, CreateTheOutput) {
    writeTinyImage("in.png");
    expectSuccess({"--image", "in.png", "--output", "out"}, "in.png", 24);
    EXPECT_EQ(tinySurface(), read("out"));
}

TEST_F(ProgramFiles, ReplaceALongerOutputCompletely) {
    writeTinyImage("in.png");
    write("out", byte_vector(5000, 1));
    expectSuccess({"--output", "out", "--image", "in.png"}, "in.png", 24);
    EXPECT_EQ(tinySurface(), read("out"));
}

TEST_F(ProgramFiles, DoNotChangeTheInput) {
    writeTinyImage("in.png");
    const byte_vector before = read("in.png");
    expectSuccess({"--image", "in.png", "--output", "out"}, "in.png", 24);
    EXPECT_TRUE(same_bytes(before, read("in.png")));
}

TEST_F(ProgramFiles, AcceptAnyOutputName) {
    writeTinyImage("in.png");
    for (const std::string name : {"x", "other.png", "%s.bin", "a b", ".hidden"}) {
        expectSuccess({"--image", "in.png", "--output", name}, "in.png", 24);
        EXPECT_EQ(tinySurface(), read(name)) << name;
    }
}

TEST_F(ProgramFiles, AcceptAnImageNamedOnlyBySuffix) {
    writeTinyImage(".png");
    expectSuccess({"--image", ".png", "--output", "out"}, ".png", 24);
}

TEST_F(ProgramFiles, NameTheInputAsGiven) {
    std::filesystem::create_directory(path("folder"));
    writeTinyImage("folder/%d 100%.png");
    const std::string absolute = path("folder/%d 100%.png");
    for (const std::string& name : {std::string("./folder//%d 100%.png"), absolute}) {
        expectSuccess({"--image", name, "--output", "out"}, name, 24);
    }
}

TEST_F(ProgramFiles, ReportAMissingInputAndCreateNoOutput) {
    expectError({"--image", "in.png", "--output", "out"}, "cannot open input file 'in.png'");
    EXPECT_FALSE(exists("out"));
}

TEST_F(ProgramFiles, DoNotChangeAnOldOutputIfTheInputIsMissing) {
    write("out", kOldContent);
    expectError({"--image", "in.png", "--output", "out"}, "cannot open input file 'in.png'");
    EXPECT_EQ(kOldContent, read("out"));
}

TEST_F(ProgramFiles, ReportLongAndUnusualPathsInFull) {
    const std::string lengthy = std::string(6000, 'x') + ".png";
    expectError({"--image", lengthy, "--output", "out"},
                "cannot open input file '" + lengthy + "'");
    expectError({"--image", "%s%n%99999d.png", "--output", "out"},
                "cannot open input file '%s%n%99999d.png'");
    EXPECT_FALSE(exists("out"));
}

// The message is that for an input that cannot be opened. Only the path differs.
TEST_F(ProgramFiles, ReportAnOutputThatCannotBeOpenedWithTheMessageForTheInput) {
    writeTinyImage("in.png");
    std::filesystem::create_directory(path("folder"));
    for (const std::string name : {"none/out", "folder", "folder/", "in.png/out"}) {
        expectError({"--image", "in.png", "--output", name},
                    "cannot open input file '" + name + "'");
    }
    EXPECT_FALSE(exists("none"));
}

TEST_F(ProgramFiles, OpenTheInputBeforeTheOutput) {
    expectError({"--image", "in.png", "--output", "none/out"}, "cannot open input file 'in.png'");
}

TEST_F(ProgramFiles, OpenTheOutputBeforeReadingTheInput) {
    write("in.png", {});
    expectError({"--image", "in.png", "--output", "none/out"}, "cannot open input file 'none/out'");
}

TEST_F(ProgramFiles, ReportAnEmptyInputAndLeaveAnEmptyOutput) {
    write("in.png", {});
    write("out", kOldContent);
    expectError({"--image", "in.png", "--output", "out"}, "cannot read input file 'in.png'");
    EXPECT_EQ(byte_vector(), read("out"));
}

TEST_F(ProgramFiles, ReportAnUndecodableInputAndLeaveAnEmptyOutput) {
    write("in.png", {'n', 'o', 't', ' ', 'a', ' ', 'P', 'N', 'G'});
    write("out", kOldContent);
    expectError({"--image", "in.png", "--output", "out"}, "cannot decode PNG file");
    EXPECT_EQ(byte_vector(), read("out"));
    std::filesystem::remove(path("out"));
    expectError({"--image", "in.png", "--output", "out"}, "cannot decode PNG file");
    EXPECT_EQ(byte_vector(), read("out"));
}

TEST_F(ProgramFiles, ReportAnInputThatOnlyTheFullPassRejects) {
    write("in.png", png().rgba(4, 4).palette(4).bytes());
    expectError({"--image", "in.png", "--output", "out"}, "cannot decode PNG file");
    EXPECT_EQ(byte_vector(), read("out"));
}

// The output is opened and truncated before the input is read.
TEST_F(ProgramFiles, TruncateAnInputThatIsAlsoTheOutput) {
    writeTinyImage("in.png");
    expectError({"--image", "in.png", "--output", "in.png"}, "cannot read input file 'in.png'");
    EXPECT_EQ(byte_vector(), read("in.png"));
}

TEST_F(ProgramFiles, TruncateAnInputThatTheOutputLinksTo) {
    writeTinyImage("in.png");
    std::filesystem::create_symlink("in.png", path("link"));
    expectError({"--image", "in.png", "--output", "link"}, "cannot read input file 'in.png'");
    EXPECT_EQ(byte_vector(), read("in.png"));
}

// The results of writing and closing are not checked.
TEST_F(ProgramFiles, ReportSuccessOnAFullDisk) {
    write("in.png", png().rgba(200, 200).bytes());
    expectSuccess({"--image", "in.png", "--output", "/dev/full"}, "in.png", 160020);
    writeTinyImage("in.png");
    expectSuccess({"--image", "in.png", "--output", "/dev/full"}, "in.png", 24);
}

// A pipe has no size. The resulting size is too large for an allocation.
TEST_F(ProgramFiles, EndAbnormallyWhenTheInputHasNoSize) {
    ASSERT_EQ(0, mkfifo(path("in.png").c_str(), 0600));
    const int keptOpen = open(path("in.png").c_str(), O_RDWR); // so that opening it does not wait
    ASSERT_GE(keptOpen, 0);
    expectAbnormalEnd({"--image", "in.png", "--output", "out"});
    close(keptOpen);
    EXPECT_EQ(byte_vector(), read("out"));
}

// The size of a folder depends on the file system: it is 0, or larger than the memory.
TEST_F(ProgramFiles, NeverConvertAFolder) {
    std::filesystem::create_directory(path("in.png"));
    const ProgramOutcome outcome = run({"--image", "in.png", "--output", "out"});
    EXPECT_TRUE(outcome.signal == SIGABRT ||
                (outcome.exitStatus == 1 &&
                 outcome.output == banner() + "\n\nERROR: cannot read input file 'in.png'\n\n"));
    EXPECT_EQ(byte_vector(), read("out"));
}

TEST_F(ProgramFiles, EndAbnormallyWhenTheImageDoesNotFitTheMemory) {
    write("in.png", png().rgba(1, 1).declared_size(0x7FFFFFFF, 0x7FFFFFFF).bytes());
    expectAbnormalEnd({"--image", "in.png", "--output", "out"});
    EXPECT_EQ(byte_vector(), read("out"));
}

TEST_F(ProgramFiles, MakeTheSameFileEveryTime) {
    write("in.png", png().rgb(13, 7).pixels(data_kind::noise, 3).trns({0, 1, 0, 2, 0, 3}).bytes());
    expectSuccess({"--image", "in.png", "--output", "first"}, "in.png", 20 + 13 * 4 * 7);
    expectSuccess({"--image", "in.png", "--output", "second"}, "in.png", 20 + 13 * 4 * 7);
    EXPECT_TRUE(same_bytes(read("first"), read("second")));
}

} // namespace
