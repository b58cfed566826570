// Runs of both programs.
#include "tests/slabtool/slabtool_test.h"

namespace {

std::vector<std::string> conversion(const std::string& output,
                                    const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"--image", "converted.png", "--output", output};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

} // namespace

ProgramOutcome SlabtoolTest::tool(const std::vector<std::string>& arguments,
                                  const ProgramSurroundings& surroundings) const {
    return runProgram(PNGSLAB_SLABTOOL, arguments, path(""), surroundings);
}

void SlabtoolTest::expectErrorsWithin(uint64_t addressSpace, const std::string& errors,
                                      const std::vector<std::string>& arguments) const {
    SCOPED_TRACE(commandLineOf("slabtool", arguments));
    const ProgramOutcome outcome = tool(arguments, {.addressSpace = addressSpace});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ(errors, outcome.errors);
}

ProgramOutcome SlabtoolTest::shell(const std::string& commands) const {
    return runInShell(commands, "slabtool", PNGSLAB_SLABTOOL, path(""));
}

void SlabtoolTest::expectTool(int exitStatus, const std::string& output, const std::string& errors,
                              const std::vector<std::string>& arguments) const {
    SCOPED_TRACE(commandLineOf("slabtool", arguments));
    const ProgramOutcome outcome = tool(arguments);
    EXPECT_EQ(exitStatus, outcome.exitStatus);
    EXPECT_EQ(0, outcome.signal);
    EXPECT_EQ(output, outcome.output);
    EXPECT_EQ(errors, outcome.errors);
}

byte_vector SlabtoolTest::makeSurface(const std::string& name, const byte_vector& image,
                                      const std::vector<std::string>& options) const {
    write("converted.png", image);
    EXPECT_EQ(0, run(conversion(name, options)).exitStatus);
    return read(name);
}

bool SlabtoolTest::converterAccepts(const byte_vector& image,
                                    const std::vector<std::string>& options) const {
    write("converted.png", image);
    return run(conversion("converted.surface", options)).exitStatus == 0;
}
