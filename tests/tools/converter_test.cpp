// Scratch folders and expectations for the tests of the whole program.
#include "tests/tools/converter_test.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

const std::string& banner() {
    static const std::string text = [] {
        const std::string help = runProgram(PNGSLAB_PROGRAM, {"--help"}, "/").output;
        return help.substr(0, help.find("\n\nUSAGE: "));
    }();
    return text;
}

std::string usageScreen() {
    return "\n\nUSAGE: pngslab [options]\n"
           "where [options] can be any of the following:\n"
           "\n"
           "\n --help                            -  Print this help screen\n"
           "\n --image <image file>              -  Input image file\n"
           "\n --rotation <90 | 180 | 270>       -  Specify image rotation\n"
           "\n --alphaonly                       -  Generate an alpha only surface\n"
           "\n --output <output file>            -  Output surface file\n";
}

std::string commandLineOf(const std::string& program, const std::vector<std::string>& arguments) {
    std::string line = program;
    for (const std::string& argument : arguments) {
        line += " '" + argument + "'";
    }
    return line;
}

ConverterTest::ConverterTest() {
    std::string name = testing::TempDir() + "/pngslab-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no scratch folder");
    }
    mFolder = name;
}

ConverterTest::~ConverterTest() {
    std::filesystem::remove_all(mFolder);
}

ProgramOutcome ConverterTest::run(const std::vector<std::string>& arguments,
                                  const ProgramSurroundings& surroundings) const {
    return runProgram(PNGSLAB_PROGRAM, arguments, mFolder, surroundings);
}

void ConverterTest::expectOutcome(int exitStatus, const std::string& output,
                                  const std::vector<std::string>& arguments) const {
    SCOPED_TRACE(commandLineOf("pngslab", arguments));
    const ProgramOutcome outcome = run(arguments);
    EXPECT_EQ(exitStatus, outcome.exitStatus);
    EXPECT_EQ(0, outcome.signal);
    EXPECT_EQ(output, outcome.output);
    EXPECT_EQ("", outcome.errors);
}

void ConverterTest::expectHelp(const std::vector<std::string>& arguments) const {
    expectOutcome(0, banner() + usageScreen() + "\n\n", arguments);
}

void ConverterTest::expectSuccess(const std::vector<std::string>& arguments,
                                  const std::string& imagePath, size_t size) const {
    expectOutcome(0,
                  banner() + "\nGenerated surface for '" + imagePath + "', size " +
                      std::to_string(size) + " bytes\n\n",
                  arguments);
}

void ConverterTest::expectUsageError(const std::vector<std::string>& arguments,
                                     const std::string& message) const {
    expectOutcome(1, banner() + usageScreen() + "\n\nERROR: " + message + "\n\n", arguments);
}

void ConverterTest::expectError(const std::vector<std::string>& arguments,
                                const std::string& message) const {
    expectOutcome(1, banner() + "\n\nERROR: " + message + "\n\n", arguments);
}

void ConverterTest::expectAbnormalEnd(const std::vector<std::string>& arguments) const {
    SCOPED_TRACE(commandLineOf("pngslab", arguments));
    const ProgramOutcome outcome = run(arguments);
    EXPECT_EQ(SIGABRT, outcome.signal) << "exit status " << outcome.exitStatus;
    EXPECT_EQ(std::string::npos, outcome.output.find("ERROR"));
    // Only a sanitizer (about a failed allocation) or an emulator may write to standard error.
    EXPECT_TRUE(outcome.errors.empty() || outcome.errors.starts_with("=====") ||
                outcome.errors.starts_with("qemu: "))
        << outcome.errors;
}

void ConverterTest::write(const std::string& name, const byte_vector& bytes) const {
    std::ofstream file(path(name), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

byte_vector ConverterTest::read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

bool ConverterTest::exists(const std::string& name) const {
    return std::filesystem::exists(path(name));
}
