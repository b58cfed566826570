// The built program's command line: every mistake, their order, and the help screen, with standard output
// to the byte.
#include "tests/tools/converter_test.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;

// None of these runs opens a file.
class ProgramArguments : public ConverterTest {
protected:
    ~ProgramArguments() override { EXPECT_FALSE(exists("out")) << "an output file was made"; }
};

TEST_F(ProgramArguments, PrintOneBannerLineWithTitleVersionAndNotice) {
    const std::string start = "\n\nQuillory Surface Generator v1.00. ";
    ASSERT_EQ(start, banner().substr(0, start.size()));
    const std::string notice = banner().substr(start.size());
    ASSERT_GT(notice.size(), 2U);
    EXPECT_EQ(notice.size() - 2, notice.find('\n'));
    EXPECT_EQ("\n\n", notice.substr(notice.size() - 2));
    EXPECT_NE(' ', notice.front());
}

TEST_F(ProgramArguments, ShowTheHelpScreen) {
    expectHelp({"--help"});
}

TEST_F(ProgramArguments, ShowTheSameProgramNameForAnyFileName) {
    std::filesystem::create_symlink(PNGSLAB_PROGRAM, path("another-name"));
    const ProgramOutcome outcome = runProgram(path("another-name"), {"--help"}, "/");
    EXPECT_EQ(banner() + usageScreen() + "\n\n", outcome.output);
}

TEST_F(ProgramArguments, PreferHelpToEveryMistake) {
    expectHelp({"--help", "--bogus"});
    expectHelp({"--bogus", "--help"});
    expectHelp({"--rotation", "0", "--help"});
    expectHelp({"--image", "--help"});
    expectHelp({"--image", "a", "--image", "b", "--help"});
    expectHelp({"--image", "in.png", "--output", "out", "--help"});
}

TEST_F(ProgramArguments, ReportHelpGivenTwice) {
    expectUsageError({"--help", "--help"}, "'--help' duplicate option");
    expectUsageError({"--help", "--bogus", "--help"}, "'--help' duplicate option");
}

TEST_F(ProgramArguments, ReportAMissingImageFirst) {
    expectUsageError({}, "'--image' missing file name");
    expectUsageError({"--output", "out"}, "'--image' missing file name");
    expectUsageError({"--rotation", "0"}, "'--image' missing file name");
    expectUsageError({"--alphaonly", "--alphaonly"}, "'--image' missing file name");
    expectUsageError({"in.png", "out"}, "'--image' missing file name");
    expectUsageError({"--image=in.png", "--output", "out"}, "'--image' missing file name");
    expectUsageError({"--IMAGE", "in.png", "--output", "out"}, "'--image' missing file name");
}

TEST_F(ProgramArguments, ReportAMissingValue) {
    expectUsageError({"--image"}, "'--image' missing value");
    expectUsageError({"--image", "--output", "out"}, "'--image' missing value");
    expectUsageError({"--image", "-", "--output", "out"}, "'--image' missing value");
    expectUsageError({"--image", "in.png", "--rotation"}, "'--rotation' missing value");
    expectUsageError({"--image", "in.png", "--rotation", "-90"}, "'--rotation' missing value");
    expectUsageError({"--image", "in.png", "--output"}, "'--output' missing value");
    expectUsageError({"--image", "in.png", "--output", "-out"}, "'--output' missing value");
}

TEST_F(ProgramArguments, ReportRepeatedOptions) {
    expectUsageError({"--image", "a.png", "--image", "b.png", "--output", "out"},
                     "'--image' duplicate option");
    expectUsageError({"--image", "a.png", "--image"}, "'--image' duplicate option");
    expectUsageError({"--image", "a.png", "--alphaonly", "--alphaonly", "--output", "out"},
                     "'--alphaonly' duplicate option");
    expectUsageError({"--image", "a.png", "--rotation", "90", "--rotation", "90"},
                     "'--rotation' duplicate option");
    expectUsageError({"--image", "a.png", "--output", "out", "--output", "out"},
                     "'--output' duplicate option");
}

TEST_F(ProgramArguments, ReportARepetitionBeforeAnInvalidRotation) {
    expectUsageError({"--image", "a.png", "--rotation", "0", "--rotation", "90"},
                     "'--rotation' duplicate option");
    expectUsageError({"--image", "a.png", "--rotation", "0", "--alphaonly", "--alphaonly"},
                     "'--alphaonly' duplicate option");
}

TEST_F(ProgramArguments, ReportEveryOtherRotationWithoutTheUsageScreen) {
    for (const std::string text : {"0", "360", "45", "+90", "090", " 90", "90 ", "90.0", "9", "900",
                                   "ninety", "0x5A", "180,", "27O"}) {
        expectError({"--image", "in.png", "--rotation", text, "--output", "out"},
                    "invalid rotation");
    }
}

TEST_F(ProgramArguments, ReportAnInvalidRotationBeforeAMissingOutputAndUnusedArguments) {
    expectError({"--image", "in.png", "--rotation", "0"}, "invalid rotation");
    expectError({"--image", "in.png", "--rotation", "0", "--bogus"}, "invalid rotation");
    expectError({"--image", "in.gif", "--rotation", "0", "--output", "out"}, "invalid rotation");
    expectError({"--image", "in.png", "--rotation", "0", "--output"}, "invalid rotation");
}

TEST_F(ProgramArguments, ReportAMissingOutputBeforeUnusedArguments) {
    expectUsageError({"--image", "in.png"}, "'--output' missing output file");
    expectUsageError({"--image", "in.png", "--rotation", "180"}, "'--output' missing output file");
    expectUsageError({"--image", "in.gif", "--bogus"}, "'--output' missing output file");
}

TEST_F(ProgramArguments, ReportTheFirstUnusedArgumentBeforeTheSuffix) {
    expectUsageError({"--image", "in.gif", "--output", "out", "--bogus", "more"},
                     "invalid argument --bogus");
    expectUsageError({"stray", "--image", "in.png", "--output", "out", "--bogus"},
                     "invalid argument stray");
    expectUsageError({"--image", "a.png", "b.png", "--output", "out"}, "invalid argument b.png");
    expectUsageError({"--image", "a.png", "--output", "out", "--alphaonly", "yes"},
                     "invalid argument yes");
    expectUsageError({"--image", "a.png", "--output", "out", "--output=x"},
                     "invalid argument --output=x");
    expectUsageError({"--image", "a.png", "--output", "out", "%s%n%d"}, "invalid argument %s%n%d");
}

TEST_F(ProgramArguments, RejectOtherSuffixes) {
    for (const std::string name :
         {"in.PNG", "in.Png", "in.png ", "in.pngx", "in.jpg", "inpng", "png.", "in.png/"}) {
        expectError({"--image", name, "--output", "out"}, "unrecognized input file");
    }
}

TEST_F(ProgramArguments, RejectTheSuffixBeforeOpeningTheFile) {
    write("in.gif", {1, 2, 3});
    expectError({"--image", "in.gif", "--output", "out"}, "unrecognized input file");
    expectError({"--image", "none/none.gif", "--output", "none/out"}, "unrecognized input file");
}

// A path of less than four characters has no suffix to compare.
TEST_F(ProgramArguments, EndAbnormallyForAnImagePathShorterThanASuffix) {
    for (const std::string name : {"a", "in", "png"}) {
        expectAbnormalEnd({"--image", name, "--output", "out"});
    }
}

TEST_F(ProgramArguments, ReportEveryMistakeBeforeAShortImagePath) {
    expectUsageError({"--image", "a"}, "'--output' missing output file");
    expectUsageError({"--image", "a", "--output", "out", "b"}, "invalid argument b");
    expectError({"--image", "a", "--rotation", "0"}, "invalid rotation");
    expectHelp({"--image", "a", "--output", "out", "--help"});
}

// The first lookup is that of --help, and its empty alternative name equals an empty argument.
TEST_F(ProgramArguments, TreatAnEmptyArgumentAsHelp) {
    expectHelp({""});
    expectHelp({"--image", "", "--output", "out"});
    expectHelp({"--image", "in.png", "--output", ""});
    expectHelp({"--image", "in.png", "--rotation", "", "--output", "out"});
}

TEST_F(ProgramArguments, TreatTwoEmptyArgumentsAsRepeatedHelp) {
    expectUsageError({"", ""}, "'--help' duplicate option");
    expectUsageError({"", "--help"}, "'--help' duplicate option");
    expectUsageError({"--help", ""}, "'--help' duplicate option");
    expectUsageError({"--image", "", "--output", ""}, "'--help' duplicate option");
}

TEST_F(ProgramArguments, ReportAMissingValueBeforeAFlag) {
    expectUsageError({"--image", "--alphaonly", "in.png", "--output", "out"},
                     "'--image' missing value");
}

// These runs open files, because the command line has no mistake.
TEST_F(ProgramArguments, FindValuesAfterOptionsLookedUpEarlier) {
    const std::string unopened = "cannot open input file 'in.png'";
    expectError({"--rotation", "--alphaonly", "90", "--image", "in.png", "--output", "out"},
                unopened);
    expectError({"--output", "--image", "in.png", "out"}, unopened);
    expectError({"--output", "--rotation", "--alphaonly", "270", "out", "--image", "in.png"},
                unopened);
}

TEST_F(ProgramArguments, AcceptOptionsInAnyOrder) {
    Arguments pieces[] = {
        {"--image", "in.png"}, {"--output", "out"}, {"--alphaonly"}, {"--rotation", "180"}};
    std::sort(std::begin(pieces), std::end(pieces));
    do {
        Arguments arguments;
        for (const Arguments& piece : pieces) {
            arguments.insert(arguments.end(), piece.begin(), piece.end());
        }
        expectError(arguments, "cannot open input file 'in.png'");
    } while (std::next_permutation(std::begin(pieces), std::end(pieces)));
}

} // namespace
