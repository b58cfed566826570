// Runs a program without its output, and prints the peak memory of its largest process in KiB.
//
//     peak_memory PROGRAM ARGUMENT...
#include "bench/process.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: peak_memory PROGRAM ARGUMENT...\n");
        return 2;
    }
    const process_use_t use = run_process(argv + 1);
    if (!use.succeeded) {
        std::fprintf(stderr, "peak_memory: %s failed\n", argv[1]);
        return 1;
    }
    std::printf("%.0f\n", use.peakMemory);
}
