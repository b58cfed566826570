// Runs a built program as a user would: a process of its own, in a folder, with everything that it
// prints caught.
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

/// What a program may find around it.
struct ProgramSurroundings {
    std::optional<uint64_t> addressSpace = {}; ///< most bytes of memory, as by ulimit -v
    std::optional<uint64_t> fileSize = {};     ///< most bytes of a file, as by ulimit -f
    bool goesOnAtFileSize = false;           ///< a write beyond it fails instead of ending the run
    bool asNobody = false;                   ///< as a user without any rights
    std::vector<std::string> variables = {}; ///< further ones, as NAME=value
};

/// Runs the program at the absolute path `program` in `folder`, with standard input empty.
/// A sanitizer's report ends the program by a signal, so that none is taken for an exit status.
ProgramOutcome runProgram(const std::string& program, const std::vector<std::string>& arguments,
                          const std::string& folder, const ProgramSurroundings& surroundings = {});

/// Runs a shell's command line in `folder`, in which the word `name` stands for the program at the absolute
/// path `program`.
ProgramOutcome runInShell(const std::string& commands, const std::string& name,
                          const std::string& program, const std::string& folder);
