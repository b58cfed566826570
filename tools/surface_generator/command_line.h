// The converter's option parser. It has a list of options for the usage screen, and a list of the
// argument tokens that no lookup has removed yet. The lists are independent. Single-threaded.
#pragma once

#include <exception>
#include <list>
#include <string>

/// A mistake on the command line.
class CommandLineException : public std::exception {
public:
    /// Copies both texts. `option` is null if the mistake concerns no option. A failed allocation ends
    /// the process.
    CommandLineException(const char* option, const char* message) noexcept;
    CommandLineException(const CommandLineException& other) noexcept;
    CommandLineException& operator=(const CommandLineException& other) noexcept;
    ~CommandLineException() override;

    /// The message.
    const char* what() const noexcept override;

    char* mOption;  ///< the option's name, or null; never freed
    char* mMessage; ///< the message; lives as long as the exception
};

/// Parses the value of an option from the tokens after it. There is no virtual destructor: parsers are
/// objects on the caller's stack, for one lookup.
class ArgumentParser {
public:
    /// Removes the tokens of the option's value from `tokens`, from `position` on.
    /// @return the position after the removed tokens.
    virtual std::list<std::string>::iterator parse(std::list<std::string>::iterator position,
                                                   std::list<std::string>& tokens) = 0;
};

/// For options without a value: removes nothing.
class NullArgumentParser : public ArgumentParser {
public:
    std::list<std::string>::iterator parse(std::list<std::string>::iterator position,
                                           std::list<std::string>& tokens) override;
};

/// For options with one value: removes one token.
class StringArgumentParser : public ArgumentParser {
public:
    /// Stores the value in `target`, which the caller owns.
    explicit StringArgumentParser(std::string* target);

    /// @throws CommandLineException ("missing value") if there is no token or it begins with '-'.
    /// @throws std::out_of_range if the token is empty.
    std::list<std::string>::iterator parse(std::list<std::string>::iterator position,
                                           std::list<std::string>& tokens) override;

private:
    std::string* mTarget;
};

/// The arguments of one run. Options are whole tokens, compared case-sensitively. Each lookup removes
/// the tokens that it uses. A token that is left at the end is an error.
class CommandLine {
public:
    /// Copies argv[1] to argv[argc - 1] as tokens. The usage screen shows `programName`.
    /// `argc` must be at least 1. @throws std::logic_error if an argument is null.
    CommandLine(const std::string& programName, int argc, const char* const* argv);

    /// Adds an option to the usage screen. `usage` is the option with its placeholders.
    void addOption(const std::string& usage, const std::string& help);

    /// Removes the first token that equals `name` or `alternativeName`, and the tokens after it that
    /// `parser` removes. Kept on purpose: an empty alternative name matches an empty token.
    /// @return whether there was such a token.
    /// @throws CommandLineException with the option's name, if its value is missing, or if it is
    ///         repeated and `repetitionAllowed` is false. The tokens stay removed.
    bool getOption(const std::string& name, const std::string& alternativeName,
                   ArgumentParser& parser, bool repetitionAllowed);

    /// Parses the first token that does not begin with '-', and does not follow one that does.
    /// @return whether there was one. @throws CommandLineException with an empty option name.
    bool getPositional(ArgumentParser& parser);

    /// @throws CommandLineException with the first token that no lookup has removed, if there is one.
    void checkUnused() const;

    /// Prints the usage screen to standard output.
    void printUsage() const;

private:
    struct OptionEntry {
        std::string usage, help;
    };

    std::list<OptionEntry> mOptions;
    std::string mProgramName;
    std::string mInvokedPath;
    std::list<std::string> mTokens;
};
