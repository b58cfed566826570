// The option parser: lookups, values, unused tokens, the usage screen, and every mistake.
#include "tools/surface_generator/command_line.h"

#include "tests/src/dispatch_slot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <list>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Tokens = std::list<std::string>;

CommandLine makeCommandLine(std::vector<const char*> tokens) {
    tokens.insert(tokens.begin(), "/usr/bin/invoked");
    return CommandLine("tool", static_cast<int>(tokens.size()), tokens.data());
}

// A CommandLineException that has been caught.
struct Mistake {
    std::optional<std::string> option;
    std::string message;
    bool operator==(const Mistake&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Mistake& mistake) {
    return stream << (mistake.option ? "'" + *mistake.option + "'" : "no option") << ": "
                  << mistake.message;
}

// The offsets of private fields, which an explicit instantiation can name.
std::vector<const void*> fieldsOf(const CommandLine& commandLine);

template <auto... fields>
struct PrivateFields {
    friend std::vector<const void*> fieldsOf(const CommandLine& commandLine) {
        return {&(commandLine.*fields)...};
    }
};
template struct PrivateFields<&CommandLine::mOptions, &CommandLine::mProgramName,
                              &CommandLine::mInvokedPath, &CommandLine::mTokens>;

template <typename Action>
std::optional<Mistake> mistakeOf(Action action) {
    try {
        action();
    } catch (const CommandLineException& mistake) {
        return Mistake{mistake.mOption != nullptr ? std::optional<std::string>(mistake.mOption)
                                                  : std::nullopt,
                       mistake.what()};
    }
    return std::nullopt;
}

// The token that checkUnused names, or nothing.
std::string leftover(const CommandLine& commandLine) {
    const auto mistake = mistakeOf([&] { commandLine.checkUnused(); });
    if (!mistake) {
        return "";
    }
    const std::string prefix = "invalid argument ";
    EXPECT_EQ(prefix, mistake->message.substr(0, prefix.size()));
    return mistake->message.substr(prefix.size());
}

bool takeFlag(CommandLine& commandLine, const std::string& name,
              const std::string& alternative = "") {
    NullArgumentParser parser;
    return commandLine.getOption(name, alternative, parser, false);
}

// The option's value, or nothing if the option is absent.
std::optional<std::string> takeValue(CommandLine& commandLine, const std::string& name,
                                     const std::string& alternative = "",
                                     bool repetitionAllowed = false) {
    std::string value;
    StringArgumentParser parser(&value);
    if (commandLine.getOption(name, alternative, parser, repetitionAllowed)) {
        return value;
    }
    return std::nullopt;
}

std::optional<Mistake> valueMistake(std::vector<const char*> tokens, const std::string& name,
                                    const std::string& alternative = "") {
    CommandLine commandLine = makeCommandLine(std::move(tokens));
    return mistakeOf([&] { takeValue(commandLine, name, alternative); });
}

std::optional<std::string> takePositional(CommandLine& commandLine) {
    std::string value;
    StringArgumentParser parser(&value);
    if (commandLine.getPositional(parser)) {
        return value;
    }
    return std::nullopt;
}

std::string usageScreenOf(const CommandLine& commandLine) {
    testing::internal::CaptureStdout();
    commandLine.printUsage();
    return testing::internal::GetCapturedStdout();
}

// Always throws the given exception.
template <typename Thrown>
class ThrowingParser : public ArgumentParser {
public:
    explicit ThrowingParser(const Thrown& thrown)
        : mThrown(thrown) {}
    Tokens::iterator parse(Tokens::iterator, Tokens&) override { throw mThrown; }

private:
    Thrown mThrown;
};

class MistakenParser : public ArgumentParser {
public:
    Tokens::iterator parse(Tokens::iterator, Tokens&) override {
        throw CommandLineException("its own option", "its own words");
    }
};

// Removes every token after the option.
class GreedyParser : public ArgumentParser {
public:
    Tokens::iterator parse(Tokens::iterator position, Tokens& tokens) override {
        return tokens.erase(position, tokens.end());
    }
};

TEST(CommandLine, HasItsFieldsInOrder) {
    const CommandLine commandLine = makeCommandLine({"--a"});
    const std::vector<const void*> fields = fieldsOf(commandLine);
    EXPECT_EQ(&commandLine, fields[0]);
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end(), std::less<>()));
}

TEST(CommandLineException, CopiesItsTexts) {
    char option[] = "--image", message[] = "missing file name";
    const CommandLineException mistake(option, message);
    std::memset(option, 'x', sizeof option - 1);
    std::memset(message, 'x', sizeof message - 1);
    EXPECT_STREQ("--image", mistake.mOption);
    EXPECT_STREQ("missing file name", mistake.mMessage);
    EXPECT_EQ(mistake.mMessage, mistake.what());
}

TEST(CommandLineException, MayHaveNoOption) {
    const CommandLineException mistake(nullptr, "");
    EXPECT_EQ(nullptr, mistake.mOption);
    EXPECT_STREQ("", mistake.what());
}

TEST(CommandLineException, DistinguishesAnEmptyOptionFromNone) {
    const CommandLineException mistake("", "text");
    ASSERT_NE(nullptr, mistake.mOption);
    EXPECT_STREQ("", mistake.mOption);
}

TEST(CommandLineException, HasCopiesThatOutliveIt) {
    auto first = std::make_optional<CommandLineException>("--a", "words");
    const CommandLineException second(*first);
    first.reset();
    EXPECT_STREQ("--a", second.mOption);
    EXPECT_STREQ("words", second.what());
    EXPECT_EQ(nullptr, CommandLineException(CommandLineException(nullptr, "words")).mOption);
}

TEST(CommandLineException, CopiesTheTextsByAssignment) {
    CommandLineException mistake("--first", "first words");
    const char* const option = mistake.mOption;
    {
        const CommandLineException other("--second", "second words");
        EXPECT_EQ(&mistake, &(mistake = other));
    }
    EXPECT_STREQ("--second", mistake.mOption);
    EXPECT_STREQ("second words", mistake.what());
    EXPECT_STREQ("--first", option); // an assignment does not release it either
    mistake = *&mistake;
    EXPECT_STREQ("--second", mistake.mOption);
    EXPECT_STREQ("second words", mistake.what());
    mistake = CommandLineException(nullptr, "third words");
    EXPECT_EQ(nullptr, mistake.mOption);
    EXPECT_TRUE(std::is_nothrow_copy_assignable_v<CommandLineException>);
}

// Exceptions of this type end the run, so the name is never released.
TEST(CommandLineException, NeverReleasesItsOption) {
    auto mistake = std::make_optional<CommandLineException>("--an-option", "words");
    const char* const option = mistake->mOption;
    mistake.reset();
    EXPECT_STREQ("--an-option", option);
}

TEST(CommandLineException, IsAStandardExceptionWithTheUsualSlots) {
    EXPECT_TRUE((std::is_base_of_v<std::exception, CommandLineException>));
    EXPECT_TRUE((std::is_nothrow_constructible_v<CommandLineException, const char*, const char*>));
    EXPECT_EQ(2U, slotOf(&CommandLineException::what)); // after the two of the destructor
    try {
        throw CommandLineException("--a", "words");
    } catch (const std::exception& mistake) {
        EXPECT_STREQ("words", mistake.what());
    }
}

TEST(ArgumentParsers, HaveOneSlotAndNoVirtualDestructor) {
    EXPECT_EQ(0U, slotOf(&ArgumentParser::parse));
    EXPECT_TRUE(std::is_abstract_v<ArgumentParser>);
    EXPECT_FALSE(std::has_virtual_destructor_v<ArgumentParser>);
    EXPECT_EQ(sizeof(void*), sizeof(ArgumentParser));
    EXPECT_EQ(sizeof(void*), sizeof(NullArgumentParser));
    EXPECT_EQ(2 * sizeof(void*), sizeof(StringArgumentParser));
}

TEST(NullArgumentParser, ConsumesNothing) {
    Tokens tokens = {"a", "b"};
    NullArgumentParser parser;
    EXPECT_EQ(tokens.begin(), parser.parse(tokens.begin(), tokens));
    EXPECT_EQ(tokens.end(), parser.parse(tokens.end(), tokens));
    EXPECT_EQ((Tokens{"a", "b"}), tokens);
}

TEST(StringArgumentParser, RemovesTheTokenAndReturnsThePositionAfterIt) {
    Tokens tokens = {"a", "b", "c"};
    std::string value;
    StringArgumentParser parser(&value);
    const auto behind = parser.parse(std::next(tokens.begin()), tokens);
    EXPECT_EQ("b", value);
    EXPECT_EQ((Tokens{"a", "c"}), tokens);
    EXPECT_EQ("c", *behind);
    EXPECT_EQ(tokens.end(), parser.parse(behind, tokens));
}

TEST(StringArgumentParser, AcceptsAnythingThatDoesNotBeginWithAMinusSign) {
    for (const std::string token : {"x", " ", " -x", "a-b", "=", "+90",
                                    "\xE2\x88\x92"
                                    "5",
                                    "0"}) {
        Tokens tokens = {token};
        std::string value = "before";
        StringArgumentParser parser(&value);
        parser.parse(tokens.begin(), tokens);
        EXPECT_EQ(token, value);
    }
}

TEST(StringArgumentParser, ReportsAMissingValueAtTheEnd) {
    Tokens tokens = {"a"};
    std::string value = "before";
    StringArgumentParser parser(&value);
    EXPECT_EQ((Mistake{std::nullopt, "missing value"}),
              mistakeOf([&] { parser.parse(tokens.end(), tokens); }));
    EXPECT_EQ("before", value);
}

TEST(StringArgumentParser, ReportsAMissingValueBeforeAMinusSign) {
    for (const std::string token : {"-", "--", "-5", "--help", "-- x"}) {
        Tokens tokens = {token};
        std::string value = "before";
        StringArgumentParser parser(&value);
        EXPECT_EQ((Mistake{std::nullopt, "missing value"}),
                  mistakeOf([&] { parser.parse(tokens.begin(), tokens); }))
            << token;
        EXPECT_EQ("before", value) << token;
        EXPECT_EQ(Tokens{token}, tokens);
    }
}

TEST(StringArgumentParser, ThrowsOutOfRangeForAnEmptyToken) {
    Tokens tokens = {""};
    std::string value;
    StringArgumentParser parser(&value);
    EXPECT_THROW(parser.parse(tokens.begin(), tokens), std::out_of_range);
}

TEST(CommandLine, HasNoTokensWithoutArguments) {
    CommandLine commandLine = makeCommandLine({});
    EXPECT_EQ("", leftover(commandLine));
    EXPECT_FALSE(takeFlag(commandLine, "--a"));
    EXPECT_EQ(std::nullopt, takePositional(commandLine));
}

TEST(CommandLine, CopiesItsArguments) {
    char token[] = "--a";
    CommandLine commandLine = makeCommandLine({token});
    token[2] = 'b';
    EXPECT_TRUE(takeFlag(commandLine, "--a"));
}

TEST(CommandLine, ReadsOnlyTheGivenNumberOfArguments) {
    const char* arguments[] = {"tool", "--a", "--b"};
    CommandLine commandLine("tool", 2, arguments);
    EXPECT_FALSE(takeFlag(commandLine, "--b"));
    EXPECT_TRUE(takeFlag(commandLine, "--a"));
}

TEST(CommandLine, RejectsNullArguments) {
    const char* arguments[] = {"tool", "--a", nullptr};
    EXPECT_THROW(CommandLine("tool", 3, arguments), std::logic_error);
    const char* nameless[] = {nullptr, "--a"};
    EXPECT_THROW(CommandLine("tool", 2, nameless), std::logic_error);
}

TEST(OptionLookup, RemovesOnlyTheOptionWithItsValue) {
    CommandLine commandLine = makeCommandLine({"--b", "--a", "value", "rest"});
    EXPECT_EQ("value", takeValue(commandLine, "--a"));
    EXPECT_EQ("--b", leftover(commandLine));
    EXPECT_TRUE(takeFlag(commandLine, "--b"));
    EXPECT_EQ("rest", leftover(commandLine));
}

TEST(OptionLookup, RemovesNothingIfTheOptionIsMissing) {
    CommandLine commandLine = makeCommandLine({"--b", "x"});
    EXPECT_EQ(std::nullopt, takeValue(commandLine, "--a"));
    EXPECT_FALSE(takeFlag(commandLine, "--a"));
    EXPECT_EQ("x", takeValue(commandLine, "--b"));
}

TEST(OptionLookup, IsIndependentOfDeclarations) {
    CommandLine commandLine = makeCommandLine({"--undeclared", "--declared"});
    commandLine.addOption("--declared", "is never looked up");
    EXPECT_TRUE(takeFlag(commandLine, "--undeclared"));
    EXPECT_EQ("--declared", leftover(commandLine));
}

TEST(OptionLookup, ComparesWholeTokensCaseSensitively) {
    for (const char* token : {"--image=a.png", "--imag", "--images", "--Image", "-image", "image",
                              " --image", "--image "}) {
        CommandLine commandLine = makeCommandLine({token, "value"});
        EXPECT_FALSE(takeFlag(commandLine, "--image")) << token;
        EXPECT_EQ(token, leftover(commandLine));
    }
}

TEST(OptionLookup, AcceptsTheAlternativeName) {
    CommandLine commandLine = makeCommandLine({"-a", "value"});
    EXPECT_EQ("value", takeValue(commandLine, "--all", "-a"));
    EXPECT_EQ("", leftover(commandLine));
}

TEST(OptionLookup, AcceptsTheNameThatComesFirst) {
    CommandLine commandLine = makeCommandLine({"-a", "1", "--all", "2"});
    EXPECT_EQ("1", takeValue(commandLine, "--all", "-a", true));
    EXPECT_EQ("2", takeValue(commandLine, "--all", "-a", true));
}

// Names are compared with tokens by equality, without an exception for the empty name.
TEST(OptionLookup, LetsAnEmptyAlternativeNameMatchAnEmptyToken) {
    CommandLine commandLine = makeCommandLine({"x", "", "--help"});
    EXPECT_TRUE(takeFlag(commandLine, "--image", ""));
    EXPECT_FALSE(takeFlag(commandLine, "--image", ""));
    EXPECT_TRUE(takeFlag(commandLine, "--help", ""));
}

TEST(OptionLookup, IgnoresEmptyTokensForOtherNames) {
    CommandLine commandLine = makeCommandLine({"", "x"});
    EXPECT_FALSE(takeFlag(commandLine, "--help", "-h"));
    EXPECT_EQ("", leftover(commandLine));
    EXPECT_EQ((Mistake{std::nullopt, "invalid argument "}),
              mistakeOf([&] { commandLine.checkUnused(); }));
}

TEST(OptionLookup, ReportsAMissingValueAtTheEndAndBeforeAnOption) {
    const Mistake missing = {"--a", "missing value"};
    EXPECT_EQ(missing, valueMistake({"--a"}, "--a"));
    EXPECT_EQ(missing, valueMistake({"--a", "--b"}, "--a"));
    EXPECT_EQ(missing, valueMistake({"--a", "-5", "7"}, "--a"));
    EXPECT_EQ(missing, valueMistake({"--a", "--a", "7"}, "--a"));
}

TEST(OptionLookup, NamesBothNamesInMistakes) {
    EXPECT_EQ((Mistake{"--all, -a", "missing value"}), valueMistake({"-a"}, "--all", "-a"));
    EXPECT_EQ((Mistake{"-a", "missing value"}), valueMistake({"-a"}, "", "-a"));
    EXPECT_EQ((Mistake{"--all", "missing value"}), valueMistake({"--all"}, "--all", ""));
    EXPECT_EQ((Mistake{"", "missing value"}), valueMistake({""}, "", ""));
}

TEST(OptionLookup, RejectsARepetitionAfterTheFirstValue) {
    CommandLine commandLine = makeCommandLine({"--a", "1", "--a", "2"});
    std::string value;
    StringArgumentParser parser(&value);
    EXPECT_EQ((Mistake{"--a", "duplicate option"}),
              mistakeOf([&] { commandLine.getOption("--a", "", parser, false); }));
    EXPECT_EQ("1", value);
    EXPECT_EQ("2", takeValue(commandLine, "--a"));
    EXPECT_EQ("", leftover(commandLine));
}

TEST(OptionLookup, FindsARepetitionUnderTheOtherNameAndWithoutAValue) {
    EXPECT_EQ((Mistake{"--all, -a", "duplicate option"}),
              valueMistake({"--all", "1", "-a"}, "--all", "-a"));
    EXPECT_EQ((Mistake{"--a", "duplicate option"}), valueMistake({"--a", "1", "--a"}, "--a"));
}

TEST(OptionLookup, DoesNotTreatAValueAsARepetition) {
    CommandLine commandLine = makeCommandLine({"name", "name", "rest"});
    EXPECT_EQ("name", takeValue(commandLine, "name"));
    EXPECT_EQ("rest", leftover(commandLine));
}

TEST(OptionLookup, ReportsAMissingValueBeforeARepetition) {
    EXPECT_EQ((Mistake{"--a", "missing value"}), valueMistake({"--a", "--a", "1"}, "--a"));
}

TEST(OptionLookup, LeavesAllowedRepetitionsForFurtherLookups) {
    CommandLine commandLine = makeCommandLine({"--a", "1", "--a", "2", "--a", "3"});
    EXPECT_EQ("1", takeValue(commandLine, "--a", "", true));
    EXPECT_EQ("2", takeValue(commandLine, "--a", "", true));
    EXPECT_EQ("--a", leftover(commandLine));
    EXPECT_EQ("3", takeValue(commandLine, "--a", "", true));
    EXPECT_EQ(std::nullopt, takeValue(commandLine, "--a", "", true));
}

TEST(OptionLookup, DoesNotRestoreTokensIfItFails) {
    CommandLine commandLine = makeCommandLine({"--a", "--b"});
    EXPECT_TRUE(mistakeOf([&] { takeValue(commandLine, "--a"); }));
    EXPECT_EQ("--b", leftover(commandLine));
    EXPECT_FALSE(takeFlag(commandLine, "--a"));
}

// The value is the token after the option, among the tokens that earlier lookups have left.
TEST(OptionLookup, FindsAValueAfterRemovedOptions) {
    CommandLine commandLine = makeCommandLine({"--a", "--flag", "value"});
    EXPECT_TRUE(takeFlag(commandLine, "--flag"));
    EXPECT_EQ("value", takeValue(commandLine, "--a"));
    EXPECT_EQ("", leftover(commandLine));
}

TEST(OptionLookup, ReplacesTheOptionOfAParsersMistakeByItsLabel) {
    CommandLine commandLine = makeCommandLine({"-a"});
    MistakenParser parser;
    EXPECT_EQ((Mistake{"--all, -a", "its own words"}),
              mistakeOf([&] { commandLine.getOption("--all", "-a", parser, false); }));
}

TEST(OptionLookup, LetsOtherExceptionsThrough) {
    CommandLine commandLine = makeCommandLine({"--a", "--a", "--b", ""});
    ThrowingParser<int> number(7);
    EXPECT_THROW(commandLine.getOption("--a", "", number, false), int);
    ThrowingParser<std::runtime_error> failure(std::runtime_error("words"));
    EXPECT_THROW(commandLine.getOption("--a", "-a", failure, false), std::runtime_error);
    EXPECT_THROW(takeValue(commandLine, "--b", "-b"), std::out_of_range);
}

TEST(OptionLookup, LetsParsersRemoveAnyNumberOfTokens) {
    CommandLine commandLine = makeCommandLine({"x", "--a", "--a", "y", "z"});
    GreedyParser parser;
    EXPECT_TRUE(commandLine.getOption("--a", "", parser, false));
    EXPECT_EQ("x", leftover(commandLine));
}

TEST(PositionalLookup, ParsesTheFirstFreeToken) {
    CommandLine commandLine = makeCommandLine({"one", "two"});
    EXPECT_EQ("one", takePositional(commandLine));
    EXPECT_EQ("two", takePositional(commandLine));
    EXPECT_EQ(std::nullopt, takePositional(commandLine));
    EXPECT_EQ("", leftover(commandLine));
}

TEST(PositionalLookup, TreatsATokenAfterAnOptionAsItsValue) {
    CommandLine commandLine = makeCommandLine({"-v", "value", "free", "more"});
    EXPECT_EQ("free", takePositional(commandLine));
    EXPECT_EQ("more", takePositional(commandLine));
    EXPECT_EQ(std::nullopt, takePositional(commandLine));
    EXPECT_EQ("value", takeValue(commandLine, "-v"));
    EXPECT_EQ("", leftover(commandLine));
}

TEST(PositionalLookup, LetsSeveralOptionsInARowHaveOneValue) {
    CommandLine commandLine = makeCommandLine({"-a", "-", "--c", "value", "free"});
    EXPECT_EQ("free", takePositional(commandLine));
    EXPECT_EQ(std::nullopt, takePositional(commandLine));
}

TEST(PositionalLookup, TreatsAnEmptyTokenAsAWord) {
    CommandLine behindAnOption = makeCommandLine({"-a", "", "free"});
    EXPECT_EQ("free", takePositional(behindAnOption));

    CommandLine inFront = makeCommandLine({"", "free"});
    NullArgumentParser taker;
    EXPECT_TRUE(inFront.getPositional(taker));
    EXPECT_THROW(takePositional(inFront), std::out_of_range);
}

TEST(PositionalLookup, PassesTheTokenItselfToTheParser) {
    CommandLine commandLine = makeCommandLine({"one", "two"});
    NullArgumentParser parser;
    EXPECT_TRUE(commandLine.getPositional(parser));
    EXPECT_EQ("one", leftover(commandLine));
    GreedyParser greedy;
    EXPECT_TRUE(commandLine.getPositional(greedy));
    EXPECT_EQ("", leftover(commandLine));
}

TEST(PositionalLookup, ReportsMistakesWithAnEmptyOption) {
    CommandLine commandLine = makeCommandLine({"one"});
    MistakenParser parser;
    EXPECT_EQ((Mistake{"", "its own words"}),
              mistakeOf([&] { commandLine.getPositional(parser); }));
}

TEST(PositionalLookup, LetsOtherExceptionsThrough) {
    CommandLine commandLine = makeCommandLine({"one"});
    ThrowingParser<int> parser(7);
    EXPECT_THROW(commandLine.getPositional(parser), int);
}

TEST(CheckUnused, AcceptsAnEmptyListAndChangesNothing) {
    CommandLine commandLine = makeCommandLine({"--a"});
    EXPECT_EQ("--a", leftover(commandLine));
    EXPECT_EQ("--a", leftover(commandLine));
    EXPECT_TRUE(takeFlag(commandLine, "--a"));
    EXPECT_NO_THROW(commandLine.checkUnused());
}

TEST(CheckUnused, NamesTheFirstUnusedTokenWithoutAnOption) {
    CommandLine commandLine = makeCommandLine({"--known", "%s", "second", "--third"});
    EXPECT_TRUE(takeFlag(commandLine, "--known"));
    EXPECT_EQ((Mistake{std::nullopt, "invalid argument %s"}),
              mistakeOf([&] { commandLine.checkUnused(); }));
}

TEST(CheckUnused, NamesAWordAfterAFlag) {
    CommandLine commandLine = makeCommandLine({"--flag", "word"});
    EXPECT_TRUE(takeFlag(commandLine, "--flag"));
    EXPECT_EQ("word", leftover(commandLine));
}

TEST(UsageScreen, IsTwoLinesWithoutOptions) {
    EXPECT_EQ("\n\nUSAGE: tool [options]\n"
              "where [options] can be any of the following:\n\n",
              usageScreenOf(makeCommandLine({"--a"})));
}

TEST(UsageScreen, ListsOptionsInTheOrderOfTheirDeclaration) {
    CommandLine commandLine = makeCommandLine({});
    commandLine.addOption("--b <value>", "takes a value");
    commandLine.addOption("--a", "does not");
    commandLine.addOption("--a", "does not");
    EXPECT_EQ("\n\nUSAGE: tool [options]\n"
              "where [options] can be any of the following:\n\n"
              "\n --b <value>                       -  takes a value\n"
              "\n --a                               -  does not\n"
              "\n --a                               -  does not\n",
              usageScreenOf(commandLine));
}

TEST(UsageScreen, NeverTruncatesLongUsageTexts) {
    CommandLine commandLine = makeCommandLine({});
    commandLine.addOption(std::string(31, 'a'), "x");
    commandLine.addOption(std::string(32, 'b'), "y");
    commandLine.addOption(std::string(40, 'c'), "");
    commandLine.addOption("", "%s %d");
    EXPECT_EQ("\n\nUSAGE: tool [options]\n"
              "where [options] can be any of the following:\n\n"
              "\n " +
                  std::string(31, 'a') +
                  "   -  x\n"
                  "\n " +
                  std::string(32, 'b') +
                  "  -  y\n"
                  "\n " +
                  std::string(40, 'c') +
                  "  -  \n"
                  "\n " +
                  std::string(32, ' ') + "  -  %s %d\n",
              usageScreenOf(commandLine));
}

} // namespace
