// Starts a process, waits for its end and reads what it used.
#include "bench/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>

namespace {

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

double wall_seconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

} // namespace

process_use_t run_process(char* const* arguments) {
    static posix_spawn_file_actions_t* const discardOutput = [] {
        static posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        return &actions;
    }();
    const double start = wall_seconds();
    pid_t child = 0;
    if (posix_spawn(&child, arguments[0], discardOutput, nullptr, arguments, environ) != 0) {
        return {};
    }
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), wall_seconds() - start,
            static_cast<double>(usage.ru_maxrss), status == 0};
}
