// Runs a built program like a user: as a separate process, in a folder. Captures its output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct ProgramOutcome {
    int exitStatus;     ///< -1 if a signal ended the program
    int signal;         ///< 0 if the program exited
    std::string output; ///< standard output
    std::string errors; ///< standard error
};

/// The environment of a program.
struct ProgramSurroundings {
    std::optional<uint64_t> addressSpace = {}; ///< max bytes of memory, like ulimit -v
    std::optional<uint64_t> fileSize = {};     ///< max bytes of a file, like ulimit -f
    bool goesOnAtFileSize = false; ///< a write beyond the limit fails, instead of ending the run
    bool asNobody = false;         ///< as a user without any rights
    std::vector<std::string> variables = {}; ///< further environment variables, as NAME=value
};

/// Runs the program at the absolute path `program` in `folder`, with standard input empty.
/// A sanitizer's report ends the program by a signal, so that it differs from every exit status.
ProgramOutcome runProgram(const std::string& program, const std::vector<std::string>& arguments,
                          const std::string& folder, const ProgramSurroundings& surroundings = {});

/// Runs a shell command line in `folder`. In it, the command `name` runs the program at the absolute path
/// `program`.
ProgramOutcome runInShell(const std::string& commands, const std::string& name,
                          const std::string& program, const std::string& folder);
