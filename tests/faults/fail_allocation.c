// Preloaded into a program: makes allocations number PNGSLAB_FAIL_FIRST to PNGSLAB_FAIL_LAST fail. It counts the
// allocations of all threads in the file PNGSLAB_FAIL_COUNT, and notes there when main() begins. The libraries of C and
// C++ allocate through these functions, too.
#define _GNU_SOURCE
#include "tests/faults/fault_count.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

// The allocator of glibc, under its second names.
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static struct fault_count* counted = NULL;
static uint64_t first = 0, last = 0;

static uint64_t number_in(const char* name) {
    const char* const text = getenv(name);
    return text == NULL ? 0 : strtoull(text, NULL, 10);
}

// Called before there is a second thread. The environment is missing in the first allocations of the loader.
static void begin(void) {
    const char* const path = getenv("PNGSLAB_FAIL_COUNT");
    if (path == NULL) {
        return;
    }
    const int file = open(path, O_RDWR | O_CLOEXEC);
    void* const shared = mmap(NULL, sizeof *counted, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (shared == MAP_FAILED) {
        abort();
    }
    first = number_in("PNGSLAB_FAIL_FIRST");
    last = number_in("PNGSLAB_FAIL_LAST");
    counted = shared;
}

static bool must_fail(void) {
    if (counted == NULL) {
        begin();
        if (counted == NULL) {
            return false;
        }
    }
    const uint64_t number = __atomic_add_fetch(&counted->allocations, 1, __ATOMIC_RELAXED);
    if (number < first || number > last) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

void* malloc(size_t size) {
    return must_fail() ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return must_fail() ? NULL : __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
    return must_fail() ? NULL : __libc_realloc(block, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    return must_fail() ? NULL : __libc_memalign(alignment, size);
}

void* memalign(size_t alignment, size_t size) {
    return must_fail() ? NULL : __libc_memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) {
    void* const allocated = must_fail() ? NULL : __libc_memalign(alignment, size);
    if (allocated == NULL) {
        return ENOMEM;
    }
    *block = allocated;
    return 0;
}

// ---- The beginning of main()

typedef int main_function(int, char**, char**);
static main_function* real_main = NULL;

static int marked_main(int argc, char** argv, char** environment) {
    if (counted != NULL) {
        counted->allocations_before_main = counted->allocations;
        counted->system_calls_before_main = counted->system_calls;
    }
    return real_main(argc, argv, environment);
}

typedef int start_function(main_function*, int, char**, void (*)(void), void (*)(void),
                           void (*)(void), void*);

int __libc_start_main(main_function* program, int argc, char** argv, void (*init)(void),
                      void (*fini)(void), void (*loader_fini)(void), void* stack_end) {
    // POSIX guarantees the conversion that ISO C lacks.
    start_function* start = NULL;
    *(void**)&start = dlsym(RTLD_NEXT, "__libc_start_main");
    real_main = program;
    return start(marked_main, argc, argv, init, fini, loader_fini, stack_end);
}
