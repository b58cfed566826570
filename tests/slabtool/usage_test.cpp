// slabtool's command line: help, and the exit status of usage errors.
#include "tests/slabtool/slabtool_test.h"
#include "tests/support/png_maker.h"

namespace {

class Usage : public SlabtoolTest {};

const char* const kCommands[] = {"info",    "view",    "gallery", "check",   "prepare",
                                 "compare", "convert", "embed",   "manifest"};

TEST_F(Usage, HelpNamesEverySubCommand) {
    const ProgramOutcome outcome = tool({"--help"});
    EXPECT_EQ(0, outcome.exitStatus);
    EXPECT_EQ("", outcome.errors);
    for (const char* command : kCommands) {
        EXPECT_NE(std::string::npos, outcome.output.find(std::string("\n  ") + command + " "))
            << command;
    }
}

TEST_F(Usage, EverySubCommandHasHelp) {
    for (const char* command : kCommands) {
        SCOPED_TRACE(command);
        const ProgramOutcome outcome = tool({command, "--help"});
        EXPECT_EQ(0, outcome.exitStatus);
        EXPECT_EQ("", outcome.errors);
        EXPECT_NE(std::string::npos, outcome.output.find("Usage: slabtool " + std::string(command)))
            << outcome.output;
    }
}

TEST_F(Usage, ErrorIsStatusTwo) {
    const std::vector<std::string> wrong[] = {
        {},
        {"frobnicate"},
        {"info"},
        {"info", "--frobnicate", "a"},
        {"view", "a", "b", "c"},
        {"gallery", "a"},
        {"gallery", "-o", "a"},
        {"check"},
        {"prepare", "a"},
        {"convert", "a"},
        {"convert", "--max-pixels", "-1", "a", "b"},
        {"convert", "--max-pixels", "18446744073709551616", "a", "b"},
        {"convert", "--jobs", "-1", "a", "b"},
        {"compare", "a", "b", "c"},
        {"manifest", "--merge", "a"},
        {"manifest", "--merge", "-o", "a"},
        {"manifest", "-o", "a", "b"}};
    for (const std::vector<std::string>& arguments : wrong) {
        SCOPED_TRACE(commandLineOf("slabtool", arguments));
        const ProgramOutcome outcome = tool(arguments);
        EXPECT_EQ(2, outcome.exitStatus);
        EXPECT_EQ("", outcome.output);
        EXPECT_NE("", outcome.errors);
    }
}

TEST_F(Usage, NamesAnUnknownSubCommandAndASimilarOne) {
    const auto expectAnswer = [&](const std::string& word, const std::string& question) {
        expectTool(2, "",
                   "error: unknown sub-command '" + word + "'" + question +
                       "\nRun with --help for more information.\n",
                   {word, "a.png"});
    };
    expectAnswer("chek", "; did you mean 'check'?");
    expectAnswer("veiw", "; did you mean 'view'?");
    expectAnswer("prep", "; did you mean 'prepare'?");
    expectAnswer("compares", "; did you mean 'compare'?");
    expectAnswer("INFO", "");
    expectAnswer("frobnicate", "");
    expectAnswer("[check]", "; did you mean 'check'?");
    expectAnswer("", "");
    expectTool(2, "", "error: unknown option '--chek'\nRun with --help for more information.\n",
               {"--chek"});
    expectTool(2, "", "error: unknown sub-command 'a?b'\nRun with --help for more information.\n",
               {"a\nb"});
}

TEST_F(Usage, AcceptsNamesThatBeginWithAMinusAfterTwoMinuses) {
    expectTool(1, "", "slabtool: -a: cannot be opened: No such file or directory\n",
               {"info", "--", "-a"});
}

TEST_F(Usage, KeepsBracketsInNames) {
    const std::vector<std::string> names = {"[]", "[a]", "[a,b]", "[[a],b]", "]",   "[a", "view",
                                            "{}", "{a}", "%%",    "a=b",     "'a'", "a b"};
    for (const std::string& name : names) {
        const std::string missing =
            "slabtool: " + name + ": cannot be opened: No such file or directory\n";
        expectTool(1, "", missing, {"info", name});
        expectTool(1, "", missing + missing, {"info", name, name});
        expectTool(1, "", missing, {"view", name, "out.png"});
        expectTool(1,
                   name + ": rejected: cannot be opened: No such file or directory [unreadable]\n",
                   "", {"check", name});
    }
    makeSurface("[a,b].surface]", png().rgb(3, 3).bytes());
    expectTool(0, "", "", {"view", "[a,b].surface]", "[a,b].png]"});
    EXPECT_TRUE(exists("[a,b].png]"));
}

TEST_F(Usage, KeepsBracketsInErrors) {
    const ProgramOutcome outcome = tool({"view", "a", "b", "[c]"});
    EXPECT_EQ(2, outcome.exitStatus);
    EXPECT_EQ(
        "The following argument was not expected: [c]\nRun with --help for more information.\n",
        outcome.errors);
}

} // namespace
