// The converter's own option parser: a registry of options for the usage screen, and the list of
// argument tokens that no lookup has taken yet. The two are independent. Single-threaded.
#pragma once

#include <exception>
#include <list>
#include <string>

/// A mistake on the command line.
class CommandLineException : public std::exception {
public:
    /// Copies both texts; `option` is null when the mistake concerns no particular option. A failed
    /// allocation ends the process.
    CommandLineException(const char* option, const char* message) noexcept;
    CommandLineException(const CommandLineException& other) noexcept;
    CommandLineException& operator=(const CommandLineException& other) noexcept;
    ~CommandLineException() override;

    /// The message.
    const char* what() const noexcept override;

    char* mOption;  ///< the option's name, or null; never released
    char* mMessage; ///< the message; lives as long as the exception
};

/// Takes the value of an option from the tokens behind it. Parser objects live on the caller's
/// stack for one lookup; there is no virtual destructor.
class ArgumentParser {
public:
    /// Consumes what belongs to the option from `tokens`, starting at `position`.
    /// @return the position behind what was consumed.
    virtual std::list<std::string>::iterator parse(std::list<std::string>::iterator position,
                                                   std::list<std::string>& tokens) = 0;
};

/// For options without a value: consumes nothing.
class NullArgumentParser : public ArgumentParser {
public:
    std::list<std::string>::iterator parse(std::list<std::string>::iterator position,
                                           std::list<std::string>& tokens) override;
};

/// For options with one value: takes one token.
class StringArgumentParser : public ArgumentParser {
public:
    /// The value goes to `target`, which the caller owns.
    explicit StringArgumentParser(std::string* target);

    /// @throws CommandLineException ("missing value") if there is no token or it begins with '-'.
    /// @throws std::out_of_range if the token is empty.
    std::list<std::string>::iterator parse(std::list<std::string>::iterator position,
                                           std::list<std::string>& tokens) override;

private:
    std::string* mTarget;
};

/// The arguments of one run. Options are whole tokens, compared case-sensitively; each lookup
/// removes what it took, and what is left at the end is an error.
class CommandLine {
public:
    /// Copies argv[1] to argv[argc - 1] as tokens. `programName` is what the usage screen shows.
    /// `argc` must be at least 1. @throws std::logic_error if an argument is null.
    CommandLine(const std::string& programName, int argc, const char* const* argv);

    /// Adds a line to the usage screen; `usage` is the option with its placeholders.
    void addOption(const std::string& usage, const std::string& help);

    /// Takes the first token that equals `name` or `alternativeName`, and what `parser` takes
    /// behind it. Kept on purpose: an empty alternative name matches an empty token.
    /// @return whether there was such a token.
    /// @throws CommandLineException naming the option, if its value is missing, or if it comes
    ///         again and `repetitionAllowed` is not set. What was consumed stays consumed.
    bool getOption(const std::string& name, const std::string& alternativeName,
                   ArgumentParser& parser, bool repetitionAllowed);

    /// Hands `parser` the first token that neither begins with '-' nor follows one that does.
    /// @return whether there was one. @throws CommandLineException with an empty option name.
    bool getPositional(ArgumentParser& parser);

    /// @throws CommandLineException naming the first token that no lookup has taken, if any.
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
