// slabtool's command line: help, and wrong use, which is told apart from refused files.
#include "tests/slabtool/slabtool_test.h"

namespace {

class Usage : public SlabtoolTest {};

const char* const kCommands[] = {"info", "view", "check", "prepare", "compare"};

TEST_F(Usage, HelpNamesEverySubCommand) {
    const program_outcome outcome = tool({"--help"});
    EXPECT_EQ(0, outcome.exit_status);
    EXPECT_EQ("", outcome.errors);
    for (const char* command : kCommands) {
        EXPECT_NE(std::string::npos, outcome.output.find(std::string("\n  ") + command + " "));
    }
}

TEST_F(Usage, EverySubCommandHasHelp) {
    for (const char* command : kCommands) {
        const program_outcome outcome = tool({command, "--help"});
        EXPECT_EQ(0, outcome.exit_status);
        EXPECT_EQ("", outcome.errors);
        EXPECT_NE(std::string::npos, outcome.output.find("Usage: slabtool " + std::string(command)))
            << outcome.output;
    }
}

TEST_F(Usage, WrongUseIsStatusTwo) {
    const std::vector<std::string> wrong[] = {{},
                                              {"frobnicate"},
                                              {"info"},
                                              {"info", "--frobnicate", "a"},
                                              {"view", "a"},
                                              {"view", "a", "b", "c"},
                                              {"check"},
                                              {"prepare", "a"},
                                              {"compare", "a", "b", "c"}};
    for (const std::vector<std::string>& arguments : wrong) {
        const program_outcome outcome = tool(arguments);
        EXPECT_EQ(2, outcome.exit_status);
        EXPECT_EQ("", outcome.output);
        EXPECT_NE("", outcome.errors);
    }
}

TEST_F(Usage, NamesThatBeginWithMinusFollowTwoOfThem) {
    expectTool(1, "", "slabtool: -a: cannot be opened: No such file or directory\n",
               {"info", "--", "-a"});
}

} // namespace
