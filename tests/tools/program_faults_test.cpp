// The built program with errors of the system: no rights, a full disk, no memory.
#include "tests/support/png_maker.h"
#include "tests/support/sanitized.h"
#include "tests/tools/converter_test.h"

#include <csignal>
#include <filesystem>
#include <unistd.h>

namespace {

constexpr size_t kSurfaceSize = 20 + 100 * 100 * 4;

class ProgramFaults : public ConverterTest {
protected:
    void SetUp() override {
        std::filesystem::permissions(path(""), std::filesystem::perms::all);
        write("in.png", png().rgba(100, 100).bytes());
    }
    ProgramOutcome convert(const ProgramSurroundings& surroundings) const {
        return run({"--image", "in.png", "--output", "out"}, surroundings);
    }
    std::string success() const {
        return banner() + "\nGenerated surface for 'in.png', size " + std::to_string(kSurfaceSize) +
               " bytes\n\n";
    }
};

TEST_F(ProgramFaults, ReportAnInputWithoutReadPermission) {
    std::filesystem::permissions(path("in.png"), std::filesystem::perms::none);
    const ProgramOutcome outcome = convert({.asNobody = true});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ(banner() + "\n\nERROR: cannot open input file 'in.png'\n\n", outcome.output);
    EXPECT_FALSE(exists("out"));
}

TEST_F(ProgramFaults, ReportAnOutputWithoutWritePermission) {
    write("out", {'o', 'l', 'd'});
    std::filesystem::permissions(path("out"), std::filesystem::perms::owner_read);
    const ProgramOutcome outcome = convert({.asNobody = true});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ(banner() + "\n\nERROR: cannot open input file 'out'\n\n", outcome.output);
    EXPECT_EQ((byte_vector{'o', 'l', 'd'}), read("out"));
}

// The result of the write is not checked: the file is truncated, and the full size is reported.
TEST_F(ProgramFaults, ReportSuccessAfterAShortWrite) {
    const ProgramOutcome outcome = convert({.fileSize = 8192, .goesOnAtFileSize = true});
    EXPECT_EQ(0, outcome.exitStatus);
    EXPECT_EQ(success(), outcome.output);
    EXPECT_EQ(8192U, read("out").size());
}

TEST_F(ProgramFaults, EndByTheSignalOfAFileSizeLimit) {
    EXPECT_EQ(SIGXFSZ, convert({.fileSize = 8192}).signal);
    EXPECT_EQ(8192U, read("out").size());
}

// Messages are lost. The surface and the exit status are the same.
TEST_F(ProgramFaults, ConvertWithStandardOutputClosedOrFull) {
    EXPECT_EQ(0, convert({}).exitStatus);
    const byte_vector expected = read("out");
    for (const std::string redirection : {">&-", ">/dev/full", "<&- >&-"}) {
        std::filesystem::remove(path("out"));
        const auto exitStatus = [&](const std::string& arguments) {
            return runInShell("pngslab " + arguments + ' ' + redirection, "pngslab",
                              PNGSLAB_PROGRAM, path(""))
                .exitStatus;
        };
        EXPECT_EQ(0, exitStatus("--image in.png --output out")) << redirection;
        EXPECT_EQ(expected, read("out")) << redirection;
        EXPECT_EQ(0, exitStatus("--help")) << redirection;
        EXPECT_EQ(1, exitStatus("--image in.jpg --output out")) << redirection;
        EXPECT_EQ(expected, read("out")) << redirection;
    }
}

// Sanitizers and emulators themselves need more addresses than this limit.
#if !PNGSLAB_ADDRESS_SANITIZER && !defined(PNGSLAB_EMULATOR)
TEST_F(ProgramFaults, EndAbnormallyWithoutMemory) {
    write("in.png", png().rgba(1, 1).declared_size(8192, 8192).bytes());
    const ProgramOutcome outcome = convert({.addressSpace = 64 << 20});
    EXPECT_EQ(SIGABRT, outcome.signal);
    EXPECT_EQ("", outcome.errors);
    EXPECT_EQ(byte_vector(), read("out"));
}

TEST_F(ProgramFaults, ConvertWithLittleMemory) {
    const ProgramOutcome outcome = convert({.addressSpace = 64 << 20});
    EXPECT_EQ(0, outcome.exitStatus);
    EXPECT_EQ(success(), outcome.output);
}
#endif

} // namespace
