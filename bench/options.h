// The command line of the comparison programs, and reading of its files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// `[--rounds N] [--each] [--cold] [--backend NAME] [--only NAME] FILES...`
struct comparison_options_t {
    uint32_t rounds = 9;
    bool each = false; ///< print a line for each file, not only the sums
    bool cold = false; ///< decode each file once per round, in a random order
    std::string only;  ///< run only this contender, once per file, without timing; empty: compare
    std::vector<std::string> files;
};

/// Ends the program with a message if the arguments are invalid or name no file. Activates the backend, if one is
/// named.
comparison_options_t parse_comparison_options(int argc, char** argv);

/// Ends the program with a message if this machine does not support the backend.
void activate_backend(const std::string& name);

/// The bytes of a file. Ends the program if it cannot be read.
std::vector<uint8_t> read_file(const std::string& path);

/// The name without its folders.
std::string file_name(const std::string& path);
