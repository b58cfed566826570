// Programs under test by fork and exec, their output through temporary files.
#include "tests/support/run_program.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using TemporaryFile = std::unique_ptr<std::FILE, FileCloser>;

TemporaryFile openTemporaryFile() {
    TemporaryFile file(std::tmpfile());
    if (file == nullptr) {
        throw std::runtime_error("no temporary file for a program's output");
    }
    return file;
}

std::string content(std::FILE* file) {
    std::string text;
    std::array<char, 4096> piece;
    std::rewind(file);
    while (const size_t count = std::fread(piece.data(), 1, piece.size(), file)) {
        text.append(piece.data(), count);
    }
    return text;
}

std::vector<std::string> environment(const ProgramSurroundings& surroundings) {
    std::vector<std::string> variables = surroundings.variables;
    std::string sanitizer = "ASAN_OPTIONS=abort_on_error=1";
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        if (text.starts_with("ASAN_OPTIONS=")) {
            sanitizer += ':' + text.substr(text.find('=') + 1);
        } else {
            variables.push_back(text);
        }
    }
    variables.push_back(sanitizer);
    if (surroundings.fileSize || surroundings.asNobody) {
        // A coverage build could not write its counters and would print an error.
        std::erase_if(variables, [](const std::string& text) {
            return text.starts_with("LLVM_PROFILE_FILE=");
        });
        variables.emplace_back("LLVM_PROFILE_FILE=/dev/null");
    }
    return variables;
}

// The null-terminated array of pointers for exec. It points into `texts`.
std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

void limit(__rlimit_resource resource, uint64_t max) {
    const rlimit limits = {max, max};
    setrlimit(resource, &limits);
}

// Runs in the child, like `become`: only calls that are safe after a fork.
bool enter(const ProgramSurroundings& surroundings) {
    constexpr uid_t kNobody = 65534;
    limit(RLIMIT_CORE, 0);
    if (surroundings.addressSpace) {
        limit(RLIMIT_AS, *surroundings.addressSpace);
    }
    if (surroundings.fileSize) {
        limit(RLIMIT_FSIZE, *surroundings.fileSize);
    }
    if (surroundings.goesOnAtFileSize) {
        signal(SIGXFSZ, SIG_IGN);
    }
    return !surroundings.asNobody || geteuid() != 0 ||
           (setgid(kNobody) == 0 && setuid(kNobody) == 0);
}

// Redirects the standard streams and executes the program.
[[noreturn]] void become(char* const* arguments, char* const* variables, const char* folder,
                         const ProgramSurroundings& surroundings, int output, int errors) {
    const int input = open("/dev/null", O_RDONLY);
    // Opened before rights are dropped: the unprivileged user may have no access to the build folder.
    const int program = open(arguments[0], O_RDONLY | O_CLOEXEC);
    if (input >= 0 && dup2(input, 0) == 0 && dup2(output, 1) == 1 && dup2(errors, 2) == 2 &&
        chdir(folder) == 0 && enter(surroundings)) {
        fexecve(program, arguments, variables);
    }
    _exit(127);
}

// The words of the command line before the program's arguments.
std::vector<std::string> wordsToStart(const std::string& program) {
#if defined(PNGSLAB_EMULATOR) // programs for another machine
    return {PNGSLAB_EMULATOR, program};
#else
    return {program};
#endif
}

// Runs the file named by the first word, with the other words as arguments.
ProgramOutcome runWords(std::vector<std::string> words, const std::string& folder,
                        const ProgramSurroundings& surroundings) {
    const TemporaryFile output = openTemporaryFile();
    const TemporaryFile errors = openTemporaryFile();
    std::vector<std::string> variables = environment(surroundings);
    const std::vector<char*> argumentPointers = pointers(words);
    const std::vector<char*> variablePointers = pointers(variables);

    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no process for a program");
    }
    if (child == 0) {
        become(argumentPointers.data(), variablePointers.data(), folder.c_str(), surroundings,
               fileno(output.get()), fileno(errors.get()));
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
        throw std::runtime_error("cannot wait for a program");
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            WIFSIGNALED(status) ? WTERMSIG(status) : 0, content(output.get()),
            content(errors.get())};
}

} // namespace

ProgramOutcome runProgram(const std::string& program, const std::vector<std::string>& arguments,
                          const std::string& folder, const ProgramSurroundings& surroundings) {
    std::vector<std::string> words = wordsToStart(program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return runWords(words, folder, surroundings);
}

ProgramOutcome runInShell(const std::string& commands, const std::string& name,
                          const std::string& program, const std::string& folder) {
    std::string function = name + "() {";
    for (const std::string& word : wordsToStart(program)) {
        function += " '" + word + "'";
    }
    return runWords({"/bin/sh", "-c", function + " \"$@\"; }\n" + commands}, folder, {});
}
