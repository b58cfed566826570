// Token lookups, value parsers and the usage screen.
#include "tools/surface_generator/command_line.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define PNGSLAB_LEAK_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PNGSLAB_LEAK_SANITIZER
#endif
#endif
#if defined(PNGSLAB_LEAK_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// Marks a buffer that is never released, so that LeakSanitizer does not report it.
void keepForever([[maybe_unused]] const char* text) {
#if defined(PNGSLAB_LEAK_SANITIZER)
    __lsan_ignore_object(text);
#endif
}

// A copy of `text` with its terminator, or null for null.
char* copyText(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(new char[size], text, size));
}

bool beginsWithMinus(const std::string& token) {
    return !token.empty() && token.front() == '-';
}

// The name of an option in messages. An option may have two spellings.
std::string labelOf(const std::string& name, const std::string& alternativeName) {
    if (name.empty()) {
        return alternativeName;
    }
    return alternativeName.empty() ? name : name + ", " + alternativeName;
}

} // namespace

CommandLineException::CommandLineException(const char* option, const char* message) noexcept
    : mOption(copyText(option))
    , mMessage(copyText(message)) {}

CommandLineException::CommandLineException(const CommandLineException& other) noexcept
    : std::exception(other)
    , mOption(copyText(other.mOption))
    , mMessage(copyText(other.mMessage)) {}

CommandLineException& CommandLineException::operator=(const CommandLineException& other) noexcept {
    CommandLineException copy(other);
    std::exception::operator=(other);
    std::swap(mOption, copy.mOption);
    std::swap(mMessage, copy.mMessage);
    return *this;
}

CommandLineException::~CommandLineException() {
    delete[] mMessage;
    mMessage = nullptr;
    // Kept on purpose: mOption is not released. Exceptions of this type end the run, and a handler
    // may use the name after the exception.
    keepForever(mOption);
}

const char* CommandLineException::what() const noexcept {
    return mMessage;
}

std::list<std::string>::iterator
NullArgumentParser::parse(std::list<std::string>::iterator position,
                          std::list<std::string>& /*tokens*/) {
    return position;
}

StringArgumentParser::StringArgumentParser(std::string* target)
    : mTarget(target) {}

std::list<std::string>::iterator
StringArgumentParser::parse(std::list<std::string>::iterator position,
                            std::list<std::string>& tokens) {
    // Kept on purpose: an empty value is not reported as missing. Its first character is out of range,
    // which throws.
    if (position == tokens.end() || position->at(0) == '-') {
        throw CommandLineException(nullptr, "missing value");
    }
    *mTarget = *position;
    return tokens.erase(position);
}

CommandLine::CommandLine(const std::string& programName, int argc, const char* const* argv)
    : mProgramName(programName)
    , mInvokedPath(argv[0]) {
    for (int i = 1; i < argc; ++i) {
        mTokens.emplace_back(argv[i]);
    }
}

void CommandLine::addOption(const std::string& usage, const std::string& help) {
    mOptions.push_back({usage, help});
}

bool CommandLine::getOption(const std::string& name, const std::string& alternativeName,
                            ArgumentParser& parser, bool repetitionAllowed) {
    const auto matches = [&](const std::string& token) {
        return token == name || token == alternativeName;
    };
    const auto match = std::find_if(mTokens.begin(), mTokens.end(), matches);
    if (match == mTokens.end()) {
        return false;
    }
    const std::string label = labelOf(name, alternativeName);
    try {
        parser.parse(mTokens.erase(match), mTokens);
    } catch (const CommandLineException& failure) {
        throw CommandLineException(label.c_str(), failure.what());
    }
    if (!repetitionAllowed && std::any_of(mTokens.begin(), mTokens.end(), matches)) {
        throw CommandLineException(label.c_str(), "duplicate option");
    }
    return true;
}

bool CommandLine::getPositional(ArgumentParser& parser) {
    bool isFree = true;
    for (auto token = mTokens.begin(); token != mTokens.end(); ++token) {
        if (beginsWithMinus(*token)) {
            isFree = false;
        } else if (!isFree) {
            isFree = true; // this token is the value of the option before it
        } else {
            try {
                parser.parse(token, mTokens);
            } catch (const CommandLineException& failure) {
                throw CommandLineException("", failure.what());
            }
            return true;
        }
    }
    return false;
}

void CommandLine::checkUnused() const {
    if (!mTokens.empty()) {
        throw CommandLineException(nullptr, ("invalid argument " + mTokens.front()).c_str());
    }
}

void CommandLine::printUsage() const {
    std::printf("\n\nUSAGE: %s [options]\n", mProgramName.c_str());
    std::puts("where [options] can be any of the following:\n");
    for (const OptionEntry& option : mOptions) {
        std::printf("\n %-32s  -  %s\n", option.usage.c_str(), option.help.c_str());
    }
}
