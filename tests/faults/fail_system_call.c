// Runs a program, and makes system call number NUMBER of a kind fail:
//
//     fail_system_call KIND NUMBER COUNT-FILE PROGRAM [ARGUMENT ...]
//
// It counts the calls of all threads in COUNT-FILE, and ends as the program does. Unlike a preloaded library, it
// reaches the calls inside the C library, and programs that are linked statically.
#define _GNU_SOURCE
#include "tests/faults/fault_count.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

enum { max_calls = 4, failed_exit = 125 };

struct kind {
    const char* name;
    int error;
    bool is_done; // whether the call takes effect nevertheless
    long calls[max_calls];
    int call_count;
};

static const struct kind kinds[] = {
    {"write", ENOSPC, false, {SYS_write, SYS_writev, SYS_pwrite64}, 3},
    {"close", EIO, true, {SYS_close}, 1},
    {"rename", EIO, false, {SYS_rename, SYS_renameat, SYS_renameat2}, 3},
    {"mmap", ENOMEM, false, {SYS_mmap}, 1},
    {"open", EMFILE, false, {SYS_open, SYS_openat}, 2},
    {"read", EIO, false, {SYS_read, SYS_pread64}, 2},
};

static void fail(const char* what) {
    perror(what);
    exit(failed_exit);
}

static const struct kind* kind_named(const char* name) {
    for (size_t i = 0; i < sizeof kinds / sizeof *kinds; ++i) {
        if (strcmp(kinds[i].name, name) == 0) {
            return &kinds[i];
        }
    }
    return NULL;
}

// Messages on standard error are not counted: without them, a run could not report the fault.
static bool is_of_kind(const struct kind* kind, const struct __ptrace_syscall_info* info) {
    if (info->entry.nr == SYS_write && info->entry.args[0] == STDERR_FILENO) {
        return false;
    }
    for (int i = 0; i < kind->call_count; ++i) {
        if (info->entry.nr == (uint64_t)kind->calls[i]) {
            return true;
        }
    }
    return false;
}

static struct fault_count* map_count(const char* path) {
    const int file = open(path, O_RDWR | O_CLOEXEC);
    void* const shared =
        mmap(NULL, sizeof(struct fault_count), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (shared == MAP_FAILED) {
        fail(path);
    }
    close(file);
    return shared;
}

static pid_t start(char** command) {
    const pid_t child = fork();
    if (child < 0) {
        fail("fork");
    }
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, NULL, NULL) != 0) {
            fail("ptrace");
        }
        execv(command[0], command);
        fail(command[0]);
    }
    int status = 0;
    waitpid(child, &status, 0); // stopped after execv
    if (!WIFSTOPPED(status)) {
        exit(failed_exit);
    }
    const long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL;
    if (ptrace(PTRACE_SETOPTIONS, child, NULL, options) != 0 ||
        ptrace(PTRACE_SYSCALL, child, NULL, NULL) != 0) {
        fail("ptrace");
    }
    return child;
}

// A failing call and its thread. No second one fails.
struct fault {
    const struct kind* kind;
    uint64_t number;
    pid_t thread;
};

static void at_system_call(pid_t thread, struct fault* fault, struct fault_count* counted) {
    struct __ptrace_syscall_info info;
    struct user_regs_struct registers;
    if (ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof info, &info) <= 0 ||
        ptrace(PTRACE_GETREGS, thread, NULL, &registers) != 0) {
        if (errno != ESRCH) {
            fail("ptrace");
        }
        return; // the thread was ended meanwhile
    }
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY && is_of_kind(fault->kind, &info) &&
        ++counted->system_calls == fault->number) {
        fault->thread = thread;
        if (!fault->kind->is_done) {
            registers.orig_rax = (unsigned long long)-1; // no system call has this number
            ptrace(PTRACE_SETREGS, thread, NULL, &registers);
        }
    } else if (info.op == PTRACE_SYSCALL_INFO_EXIT && thread == fault->thread) {
        fault->thread = 0;
        registers.rax = (unsigned long long)-fault->kind->error;
        ptrace(PTRACE_SETREGS, thread, NULL, &registers);
    }
}

// Ends this process as the program has ended.
static int end_like(int status) {
    if (WIFSIGNALED(status)) {
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    return WEXITSTATUS(status);
}

int main(int argc, char** argv) {
    if (argc < 5 || kind_named(argv[1]) == NULL) {
        fputs("usage: fail_system_call KIND NUMBER COUNT-FILE PROGRAM [ARGUMENT ...]\n", stderr);
        return failed_exit;
    }
    struct fault fault = {kind_named(argv[1]), strtoull(argv[2], NULL, 10), 0};
    struct fault_count* const counted = map_count(argv[3]);
    const pid_t program = start(argv + 4);
    for (;;) {
        int status = 0;
        const pid_t thread = waitpid(-1, &status, __WALL);
        if (thread < 0) {
            fail("waitpid");
        }
        if (!WIFSTOPPED(status)) {
            if (thread == program) {
                return end_like(status);
            }
            continue;
        }
        int signal = WSTOPSIG(status);
        if (signal == (SIGTRAP | 0x80)) {
            at_system_call(thread, &fault, counted);
            signal = 0;
        } else if (status >> 16 != 0 || (signal == SIGSTOP && thread != program)) {
            signal = 0; // a new thread
        }
        ptrace(PTRACE_SYSCALL, thread, NULL, (void*)(intptr_t)signal);
    }
}
