// The option parser with arbitrary tokens and lookups.
#include "fuzz/fuzz_input.h"
#include "tools/surface_generator/command_line.h"

#include <stdexcept>
#include <string>

namespace {

std::string takeToken(FuzzInput& input) {
    const char* const words[] = {"--help", "--image", "--output", "-x", "", "a.png"};
    const uint8_t choice = input.take<uint8_t>();
    if (choice % 2 == 0) {
        return words[choice / 2 % 6];
    }
    const GuardedBytes bytes = input.takeBytes(choice % 16);
    return {bytes.begin(), bytes.end()};
}

void lookUp(CommandLine& commandLine, FuzzInput& input) {
    const uint8_t choice = input.take<uint8_t>();
    std::string value;
    NullArgumentParser none;
    StringArgumentParser one(&value);
    ArgumentParser& parser = (choice & 1) != 0 ? static_cast<ArgumentParser&>(none) : one;
    if ((choice & 2) != 0) {
        commandLine.getPositional(parser);
    } else {
        const std::string name = takeToken(input);
        commandLine.getOption(name, takeToken(input), parser, (choice & 4) != 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzInput input(bytes, size);
    std::vector<std::string> tokens = {"pngslab"};
    for (uint32_t i = input.below(8); i > 0; --i) {
        tokens.push_back(takeToken(input).c_str()); // an argument ends at its first zero byte
    }
    std::vector<const char*> arguments;
    for (const std::string& token : tokens) {
        arguments.push_back(token.c_str());
    }
    CommandLine commandLine("pngslab", static_cast<int>(arguments.size()), arguments.data());
    try {
        while (input.size() > 0) {
            lookUp(commandLine, input);
        }
        commandLine.checkUnused();
    } catch (const CommandLineException& failure) {
        require(failure.what() != nullptr);
    } catch (const std::out_of_range&) {
        // An empty value is not reported as missing.
    }
    return 0;
}
