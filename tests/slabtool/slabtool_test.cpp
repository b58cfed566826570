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

program_outcome SlabtoolTest::tool(const std::vector<std::string>& arguments,
                                   const program_surroundings& surroundings) const {
    return run_program(PNGSLAB_SLABTOOL, arguments, path(""), surroundings);
}

void SlabtoolTest::expectErrorsWithin(uint64_t addressSpace, const std::string& errors,
                                      const std::vector<std::string>& arguments) const {
    const program_outcome outcome = tool(arguments, {.address_space = addressSpace});
    EXPECT_EQ(1, outcome.exit_status);
    EXPECT_EQ(errors, outcome.errors);
}

program_outcome SlabtoolTest::shell(const std::string& commands) const {
    return run_in_shell(commands, "slabtool", PNGSLAB_SLABTOOL, path(""));
}

void SlabtoolTest::expectTool(int exitStatus, const std::string& output, const std::string& errors,
                              const std::vector<std::string>& arguments) const {
    const program_outcome outcome = tool(arguments);
    EXPECT_EQ(exitStatus, outcome.exit_status);
    EXPECT_EQ(0, outcome.signal);
    EXPECT_EQ(output, outcome.output);
    EXPECT_EQ(errors, outcome.errors);
}

byte_vector SlabtoolTest::makeSurface(const std::string& name, const byte_vector& image,
                                      const std::vector<std::string>& options) const {
    write("converted.png", image);
    EXPECT_EQ(0, run(conversion(name, options)).exit_status);
    return read(name);
}

bool SlabtoolTest::converterTakes(const byte_vector& image,
                                  const std::vector<std::string>& options) const {
    write("converted.png", image);
    return run(conversion("converted.surface", options)).exit_status == 0;
}
