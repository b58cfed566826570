// slabtool under resource limits, with signals, and with paths of other files than regular ones.
#include "tests/slabtool/slabtool_test.h"
#include "tests/src/surface_makers.h"
#include "tests/support/png_maker.h"
#include "tests/support/png_oracle.h"
#include "tests/support/sanitized.h"
#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/partial_file.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class Faults : public SlabtoolTest {
protected:
    void SetUp() override { makeSurface("a.surface", png().rgba(4, 4).bytes()); }

    // The names of all files that SetUp has not made.
    std::vector<std::string> newFiles() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path(""))) {
            const std::string name = entry.path().filename();
            if (name != "a.surface" && name != "converted.png") {
                names.push_back(name);
            }
        }
        return names;
    }
};

using Names = std::vector<std::string>;

// ---- Output files

TEST_F(Faults, EmptyOutputNameLeavesNoFile) {
    expectTool(1, "", "slabtool: : cannot be replaced: No such file or directory\n",
               {"view", "a.surface", ""});
    EXPECT_EQ(Names{}, newFiles());
}

TEST_F(Faults, LongestFileNameIsWritten) {
    const std::string longest(255, 'n');
    expectTool(0, "", "", {"view", "a.surface", longest});
    EXPECT_EQ(Names{longest}, newFiles());
    expectTool(1, "",
               "slabtool: " + longest + "n: cannot be opened for writing: File name too long\n",
               {"view", "a.surface", longest + "n"});
}

TEST_F(Faults, PartialFilesOfOtherRunsAreKept) {
    write("victim", {7});
    fs::create_symlink("victim", path(".slabtool-0.partial"));
    write(".slabtool-1.partial", {8});
    expectTool(0, "", "", {"view", "a.surface", "a.png"});
    EXPECT_TRUE(oracle_decode_png(read("a.png")).has_value());
    EXPECT_EQ(byte_vector{7}, read("victim"));
    EXPECT_EQ(byte_vector{8}, read(".slabtool-1.partial"));
    EXPECT_EQ(4U, newFiles().size());
}

TEST_F(Faults, FileBelowAnUnsearchableFolderIsReplaced) {
    fs::create_directories(path("closed/open"));
    fs::permissions(path(""), fs::perms::all);
    fs::permissions(path("closed/open"), fs::perms::all);
    write("closed/open/a.surface", read("a.surface"));
    write("closed/open/a.png", {7});
    fs::permissions(path("closed"), fs::perms::owner_all);
    const ProgramOutcome outcome = runProgram(PNGSLAB_SLABTOOL, {"view", "a.surface", "a.png"},
                                              path("closed/open"), {.asNobody = true});
    EXPECT_EQ(0, outcome.exitStatus);
    EXPECT_TRUE(oracle_decode_png(read("closed/open/a.png")).has_value());
}

TEST_F(Faults, PipeIsWritten) {
    const ProgramOutcome outcome =
        shell("mkfifo pipe; cat pipe > out.png & slabtool view a.surface pipe; wait");
    EXPECT_EQ("", outcome.errors);
    EXPECT_TRUE(fs::is_fifo(path("pipe")));
    EXPECT_TRUE(oracle_decode_png(read("out.png")).has_value());
}

TEST_F(Faults, PipeIsRead) {
    const ProgramOutcome outcome =
        shell("mkfifo pipe; cat a.surface > pipe & slabtool info pipe; wait");
    EXPECT_EQ("", outcome.errors);
    EXPECT_TRUE(outcome.output.starts_with("pipe: consistent\n")) << outcome.output;
}

TEST_F(Faults, LongPipeIsRead) {
    byte_vector surface = makeFileHeader(0, DsColorMode::A8, 2500, 2001, 2500);
    append(surface, make_bytes(data_kind::noise, 2500 * 2001, 1));
    write("long.surface", surface);
    const ProgramOutcome outcome = shell("cat long.surface | slabtool compare - long.surface");
    EXPECT_EQ(0, outcome.exitStatus);
    EXPECT_EQ("equal\n", outcome.output);
}

TEST_F(Faults, FileThatIsLongerThanItsSizeIsRead) {
    const ProgramOutcome outcome = tool({"check", "/proc/version"}); // its size is reported as 0
    EXPECT_TRUE(outcome.output.starts_with("/proc/version: rejected: not a PNG file"))
        << outcome.output;
}

TEST_F(Faults, TooLongFileIsRejectedWithoutReadingIt) {
    write("long", {1});
    fs::resize_file(path("long"), (uint64_t{2} << 30) + 1);
    expectTool(1, "", "slabtool: long: is larger than 2 GiB\n", {"view", "long", "out"});
}

TEST_F(Faults, OutputThatIsLostEarlyIsReported) {
    std::vector<std::string> arguments(500, "a.surface");
    std::string names;
    for (const std::string& name : arguments) {
        names += " " + name;
    }
    const ProgramOutcome outcome = shell("slabtool info" + names + " > /dev/full");
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("slabtool: standard output: No space left on device\n", outcome.errors);
}

TEST_F(Faults, LostPictureOnStandardOutputIsReportedOnce) {
    makeSurface("large.surface", png().rgba(100, 100).bytes());
    const ProgramOutcome outcome = shell("slabtool view large.surface - > /dev/full");
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("slabtool: -: cannot be written: No space left on device\n", outcome.errors);
}

TEST_F(Faults, FileSizeLimitIsReportedAndLeavesNoFile) {
    byte_vector surface = makeFileHeader(0, DsColorMode::A8, 50, 50, 50);
    append(surface, make_bytes(data_kind::noise, 50 * 50, 1));
    write("a.surface", surface);
    write("old.png", {7});
    for (const char* name : {"new.png", "old.png"}) {
        const ProgramOutcome outcome = tool({"view", "a.surface", name}, {.fileSize = 1000});
        EXPECT_EQ(0, outcome.signal) << name;
        EXPECT_EQ(1, outcome.exitStatus) << name;
        EXPECT_EQ(std::string("slabtool: ") + name + ": cannot be written: File too large\n",
                  outcome.errors);
    }
    EXPECT_EQ(Names{"old.png"}, newFiles());
    EXPECT_EQ(byte_vector{7}, read("old.png"));
}

TEST_F(Faults, TerminalIsNotWritten) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
        GTEST_SKIP() << "this system has no pseudo-terminals";
    }
    write("a.png", png().rgb(2, 2).bytes());
    for (const std::string output : {"-", "/dev/stdout"}) {
        const ProgramOutcome outcome =
            shell("slabtool view a.surface " + output + " > " + ptsname(terminal) +
                  " || slabtool prepare a.png " + output + " > " + ptsname(terminal));
        const std::string message = "slabtool: " + output +
                                    ": standard output is a terminal, which cannot show binary "
                                    "data: name a file, or redirect it\n";
        EXPECT_EQ(1, outcome.exitStatus) << output;
        EXPECT_EQ(message + message, outcome.errors);
        char shown = 0;
        EXPECT_GT(1, ::read(terminal, &shown, 1));
    }
    ::close(terminal);
}

// ---- Signals during a write

using PartialFilesDeathTest = Faults;

TEST_F(PartialFilesDeathTest, AreRemovedBySignals) {
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        const auto endWhileWriting = [&] {
            const PartialFile file(path(""), PartialFile::Writer::Command);
            raise(file.stream() != nullptr ? signal : SIGABRT);
        };
        EXPECT_EXIT(endWhileWriting(), testing::KilledBySignal(signal), "");
        EXPECT_EQ(Names{}, newFiles()) << "signal " << signal;
    }
}

TEST_F(PartialFilesDeathTest, LeaveIgnoredSignalsIgnored) {
    const auto continueAfterSignal = [&] {
        std::signal(SIGHUP, SIG_IGN);
        PartialFile file(path(""), PartialFile::Writer::Command);
        raise(SIGHUP);
        std::fclose(file.stream());
        std::_Exit(file.moveTo(path("target")) ? 0 : 1);
    };
    EXPECT_EXIT(continueAfterSignal(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Names{"target"}, newFiles());
}

TEST_F(PartialFilesDeathTest, KeepTheirTargetAfterTheMove) {
    const auto endAfterwards = [&] {
        PartialFile file(path(""), PartialFile::Writer::Command);
        std::fclose(file.stream());
        raise(file.moveTo(path("target")) ? SIGTERM : SIGABRT);
    };
    EXPECT_EXIT(endAfterwards(), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EQ(Names{"target"}, newFiles());
}

// ---- Memory. Sanitizers and emulators need a larger address space.

#if !PNGSLAB_ADDRESS_SANITIZER && !defined(PNGSLAB_EMULATOR)
constexpr uint64_t kMegabyte = 1 << 20;

TEST_F(Faults, LittleMemoryIsReported) {
    write("huge", {1, 2, 3});
    fs::resize_file(path("huge"), 100 * kMegabyte);
    expectErrorsWithin(64 * kMegabyte, "slabtool: not enough memory\n", {"view", "huge", "out"});
    expectErrorsWithin(64 * kMegabyte, "slabtool: not enough memory\n", {"prepare", "huge", "out"});
    EXPECT_EQ(Names{"huge"}, newFiles());
}

TEST_F(Faults, LittleMemoryRejectsOneImage) {
    write("good.png", png().gray(2, 2).bytes());
    write("huge.png", {1, 2, 3});
    fs::resize_file(path("huge.png"), 100 * kMegabyte);
    const ProgramOutcome outcome =
        tool({"check", "huge.png", "good.png"}, {.addressSpace = 64 * kMegabyte});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("huge.png: rejected: not enough memory to decode it [memory]\ngood.png: accepted: "
              "I8, 2 x 2\n",
              outcome.output);
}

// The failing allocation may be in slabtool, libpng or zlib.
TEST_F(Faults, LittleMemoryCausesNoSignal) {
    byte_vector surface = makeFileHeader(0, DsColorMode::ARGB8888, 1024, 512, 4096);
    append(surface, make_bytes(data_kind::noise, 4096 * 512, 1));
    write("noise.surface", surface);
    bool isEverRejected = false, isEverDrawn = false;
    for (uint64_t megabytes = 12; megabytes < 28; ++megabytes) {
        const ProgramOutcome outcome =
            tool({"view", "noise.surface", "out"}, {.addressSpace = megabytes * kMegabyte});
        EXPECT_EQ(0, outcome.signal) << megabytes;
        isEverRejected |= outcome.exitStatus == 1;
        isEverDrawn |= outcome.exitStatus == 0;
    }
    EXPECT_TRUE(isEverRejected && isEverDrawn);
}

// check tests with one row of memory whether libpng can read a rejected image.
TEST_F(Faults, LittleMemorySufficesToTestAHugeImage) {
    constexpr uint32_t kSide = 20000; // 50 MB at 1 bit a sample, 400 MB at 8 bits
    write("flat.png", png()
                          .gray(1, 1)
                          .declared_size(kSide, kSide)
                          .bit_depth(1)
                          .rows(byte_vector((kSide / 8 + 1) * kSide))
                          .bytes());
    const ProgramOutcome outcome = tool({"check", "flat.png"}, {.addressSpace = 64 * kMegabyte});
    EXPECT_EQ("flat.png: rejected: 1 bit a sample instead of 8 [bit-depth]; fix: slabtool prepare "
              "flat.png flat-prepared.png\n",
              outcome.output);
}
#endif

// ---- Names in messages and commands

TEST(Printable, HidesControlCharactersAndKeepsTheRest) {
    EXPECT_EQ("a?b?c??", printable("a\nb\x7F"
                                   "c\x1B\x9B"));
    EXPECT_EQ("?[31m", printable("\xC2\x9B[31m"));
    EXPECT_EQ("\xC3\xA4\xE2\x82\xAC\xE4", printable("\xC3\xA4\xE2\x82\xAC\xE4"));
}

TEST(ShellWord, LeavesPlainNamesAlone) {
    EXPECT_EQ("a-b/c_D.9", shellWord("a-b/c_D.9"));
    EXPECT_EQ("-", shellWord("-"));
}

TEST(ShellWord, QuotesSpecialCharacters) {
    EXPECT_EQ("''", shellWord(""));
    EXPECT_EQ("'a b'", shellWord("a b"));
    EXPECT_EQ("'$a;\\'", shellWord("$a;\\"));
    EXPECT_EQ("'it'\\''s'", shellWord("it's"));
}

TEST(ShellWord, PrefixesWordsThatLookLikeOptions) {
    EXPECT_EQ("./-a", shellWord("-a"));
    EXPECT_EQ("'./-a b'", shellWord("-a b"));
    EXPECT_EQ("./++", shellWord("++"));
    EXPECT_EQ("++a", shellWord("++a"));
}

TEST(ShellWord, WritesControlCharactersInOctal) {
    EXPECT_EQ("\"$(printf 'a\\012b')\"", shellWord("a\nb"));
    EXPECT_EQ("\"$(printf '\\001\\037\\177\\040')\"", shellWord("\x01\x1F\x7F "));
    EXPECT_EQ("\"$(printf 'it\\047s\\134\\011\\045d\\303\\244')\"",
              shellWord("it's\\\t%d\xC3\xA4"));
    EXPECT_EQ("\"$(printf './-a\\011')\"", shellWord("-a\t"));
}

} // namespace
