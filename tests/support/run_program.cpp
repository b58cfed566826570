// Programs under test by fork and exec, their output through temporary files.
#include "tests/support/run_program.h"

#include <array>
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

struct file_closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using temporary_file = std::unique_ptr<std::FILE, file_closer>;

temporary_file open_temporary_file() {
    temporary_file file(std::tmpfile());
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

std::vector<std::string> environment() {
    std::vector<std::string> variables;
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
    return variables;
}

// The null-terminated array of pointers that exec wants; it points into `texts`.
std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

// In the child: takes over the files and becomes the program; only calls that are safe after a
// fork.
[[noreturn]] void become(char* const* arguments, char* const* variables, const char* folder,
                         int output, int errors) {
    const rlimit no_core_file = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core_file);
    const int input = open("/dev/null", O_RDONLY);
    if (input >= 0 && dup2(input, 0) == 0 && dup2(output, 1) == 1 && dup2(errors, 2) == 2 &&
        chdir(folder) == 0) {
        execve(arguments[0], arguments, variables);
    }
    _exit(127);
}

} // namespace

program_outcome run_program(const std::string& program, const std::vector<std::string>& arguments,
                            const std::string& folder) {
    const temporary_file output = open_temporary_file();
    const temporary_file errors = open_temporary_file();
    std::vector<std::string> words = {program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment();
    const std::vector<char*> argument_pointers = pointers(words);
    const std::vector<char*> variable_pointers = pointers(variables);

    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no process for a program");
    }
    if (child == 0) {
        become(argument_pointers.data(), variable_pointers.data(), folder.c_str(),
               fileno(output.get()), fileno(errors.get()));
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
        throw std::runtime_error("a program's end was not seen");
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            WIFSIGNALED(status) ? WTERMSIG(status) : 0, content(output.get()),
            content(errors.get())};
}
