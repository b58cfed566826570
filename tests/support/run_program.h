// Runs a built program as a user would: a process of its own, in a folder, with everything that it
// prints caught.
#pragma once

#include <string>
#include <vector>

struct program_outcome {
    int exit_status;    ///< -1 if a signal ended the program
    int signal;         ///< 0 if the program exited
    std::string output; ///< standard output
    std::string errors; ///< standard error
};

/// Runs the program at the absolute path `program` in `folder`, with standard input empty.
/// A sanitizer's report ends the program by a signal, so that none is taken for an exit status.
program_outcome run_program(const std::string& program, const std::vector<std::string>& arguments,
                            const std::string& folder);
